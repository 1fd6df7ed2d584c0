#include "bridge/duplicate_list_model.h"

#include <QDateTime>
#include <QLocale>

#include "findings/size_text.h"
#include "platform/desktop.h"
#include "scanners/duplicates/duplicate_scanner.h"
#include "texts/duplicates.h"
#include "texts/sharing.h"

namespace dw::ui {

namespace {
using DuplicateScanner::Scope;
namespace copies = texts::duplicates;

QString q(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace

DuplicateListModel::DuplicateListModel(ScanModel& model, QObject* parent)
    : QAbstractListModel(parent), model_(model) {
  rebuild();
}

void DuplicateListModel::modelChanged(ScanModel::Field field) {
  using F = ScanModel::Field;
  switch (field) {
    case F::duplicateGroups:
    case F::duplicateKeepPath:
      beginResetModel();
      rebuild();
      endResetModel();
      emit listChanged();
      emit selectionChanged();
      break;
    case F::duplicateSelected:
      if (!rows_.empty()) emit dataChanged(index(0), index(rowCount() - 1), {SelectedRole});
      emit selectionChanged();
      break;
    case F::duplicateScope:
      emit scopeChanged();
      break;
    case F::duplicateSharing:
      emit selectionChanged();
      break;
    case F::duplicateProgress:
    case F::duplicatesScanning:
    case F::duplicateSkipped:
      emit searchChanged();
      break;
    default:
      break;
  }
}

void DuplicateListModel::rebuild() {
  rows_.clear();
  const auto& groups = model_.duplicateGroups();
  for (size_t g = 0; g < groups.size(); ++g) {
    for (size_t f = 0; f < groups[g].files.size(); ++f)
      rows_.push_back({g, f});
  }
}

int DuplicateListModel::rowOf(const QString& key) const {
  for (int row = 0; row < rowCount(); ++row) {
    if (QString::fromStdString(fileAt(row).path) == key) return row;
  }
  return -1;
}

const DuplicateScanner::Group& DuplicateListModel::groupAt(int row) const {
  return model_.duplicateGroups()[rows_[static_cast<size_t>(row)].group];
}

const DuplicateScanner::FileRef& DuplicateListModel::fileAt(int row) const {
  return groupAt(row).files[rows_[static_cast<size_t>(row)].file];
}

bool DuplicateListModel::isKept(int row) const {
  return fileAt(row).path == model_.duplicates().keptPath(groupAt(row));
}

int DuplicateListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant DuplicateListModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= rowCount()) return {};
  const int row = index.row();
  const auto& file = fileAt(row);
  const bool kept = isKept(row);
  switch (role) {
    case KeyRole:
    case LocationRole:
      return QString::fromStdString(file.path);
    case NameRole:
      return QString::fromStdString(
          copies::copyName(groupAt(row), file.path, model_.places().home));
    case NoteRole:
      if (!kept) return q(copies::kExtraNote);
      if (&file != &groupAt(row).files.front()) return q(copies::kKeptPicked);
      return QString::fromStdString(copies::keptByDefault(
          DuplicateScanner::folderOf(file.path, model_.places()), model_.wording()));
    case SizeTextRole:
      return QString::fromStdString(sizeText(file.bytes));
    case BadgeRole:
      return q(copies::badge(kept));
    case BadgeKindRole:
      return q(copies::badgeTone(kept));
    case SelectedRole:
      return !kept && model_.duplicateSelected().count(file.path) > 0;
    case SelectableRole:
      return !kept;
    case ShowsLockRole:
    case KeptRole:
      return kept;
    case WhySafeRole:
      return kept ? q(copies::kKeptPicked)
                  : QString::fromStdString(copies::extraWhySafe(model_.wording()));
    case LastUsedRole: {
      if (file.modified == DuplicateScanner::kDistantPast) return q(copies::kUnknownDate);
      auto ms =
          std::chrono::duration_cast<std::chrono::milliseconds>(file.modified.time_since_epoch())
              .count();
      return QLocale().toString(QDateTime::fromMSecsSinceEpoch(ms).date(), QLocale::ShortFormat);
    }
    case GroupRole:
      return QString::fromStdString(groupAt(row).hashHex);
    case GroupTitleRole: {
      const auto& group = groupAt(row);
      return QString::fromStdString(
          copies::groupTitle(static_cast<std::int64_t>(group.files.size()), group.bytes));
    }
  }
  return {};
}

QHash<int, QByteArray> DuplicateListModel::roleNames() const {
  return {{KeyRole, "key"},
          {NameRole, "name"},
          {NoteRole, "note"},
          {SizeTextRole, "sizeText"},
          {BadgeRole, "badge"},
          {BadgeKindRole, "badgeKind"},
          {SelectedRole, "selected"},
          {SelectableRole, "selectable"},
          {ShowsLockRole, "showsLock"},
          {WhySafeRole, "whySafe"},
          {LastUsedRole, "lastUsed"},
          {LocationRole, "location"},
          {KeptRole, "kept"},
          {GroupRole, "group"},
          {GroupTitleRole, "groupTitle"}};
}

QString DuplicateListModel::summaryTitle() const {
  return QString::fromStdString(
      copies::summaryTitle(model_.duplicates().extraBytes(), groupCount()));
}

QString DuplicateListModel::summaryDetail() const {
  return QString::fromStdString(copies::summaryDetail(model_.wording()));
}

QStringList DuplicateListModel::folderNames() const {
  const FolderNames& names = model_.wording().folders;
  QStringList list;
  for (const std::string* name : {&names.downloads, &names.movies, &names.music, &names.pictures})
    list.append(QString::fromStdString(*name));
  return list;
}

QString DuplicateListModel::sectionTitle() const {
  return QString::fromStdString(copies::sectionTitle(groupCount()));
}

QString DuplicateListModel::sectionDetail() const {
  return q(copies::kSectionDetail);
}

QString DuplicateListModel::keepInstead() const {
  return q(copies::kKeepInstead);
}

QString DuplicateListModel::findTitle() const {
  return q(copies::findButton(searching()));
}

QString DuplicateListModel::skippedHeading() const {
  return q(copies::skippedHeading(model_.wording()));
}

QString DuplicateListModel::footerSummary() const {
  return QString::fromStdString(copies::footerSummary(model_.duplicates().selectedBytes(),
                                                      model_.duplicates().selectedCopies()));
}

QString DuplicateListModel::footerDetail() const {
  const bool offered = canShare() && !model_.duplicateSelected().empty();
  return QString::fromStdString(copies::footerDetail(
      offered ? std::optional<Sharing::Plan>(model_.sharePlan()) : std::nullopt));
}

QString DuplicateListModel::emptySymbol() const {
  return q(copies::emptyState().symbol);
}
QString DuplicateListModel::emptyTitle() const {
  return QString::fromStdString(copies::emptyState().title);
}
QString DuplicateListModel::emptyDetail() const {
  return QString::fromStdString(copies::emptyState().detail);
}

QString DuplicateListModel::progress() const {
  const auto& p = model_.duplicateProgress();
  return QString::fromStdString(copies::progressLine(p ? *p : std::string()));
}

QStringList DuplicateListModel::skipped() const {
  QStringList out;
  for (const auto& path : model_.duplicateSkipped())
    out << QString::fromStdString(path);
  return out;
}

void DuplicateListModel::setFolder(int bit, bool on) {
  Scope scope = model_.duplicateScope();
  if (on) {
    scope.insert(bit);
  } else {
    scope.remove(bit);
  }
  model_.setDuplicateScope(scope);
}

void DuplicateListModel::find() {
  model_.findDuplicates();
}

void DuplicateListModel::toggle(const QString& key) {
  int row = rowOf(key);
  if (row < 0 || isKept(row)) return;
  const auto& path = fileAt(row).path;
  model_.setDuplicateSelected(path, model_.duplicateSelected().count(path) == 0);
}

void DuplicateListModel::keep(const QString& key) {
  int row = rowOf(key);
  if (row >= 0) model_.keepCopy(groupAt(row).hashHex, fileAt(row).path);
}

namespace {
std::set<std::string> pathsOf(const QStringList& keys) {
  std::set<std::string> out;
  for (const QString& key : keys)
    out.insert(key.toStdString());
  return out;
}
}  // namespace

void DuplicateListModel::selectAll(const QStringList& keys) {
  model_.selectExtraCopies(pathsOf(keys));
}

void DuplicateListModel::selectNone(const QStringList& keys) {
  model_.selectNoCopies(pathsOf(keys));
}

void DuplicateListModel::reveal(const QString& key) {
  int row = rowOf(key);
  if (row >= 0) platform::revealInFileManager(fileAt(row).path);
}

void DuplicateListModel::requestMove() {
  model_.requestConfirm(ConfirmScope::duplicates);
}

QString DuplicateListModel::shareTitle() const {
  return canShare() ? q(texts::sharing::kButton) : QString();
}

void DuplicateListModel::requestShare() {
  model_.requestConfirm(ConfirmScope::sharing);
}

}  // namespace dw::ui
