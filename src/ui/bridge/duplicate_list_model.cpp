#include "bridge/duplicate_list_model.h"

#include <QDateTime>
#include <QFileInfo>
#include <QLocale>

#include "findings/page_texts.h"
#include "findings/size_text.h"
#include "platform/desktop.h"

namespace dw::ui {

namespace {
using DuplicateScanner::Scope;

constexpr std::string_view kSummaryDetail =
    "Extra copies in Downloads, Movies, Music, and Pictures. The newest copy stays unless you "
    "pick another. Savings are up to — copies on APFS may share storage, so moving one to the "
    "Trash can free less.";
constexpr std::string_view kKeptNewest = "Newest copy. This one stays.";
constexpr std::string_view kKeptPicked = "One copy stays so you still have the file.";
constexpr std::string_view kExtraNote =
    "Extra copy. Moving it to the Trash leaves one copy in place.";
constexpr std::string_view kExtraWhySafe =
    "This matches another file byte for byte. Savings are up to the size shown, because copies "
    "on APFS may share storage.";

// No APFS on Linux: copies that share storage there (reflinks) are said in general words.
std::string forLayout(std::string_view text, const Locations& places) {
  std::string out(text);
  if (places.layout != Locations::Layout::linux) return out;
  for (size_t at; (at = out.find(" on APFS")) != std::string::npos;)
    out.erase(at, 8);
  return out;
}

QString q(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QString fileName(const std::string& path) {
  return QFileInfo(QString::fromStdString(path)).fileName();
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
    bool first = true;
    for (size_t f = 0; f < groups[g].files.size(); ++f) {
      // The search matches file names, case-insensitively in any script.
      if (!query_.isEmpty() &&
          !fileName(groups[g].files[f].path).contains(query_, Qt::CaseInsensitive)) {
        continue;
      }
      rows_.push_back({g, f, first});
      first = false;
    }
  }
}

void DuplicateListModel::setQuery(const QString& query) {
  if (query == query_) return;
  beginResetModel();
  query_ = query;
  rebuild();
  endResetModel();
  emit queryChanged();
  emit listChanged();
}

const DuplicateScanner::Group& DuplicateListModel::groupAt(int row) const {
  return model_.duplicateGroups()[rows_[static_cast<size_t>(row)].group];
}

const DuplicateScanner::FileRef& DuplicateListModel::fileAt(int row) const {
  return groupAt(row).files[rows_[static_cast<size_t>(row)].file];
}

bool DuplicateListModel::isKept(int row) const {
  const auto& group = groupAt(row);
  auto kept = model_.duplicateKeepPath().find(group.hashHex);
  // Until the model names one, the newest copy (the first) stays.
  const std::string& keptPath =
      kept == model_.duplicateKeepPath().end() ? group.files.front().path : kept->second;
  return fileAt(row).path == keptPath;
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
    case PathRole:
    case LocationRole:
      return QString::fromStdString(file.path);
    case NameRole:
      return fileName(file.path);
    case NoteRole:
      if (!kept) return q(kExtraNote);
      return q(&file == &groupAt(row).files.front() ? kKeptNewest : kKeptPicked);
    case SizeTextRole:
      return QString::fromStdString(sizeText(file.bytes));
    case BadgeRole:
      return kept ? QStringLiteral("Kept") : QStringLiteral("Extra copy");
    case BadgeKindRole:
      return kept ? QStringLiteral("neutral") : QStringLiteral("review");
    case SelectedRole:
      return !kept && model_.duplicateSelected().count(file.path) > 0;
    case SelectableRole:
      return !kept;
    case ShowsLockRole:
    case KeptRole:
      return kept;
    case WhySafeRole:
      return kept ? q(kKeptPicked) : q(forLayout(kExtraWhySafe, model_.places()));
    case LastUsedRole: {
      if (file.modified == DuplicateScanner::kDistantPast) return QStringLiteral("Unknown");
      auto ms =
          std::chrono::duration_cast<std::chrono::milliseconds>(file.modified.time_since_epoch())
              .count();
      return QLocale().toString(QDateTime::fromMSecsSinceEpoch(ms).date(), QLocale::ShortFormat);
    }
    case GroupStartRole:
      return rows_[static_cast<size_t>(row)].groupStart;
    case GroupTitleRole: {
      const auto& group = groupAt(row);
      return QString::fromStdString(
          countNoun(static_cast<std::int64_t>(group.files.size()), "identical copy") + " · " +
          sizeText(group.bytes) + " each");
    }
  }
  return {};
}

QHash<int, QByteArray> DuplicateListModel::roleNames() const {
  return {{PathRole, "path"},
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
          {GroupStartRole, "groupStart"},
          {GroupTitleRole, "groupTitle"}};
}

int DuplicateListModel::totalCount() const {
  int n = 0;
  for (const auto& group : model_.duplicateGroups())
    n += static_cast<int>(group.files.size());
  return n;
}

QString DuplicateListModel::summaryTitle() const {
  std::int64_t bytes = 0;
  for (const auto& group : model_.duplicateGroups())
    bytes += group.bytes * static_cast<std::int64_t>(group.files.size() - 1);
  return QString::fromStdString("Up to " + sizeText(bytes) + " in " +
                                countNoun(groupCount(), "duplicate group"));
}

QString DuplicateListModel::summaryDetail() const {
  return QString::fromStdString(pagetexts::namingFolders(forLayout(kSummaryDetail, model_.places()),
                                                         pagetexts::folderNames(model_.places())));
}

QStringList DuplicateListModel::folderNames() const {
  pagetexts::FolderNames names = pagetexts::folderNames(model_.places());
  QStringList list;
  for (const std::string* name : {&names.downloads, &names.movies, &names.music, &names.pictures})
    list.append(QString::fromStdString(*name));
  return list;
}

QString DuplicateListModel::sectionTitle() const {
  return QString::fromStdString(countNoun(groupCount(), "duplicate group"));
}

QString DuplicateListModel::footerSummary() const {
  std::int64_t bytes = 0, count = 0;
  for (const auto& group : model_.duplicateGroups()) {
    for (const auto& file : group.files) {
      if (!model_.duplicateSelected().count(file.path)) continue;
      bytes += file.bytes;
      ++count;
    }
  }
  return QString::fromStdString("Up to " + sizeText(bytes) + " selected · " +
                                countNoun(count, "copy"));
}

QString DuplicateListModel::footerDetail() const {
  QString moving = QStringLiteral("Goes to the Trash. You can put anything back.");
  if (!canShare() || model_.duplicateSelected().empty()) return moving;
  // Before anything is shared: what sharing the selection can give back.
  return moving + " " + QString::fromStdString(Sharing::footerText(model_.sharePlan()));
}

QString DuplicateListModel::emptySymbol() const {
  return QStringLiteral("square.on.square");
}
QString DuplicateListModel::emptyTitle() const {
  return QStringLiteral("No duplicates yet");
}
QString DuplicateListModel::emptyDetail() const {
  return QStringLiteral(
      "Choose folders and find duplicates. Nothing is selected until you choose an extra copy.");
}

QString DuplicateListModel::progress() const {
  const auto& p = model_.duplicateProgress();
  return p ? QString::fromStdString(*p) : QString();
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

void DuplicateListModel::toggle(int row) {
  if (row < 0 || row >= rowCount() || isKept(row)) return;
  const auto& path = fileAt(row).path;
  model_.setDuplicateSelected(path, model_.duplicateSelected().count(path) == 0);
}

void DuplicateListModel::keep(int row) {
  if (row < 0 || row >= rowCount()) return;
  model_.keepCopy(groupAt(row).hashHex, fileAt(row).path);
}

void DuplicateListModel::selectAll() {
  model_.selectExtraCopies();
}

void DuplicateListModel::selectNone() {
  std::vector<std::string> selected(model_.duplicateSelected().begin(),
                                    model_.duplicateSelected().end());
  for (const auto& path : selected)
    model_.setDuplicateSelected(path, false);
}

void DuplicateListModel::reveal(int row) {
  if (row < 0 || row >= rowCount()) return;
  platform::revealInFileManager(fileAt(row).path);
}

void DuplicateListModel::requestMove() {
  model_.requestConfirm(ScanModel::ConfirmScope::duplicates);
}

void DuplicateListModel::requestShare() {
  model_.requestConfirm(ScanModel::ConfirmScope::sharing);
}

}  // namespace dw::ui
