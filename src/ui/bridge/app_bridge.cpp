#include "bridge/app_bridge.h"

#include <QDateTime>
#include <QQmlEngine>
#include <QVariantMap>

#include "base/time.h"
#include "bridge/date_text.h"
#include "clearing/cleared_groups.h"
#include "findings/size_text.h"
#include "platform/bundle_info.h"
#include "platform/desktop.h"
#include "platform/updates.h"
#include "texts/cleared.h"
#include "texts/scan.h"

namespace dw::ui {

namespace {
constexpr const char* kEngineProperty = "dustwhaleBridge";
}  // namespace

AppBridge::AppBridge(Locations places, bool startsDark, QObject* parent)
    : QObject(parent),
      workspace_(platform::systemWorkspace()),
      defaults_(places.defaultsFile),
      gate_(defaults_),
      model_(std::make_unique<ScanModel>(dispatcher_, places, *workspace_, defaults_)),
      lists_{std::make_unique<FindingListModel>(*model_, Finding::Kind::cache),
             std::make_unique<FindingListModel>(*model_, Finding::Kind::file),
             std::make_unique<FindingListModel>(*model_, Finding::Kind::leftover)},
      duplicates_(std::make_unique<DuplicateListModel>(*model_)),
      spaceMap_(std::make_unique<SpaceMapModel>(*model_)),
      apps_(std::make_unique<AppListModel>(*model_)),
      moves_(std::make_unique<MoveSheet>(*model_)),
      overview_(std::make_unique<OverviewModel>(*model_)),
      startsDark_(startsDark) {
  model_->addObserver([this](ScanModel::Field field) { fieldChanged(field); });
  clock_.setInterval(30'000);
  connect(&clock_, &QTimer::timeout, this, &AppBridge::scanStatusChanged);
  clock_.start();
}

AppBridge::~AppBridge() = default;

void AppBridge::serve(QQmlEngine& engine) {
  engine.setProperty(kEngineProperty, QVariant::fromValue(this));
}

AppBridge* AppBridge::create(QQmlEngine* engine, QJSEngine*) {
  auto* bridge = engine->property(kEngineProperty).value<AppBridge*>();
  if (bridge) QJSEngine::setObjectOwnership(bridge, QJSEngine::CppOwnership);
  return bridge;
}

void AppBridge::fieldChanged(ScanModel::Field field) {
  using F = ScanModel::Field;
  for (auto& list : lists_)
    list->modelChanged(field);
  duplicates_->modelChanged(field);
  spaceMap_->modelChanged(field);
  apps_->modelChanged(field);
  moves_->modelChanged(field);
  overview_->modelChanged(field);
  switch (field) {
    case F::phase:
      emit phaseChanged();
      emit scanStatusChanged();
      break;
    case F::lastScannedAt:
    case F::scanArea:
      emit scanStatusChanged();
      break;
    case F::message:
      emit messageChanged();
      break;
    case F::unreadLeftoverLocations:
      emit unreadNoticeChanged();
      break;
    case F::showFullDiskAccessPrompt:
      emit showFullDiskAccessPromptChanged();
      break;
    case F::clearedEntries:
      emit clearedChanged();
      break;
    default:
      break;
  }
}

AppBridge::Phase AppBridge::phase() const {
  switch (model_->phase().kind()) {
    case ScanModel::Phase::Kind::scanning:
      return Phase::Scanning;
    case ScanModel::Phase::Kind::ready:
      return Phase::Ready;
    case ScanModel::Phase::Kind::clearing:
      return Phase::Clearing;
    case ScanModel::Phase::Kind::failed:
      return Phase::Failed;
  }
  return Phase::Ready;
}

bool AppBridge::scanning() const {
  return model_->phase().kind() == ScanModel::Phase::Kind::scanning;
}

bool AppBridge::clearing() const {
  return model_->phase().kind() == ScanModel::Phase::Kind::clearing;
}

QString AppBridge::failureText() const {
  return QString::fromStdString(model_->phase().text());
}

QString AppBridge::scanStatus() const {
  // The area only while the scan runs: a move during a scan keeps it.
  std::optional<std::string> area = scanning() ? model_->scanArea() : std::nullopt;
  return QString::fromStdString(
      texts::scan::headerLine(area, model_->lastScannedAt(), Clock::now()));
}

QString AppBridge::message() const {
  return QString::fromStdString(model_->message());
}

QString AppBridge::unreadNotice() const {
  if (noticePicture_) return *noticePicture_;
  const auto& unread = model_->unreadLeftoverLocations();
  if (unread.empty()) return {};
  return QString::fromStdString(texts::scan::unreadNotice(unread, model_->wording()));
}

bool AppBridge::fullDiskAccessSetting() const {
  return model_->wording().fullDiskAccessSetting;
}

QString AppBridge::revealTitle() const {
  return QString::fromStdString(model_->wording().revealTitle);
}

QString AppBridge::versionLine() const {
  // "Dustwhale <version> (<build>)"; a Linux build carries no build number, shown as "—".
  return QString::fromStdString(platform::versionLine(platform::mainBundleInfo()));
}

bool AppBridge::updatesConfigured() const {
  return platform::updaterRunning();
}

void AppBridge::checkForUpdates() {
  platform::checkForUpdates();
}

void AppBridge::showUnreadNoticePicture(std::optional<QString> notice) {
  noticePicture_ = std::move(notice);
  emit unreadNoticeChanged();
}

void AppBridge::setClock(std::function<TimePoint()> now) {
  now_ = std::move(now);
  emit clearedChanged();
}

QVariantList AppBridge::clearedGroups() const {
  QVariantList groups;
  TimePoint now = now_();
  for (const auto& group : ClearedLog::groupBySession(model_->clearedEntries())) {
    QVariantList entries;
    for (const auto& e : group.entries) {
      ClearedLog::Status status = ClearedLog::status(e, model_->places());
      std::string putBackAt =
          e.putBackAt
              ? localShortTime(QDateTime::fromSecsSinceEpoch(Clock::to_time_t(*e.putBackAt)).time())
                    .toStdString()
              : std::string();
      entries.append(QVariantMap{
          {"id", QString::fromStdString(e.id)},
          {"name", QString::fromStdString(e.name)},
          {"from", QString::fromStdString(e.originalPath)},
          {"sizeText", QString::fromStdString(sizeText(e.bytes))},
          {"statusText", QString::fromStdString(texts::cleared::rowStatus(status, putBackAt))},
          {"canPutBack", status == ClearedLog::Status::inTrash}});
    }
    QString date = localDateText(group.latest, now);
    groups.append(QVariantMap{{"dateText", date},
                              {"header", QString::fromStdString(texts::cleared::cardHeader(
                                             date.toStdString(), group.entries, group.bytes))},
                              {"entries", entries}});
  }
  return groups;
}

QString AppBridge::clearedTitle() const {
  return QString::fromStdString(texts::cleared::title(
      texts::cleared::bytesInTrash(model_->clearedEntries(), model_->places())));
}

QString AppBridge::clearedShareNote() const {
  return QString::fromStdString(texts::cleared::shareNote(model_->clearedEntries()));
}

FindingListModel* AppBridge::findings(FindingListModel::Kind kind) {
  FindingListModel* list = lists_[static_cast<size_t>(kind)].get();
  // Returned to QML from a call: the list stays the bridge's.
  QJSEngine::setObjectOwnership(list, QJSEngine::CppOwnership);
  return list;
}

void AppBridge::openTrash() {
  platform::openTrashFolder(model_->places().home);
}

void AppBridge::putBack(const QString& id) {
  for (const auto& e : model_->clearedEntries()) {
    if (QString::fromStdString(e.id) == id) {
      ClearedLog::Entry entry = e;  // the model reloads the list it lives in
      model_->putBack(entry);
      return;
    }
  }
}

void AppBridge::openUrl(const QString& url) {
  platform::openUrl(url.toStdString());
}

void AppBridge::firstAppearance() {
  if (FlowContext::underTestHost()) return;
  model_->scan();
  model_->reloadCleared();
}

void AppBridge::scan() {
  model_->scan();
}

void AppBridge::reloadCleared() {
  model_->reloadCleared();
}

void AppBridge::closeFullDiskAccessPrompt(bool openSettings) {
  model_->closeFullDiskAccessPrompt(
      openSettings ? std::function<void()>([] { platform::openFullDiskAccessSettings(); })
                   : std::function<void()>());
}

void AppBridge::openFullDiskAccessSettings() {
  platform::openFullDiskAccessSettings();
}

void AppBridge::finishOnboarding(bool openSettings) {
  gate_.finish(openSettings && fullDiskAccessSetting()
                   ? std::function<void()>([] { platform::openFullDiskAccessSettings(); })
                   : std::function<void()>());
  emit onboardingPresentedChanged();
}

void AppBridge::presentOnboarding() {
  gate_.present();
  emit onboardingPresentedChanged();
}

}  // namespace dw::ui
