#pragma once
// The duplicate groups as rows for a ListView: every file of every group whose name matches the
// search, the kept copy first marked by the lock, the others extra copies the user may pick. The
// folder toggles, the search's progress and the skipped folders are properties; the rules (which
// copy stays, what a clear moves) are the model's.

#include <QAbstractListModel>
#include <QString>
#include <QStringList>
#include <vector>

#include "model/scan_model.h"

namespace dw::ui {

class DuplicateListModel : public QAbstractListModel {
  Q_OBJECT
  Q_PROPERTY(QString query READ query WRITE setQuery NOTIFY queryChanged)
  Q_PROPERTY(int count READ rowCount NOTIFY listChanged)
  Q_PROPERTY(int totalCount READ totalCount NOTIFY listChanged)
  Q_PROPERTY(int groupCount READ groupCount NOTIFY listChanged)
  Q_PROPERTY(QString summaryTitle READ summaryTitle NOTIFY listChanged)
  Q_PROPERTY(QString summaryDetail READ summaryDetail CONSTANT)
  // The videos folder's name for its toggle: "Movies" on a Mac, "Videos" (or localised) on Linux.
  // The searched folders' own names: Downloads, Movies (Videos), Music, Pictures.
  Q_PROPERTY(QStringList folderNames READ folderNames CONSTANT)
  Q_PROPERTY(QString sectionTitle READ sectionTitle NOTIFY listChanged)
  Q_PROPERTY(QString footerSummary READ footerSummary NOTIFY selectionChanged)
  Q_PROPERTY(QString footerDetail READ footerDetail NOTIFY selectionChanged)
  // "Share copies" is offered only where some group's file system shares blocks between files.
  Q_PROPERTY(bool canShare READ canShare NOTIFY selectionChanged)
  Q_PROPERTY(bool canClear READ canClear NOTIFY selectionChanged)
  Q_PROPERTY(QString emptySymbol READ emptySymbol CONSTANT)
  Q_PROPERTY(QString emptyTitle READ emptyTitle CONSTANT)
  Q_PROPERTY(QString emptyDetail READ emptyDetail CONSTANT)
  Q_PROPERTY(int scopeBits READ scopeBits NOTIFY scopeChanged)
  Q_PROPERTY(bool searching READ searching NOTIFY searchChanged)
  Q_PROPERTY(QString progress READ progress NOTIFY searchChanged)
  Q_PROPERTY(QStringList skipped READ skipped NOTIFY searchChanged)

 public:
  enum Role {
    PathRole = Qt::UserRole + 1,
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
    KeptRole,
    GroupStartRole,
    GroupTitleRole,
  };

  explicit DuplicateListModel(ScanModel& model, QObject* parent = nullptr);

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;

  QString query() const { return query_; }
  void setQuery(const QString& query);
  int totalCount() const;
  int groupCount() const { return static_cast<int>(model_.duplicateGroups().size()); }
  QString summaryTitle() const;
  QString summaryDetail() const;
  QStringList folderNames() const;
  QString sectionTitle() const;
  QString footerSummary() const;
  QString footerDetail() const;
  bool canClear() const { return !model_.duplicateSelected().empty(); }
  bool canShare() const { return model_.canShareDuplicates(); }
  QString emptySymbol() const;
  QString emptyTitle() const;
  QString emptyDetail() const;
  int scopeBits() const { return static_cast<int>(model_.duplicateScope().rawValue); }
  bool searching() const { return model_.duplicatesScanning(); }
  QString progress() const;
  QStringList skipped() const;

  // One of the four folders (DuplicateScanner::Scope's bits) in or out of the next search.
  Q_INVOKABLE void setFolder(int bit, bool on);
  Q_INVOKABLE void find();
  Q_INVOKABLE void toggle(int row);
  // The copy of this row becomes the one kept.
  Q_INVOKABLE void keep(int row);
  Q_INVOKABLE void selectAll();
  Q_INVOKABLE void selectNone();
  Q_INVOKABLE void reveal(int row);
  Q_INVOKABLE void requestMove();
  Q_INVOKABLE void requestShare();

  void modelChanged(ScanModel::Field field);

 signals:
  void queryChanged();
  void listChanged();
  void selectionChanged();
  void scopeChanged();
  void searchChanged();

 private:
  struct Row {
    size_t group;
    size_t file;
    bool groupStart;
  };
  void rebuild();
  const DuplicateScanner::FileRef& fileAt(int row) const;
  const DuplicateScanner::Group& groupAt(int row) const;
  bool isKept(int row) const;

  ScanModel& model_;
  QString query_;
  std::vector<Row> rows_;
};

}  // namespace dw::ui
