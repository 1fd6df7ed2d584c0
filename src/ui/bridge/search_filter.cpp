#include "bridge/search_filter.h"

#include <algorithm>

#include "texts/lists.h"

namespace dw::ui {

SearchFilter::SearchFilter(QObject* parent) : QSortFilterProxyModel(parent) {
  for (auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved}) {
    connect(this, signal, this, &SearchFilter::countChanged);
  }
  connect(this, &QAbstractItemModel::modelReset, this, &SearchFilter::countChanged);
  connect(this, &QAbstractItemModel::layoutChanged, this, &SearchFilter::countChanged);
}

void SearchFilter::setSource(QAbstractItemModel* source) {
  if (source == sourceModel()) return;
  for (auto& connection : sourceChanges_)
    disconnect(connection);
  setSourceModel(source);
  setFilterRole(roleNamed("name"));
  if (source) {
    sourceChanges_[0] =
        connect(source, &QAbstractItemModel::dataChanged, this, &SearchFilter::countHidden);
    sourceChanges_[1] =
        connect(source, &QAbstractItemModel::modelReset, this, &SearchFilter::countHidden);
    sourceChanges_[2] =
        connect(source, &QAbstractItemModel::rowsInserted, this, &SearchFilter::countHidden);
    sourceChanges_[3] =
        connect(source, &QAbstractItemModel::rowsRemoved, this, &SearchFilter::countHidden);
  }
  countHidden();
  emit sourceChanged();
}

void SearchFilter::countHidden() {
  int hidden = 0;
  const int selected = roleNamed("selected");
  if (!query_.isEmpty() && selected >= 0) {
    QAbstractItemModel* source = sourceModel();
    for (int row = 0; row < source->rowCount(); ++row) {
      if (!filterAcceptsRow(row, {}) && source->data(source->index(row, 0), selected).toBool())
        ++hidden;
    }
  }
  if (hidden == hiddenSelected_) return;
  hiddenSelected_ = hidden;
  emit hiddenChanged();
}

QString SearchFilter::hiddenNote() const {
  return QString::fromStdString(texts::hiddenBySearch(hiddenSelected_));
}

void SearchFilter::setQuery(const QString& query) {
  if (query == query_) return;
  query_ = query;
  // The rows shown change as a whole (a view lays them out anew, as after a reset): which row
  // starts its group changes with them.
  invalidate();
  countHidden();
  emit queryChanged();
  emit countChanged();
}

bool SearchFilter::filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const {
  if (query_.isEmpty()) return true;
  QModelIndex index = sourceModel()->index(sourceRow, 0, sourceParent);
  return sourceModel()->data(index, filterRole()).toString().contains(query_, Qt::CaseInsensitive);
}

QStringList SearchFilter::keys() const {
  QStringList out;
  int role = roleNamed("key");
  for (int row = 0; row < rowCount(); ++row)
    out << data(index(row, 0), role).toString();
  return out;
}

QVariant SearchFilter::data(const QModelIndex& index, int role) const {
  if (role != groupStartRole() || !index.isValid()) return QSortFilterProxyModel::data(index, role);
  int group = roleNamed("group");
  if (group < 0) return {};
  return index.row() == 0 || data(this->index(index.row() - 1, 0), group) != data(index, group);
}

QHash<int, QByteArray> SearchFilter::roleNames() const {
  QHash<int, QByteArray> roles = QSortFilterProxyModel::roleNames();
  if (roleNamed("group") >= 0) roles.insert(groupStartRole(), "groupStart");
  return roles;
}

int SearchFilter::groupStartRole() const {
  int last = Qt::UserRole;
  if (sourceModel()) {
    for (int role : sourceModel()->roleNames().keys())
      last = std::max(last, role);
  }
  return last + 1;
}

int SearchFilter::roleNamed(const QByteArray& name) const {
  if (!sourceModel()) return -1;
  return sourceModel()->roleNames().key(name, -1);
}

}  // namespace dw::ui
