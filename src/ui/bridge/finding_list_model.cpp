#include "bridge/finding_list_model.h"

#include "clearing/clearing.h"
#include "findings/notes.h"
#include "findings/size_text.h"
#include "platform/desktop.h"
#include "texts/lists.h"

namespace dw::ui {

namespace {
QString q(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}
}  // namespace

static_assert(static_cast<int>(FindingListModel::Kind::Cache) ==
                  static_cast<int>(Finding::Kind::cache) &&
              static_cast<int>(FindingListModel::Kind::File) ==
                  static_cast<int>(Finding::Kind::file) &&
              static_cast<int>(FindingListModel::Kind::Leftover) ==
                  static_cast<int>(Finding::Kind::leftover));

FindingListModel::FindingListModel(ScanModel& model, Finding::Kind kind, QObject* parent)
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
  } else if (field == ScanModel::Field::phase) {
    emit listChanged();
  } else if (field == ScanModel::Field::selected) {
    if (!rows_.empty()) emit dataChanged(index(0), index(rowCount() - 1), {SelectedRole});
    emit selectionChanged();
  }
}

void FindingListModel::rebuild() {
  rows_.clear();
  const auto& findings = model_.caches();
  for (size_t i = 0; i < findings.size(); ++i) {
    if (findings[i].kind == kind_) rows_.push_back(i);
  }
}

const Finding& FindingListModel::at(int row) const {
  return model_.caches()[rows_[static_cast<size_t>(row)]];
}

const Finding* FindingListModel::find(const QString& key) const {
  for (size_t i : rows_) {
    if (QString::fromStdString(model_.caches()[i].id) == key) return &model_.caches()[i];
  }
  return nullptr;
}

std::vector<std::string> FindingListModel::ids(const QStringList& keys) const {
  std::vector<std::string> out;
  for (const QString& key : keys) {
    if (const Finding* f = find(key)) out.push_back(f->id);
  }
  return out;
}

int FindingListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant FindingListModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= rowCount()) return {};
  const Finding& f = at(index.row());
  switch (role) {
    case KeyRole:
      return QString::fromStdString(f.id);
    case NameRole:
      return QString::fromStdString(f.name);
    case NoteRole:
      return QString::fromStdString(notes::summary(f));
    case SizeTextRole:
      return QString::fromStdString(sizeOnDiskText(f.length, f.bytes));
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
          {LargestFilesRole, "largestFiles"}};
}

FindingListModel::Kind FindingListModel::kind() const {
  return static_cast<Kind>(kind_);
}

QString FindingListModel::summaryTitle() const {
  if (rows_.empty() && model_.mainScan().phase().kind() == ScanPhase::Kind::scanning)
    return QString::fromStdString(texts::scanningTitle(kind_));
  std::int64_t bytes = 0;
  for (size_t i : rows_)
    bytes = addBytes(bytes, model_.caches()[i].bytes);
  return QString::fromStdString(texts::summaryTitle(kind_, bytes, totalCount()));
}

QString FindingListModel::summaryDetail() const {
  return QString::fromStdString(texts::summaryDetail(kind_, model_.wording()));
}

QString FindingListModel::footerSummary() const {
  std::int64_t bytes = 0, count = 0;
  for (const auto& f : model_.itemsToClear(scopeOf(kind_))) {
    bytes = addBytes(bytes, f.bytes);
    ++count;
  }
  return QString::fromStdString(texts::footerSummary(kind_, bytes, count));
}

QString FindingListModel::footerDetail() const {
  return q(texts::kFooterDetail);
}

bool FindingListModel::canClear() const {
  return !model_.itemsToClear(scopeOf(kind_)).empty();
}

QString FindingListModel::emptySymbol() const {
  return q(texts::emptyState(kind_, model_.wording()).symbol);
}
QString FindingListModel::emptyTitle() const {
  return QString::fromStdString(texts::emptyState(kind_, model_.wording()).title);
}
QString FindingListModel::emptyDetail() const {
  return QString::fromStdString(texts::emptyState(kind_, model_.wording()).detail);
}
QString FindingListModel::sectionTitle() const {
  return QString::fromStdString(countNoun(totalCount(), texts::kindWord(kind_)));
}
QString FindingListModel::sectionDetail(int shown) const {
  return QString::fromStdString(texts::sectionDetail(shown, totalCount()));
}

void FindingListModel::toggle(const QString& key) {
  const Finding* f = find(key);
  if (f && f->removable) model_.toggle(f->id);
}

void FindingListModel::selectAll(const QStringList& keys) {
  model_.selectFindings(ids(keys), true);
}

void FindingListModel::selectNone(const QStringList& keys) {
  model_.selectFindings(ids(keys), false);
}

void FindingListModel::reveal(const QString& key) {
  const Finding* f = find(key);
  if (!f) return;
  std::string target = f->kind == Finding::Kind::leftover && !f->leftoverPaths.empty()
                           ? f->leftoverPaths.front()
                           : f->id;
  platform::revealInFileManager(target);
}

void FindingListModel::requestMove() {
  model_.requestConfirm(scopeOf(kind_));
}

}  // namespace dw::ui
