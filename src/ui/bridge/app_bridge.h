#pragma once
// The one object the QML sees: it owns the ScanModel (and what the model runs on), turns the
// model's change reports into property signals, and forwards the user's actions. It decides
// nothing a command-line user would miss: texts and rules come from the core.

#include <QAbstractListModel>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariantList>
#include <QVariantMap>
#include <functional>
#include <memory>
#include <vector>

#include "bridge/app_list_model.h"
#include "bridge/duplicate_list_model.h"
#include "bridge/finding_list_model.h"
#include "bridge/qt_dispatcher.h"
#include "bridge/space_map_model.h"
#include "model/onboarding_gate.h"
#include "model/scan_model.h"
#include "platform/defaults.h"
#include "platform/workspace.h"

namespace dw::ui {

// What the confirm sheet lists: the items the pending clear would move.
class ConfirmListModel : public QAbstractListModel {
  Q_OBJECT
 public:
  enum Role { NameRole = Qt::UserRole + 1, SizeTextRole, KindWordRole };
  using QAbstractListModel::QAbstractListModel;
  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;
  struct Entry {
    QString name;
    std::int64_t bytes = 0;
    QString kindWord;
    bool sized = true;  // false for an item whose size was never measured
  };
  void reset(std::vector<Entry> items);
  std::int64_t totalBytes() const;

 private:
  std::vector<Entry> items_;
};

class AppBridge : public QObject {
  Q_OBJECT
  Q_PROPERTY(QString phase READ phase NOTIFY phaseChanged)
  Q_PROPERTY(bool scanning READ scanning NOTIFY phaseChanged)
  Q_PROPERTY(bool clearing READ clearing NOTIFY phaseChanged)
  Q_PROPERTY(QString scannedText READ scannedText NOTIFY scannedTextChanged)
  Q_PROPERTY(QString scanArea READ scanArea NOTIFY scanAreaChanged)
  Q_PROPERTY(QString message READ message NOTIFY messageChanged)
  Q_PROPERTY(bool confirm READ confirm NOTIFY confirmChanged)
  Q_PROPERTY(bool confirmingUninstall READ confirmingUninstall NOTIFY confirmChanged)
  Q_PROPERTY(QString confirmTitle READ confirmTitle NOTIFY confirmChanged)
  Q_PROPERTY(QString confirmSize READ confirmSize NOTIFY confirmChanged)
  Q_PROPERTY(int confirmCount READ confirmCount NOTIFY confirmChanged)
  Q_PROPERTY(QObject* confirmItems READ confirmItems CONSTANT)
  Q_PROPERTY(QString progressText READ progressText NOTIFY progressChanged)
  Q_PROPERTY(QString progressCurrent READ progressCurrent NOTIFY progressChanged)
  Q_PROPERTY(double progressFraction READ progressFraction NOTIFY progressChanged)
  Q_PROPERTY(bool stopping READ stopping NOTIFY progressChanged)
  Q_PROPERTY(bool offerRecentlyCleared READ offerRecentlyCleared NOTIFY offerRecentlyClearedChanged)
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
  Q_PROPERTY(QString failureText READ failureText NOTIFY phaseChanged)
  Q_PROPERTY(QString volumeName READ volumeName NOTIFY dashboardChanged)
  Q_PROPERTY(QVariantMap storage READ storage NOTIFY dashboardChanged)
  Q_PROPERTY(QVariantList cards READ cards NOTIFY dashboardChanged)
  Q_PROPERTY(QObject* caches READ caches CONSTANT)
  Q_PROPERTY(QObject* leftovers READ leftovers CONSTANT)
  Q_PROPERTY(QObject* files READ files CONSTANT)
  Q_PROPERTY(QObject* duplicates READ duplicates CONSTANT)
  Q_PROPERTY(QObject* spaceMap READ spaceMap CONSTANT)
  Q_PROPERTY(QObject* apps READ apps CONSTANT)
  Q_PROPERTY(QString confirmPutBackLine READ confirmPutBackLine NOTIFY confirmChanged)
  Q_PROPERTY(QString confirmEmptyLine READ confirmEmptyLine NOTIFY confirmChanged)
  // The sheet asks to share copies instead of moving: its symbol and its button say so.
  Q_PROPERTY(bool confirmingShare READ confirmingShare NOTIFY confirmChanged)
  Q_PROPERTY(QString confirmAction READ confirmAction NOTIFY confirmChanged)
  Q_PROPERTY(QString confirmStaysLine READ confirmStaysLine NOTIFY confirmChanged)
  Q_PROPERTY(QString confirmSymbol READ confirmSymbol NOTIFY confirmChanged)
  Q_PROPERTY(QString clearedShareNote READ clearedShareNote NOTIFY clearedChanged)
  Q_PROPERTY(QString confirmKeysHint READ confirmKeysHint CONSTANT)
  Q_PROPERTY(int confirmListed READ confirmListed CONSTANT)
  Q_PROPERTY(QString confirmShowAllText READ confirmShowAllText NOTIFY confirmChanged)
  Q_PROPERTY(QString confirmMoreText READ confirmMoreText NOTIFY confirmChanged)
  Q_PROPERTY(QString stoppingText READ stoppingText CONSTANT)

