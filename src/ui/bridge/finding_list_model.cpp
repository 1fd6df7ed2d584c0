#include "bridge/finding_list_model.h"

#include "findings/notes.h"
#include "findings/page_texts.h"
#include "findings/size_text.h"
#include "platform/desktop.h"

namespace dw::ui {

namespace {
QString q(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}
}  // namespace

FindingListModel::FindingListModel(ScanModel& model, CacheFinding::Kind kind, QObject* parent)
    : QAbstractListModel(parent), model_(model), kind_(kind) {
  rebuild();
}

void FindingListModel::modelChanged(ScanModel::Field field) {
  if (field == ScanModel::Field::caches) {
    beginResetModel();
    rebuild();
    endResetModel();
    emit listChanged();
    emit selectionChanged();
  } else if (field == ScanModel::Field::selected) {
    if (!rows_.empty()) emit dataChanged(index(0), index(rowCount() - 1), {SelectedRole});
    emit selectionChanged();
  }
}

void FindingListModel::rebuild() {
  rows_.clear();
  const auto& findings = model_.caches();
  for (size_t i = 0; i < findings.size(); ++i) {
    if (findings[i].kind != kind_) continue;
    // The search matches names, case-insensitively in any script.
    if (!query_.isEmpty() &&
        !QString::fromStdString(findings[i].name).contains(query_, Qt::CaseInsensitive)) {
      continue;
    }
    rows_.push_back(i);
  }
}

void FindingListModel::setQuery(const QString& query) {
  if (query == query_) return;
  beginResetModel();
  query_ = query;
  rebuild();
  endResetModel();
  emit queryChanged();
  emit listChanged();
}

const CacheFinding& FindingListModel::at(int row) const {
  return model_.caches()[rows_[static_cast<size_t>(row)]];
}

int FindingListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant FindingListModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= rowCount()) return {};
  const CacheFinding& f = at(index.row());
  switch (role) {
    case IdRole:
      return QString::fromStdString(f.id);
    case NameRole:
      return QString::fromStdString(f.name);
    case NoteRole:
      return QString::fromStdString(notes::summary(f));
    case SizeTextRole:
      return QString::fromStdString(sizeText(f.bytes));
    case BadgeRole:
      return QString::fromStdString(notes::badge(f));
    case BadgeKindRole:
      return q(notes::toneName(notes::badgeTone(f)));
    case SelectedRole:
      return model_.selected().count(f.id) > 0;
    case SelectableRole:
      return f.removable;
    case ShowsLockRole:
      return notes::showsLock(f);
    case WhySafeRole:
      return QString::fromStdString(notes::whySafe(f));
    case LastUsedRole:
      return QString::fromStdString(notes::lastUsedText(f));
    case LocationRole:
      return QString::fromStdString(f.path);
    case LargestFilesRole:
      return QString::fromStdString(notes::largestFilesText(f));
  }
  return {};
}

QHash<int, QByteArray> FindingListModel::roleNames() const {
  return {{IdRole, "findingId"},
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
          {LargestFilesRole, "largestFiles"}};
}

int FindingListModel::totalCount() const {
  int n = 0;
  for (const auto& f : model_.caches())
    n += f.kind == kind_;
  return n;
}

QString FindingListModel::summaryTitle() const {
  std::int64_t bytes = 0, count = 0;
  for (const auto& f : model_.caches()) {
    if (f.kind != kind_) continue;
    bytes += f.bytes;
    ++count;
  }
  return QString::fromStdString(pagetexts::summaryTitle(kind_, bytes, count));
}

QString FindingListModel::summaryDetail() const {
  return q(pagetexts::summaryDetail(kind_, pagetexts::folderNames(model_.places()), linuxHome()));
}

QString FindingListModel::footerSummary() const {
  std::int64_t bytes = 0, count = 0;
  for (const auto& f : model_.itemsToClear(scope())) {
    bytes += f.bytes;
    ++count;
  }
  return QString::fromStdString(pagetexts::footerSummary(kind_, bytes, count));
}

QString FindingListModel::footerDetail() const {
  return q(pagetexts::kFooterDetail);
}

bool FindingListModel::linuxHome() const {
  return model_.places().layout == Locations::Layout::linux;
}

bool FindingListModel::canClear() const {
  return !model_.itemsToClear(scope()).empty();
}

QString FindingListModel::emptySymbol() const {
  return q(
      pagetexts::emptyState(kind_, pagetexts::folderNames(model_.places()), linuxHome()).symbol);
}
QString FindingListModel::emptyTitle() const {
  return q(
      pagetexts::emptyState(kind_, pagetexts::folderNames(model_.places()), linuxHome()).title);
}
QString FindingListModel::emptyDetail() const {
  return q(
      pagetexts::emptyState(kind_, pagetexts::folderNames(model_.places()), linuxHome()).detail);
}
QString FindingListModel::sectionTitle() const {
  return QString::fromStdString(countNoun(totalCount(), pagetexts::kindWord(kind_)));
}

ScanModel::ConfirmScope FindingListModel::scope() const {
  switch (kind_) {
    case CacheFinding::Kind::cache:
      return ScanModel::ConfirmScope::caches;
    case CacheFinding::Kind::file:
      return ScanModel::ConfirmScope::files;
    case CacheFinding::Kind::leftover:
      return ScanModel::ConfirmScope::leftovers;
  }
  return ScanModel::ConfirmScope::caches;
}

void FindingListModel::toggle(int row) {
  if (row < 0 || row >= rowCount()) return;
  const CacheFinding& f = at(row);
  if (!f.removable) return;
  model_.toggle(f.id);
}

void FindingListModel::selectAll() {
  std::vector<std::string> ids;
  for (int r = 0; r < rowCount(); ++r)
    ids.push_back(at(r).id);
  model_.selectFindings(ids, true);
}

void FindingListModel::selectNone() {
  std::vector<std::string> ids;
  for (int r = 0; r < rowCount(); ++r)
    ids.push_back(at(r).id);
  model_.selectFindings(ids, false);
}

void FindingListModel::reveal(int row) {
  if (row < 0 || row >= rowCount()) return;
  const CacheFinding& f = at(row);
  std::string target = f.kind == CacheFinding::Kind::leftover && !f.leftoverPaths.empty()
                           ? f.leftoverPaths.front()
                           : f.id;
  platform::revealInFileManager(target);
}

void FindingListModel::requestMove() {
  model_.requestConfirm(scope());
}

}  // namespace dw::ui
