#pragma once
// One clean list (caches, leftovers or large files) as rows for a ListView: the model's findings
// of one kind, keyed by their ids, with the page's summary, footer and empty-state texts as
// properties. Texts and rules come from the core; this only translates them. The page's search
// is a SearchFilter over it.

#include <QtQml/qqmlregistration.h>
#include <QAbstractListModel>
#include <QString>
#include <QStringList>
#include <vector>

#include "findings/finding.h"
#include "model/scan_model.h"

namespace dw::ui {

class FindingListModel : public QAbstractListModel {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("The bridge's lists are made by the bridge.")
  Q_PROPERTY(Kind kind READ kind CONSTANT)
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
  // A finding's kind, as the core names it (Finding::Kind).
  enum class Kind { Cache, File, Leftover };
  Q_ENUM(Kind)

  enum Role {
    KeyRole = Qt::UserRole + 1,  // the finding's id
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

  FindingListModel(ScanModel& model, Finding::Kind kind, QObject* parent = nullptr);

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;

  Kind kind() const;
  int totalCount() const { return rowCount(); }
  QString summaryTitle() const;
  QString summaryDetail() const;
  QString footerSummary() const;
  QString footerDetail() const;
  bool canClear() const;
  QString emptySymbol() const;
  QString emptyTitle() const;
  QString emptyDetail() const;
  QString sectionTitle() const;
  // Over the list: "Largest first", or "3 of 12 match the search" while a search hides rows.
  Q_INVOKABLE QString sectionDetail(int shown) const;

  Q_INVOKABLE void toggle(const QString& key);
  // "Select all" / "Select none" over the rows listed now.
  Q_INVOKABLE void selectAll(const QStringList& keys);
  Q_INVOKABLE void selectNone(const QStringList& keys);
  Q_INVOKABLE void reveal(const QString& key);
  // Asks the model to confirm a clear of this list.
  Q_INVOKABLE void requestMove();

  // The model told us that a field changed.
  void modelChanged(ScanModel::Field field);

 signals:
  void listChanged();
  void selectionChanged();

 private:
  void rebuild();
  const Finding& at(int row) const;
  const Finding* find(const QString& key) const;
  std::vector<std::string> ids(const QStringList& keys) const;

  ScanModel& model_;
  Finding::Kind kind_;
  std::vector<size_t> rows_;  // indexes into model_.caches()
};

}  // namespace dw::ui
