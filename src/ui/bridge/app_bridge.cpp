#include "bridge/app_bridge.h"

#include "bridge/date_text.h"

#include <QFileInfo>

#include <algorithm>
#include <cstdlib>

#include <QDateTime>
#include <QLocale>

#include "base/time.h"
#include "findings/dashboard.h"
#include "findings/page_texts.h"
#include "findings/size_text.h"
#include "platform/desktop.h"
#include "scanners/uninstaller/app_uninstaller.h"
#include "trash/cleared_groups.h"

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
  const Entry& e = items_[static_cast<size_t>(index.row())];
  switch (role) {
    case NameRole:
      return e.name;
    case SizeTextRole:
      return e.sized ? QString::fromStdString(sizeText(e.bytes)) : QString();
    case KindWordRole:
      return e.kindWord;
  }
  return {};
}

QHash<int, QByteArray> ConfirmListModel::roleNames() const {
  return {{NameRole, "name"}, {SizeTextRole, "sizeText"}, {KindWordRole, "kindWord"}};
}

std::int64_t ConfirmListModel::totalBytes() const {
  std::int64_t bytes = 0;
  for (const auto& e : items_)
    bytes += e.bytes;
  return bytes;
}

void ConfirmListModel::reset(std::vector<Entry> items) {
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
      files_(std::make_unique<FindingListModel>(*model_, CacheFinding::Kind::file)),
      duplicates_(std::make_unique<DuplicateListModel>(*model_)),
      spaceMap_(std::make_unique<SpaceMapModel>(*model_)),
      apps_(std::make_unique<AppListModel>(*model_)) {
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
  switch (field) {
    case F::phase:
      if (!clearing()) stopping_ = false;
      emit phaseChanged();
      emit progressChanged();
      emit dashboardChanged();
      // An uninstall that ended leaves its confirmation (the sheet shows the outcome now).
      if (!clearing() && confirmingUninstall_) {
        confirmingUninstall_ = false;
        emit confirmChanged();
      }
      break;
    case F::volume:
    case F::volumeName:
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
    case F::confirm:
    case F::confirmScope:
    case F::selected:
    case F::caches:
    case F::duplicateSelected:
    case F::duplicateGroups:
    case F::duplicateSharing:
      if (field == F::caches || field == F::duplicateGroups) emit dashboardChanged();
      // The sheet lists what the clear would move now; while it moves, the list stands.
      if (model_->confirm() && !clearing()) {
        confirmItems_.reset(pendingEntries());
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
  if (confirmingUninstall_ && model_->uninstallTarget()) {
    const auto& app = *model_->uninstallTarget();
    return QString::fromStdString(
        pagetexts::uninstallTitle(app.name, static_cast<std::int64_t>(app.related.size())));
  }
  if (confirmingShare()) {
    return QString::fromStdString(Sharing::question(confirmItems_.rowCount()));
  }
  return QString::fromStdString(pagetexts::confirmTitle(confirmItems_.rowCount()));
}

QString AppBridge::confirmSize() const {
  if (confirmingUninstall_ && model_->uninstallTarget()) {
    return QString::fromStdString(sizeText(AppUninstaller::movedBytes(*model_->uninstallTarget())));
  }
  if (confirmingShare()) {
    return QString::fromStdString("About " + sizeText(confirmItems_.totalBytes()) + " back");
  }
  return QString::fromStdString(sizeText(confirmItems_.totalBytes()));
}

std::vector<ConfirmListModel::Entry> AppBridge::pendingEntries() const {
  std::vector<ConfirmListModel::Entry> entries;
  if (model_->confirmScope() == ScanModel::ConfirmScope::sharing) {
    // The copies that will share, each with what it gives back.
    for (const auto& planned : model_->sharePlan().copies) {
      if (!planned.reason.empty()) continue;
      entries.push_back({QFileInfo(QString::fromStdString(planned.copy.path)).fileName(),
                         planned.freeable, QStringLiteral("shared copy")});
    }
    return entries;
  }
  if (model_->confirmScope() == ScanModel::ConfirmScope::duplicates) {
    for (const auto& group : model_->duplicateGroups()) {
      for (const auto& file : group.files) {
        if (!model_->duplicateSelected().count(file.path)) continue;
        entries.push_back({QFileInfo(QString::fromStdString(file.path)).fileName(), file.bytes,
                           QStringLiteral("extra copy")});
      }
    }
    return entries;
  }
  for (const auto& f : model_->itemsToClear(model_->confirmScope())) {
    entries.push_back({QString::fromStdString(f.name), f.bytes,
                       QString::fromStdString(pagetexts::kindWord(f.kind))});
  }
  return entries;
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
  // "Dustwhale <version> (<build>)"; this build carries no build number, shown as "—".
  return QStringLiteral("Dustwhale " DUSTWHALE_VERSION " (—)");
}

QString AppBridge::confirmPutBackLine() const {
  if (confirmingShare()) return QString::fromStdString(Sharing::stayLine());
  return q(pagetexts::kConfirmPutBackLine);
}
QString AppBridge::confirmEmptyLine() const {
  if (confirmingShare()) return QString::fromStdString(Sharing::spaceLine());
  return q(pagetexts::kConfirmEmptyLine);
}
QString AppBridge::confirmAction() const {
  return confirmingShare() ? q(Sharing::kShareButton) : QStringLiteral("Move to Trash");
}
QString AppBridge::confirmStaysLine() const {
  return confirmingShare() ? QString::fromStdString(Sharing::staysLine(model_->sharePlan()))
                           : QString();
}
QString AppBridge::confirmSymbol() const {
  return confirmingShare() ? QStringLiteral("square.on.square") : QStringLiteral("trash");
}
QString AppBridge::clearedShareNote() const {
  for (const auto& e : model_->clearedEntries()) {
    if (ClearedLog::isShare(e)) return q(ClearedLog::kNothingToPutBack);
  }
  return {};
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

QString AppBridge::dateText(TimePoint when, TimePoint now) {
  return localDateText(when, now);
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
    std::int64_t shared = 0;
    bool shares = !group.entries.empty();
    for (const auto& e : group.entries) {
      int status = ClearedLog::status(e, model_->places());
      QString statusText;
      shares = shares && ClearedLog::isShare(e);
      shared += static_cast<std::int64_t>(e.shared.size());
      if (ClearedLog::isShare(e)) {
        statusText = QString::fromStdString(ClearedLog::statusText(e, model_->places()));
      } else if (status == 3) {
        statusText = QString::fromUtf8(ClearedLog::kPutBackByHand.data(),
                                       static_cast<qsizetype>(ClearedLog::kPutBackByHand.size()));
      } else if (status == 1) {
        statusText =
            e.putBackAt
                ? "Put back " +
                      localShortTime(
                          QDateTime::fromSecsSinceEpoch(Clock::to_time_t(*e.putBackAt)).time())
                : QString("Already put back");
      } else if (status == 2) {
        statusText = "Trash emptied";
      }
      entries.append(QVariantMap{{"id", QString::fromStdString(e.id)},
                                 {"name", QString::fromStdString(e.name)},
                                 {"from", QString::fromStdString(e.originalPath)},
                                 {"sizeText", QString::fromStdString(sizeText(e.bytes))},
                                 {"statusText", statusText},
                                 {"canPutBack", status == 0}});
    }
    QString date = dateText(group.latest, now);
    // A share moved nothing: its card counts the copies that now share, and what came back.
    std::string counted =
        shares ? countNoun(shared, "shared copy") + " · " + sizeText(group.bytes) + " freed"
               : countNoun(static_cast<std::int64_t>(group.entries.size()), "item") + " · " +
                     sizeText(group.bytes);
    groups.append(QVariantMap{{"dateText", date},
                              {"header", date + " · " + QString::fromStdString(counted)},
                              {"entries", entries}});
  }
  return groups;
}

QString AppBridge::failureText() const {
  return QString::fromStdString(model_->phase().text());
}

QVariantMap AppBridge::storage() const {
  dashboard::StorageAmounts a = dashboard::storageAmounts(model_->volume(), model_->caches());
  auto part = [&](std::int64_t bytes) {
    return a.total > 0 ? static_cast<double>(bytes) / static_cast<double>(a.total) : 0.0;
  };
  QVariantList legend;
  for (const auto& s : dashboard::storageLegend(a)) {
    legend.append(QVariantMap{{"part", QString::fromStdString(s.part)},
                              {"label", QString::fromStdString(s.label)}});
  }
  return QVariantMap{
      {"used", part(a.used)},
      {"ready", part(a.ready)},
      {"held", part(a.held)},
      {"free", part(a.free)},
      {"totalText", QString::fromStdString(sizeText(a.total) + " total")},
      {"summary", QString::fromStdString(dashboard::storageSummary(a))},
      {"explanation", QString::fromStdString(dashboard::storageExplanation(a))},
      {"legend", legend},
      {"readyHeading", QString::fromStdString(dashboard::readyHeading(a.ready))},
      {"readyLine", QString::fromUtf8(dashboard::kReadyLine)},
      {"reviewTitle", QString::fromStdString(dashboard::reviewButton(a.ready))},
  };
}

QVariantList AppBridge::cards() const {
  std::optional<std::int64_t> files;
  std::int64_t bytes = 0;
  if (!model_->duplicateGroups().empty()) {
    files = 0;
    for (const auto& g : model_->duplicateGroups()) {
      auto extra = static_cast<std::int64_t>(g.files.size()) - 1;
      *files += extra;
      bytes += extra * g.bytes;
    }
  }
  QVariantList out;
  for (const auto& c : dashboard::cards(model_->caches(), scanning(), files, bytes,
                                        pagetexts::folderNames(model_->places()))) {
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

QString AppBridge::clearedTitle() const {
  std::int64_t bytes = 0;
  for (const auto& e : model_->clearedEntries()) {
    if (ClearedLog::status(e, model_->places()) == 0) bytes += e.bytes;
  }
  return QString::fromStdString(sizeText(bytes) + " moved to the Trash");
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
  if (scope == "duplicates") model_->requestConfirm(ScanModel::ConfirmScope::duplicates);
}

void AppBridge::requestUninstall() {
  const auto* app = apps_->currentApp();
  if (!app || clearing()) return;
  model_->setUninstallTarget(*app);
  std::vector<ConfirmListModel::Entry> entries;
  entries.push_back(
      {QString::fromStdString(app->name), app->bundleBytes, q(pagetexts::kAppKindWord)});
  for (size_t i = 0; i < app->related.size(); ++i) {
    std::optional<std::int64_t> bytes = AppUninstaller::relatedSize(*app, i);
    entries.push_back({apps_->itemName(app->related[i]), bytes.value_or(0),
                       q(pagetexts::kAppDataKindWord), bytes.has_value()});
  }
  confirmItems_.reset(std::move(entries));
  confirmingUninstall_ = true;
  emit confirmChanged();
}

void AppBridge::confirmMove() {
  if (confirmingUninstall_) {
    model_->uninstall();
    // Refused (it was opened meanwhile, say): the reason is in the status line.
    if (!clearing()) {
      confirmingUninstall_ = false;
      emit confirmChanged();
    }
    return;
  }
  if (model_->confirmScope() == ScanModel::ConfirmScope::duplicates) {
    model_->clearDuplicates();
    return;
  }
  if (model_->confirmScope() == ScanModel::ConfirmScope::sharing) {
    model_->shareDuplicates();
    return;
  }
  model_->clearSelected();
}

void AppBridge::cancelConfirm() {
  if (clearing()) {
    stopping_ = true;
    model_->stopClearing();
    emit progressChanged();
    return;
  }
  if (confirmingUninstall_) {
    confirmingUninstall_ = false;
    model_->setUninstallTarget(std::nullopt);
    emit confirmChanged();
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
