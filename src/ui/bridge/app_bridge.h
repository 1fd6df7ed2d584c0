#pragma once
// The one object the QML sees, as the singleton App: it owns the ScanModel (and what the model
// runs on), turns the model's change reports into property signals, and forwards the user's
// actions. It decides nothing a command-line user would miss: texts and rules come from the
// core.

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariantList>
#include <functional>
#include <memory>
#include <optional>

#include "bridge/app_list_model.h"
#include "bridge/duplicate_list_model.h"
#include "bridge/finding_list_model.h"
#include "bridge/move_sheet.h"
#include "bridge/overview_model.h"
#include "bridge/qt_dispatcher.h"
#include "bridge/space_map_model.h"
#include "model/onboarding_gate.h"
#include "model/scan_model.h"
#include "platform/defaults.h"
#include "platform/workspace.h"

class QQmlEngine;
class QJSEngine;

namespace dw::ui {

class AppBridge : public QObject {
  Q_OBJECT
  QML_NAMED_ELEMENT(App)
  QML_SINGLETON
  Q_PROPERTY(Phase phase READ phase NOTIFY phaseChanged)
  Q_PROPERTY(bool scanning READ scanning NOTIFY phaseChanged)
  Q_PROPERTY(bool clearing READ clearing NOTIFY phaseChanged)
  Q_PROPERTY(QString failureText READ failureText NOTIFY phaseChanged)
  // Under a page's title: the area a running scan measures, else when the last one ended.
  Q_PROPERTY(QString scanStatus READ scanStatus NOTIFY scanStatusChanged)
  Q_PROPERTY(QString message READ message NOTIFY messageChanged)
  Q_PROPERTY(QString unreadNotice READ unreadNotice NOTIFY unreadNoticeChanged)
  Q_PROPERTY(bool fullDiskAccessSetting READ fullDiskAccessSetting CONSTANT)
  Q_PROPERTY(bool showFullDiskAccessPrompt READ showFullDiskAccessPrompt NOTIFY
                 showFullDiskAccessPromptChanged)
  Q_PROPERTY(bool onboardingPresented READ onboardingPresented NOTIFY onboardingPresentedChanged)
  Q_PROPERTY(QString revealTitle READ revealTitle CONSTANT)
  Q_PROPERTY(bool updatesConfigured READ updatesConfigured CONSTANT)
  Q_PROPERTY(QString versionLine READ versionLine CONSTANT)
  Q_PROPERTY(int clearedCount READ clearedCount NOTIFY clearedChanged)
  Q_PROPERTY(QVariantList clearedGroups READ clearedGroups NOTIFY clearedChanged)
  Q_PROPERTY(QString clearedTitle READ clearedTitle NOTIFY clearedChanged)
  // Said on Recently Cleared when it lists a share: there is nothing to put back.
  Q_PROPERTY(QString clearedShareNote READ clearedShareNote NOTIFY clearedChanged)
  Q_PROPERTY(dw::ui::OverviewModel* overview READ overview CONSTANT)
  Q_PROPERTY(dw::ui::DuplicateListModel* duplicates READ duplicates CONSTANT)
  Q_PROPERTY(dw::ui::SpaceMapModel* spaceMap READ spaceMap CONSTANT)
  Q_PROPERTY(dw::ui::AppListModel* apps READ apps CONSTANT)
  Q_PROPERTY(dw::ui::MoveSheet* moves READ moves CONSTANT)
  // The appearance the window starts in.
  Q_PROPERTY(bool startsDark READ startsDark CONSTANT)

 public:
  enum class Phase { Scanning, Ready, Clearing, Failed };
  Q_ENUM(Phase)

  AppBridge(Locations places, bool startsDark, QObject* parent = nullptr);
  ~AppBridge() override;

  // The bridge of an engine: serve() before the engine loads the QML; the engine's App is then
  // this bridge, which stays the caller's to delete.
  void serve(QQmlEngine& engine);
  static AppBridge* create(QQmlEngine* engine, QJSEngine* scripts);

