#pragma once
// One clean list (caches, leftovers or large files) as rows for a ListView: the model's findings
// of one kind whose name matches the search, with the page's summary, footer and empty-state
// texts as properties. Texts and rules come from the core; this only translates them.

#include <QAbstractListModel>
#include <QString>
#include <vector>

#include "findings/cache_finding.h"
#include "model/scan_model.h"

namespace dw::ui {

class FindingListModel : public QAbstractListModel {
  Q_OBJECT
  Q_PROPERTY(QString query READ query WRITE setQuery NOTIFY queryChanged)
  Q_PROPERTY(int count READ rowCount NOTIFY listChanged)
  Q_PROPERTY(int totalCount READ totalCount NOTIFY listChanged)
  Q_PROPERTY(QString summaryTitle READ summaryTitle NOTIFY listChanged)
  Q_PROPERTY(QString summaryDetail READ summaryDetail CONSTANT)
  Q_PROPERTY(QString footerSummary READ footerSummary NOTIFY selectionChanged)
  Q_PROPERTY(QString footerDetail READ footerDetail CONSTANT)
  Q_PROPERTY(bool canClear READ canClear NOTIFY selectionChanged)
  Q_PROPERTY(QString emptySymbol READ emptySymbol CONSTANT)
  Q_PROPERTY(QString emptyTitle READ emptyTitle CONSTANT)
  Q_PROPERTY(QString emptyDetail READ emptyDetail CONSTANT)
  Q_PROPERTY(QString sectionTitle READ sectionTitle NOTIFY listChanged)

 public:
  enum Role {
    IdRole = Qt::UserRole + 1,
    NameRole,
    NoteRole,
    SizeTextRole,
    BadgeRole,
    BadgeKindRole,
    SelectedRole,
    SelectableRole,
    ShowsLockRole,
    WhySafeRole,
    LastUsedRole,
    LocationRole,
    LargestFilesRole,
  };

  FindingListModel(ScanModel& model, CacheFinding::Kind kind, QObject* parent = nullptr);

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;

  QString query() const { return query_; }
  void setQuery(const QString& query);
  int totalCount() const;
  QString summaryTitle() const;
  QString summaryDetail() const;
  QString footerSummary() const;
  QString footerDetail() const;
  bool canClear() const;
  QString emptySymbol() const;
  QString emptyTitle() const;
  QString emptyDetail() const;
  QString sectionTitle() const;

  Q_INVOKABLE void toggle(int row);
  // "Select all" / "Select none" over the rows listed now.
  Q_INVOKABLE void selectAll();
  Q_INVOKABLE void selectNone();
  Q_INVOKABLE void reveal(int row);
  // Asks the model to confirm a clear of this list's scope.
  Q_INVOKABLE void requestMove();

  ScanModel::ConfirmScope scope() const;
  // The model told us that a field changed.
  void modelChanged(ScanModel::Field field);

 signals:
  void queryChanged();
  void listChanged();
  void selectionChanged();

 private:
  void rebuild();
  bool linuxHome() const;
  const CacheFinding& at(int row) const;

  ScanModel& model_;
  CacheFinding::Kind kind_;
  QString query_;
  std::vector<size_t> rows_;  // indexes into model_.caches()
};

}  // namespace dw::ui
