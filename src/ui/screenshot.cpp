#include "screenshot.h"

#include "texts/moves.h"
#include "texts/scan.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QThread>
#include <cstdio>
#include <functional>
#include <string_view>

namespace dw::ui {

bool waitFor(const std::function<bool()>& pred, int milliseconds) {
  QElapsedTimer timer;
  timer.start();
  while (!pred()) {
    if (timer.elapsed() > milliseconds) return pred();
    QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    QThread::msleep(5);
  }
  return true;
}

void settle(int milliseconds) {
  waitFor([] { return false; }, milliseconds);
}

namespace {

struct Shooter {
  AppWindow& window;
  QDir dir;
  QString appearance;
  bool ok = true;

  void call(const char* method, const QString& arg) {
    QMetaObject::invokeMethod(window.root, method, Q_ARG(QString, arg));
  }
  void call(const char* method, const char* arg) { call(method, QString(arg)); }
  void call(const char* method, bool arg) {
    QMetaObject::invokeMethod(window.root, method, Q_ARG(bool, arg));
  }
  void call(const char* method, int arg) {
    QMetaObject::invokeMethod(window.root, method, Q_ARG(int, arg));
  }
  // Gives the first visible item of this name (or, for a name ending in '.', of a name that
  // begins so) the keyboard as Tab would, so that it draws its ring.
  void focus(const QString& name) {
    std::function<QQuickItem*(QQuickItem*)> first = [&](QQuickItem* item) -> QQuickItem* {
      if (!item->isVisible()) return nullptr;
      if (item->objectName() == name || (name.endsWith('.') && item->objectName().startsWith(name)))
        return item;
      for (QQuickItem* child : item->childItems())
        if (QQuickItem* found = first(child)) return found;
      return nullptr;
    };
    auto* quick = qobject_cast<QQuickWindow*>(window.root);
    if (QQuickItem* item = first(quick->contentItem())) {
      item->forceActiveFocus(Qt::TabFocusReason);
      return;
    }
    std::fprintf(stderr, "dustwhale-gui: nothing visible named %s to focus\n", qPrintable(name));
    ok = false;
  }
  void set(const char* property, const QVariant& value) {
    window.root->setProperty(property, value);
  }
  void shoot(const QString& what, bool settled = true) {
    if (settled) settle(250);
    auto* quick = qobject_cast<QQuickWindow*>(window.root);
    QImage image = quick->grabWindow();
    QString path = dir.filePath(appearance + "-" + what + ".png");
    if (image.isNull() || !image.save(path)) {
      std::fprintf(stderr, "dustwhale-gui: could not write %s\n", qPrintable(path));
      ok = false;
    }
  }
};

// Every key of a list, as a page shows them with no search.
QStringList keysOf(const QAbstractItemModel& list) {
  int role = list.roleNames().key("key");
  QStringList keys;
  for (int row = 0; row < list.rowCount(); ++row)
    keys << list.data(list.index(row, 0), role).toString();
  return keys;
}

const char* const kPages[][2] = {
    {"dashboard", "overview"},     {"review", "caches"},
    {"leftovers", "leftovers"},    {"duplicates", "duplicates"},
    {"largeFiles", "large-files"}, {"spaceMap", "space-map"},
    {"apps", "uninstaller"},       {"recentlyCleared", "recently-cleared"}};

}  // namespace

bool renderScreenshots(AppWindow& window, const QString& dirPath, const QStringList& appearances) {
  QDir dir(dirPath);
  if (!dir.mkpath(".")) {
    std::fprintf(stderr, "dustwhale-gui: cannot make %s\n", qPrintable(dirPath));
    return false;
  }
  Shooter s{window, dir, {}};
  AppBridge& dw = *window.bridge;
  s.set("sheetsSuppressed", true);
  s.set("forcedSheet", "");
  // The skeleton: the first scan is running and nothing is listed yet. Its results reach the
  // window only through the event loop, which a grab without settling does not run.
  for (const QString& appearance : appearances) {
    s.appearance = appearance;
    s.call("setDark", appearance == "dark");
    s.call("showPage", "review");
    s.shoot("caches-scanning", false);
    s.call("showPage", "dashboard");
    s.shoot("overview-scanning", false);
  }
  if (!waitFor([&] { return !dw.scanning(); }, 120'000)) {
    std::fprintf(stderr, "dustwhale-gui: the scan did not finish\n");
    return false;
  }
  // The duplicate search over the chosen folders, so that the page shows its groups; the space
  // map with its largest folder selected.
  dw.model().findDuplicates();
  dw.model().buildSpaceMap();
  dw.model().refreshApps();
  if (!waitFor(
          [&] {
            return !dw.model().duplicatesScanning() && !dw.model().spaceScanning() &&
                   !dw.model().appsLoading();
          },
          120'000)) {
    std::fprintf(stderr, "dustwhale-gui: the duplicate search did not finish\n");
    return false;
  }
  dw.spaceMap()->move(0);
  const QStringList apps = keysOf(*dw.apps());
  dw.apps()->choose(apps.value(0));
  for (const QString& appearance : appearances) {
    s.appearance = appearance;
    s.call("setDark", appearance == "dark");
    for (const auto& page : kPages) {
      s.call("showPage", page[0]);
      s.shoot(page[1]);
    }

    // The smallest window the user can make.
    auto* quick = qobject_cast<QQuickWindow*>(window.root);
    const QSize normal = quick->size();
    quick->resize(quick->minimumSize());
    for (const char* page : {"dashboard", "review", "recentlyCleared"}) {
      s.call("showPage", page);
      s.shoot(QString("smallest-") + (page == std::string_view("dashboard") ? "overview"
                                      : page == std::string_view("review")  ? "caches"
                                                                            : "recently-cleared"));
    }
    for (const char* page : {"duplicates", "spaceMap", "apps"}) {
      s.call("showPage", page);
      s.shoot(QString("smallest-") + page);
    }
    quick->resize(normal);

    // The keyboard's focus ring on each kind of control: the sidebar, a list's current row, a
    // button, a check box, the Space Map.
    const char* const kFocused[][3] = {{"review", "sidebar", "focus-sidebar"},
                                       {"review", "page.list", "focus-row"},
                                       {"review", "sectionHeader.selectAll", "focus-link"},
                                       {"dashboard", "header.scan", "focus-button"},
                                       {"duplicates", "duplicates.folder.", "focus-check"},
                                       {"dashboard", "card.review", "focus-card"},
                                       {"spaceMap", "page.spaceMap", "focus-space-map"}};
    for (const auto& shot : kFocused) {
      s.call("showPage", shot[0]);
      settle(50);
      s.focus(shot[1]);
      s.shoot(shot[2]);
    }
    s.focus("sidebar");

    // The app's menu, open, in the theme's colours with its shortcuts.
    if (QObject* menu = window.root->findChild<QObject*>("menu.app")) {
      QMetaObject::invokeMethod(menu, "open");
      s.shoot("menu");
      QMetaObject::invokeMethod(menu, "close");
    }

    // Every extra copy picked: the selection and its footer.
    dw.model().selectExtraCopies();
    s.call("showPage", "duplicates");
    s.shoot("duplicates-selected");
    // Where the copies' file system shares blocks, the question of sharing them.
    if (dw.model().canShareDuplicates()) {
      dw.duplicates()->requestShare();
      s.set("forcedSheet", "confirm");
      s.shoot("sheet-confirm-share");
      dw.moves()->cancel();
      s.set("forcedSheet", "");
    }
    dw.model().selectNoCopies();

    s.call("showPage", "review");
    for (int step = 0; step < 3; ++step) {
      s.set("forcedSheet", "onboarding");
      s.call("setOnboardingStep", step);
      s.shoot("onboarding-" + QString::number(step));
    }
    s.set("forcedSheet", "fullDiskAccess");
    s.shoot("sheet-full-disk-access");
    s.set("forcedSheet", "about");
    s.shoot("sheet-about");

    // The confirmation of every cache, listed short and then whole.
    s.set("forcedSheet", "");
    s.call("showPage", "review");
    FindingListModel* caches = dw.findings(FindingListModel::Kind::Cache);
    const QStringList cacheKeys = keysOf(*caches);
    caches->selectAll(cacheKeys);
    // A search that hides chosen caches: the footer says so.
    if (cacheKeys.size() > 1) {
      const int nameRole = caches->roleNames().key("name");
      s.set("query", caches->data(caches->index(cacheKeys.size() - 1), nameRole));
      s.shoot("caches-search-hidden");
      s.set("query", "");
    }
    caches->requestMove();
    s.set("forcedSheet", "confirm");
    s.shoot("sheet-confirm");
    s.call("setConfirmShowAll", true);
    s.shoot("sheet-confirm-all");
    // The whole list at the smallest window: it scrolls within the window.
    quick->resize(quick->minimumSize());
    s.shoot("smallest-sheet-confirm-all");
    quick->resize(normal);
    s.call("setConfirmShowAll", false);

    // The same sheet while the caches move and once they have: pictures drawn from the core's
    // texts for this list. Nothing moves to take them.
    MoveSheet* moves = dw.moves();
    const int total = moves->count();
    if (total > 0) {
      const int done = total / 3;
      const auto& item = dw.model().moves().items()[static_cast<size_t>(done)];
      moves->showPicture(
          MoveSheet::Picture{MoveSheet::Stage::Moving,
                             QString::fromStdString(texts::progressLine(done, total, item.name)),
                             static_cast<double>(done) / total,
                             {}});
      s.shoot("sheet-confirm-moving");
      Clearing::Outcome outcome;
      outcome.movedBytes = dw.model().moves().bytes();
      moves->showPicture(MoveSheet::Picture{
          MoveSheet::Stage::Done,
          {},
          1.0,
          QString::fromStdString(texts::clearMessage(outcome, dw.model().wording()))});
      s.shoot("sheet-confirm-done");
      moves->showPicture(std::nullopt);
    }
    moves->cancel();

    // The Uninstaller's confirmation, of the largest app that may go.
    for (const QString& app : apps) {
      dw.apps()->choose(app);
      if (!dw.apps()->canUninstall()) continue;
      s.call("showPage", "apps");
      dw.apps()->requestMove();
      s.set("forcedSheet", "confirm");
      s.shoot("sheet-uninstall");
      dw.moves()->cancel();
      break;
    }
    dw.apps()->choose(apps.value(0));
    s.set("forcedSheet", "");

    // App leftovers when some Library folders could not be read (a home read in full has none
    // to show): the notice as the core words it, for two of the places looked in.
    std::vector<std::string> unread;
    for (const auto& location : dw.model().places().leftoverLocations) {
      if (unread.size() < 2) unread.push_back(location.display);
    }
    if (!unread.empty()) {  // a layout with no leftover locations has no such notice
      dw.showUnreadNoticePicture(
          QString::fromStdString(texts::scan::unreadNotice(unread, dw.model().wording())));
      s.call("showPage", "leftovers");
      s.shoot("leftovers-unread-notice");
      dw.showUnreadNoticePicture(std::nullopt);
    }
  }
  return s.ok;
}

}  // namespace dw::ui
