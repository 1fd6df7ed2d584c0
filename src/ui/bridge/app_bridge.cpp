#include "bridge/app_bridge.h"

#include <algorithm>
#include <cstdlib>

#include "base/time.h"
#include "findings/page_texts.h"
#include "findings/size_text.h"
#include "platform/desktop.h"

namespace dw::ui {

namespace {
QString q(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}
}  // namespace

// ---- ConfirmListModel -----------------------------------------------------------------------

int ConfirmListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(items_.size());
}

QVariant ConfirmListModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= rowCount()) return {};
  const CacheFinding& f = items_[static_cast<size_t>(index.row())];
  switch (role) {
    case NameRole:
      return QString::fromStdString(f.name);
    case SizeTextRole:
      return QString::fromStdString(sizeText(f.bytes));
    case KindWordRole:
      return QString::fromStdString(pagetexts::kindWord(f.kind));
  }
  return {};
}

QHash<int, QByteArray> ConfirmListModel::roleNames() const {
  return {{NameRole, "name"}, {SizeTextRole, "sizeText"}, {KindWordRole, "kindWord"}};
}

void ConfirmListModel::reset(std::vector<CacheFinding> items) {
  beginResetModel();
  items_ = std::move(items);
  endResetModel();
}

// ---- AppBridge ------------------------------------------------------------------------------

AppBridge::AppBridge(Locations places, QObject* parent)
    : QObject(parent),
      workspace_(platform::systemWorkspace()),
      defaults_(places.defaultsFile),
      gate_(defaults_),
      model_(std::make_unique<ScanModel>(dispatcher_, places, *workspace_, defaults_)),
      caches_(std::make_unique<FindingListModel>(*model_, CacheFinding::Kind::cache)),
      leftovers_(std::make_unique<FindingListModel>(*model_, CacheFinding::Kind::leftover)),
      files_(std::make_unique<FindingListModel>(*model_, CacheFinding::Kind::file)) {
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
  switch (field) {
    case F::phase:
      if (!clearing()) stopping_ = false;
      emit phaseChanged();
      emit progressChanged();
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
    case F::confirm:
    case F::confirmScope:
    case F::selected:
    case F::caches:
      // The sheet lists what the clear would move now; while it moves, the list stands.
      if (model_->confirm() && !clearing()) {
        confirmItems_.reset(model_->itemsToClear(model_->confirmScope()));
      }
      emit confirmChanged();
      break;
    case F::progress:
      emit progressChanged();
      break;
    case F::offerRecentlyCleared:
      emit offerRecentlyClearedChanged();
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

QString AppBridge::scannedText() const {
  const auto& at = model_->lastScannedAt();
  if (!at) return "Not scanned yet";
  return QString::fromStdString("Scanned " + timefmt::relativeText(*at, Clock::now()));
}

QString AppBridge::scanArea() const {
  return model_->scanArea() ? QString::fromStdString(*model_->scanArea()) : QString();
}

QString AppBridge::message() const {
  return QString::fromStdString(model_->message());
}

QString AppBridge::confirmTitle() const {
  return QString::fromStdString(pagetexts::confirmTitle(confirmItems_.rowCount()));
}

QString AppBridge::confirmSize() const {
  std::int64_t bytes = 0;
  for (const auto& f : model_->itemsToClear(model_->confirmScope()))
    bytes += f.bytes;
  return QString::fromStdString(sizeText(bytes));
}

QString AppBridge::progressText() const {
  const auto& p = model_->progress();
  return p ? QString::fromStdString(pagetexts::progressText(p->done, p->total)) : QString();
}

QString AppBridge::progressCurrent() const {
  const auto& p = model_->progress();
  return p ? QString::fromStdString(p->current) : QString();
}

double AppBridge::progressFraction() const {
  const auto& p = model_->progress();
  return p && p->total > 0 ? static_cast<double>(p->done) / p->total : 0.0;
}

QString AppBridge::unreadNotice() const {
  const auto& unread = model_->unreadLeftoverLocations();
  if (unread.empty()) return {};
  return QString::fromStdString(
      pagetexts::unreadLeftoversNotice(unread, platform::hasFullDiskAccessSetting()));
}

bool AppBridge::fullDiskAccessSetting() const {
  return platform::hasFullDiskAccessSetting();
}

QString AppBridge::revealTitle() const {
  return q(platform::revealActionTitle());
}

QString AppBridge::versionLine() const {
  return QStringLiteral("Dustwhale " DUSTWHALE_VERSION);
}

QString AppBridge::confirmPutBackLine() const {
  return q(pagetexts::kConfirmPutBackLine);
}
QString AppBridge::confirmEmptyLine() const {
  return q(pagetexts::kConfirmEmptyLine);
}
QString AppBridge::confirmKeysHint() const {
  return q(pagetexts::kConfirmKeysHint);
}

int AppBridge::confirmListed() const {
  return pagetexts::kConfirmListed;
}
QString AppBridge::confirmShowAllText() const {
  return QString::fromStdString(pagetexts::showAllText(confirmItems_.rowCount()));
}
QString AppBridge::confirmMoreText() const {
  int notListed = std::max(0, confirmItems_.rowCount() - pagetexts::kConfirmListed);
  return QString::fromStdString(pagetexts::moreText(notListed));
}
QString AppBridge::stoppingText() const {
  return q(pagetexts::kStoppingText);
}

void AppBridge::openUrl(const QString& url) {
  platform::openUrl(url.toStdString());
}

void AppBridge::firstAppearance() {
  if (std::getenv("XCTestConfigurationFilePath")) return;
  model_->scan();
  model_->reloadCleared();
}

void AppBridge::scan() {
  model_->scan();
}

void AppBridge::reloadCleared() {
  model_->reloadCleared();
}

void AppBridge::requestConfirm(const QString& scope) {
  if (scope == "caches") model_->requestConfirm(ScanModel::ConfirmScope::caches);
  if (scope == "leftovers") model_->requestConfirm(ScanModel::ConfirmScope::leftovers);
  if (scope == "files") model_->requestConfirm(ScanModel::ConfirmScope::files);
}

void AppBridge::confirmMove() {
  model_->clearSelected();
}

void AppBridge::cancelConfirm() {
  if (clearing()) {
    stopping_ = true;
    model_->stopClearing();
    emit progressChanged();
    return;
  }
  model_->dismissConfirm();
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
  gate_.finish(openSettings && platform::hasFullDiskAccessSetting()
                   ? std::function<void()>([] { platform::openFullDiskAccessSettings(); })
                   : std::function<void()>());
  emit onboardingPresentedChanged();
}

void AppBridge::presentOnboarding() {
  gate_.present();
  emit onboardingPresentedChanged();
}

}  // namespace dw::ui