 public:
  AppBridge(Locations places, QObject* parent = nullptr);
  ~AppBridge() override;

  ScanModel& model() { return *model_; }

  QString phase() const;
  bool scanning() const;
  bool clearing() const;
  QString scannedText() const;
  QString scanArea() const;
  QString message() const;
  // The confirm sheet is up: for a clear of a list (the model's confirm), or for an uninstall.
  bool confirm() const { return model_->confirm() || confirmingUninstall_; }
  bool confirmingUninstall() const { return confirmingUninstall_; }
  QString confirmTitle() const;
  QString confirmSize() const;
  int confirmCount() const { return confirmItems_.rowCount(); }
  QObject* confirmItems() { return &confirmItems_; }
  QString progressText() const;
  QString progressCurrent() const;
  double progressFraction() const;
  bool stopping() const { return stopping_; }
  bool offerRecentlyCleared() const { return model_->offerRecentlyCleared(); }
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
  // "Today, 14:05", "Mar 4" this year, "Mar 4, 2024" before, in the user's locale.
  static QString dateText(TimePoint when, TimePoint now);
  // The clock Recently Cleared tells its dates by (the system's unless a test fixes one).
  void setClock(std::function<TimePoint()> now);
  QString failureText() const;
  QString volumeName() const { return QString::fromStdString(model_->volumeName()); }
  // The storage bar: fractions (used, ready, held, free), totalText, summary, explanation,
  // readyHeading, readyLine, reviewTitle.
  QVariantMap storage() const;
  // The four category cards: title, symbol, value, detail, badge, badgeKind, page.
  QVariantList cards() const;
  QObject* caches() { return caches_.get(); }
  QObject* leftovers() { return leftovers_.get(); }
  QObject* files() { return files_.get(); }
  QObject* duplicates() { return duplicates_.get(); }
  QObject* spaceMap() { return spaceMap_.get(); }
  QObject* apps() { return apps_.get(); }
  QString confirmPutBackLine() const;
  bool confirmingShare() const {
    return model_->confirm() && !confirmingUninstall_ &&
           model_->confirmScope() == ScanModel::ConfirmScope::sharing;
  }
  QString confirmAction() const;
  // A share's copies that stay as they are, and why ("" when every one shares).
  QString confirmStaysLine() const;
  QString confirmSymbol() const;
  // Said on Recently Cleared when it lists a share: there is nothing to put back.
  QString clearedShareNote() const;
  QString confirmEmptyLine() const;
  QString confirmKeysHint() const;
  int confirmListed() const;
  QString confirmShowAllText() const;
  QString confirmMoreText() const;
  QString stoppingText() const;

  // The window's first appearance: scan, then load Recently Cleared (nothing under a test host).
  Q_INVOKABLE void firstAppearance();
  Q_INVOKABLE void scan();
  Q_INVOKABLE void reloadCleared();
  Q_INVOKABLE void confirmMove();
  Q_INVOKABLE void cancelConfirm();
  Q_INVOKABLE void closeFullDiskAccessPrompt(bool openSettings);
  Q_INVOKABLE void openFullDiskAccessSettings();
  Q_INVOKABLE void finishOnboarding(bool openSettings);
  Q_INVOKABLE void presentOnboarding();
  Q_INVOKABLE void openUrl(const QString& url);
  Q_INVOKABLE void openTrash();
  // Put Back of the log entry with this id; the outcome goes to the status line.
  Q_INVOKABLE void putBack(const QString& id);
  // The confirmation of a given list, as its footer button asks.
  Q_INVOKABLE void requestConfirm(const QString& scope);
  // The confirmation of the Uninstaller's chosen app: its bundle and related items.
  Q_INVOKABLE void requestUninstall();

 signals:
  void phaseChanged();
  void scannedTextChanged();
  void scanAreaChanged();
  void messageChanged();
  void confirmChanged();
  void progressChanged();
  void offerRecentlyClearedChanged();
  void unreadNoticeChanged();
  void showFullDiskAccessPromptChanged();
  void onboardingPresentedChanged();
  void clearedChanged();
  void dashboardChanged();

 private:
  void fieldChanged(ScanModel::Field field);
  // What the pending clear would move: the selected findings of its list, or the selected
  // extra copies.
  std::vector<ConfirmListModel::Entry> pendingEntries() const;

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
  ConfirmListModel confirmItems_;
  QTimer clock_;  // keeps "Scanned 5 minutes ago" current
  bool stopping_ = false;
  bool confirmingUninstall_ = false;
  std::function<TimePoint()> now_ = [] { return Clock::now(); };
};

}  // namespace dw::ui
