#include "bridge/app_list_model.h"

#include <QUrl>

#include "base/paths.h"
#include "bridge/date_text.h"
#include "findings/size_text.h"
#include "platform/desktop.h"
#include "scanners/uninstaller/app_uninstaller.h"
#include "texts/apps.h"

namespace dw::ui {

namespace {
QString q(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}
}  // namespace

AppListModel::AppListModel(ScanModel& model, QObject* parent)
    : QAbstractListModel(parent), model_(model) {}

void AppListModel::modelChanged(ScanModel::Field field) {
  using F = ScanModel::Field;
  if (field == F::installedApps || field == F::appsNeedingAdmin) {
    beginResetModel();
    current_.clear();
    endResetModel();
    emit listChanged();
    emit currentChanged();
  } else if (field == F::appsLoading) {
    emit listChanged();
  }
}

int AppListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(model_.installedApps().size());
}

QVariant AppListModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= rowCount()) return {};
  const auto& app = at(index.row());
  const bool needsAdmin = model_.appsNeedingAdmin().contains(app.bundlePath);
  switch (role) {
    case KeyRole:
      return QString::fromStdString(app.bundlePath);
    case NameRole:
      return QString::fromStdString(app.name);
    case SizeTextRole:
      return QString::fromStdString(sizeText(AppUninstaller::totalBytes(app)));
    case DetailRole:
      return QString::fromStdString(texts::apps::sizesLine(app));
    case RowTextRole:
      return QString::fromStdString(needsAdmin ? AppUninstaller::stayedForAdministratorRow()
                                               : AppUninstaller::rowText(app));
    case CurrentRole:
      return QString::fromStdString(app.bundlePath) == current_;
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
  return {{KeyRole, "key"},
          {NameRole, "name"},
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
  return model_.installedApps()[static_cast<size_t>(row)];
}

const AppUninstaller::AppRecord* AppListModel::find(const QString& key) const {
  for (const auto& app : model_.installedApps()) {
    if (QString::fromStdString(app.bundlePath) == key) return &app;
  }
  return nullptr;
}

const AppUninstaller::AppRecord* AppListModel::currentApp() const {
  return current_.isEmpty() ? nullptr : find(current_);
}

void AppListModel::listOnce() {
  if (!listed() && !loading()) refresh();
}

QString AppListModel::title() const {
  if (!listed()) return QStringLiteral("Looking for apps…");
  return QString::fromStdString(
      texts::apps::title(static_cast<std::int64_t>(model_.installedApps().size())));
}

QString AppListModel::detail() const {
  return q(texts::apps::detail(model_.wording()));
}

QString AppListModel::currentItemsHeading() const {
  auto* app = currentApp();
  return q(texts::apps::itemsHeading(app && AppUninstaller::removedWithSoftwareManager(*app)));
}

QString AppListModel::lastUsedText(const AppUninstaller::AppRecord& app, TimePoint now) {
  return QString::fromStdString(texts::apps::lastUsedLine(
      app.lastUsed ? localDateText(*app.lastUsed, now).toStdString() : std::string()));
}

QString AppListModel::currentName() const {
  auto* app = currentApp();
  return app ? QString::fromStdString(app->name) : QString();
}

QVariantList AppListModel::currentItems() const {
  QVariantList out;
  auto* app = currentApp();
  if (!app) return out;
  auto place = [&](const std::string& path) {
    return QString::fromStdString(texts::apps::itemPlace(path, model_.places()));
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
    out.append(QVariantMap{{"name", name(path)},
                           {"place", place(path)},
                           {"size", size(bytes)},
                           {"heading", i == 0 ? q(texts::apps::kUserFoldersHeading) : QString()}});
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

void AppListModel::choose(const QString& key) {
  if (key == current_ || (!key.isEmpty() && !find(key))) return;
  current_ = key;
  if (rowCount() > 0) emit dataChanged(index(0), index(rowCount() - 1), {CurrentRole});
  emit currentChanged();
}

void AppListModel::requestMove() {
  const AppUninstaller::AppRecord* app = currentApp();
  if (!app || model_.isClearRunning()) return;
  model_.setUninstallTarget(*app);
  model_.requestConfirm(ConfirmScope::app);
}

void AppListModel::reveal(const QString& key) {
  if (const AppUninstaller::AppRecord* app = find(key))
    platform::revealInFileManager(app->bundlePath);
}

}  // namespace dw::ui
