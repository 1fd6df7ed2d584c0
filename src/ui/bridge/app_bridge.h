#pragma once
// The one object the QML sees: it owns the ScanModel (and what the model runs on), turns the
// model's change reports into property signals, and forwards the user's actions. It decides
// nothing a command-line user would miss: texts and rules come from the core.

#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariantList>
#include <QVariantMap>
#include <functional>
#include <memory>

#include "bridge/app_list_model.h"
#include "bridge/duplicate_list_model.h"
#include "bridge/finding_list_model.h"
#include "bridge/move_sheet.h"
#include "bridge/qt_dispatcher.h"
#include "bridge/space_map_model.h"
#include "model/onboarding_gate.h"
#include "model/scan_model.h"
#include "platform/defaults.h"
#include "platform/workspace.h"

namespace dw::ui {

class AppBridge : public QObject {
  Q_OBJECT
  Q_PROPERTY(QString phase READ phase NOTIFY phaseChanged)
  Q_PROPERTY(bool scanning READ scanning NOTIFY phaseChanged)
  Q_PROPERTY(bool clearing READ clearing NOTIFY phaseChanged)
  Q_PROPERTY(QString failureText READ failureText NOTIFY phaseChanged)
  Q_PROPERTY(QString scannedText READ scannedText NOTIFY scannedTextChanged)
  Q_PROPERTY(QString scanArea READ scanArea NOTIFY scanAreaChanged)
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
  Q_PROPERTY(QString volumeName READ volumeName NOTIFY dashboardChanged)
  Q_PROPERTY(QVariantMap storage READ storage NOTIFY dashboardChanged)
  Q_PROPERTY(QVariantList cards READ cards NOTIFY dashboardChanged)
  Q_PROPERTY(FindingListModel* caches READ caches CONSTANT)
  Q_PROPERTY(FindingListModel* leftovers READ leftovers CONSTANT)
  Q_PROPERTY(FindingListModel* files READ files CONSTANT)
  Q_PROPERTY(DuplicateListModel* duplicates READ duplicates CONSTANT)
  Q_PROPERTY(SpaceMapModel* spaceMap READ spaceMap CONSTANT)
  Q_PROPERTY(AppListModel* apps READ apps CONSTANT)
  Q_PROPERTY(MoveSheet* moves READ moves CONSTANT)

 public:
  explicit AppBridge(Locations places, QObject* parent = nullptr);
  ~AppBridge() override;

  ScanModel& model() { return *model_; }

  QString phase() const;
  bool scanning() const;
  bool clearing() const;
  QString failureText() const;
  QString scannedText() const;
  QString scanArea() const;
  QString message() const;
  QString unreadNotice() const;
  bool fullDiskAccessSetting() const;
  bool showFullDiskAccessPrompt() const { return model_->showFullDiskAccessPrompt(); }
  bool onboardingPresented() const { return gate_.presented(); }
  QString revealTitle() const;
  bool updatesConfigured() const { return false; }
  QString versionLine() const;
  int clearedCount() const { return static_cast<int>(model_->clearedEntries().size()); }
  // One map per clear: dateText, header, entries (name, from, sizeText, statusText, canPutBack,
  // id), newest clear first.
  QVariantList clearedGroups() const;
  // What is still in the Trash of what the log lists: "1.2 GB moved to the Trash".
  QString clearedTitle() const;
  // The clock Recently Cleared tells its dates by (the system's unless a test fixes one).
  void setClock(std::function<TimePoint()> now);
  QString volumeName() const { return QString::fromStdString(model_->volumeName()); }
  // The storage bar: fractions (used, ready, held, free), totalText, summary, explanation,
  // legend, readyHeading, readyLine, reviewTitle.
  QVariantMap storage() const;
  // The four category cards: title, symbol, value, detail, badge, badgeKind, page.
  QVariantList cards() const;
  FindingListModel* caches() { return caches_.get(); }
  FindingListModel* leftovers() { return leftovers_.get(); }
  FindingListModel* files() { return files_.get(); }
  DuplicateListModel* duplicates() { return duplicates_.get(); }
  SpaceMapModel* spaceMap() { return spaceMap_.get(); }
  AppListModel* apps() { return apps_.get(); }
  MoveSheet* moves() { return moves_.get(); }

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
  // Put Back of the log entry with this id; the outcome goes to the status line.
  Q_INVOKABLE void putBack(const QString& id);

 signals:
  void phaseChanged();
  void scannedTextChanged();
  void scanAreaChanged();
  void messageChanged();
  void unreadNoticeChanged();
  void showFullDiskAccessPromptChanged();
  void onboardingPresentedChanged();
  void clearedChanged();
  void dashboardChanged();

 private:
  void fieldChanged(ScanModel::Field field);

  std::unique_ptr<platform::Workspace> workspace_;
  platform::UserDefaults defaults_;
  OnboardingGate gate_;
  // Destroyed from the bottom up: the model, then the dispatcher, which waits for its tasks.
  QtDispatcher dispatcher_;
  std::unique_ptr<ScanModel> model_;
  std::unique_ptr<FindingListModel> caches_, leftovers_, files_;
  std::unique_ptr<DuplicateListModel> duplicates_;
  std::unique_ptr<SpaceMapModel> spaceMap_;
  std::unique_ptr<AppListModel> apps_;
  std::unique_ptr<MoveSheet> moves_;
  QTimer clock_;  // keeps "Scanned 5 minutes ago" current
  std::function<TimePoint()> now_ = [] { return Clock::now(); };
};

}  // namespace dw::ui
