#include "bridge/app_list_model.h"

#include <QUrl>

#include "base/paths.h"
#include "bridge/date_text.h"
#include "findings/page_texts.h"
#include "findings/size_text.h"
#include "platform/desktop.h"
#include "scanners/uninstaller/app_uninstaller.h"

namespace dw::ui {

AppListModel::AppListModel(ScanModel& model, QObject* parent)
    : QAbstractListModel(parent), model_(model) {
  rebuild();
}

void AppListModel::modelChanged(ScanModel::Field field) {
  using F = ScanModel::Field;
  if (field == F::installedApps || field == F::appsNeedingAdmin) {
    beginResetModel();
    rebuild();
    current_ = -1;
    endResetModel();
    emit listChanged();
    emit currentChanged();
  } else if (field == F::appsLoading) {
    emit listChanged();
  }
}

void AppListModel::rebuild() {
  rows_.clear();
  const auto& apps = model_.installedApps();
  for (size_t i = 0; i < apps.size(); ++i) {
    if (!query_.isEmpty() &&
        !QString::fromStdString(apps[i].name).contains(query_, Qt::CaseInsensitive)) {
      continue;
    }
    rows_.push_back(i);
  }
}

void AppListModel::setQuery(const QString& query) {
  if (query == query_) return;
  beginResetModel();
  query_ = query;
  rebuild();
  current_ = -1;
  endResetModel();
  emit queryChanged();
  emit listChanged();
  emit currentChanged();
}

int AppListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant AppListModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= rowCount()) return {};
  const auto& app = at(index.row());
  const bool needsAdmin = model_.appsNeedingAdmin().contains(app.bundlePath);
  switch (role) {
    case NameRole:
      return QString::fromStdString(app.name);
    case SizeTextRole:
      return QString::fromStdString(sizeText(AppUninstaller::totalBytes(app)));
    case DetailRole:
      return QString::fromStdString("App " + sizeText(app.bundleBytes) + " · related " +
                                    sizeText(AppUninstaller::dataBytes(app)));
    case RowTextRole:
      return QString::fromStdString(needsAdmin ? AppUninstaller::stayedForAdministratorRow()
                                               : AppUninstaller::rowText(app));
    case CurrentRole:
      return index.row() == current_;
    case IconRole:
      return "image://appicon/" +
             QString::fromUtf8(QUrl::toPercentEncoding(QString::fromStdString(app.bundlePath)));
    case LastUsedRole:
      return lastUsedText(app, Clock::now());
    case NeedsAdminRole:
      return needsAdmin;
    case SoftwareManagerRole:
      return AppUninstaller::removedWithSoftwareManager(app);
  }
  return {};
}

QHash<int, QByteArray> AppListModel::roleNames() const {
  return {{NameRole, "name"},
          {SizeTextRole, "sizeText"},
          {DetailRole, "detail"},
          {RowTextRole, "rowText"},
          {CurrentRole, "current"},
          {IconRole, "iconSource"},
          {LastUsedRole, "lastUsed"},
          {NeedsAdminRole, "needsAdmin"},
          {SoftwareManagerRole, "softwareManager"}};
}

const AppUninstaller::AppRecord& AppListModel::at(int row) const {
  return model_.installedApps()[rows_[static_cast<size_t>(row)]];
}

const AppUninstaller::AppRecord* AppListModel::currentApp() const {
  if (current_ < 0 || current_ >= rowCount()) return nullptr;
  return &at(current_);
}

QString AppListModel::title() const {
  return QString::fromStdString(
      pagetexts::appsTitle(static_cast<std::int64_t>(model_.installedApps().size())));
}

QString AppListModel::detail() const {
  std::string_view text = model_.places().layout == Locations::Layout::linux
                              ? pagetexts::kLinuxAppsDetail
                              : pagetexts::kAppsDetail;
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QString AppListModel::currentItemsHeading() const {
  auto* app = currentApp();
  std::string_view text = app && AppUninstaller::removedWithSoftwareManager(*app)
                              ? pagetexts::kAppItemsStay
                              : pagetexts::kAppItemsMove;
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QString AppListModel::lastUsedText(const AppUninstaller::AppRecord& app, TimePoint now) {
  return "Last used " + (app.lastUsed ? localDateText(*app.lastUsed, now) : QString("—"));
}

QString AppListModel::currentName() const {
  auto* app = currentApp();
  return app ? QString::fromStdString(app->name) : QString();
}

QString AppListModel::itemName(const std::string& path) const {
  const std::string& library = model_.places().library;
  if (path.size() > library.size() + 1 && path.starts_with(library + "/")) {
    return QString::fromStdString(path.substr(library.size() + 1));
  }
  return QString::fromStdString(std::string(paths::lastComponent(path)));
}

QVariantList AppListModel::currentItems() const {
  QVariantList out;
  auto* app = currentApp();
  if (!app) return out;
  const std::string& home = model_.places().home;
  auto place = [&](const std::string& path) {
    std::string folder(paths::parent(path));
    if (folder == home || folder.starts_with(home + "/")) folder = "~" + folder.substr(home.size());
    return QString::fromStdString(folder);
  };
  auto name = [](const std::string& path) {
    return QString::fromStdString(std::string(paths::lastComponent(path)));
  };
  auto size = [](std::optional<std::int64_t> bytes) {
    return bytes ? QString::fromStdString(sizeText(*bytes)) : QString();
  };
  // A package's launcher stands for the package, whose size is not ours to measure.
  bool bundleSized = app->kind != AppUninstaller::AppRecord::Kind::package;
  out.append(
      QVariantMap{{"name", name(app->bundlePath)},
                  {"place", place(app->bundlePath)},
                  {"size", size(bundleSized ? std::optional(app->bundleBytes) : std::nullopt)}});
  for (size_t i = 0; i < app->related.size(); ++i) {
    const std::string& path = app->related[i];
    out.append(QVariantMap{{"name", name(path)},
                           {"place", place(path)},
                           {"size", size(AppUninstaller::relatedSize(*app, i))}});
  }
  // Its folders in the home stay whatever happens to the app; the first says so.
  for (size_t i = 0; i < app->userFolders.size(); ++i) {
    const std::string& path = app->userFolders[i];
    std::optional<std::int64_t> bytes;
    if (i < app->userFolderSizes.size()) bytes = app->userFolderSizes[i];
    out.append(QVariantMap{
        {"name", name(path)},
        {"place", place(path)},
        {"size", size(bytes)},
        {"heading", i == 0 ? QString::fromUtf8(
                                 AppUninstaller::kUserFoldersHeading.data(),
                                 static_cast<qsizetype>(AppUninstaller::kUserFoldersHeading.size()))
                           : QString()}});
  }
  return out;
}

QString AppListModel::currentSize() const {
  auto* app = currentApp();
  return app ? QString::fromStdString(sizeText(AppUninstaller::totalBytes(*app))) : QString();
}

bool AppListModel::canUninstall() const {
  auto* app = currentApp();
  return app && !AppUninstaller::refusal(*app, app->running, model_.places()).has_value();
}

void AppListModel::refresh() {
  model_.refreshApps();
}

void AppListModel::choose(int row) {
  if (row < 0 || row >= rowCount()) return;
  int before = current_;
  current_ = row;
  if (before >= 0) emit dataChanged(index(before), index(before), {CurrentRole});
  emit dataChanged(index(row), index(row), {CurrentRole});
  emit currentChanged();
}

void AppListModel::reveal(int row) {
  if (row < 0 || row >= rowCount()) return;
  platform::revealInFileManager(at(row).bundlePath);
}

}  // namespace dw::ui
