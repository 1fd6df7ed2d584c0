#pragma once
// The search of every list page: the rows of a list whose "name" matches the search text,
// case-insensitively in any script, in the list's order. The one filter the pages share; the
// list itself stays whole, and its rows are told apart by their "key". Where the list's rows
// belong to groups (a "group" role), each row also says whether it is the first shown of its
// group ("groupStart"), so a group's title stands over the copies the search leaves.

#include <QtQml/qqmlregistration.h>
#include <QSortFilterProxyModel>
#include <QString>
#include <QStringList>

namespace dw::ui {

class SearchFilter : public QSortFilterProxyModel {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(QAbstractItemModel* source READ sourceModel WRITE setSource NOTIFY sourceChanged)
  Q_PROPERTY(QString query READ query WRITE setQuery NOTIFY queryChanged)
  // The rows shown now.
  Q_PROPERTY(int count READ count NOTIFY countChanged)
  // The chosen rows (a "selected" role) the search hides, and the footer's line saying so.
  Q_PROPERTY(int hiddenSelected READ hiddenSelected NOTIFY hiddenChanged)
  Q_PROPERTY(QString hiddenNote READ hiddenNote NOTIFY hiddenChanged)

 public:
  explicit SearchFilter(QObject* parent = nullptr);

  void setSource(QAbstractItemModel* source);
  QString query() const { return query_; }
  void setQuery(const QString& query);
  int count() const { return rowCount(); }
  int hiddenSelected() const { return hiddenSelected_; }
  QString hiddenNote() const;
  // The keys of the rows shown now, in order ("Select all" chooses among these).
  Q_INVOKABLE QStringList keys() const;

  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;

 signals:
  void sourceChanged();
  void queryChanged();
  void countChanged();
  void hiddenChanged();

 protected:
  bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;

 private:
  int roleNamed(const QByteArray& name) const;
  // The role this filter adds: one past the list's own.
  int groupStartRole() const;

  void countHidden();

  QString query_;
  int hiddenSelected_ = 0;
  QMetaObject::Connection sourceChanges_[4];
};

}  // namespace dw::ui
