#pragma once
// The duplicate groups as rows for a ListView: every file of every group, keyed by its path, the
// kept copy with the lock, the others extra copies the user may pick; each row names its group
// and carries its title. The folder toggles, the search's progress and the skipped
// folders are properties; the rules (which copy stays, what a clear moves) and the texts are the
// core's. The page's search is a SearchFilter over it.

#include <QtQml/qqmlregistration.h>
#include <QAbstractListModel>
#include <QString>
#include <QStringList>
#include <vector>

#include "model/scan_model.h"

namespace dw::ui {

class DuplicateListModel : public QAbstractListModel {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("The bridge's lists are made by the bridge.")
  Q_PROPERTY(int totalCount READ totalCount NOTIFY listChanged)
  Q_PROPERTY(int groupCount READ groupCount NOTIFY listChanged)
  Q_PROPERTY(QString summaryTitle READ summaryTitle NOTIFY listChanged)
  Q_PROPERTY(QString summaryDetail READ summaryDetail CONSTANT)
  // The searched folders' own names: Downloads, Movies (Videos), Music, Pictures.
  Q_PROPERTY(QStringList folderNames READ folderNames CONSTANT)
  Q_PROPERTY(QString sectionTitle READ sectionTitle NOTIFY listChanged)
  Q_PROPERTY(QString sectionDetail READ sectionDetail CONSTANT)
  Q_PROPERTY(QString footerSummary READ footerSummary NOTIFY selectionChanged)
  Q_PROPERTY(QString footerDetail READ footerDetail NOTIFY selectionChanged)
  // "Share copies" is offered only where some group's file system shares blocks between files:
  // shareTitle is its button's title there, else "".
  Q_PROPERTY(bool canShare READ canShare NOTIFY selectionChanged)
  Q_PROPERTY(QString shareTitle READ shareTitle NOTIFY selectionChanged)
  Q_PROPERTY(bool canClear READ canClear NOTIFY selectionChanged)
  Q_PROPERTY(QString emptySymbol READ emptySymbol CONSTANT)
  Q_PROPERTY(QString emptyTitle READ emptyTitle CONSTANT)
  Q_PROPERTY(QString emptyDetail READ emptyDetail CONSTANT)
  Q_PROPERTY(QString keepInstead READ keepInstead CONSTANT)
  Q_PROPERTY(int scopeBits READ scopeBits NOTIFY scopeChanged)
  Q_PROPERTY(bool searching READ searching NOTIFY searchChanged)
  Q_PROPERTY(QString findTitle READ findTitle NOTIFY searchChanged)
  // "Looking for duplicates… Hashing duplicates" while the search runs.
  Q_PROPERTY(QString progress READ progress NOTIFY searchChanged)
  Q_PROPERTY(QStringList skipped READ skipped NOTIFY searchChanged)
  Q_PROPERTY(QString skippedHeading READ skippedHeading CONSTANT)

 public:
  enum Role {
    KeyRole = Qt::UserRole + 1,  // the copy's path
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
    GroupRole,  // the group's hash
    GroupTitleRole,
  };

  explicit DuplicateListModel(ScanModel& model, QObject* parent = nullptr);

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;

  int totalCount() const { return rowCount(); }
  int groupCount() const { return static_cast<int>(model_.duplicateGroups().size()); }
  QString summaryTitle() const;
  QString summaryDetail() const;
  QStringList folderNames() const;
  QString sectionTitle() const;
  QString sectionDetail() const;
  QString footerSummary() const;
  QString footerDetail() const;
  bool canClear() const { return !model_.duplicateSelected().empty(); }
  bool canShare() const { return model_.canShareDuplicates(); }
  QString shareTitle() const;
  QString emptySymbol() const;
  QString emptyTitle() const;
  QString emptyDetail() const;
  QString keepInstead() const;
  int scopeBits() const { return static_cast<int>(model_.duplicateScope().rawValue); }
  bool searching() const { return model_.duplicatesScanning(); }
  QString findTitle() const;
  QString progress() const;
  QStringList skipped() const;
  QString skippedHeading() const;

  // One of the four folders (DuplicateScanner::Scope's bits) in or out of the next search.
  Q_INVOKABLE void setFolder(int bit, bool on);
  Q_INVOKABLE void find();
  Q_INVOKABLE void toggle(const QString& key);
  // This copy becomes the one its group keeps.
  Q_INVOKABLE void keep(const QString& key);
  // Every extra copy among the rows listed now, or none of them.
  Q_INVOKABLE void selectAll(const QStringList& keys);
  Q_INVOKABLE void selectNone(const QStringList& keys);
  Q_INVOKABLE void reveal(const QString& key);
  Q_INVOKABLE void requestMove();
  // "Share copies": the question of sharing the selected copies instead of moving them.
  Q_INVOKABLE void requestShare();

  void modelChanged(ScanModel::Field field);

 signals:
  void listChanged();
  void selectionChanged();
  void scopeChanged();
  void searchChanged();

 private:
  struct Row {
    size_t group;
    size_t file;
  };
  void rebuild();
  const DuplicateScanner::FileRef& fileAt(int row) const;
  const DuplicateScanner::Group& groupAt(int row) const;
  bool isKept(int row) const;
  int rowOf(const QString& key) const;

  ScanModel& model_;
  std::vector<Row> rows_;
};

}  // namespace dw::ui