  ScanModel& model() { return *model_; }

  Phase phase() const;
  bool scanning() const;
  bool clearing() const;
  QString failureText() const;
  QString scanStatus() const;
  QString message() const;
  QString unreadNotice() const;
  bool fullDiskAccessSetting() const;
  bool showFullDiskAccessPrompt() const { return model_->showFullDiskAccessPrompt(); }
  bool onboardingPresented() const { return gate_.presented(); }
  QString revealTitle() const;
  // Whether an updater runs ("Check for Updates…" is available): never on Linux.
  bool updatesConfigured() const;
  QString versionLine() const;
  int clearedCount() const { return static_cast<int>(model_->clearedEntries().size()); }
  // One map per clear: dateText, header, entries (name, from, sizeText, statusText, canPutBack,
  // id), newest clear first.
  QVariantList clearedGroups() const;
  // What is still in the Trash of what the log lists: "1.2 GB moved to the Trash".
  QString clearedTitle() const;
  QString clearedShareNote() const;
  // The clock Recently Cleared tells its dates by (the system's unless a test fixes one).
  void setClock(std::function<TimePoint()> now);
  OverviewModel* overview() { return overview_.get(); }
  // The clean list of a kind of finding.
  Q_INVOKABLE dw::ui::FindingListModel* findings(dw::ui::FindingListModel::Kind kind);
  DuplicateListModel* duplicates() { return duplicates_.get(); }
  SpaceMapModel* spaceMap() { return spaceMap_.get(); }
  AppListModel* apps() { return apps_.get(); }
  MoveSheet* moves() { return moves_.get(); }
  bool startsDark() const { return startsDark_; }
  // The screenshot mode's picture of the notice above App leftovers, drawn from the core's texts
  // for folders it could read after all. None follows the model again.
  void showUnreadNoticePicture(std::optional<QString> notice);

  // The window's first appearance: scan, then load Recently Cleared (nothing under a test host).
  Q_INVOKABLE void firstAppearance();
  Q_INVOKABLE void scan();
  Q_INVOKABLE void reloadCleared();
  Q_INVOKABLE void closeFullDiskAccessPrompt(bool openSettings);
  Q_INVOKABLE void openFullDiskAccessSettings();
  Q_INVOKABLE void finishOnboarding(bool openSettings);
  Q_INVOKABLE void presentOnboarding();
  Q_INVOKABLE void openUrl(const QString& url);
  Q_INVOKABLE void openTrash();
  // The user's own check for updates; nothing where no updater runs.
  Q_INVOKABLE void checkForUpdates();
  // Put Back of the log entry with this id; the outcome goes to the status line.
  Q_INVOKABLE void putBack(const QString& id);

 signals:
  void phaseChanged();
  void scanStatusChanged();
  void messageChanged();
  void unreadNoticeChanged();
  void showFullDiskAccessPromptChanged();
  void onboardingPresentedChanged();
  void clearedChanged();

 private:
  void fieldChanged(ScanModel::Field field);

  std::unique_ptr<platform::Workspace> workspace_;
  platform::UserDefaults defaults_;
  OnboardingGate gate_;
  // Destroyed from the bottom up: the model, then the dispatcher, which waits for its tasks.
  QtDispatcher dispatcher_;
  std::unique_ptr<ScanModel> model_;
  std::unique_ptr<FindingListModel> lists_[3];  // by Finding::Kind
  std::unique_ptr<DuplicateListModel> duplicates_;
  std::unique_ptr<SpaceMapModel> spaceMap_;
  std::unique_ptr<AppListModel> apps_;
  std::unique_ptr<MoveSheet> moves_;
  std::unique_ptr<OverviewModel> overview_;
  QTimer clock_;  // keeps "Scanned 5 minutes ago" current
  std::function<TimePoint()> now_ = [] { return Clock::now(); };
  bool startsDark_ = false;
  std::optional<QString> noticePicture_;
};

}  // namespace dw::ui
