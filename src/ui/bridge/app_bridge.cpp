#include "bridge/app_bridge.h"

#include <QDateTime>

#include "base/time.h"
#include "bridge/date_text.h"
#include "clearing/cleared_groups.h"
#include "findings/size_text.h"
#include "platform/desktop.h"
#include "texts/cleared.h"
#include "texts/overview.h"
#include "texts/scan.h"

namespace dw::ui {

AppBridge::AppBridge(Locations places, QObject* parent)
    : QObject(parent),
      workspace_(platform::systemWorkspace()),
      defaults_(places.defaultsFile),
      gate_(defaults_),
      model_(std::make_unique<ScanModel>(dispatcher_, places, *workspace_, defaults_)),
      caches_(std::make_unique<FindingListModel>(*model_, Finding::Kind::cache)),
      leftovers_(std::make_unique<FindingListModel>(*model_, Finding::Kind::leftover)),
      files_(std::make_unique<FindingListModel>(*model_, Finding::Kind::file)),
      duplicates_(std::make_unique<DuplicateListModel>(*model_)),
      spaceMap_(std::make_unique<SpaceMapModel>(*model_)),
      apps_(std::make_unique<AppListModel>(*model_)),
      moves_(std::make_unique<MoveSheet>(*model_)) {
  model_->addObserver([this](ScanModel::Field field) { fieldChanged(field); });
  clock_.setInterval(30'000);
  connect(&clock_, &QTimer::timeout, this, &AppBridge::scannedTextChanged);
  clock_.start();
}

AppBridge::~AppBridge() = default;

void AppBridge::fieldChanged(ScanModel::Field field) {
  using F = ScanModel::Field;
  caches_->modelChanged(field);
  leftovers_->modelChanged(field);
  files_->modelChanged(field);
  duplicates_->modelChanged(field);
  spaceMap_->modelChanged(field);
  apps_->modelChanged(field);
  moves_->modelChanged(field);
  switch (field) {
    case F::phase:
      emit phaseChanged();
      emit dashboardChanged();
      break;
    case F::volume:
    case F::volumeName:
    case F::caches:
    case F::duplicateGroups:
      emit dashboardChanged();
      break;
    case F::lastScannedAt:
      emit scannedTextChanged();
      break;
    case F::scanArea:
      emit scanAreaChanged();
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

QString AppBridge::phase() const {
  switch (model_->phase().kind()) {
    case ScanModel::Phase::Kind::scanning:
      return "scanning";
    case ScanModel::Phase::Kind::ready:
      return "ready";
    case ScanModel::Phase::Kind::clearing:
      return "clearing";
    case ScanModel::Phase::Kind::failed:
      return "failed";
  }
  return "ready";
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

QString AppBridge::scannedText() const {
  return QString::fromStdString(texts::scan::scannedText(model_->lastScannedAt(), Clock::now()));
}

QString AppBridge::scanArea() const {
  return model_->scanArea() ? QString::fromStdString(*model_->scanArea()) : QString();
}

QString AppBridge::message() const {
  return QString::fromStdString(model_->message());
}

QString AppBridge::unreadNotice() const {
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
  // "Dustwhale <version> (<build>)"; this build carries no build number, shown as "—".
  return QStringLiteral("Dustwhale " DUSTWHALE_VERSION " (—)");
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
      ClearedLog::Status status = ClearedLog::status(e);
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
    groups.append(QVariantMap{
        {"dateText", date},
        {"header",
         QString::fromStdString(texts::cleared::groupHeader(
             date.toStdString(), static_cast<std::int64_t>(group.entries.size()), group.bytes))},
        {"entries", entries}});
  }
  return groups;
}

QString AppBridge::clearedTitle() const {
  return QString::fromStdString(
      texts::cleared::title(texts::cleared::bytesInTrash(model_->clearedEntries())));
}

QVariantMap AppBridge::storage() const {
  namespace overview = texts::overview;
  overview::StorageAmounts a = overview::storageAmounts(model_->volume(), model_->caches());
  auto part = [&](std::int64_t bytes) {
    return a.total > 0 ? static_cast<double>(bytes) / static_cast<double>(a.total) : 0.0;
  };
  QVariantList legend;
  for (const auto& s : overview::storageLegend(a)) {
    legend.append(QVariantMap{{"part", QString::fromStdString(s.part)},
                              {"label", QString::fromStdString(s.label)}});
  }
  return QVariantMap{
      {"used", part(a.used)},
      {"ready", part(a.ready)},
      {"held", part(a.held)},
      {"free", part(a.free)},
      {"totalText", QString::fromStdString(overview::totalText(a))},
      {"summary", QString::fromStdString(overview::storageSummary(a))},
      {"explanation", QString::fromStdString(overview::storageExplanation(a))},
      {"legend", legend},
      {"readyHeading", QString::fromStdString(overview::readyHeading(a.ready))},
      {"readyLine", QString::fromUtf8(overview::kReadyLine)},
      {"reviewTitle", QString::fromStdString(overview::reviewButton(a.ready))},
  };
}

QVariantList AppBridge::cards() const {
  std::optional<texts::overview::ExtraCopies> copies;
  const DuplicateFlow& duplicates = model_->duplicates();
  if (!duplicates.groups().empty()) {
    copies = texts::overview::ExtraCopies{duplicates.extraCopies(), duplicates.extraBytes()};
  }
  QVariantList out;
  for (const auto& c :
       texts::overview::cards(model_->caches(), scanning(), copies, model_->wording())) {
    out.append(QVariantMap{{"title", QString::fromStdString(c.title)},
                           {"symbol", QString::fromStdString(c.symbol)},
                           {"value", QString::fromStdString(c.value)},
                           {"detail", QString::fromStdString(c.detail)},
                           {"badge", QString::fromStdString(c.badge)},
                           {"badgeKind", QString::fromStdString(c.badgeKind)},
                           {"page", QString::fromStdString(c.page)}});
  }
  return out;
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
