// dustwhale apps: the installed apps with the data they keep; dustwhale uninstall: one of them
// and its data moved to the Trash, every item restorable with put-back.

#include <unistd.h>

#include <iostream>

#include "base/paths.h"
#include "base/time.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/session.h"
#include "findings/size_text.h"
#include "scanners/uninstaller/app_uninstaller.h"
#include "texts/apps.h"
#include "texts/moves.h"

namespace dw::cli {

namespace {

using AppUninstaller::AppRecord;

std::string kindName(AppRecord::Kind kind) {
  switch (kind) {
    case AppRecord::Kind::bundle:
      return "bundle";
    case AppRecord::Kind::appImage:
      return "appimage";
    case AppRecord::Kind::flatpak:
      return "flatpak";
    case AppRecord::Kind::package:
      return "package";
  }
  return "bundle";
}

json::Value appJson(const AppRecord& app) {
  json::Value out{json::Object{}};
  out.set("name", app.name);
  out.set("bundleID", app.bundleID);
  out.set("bundlePath", app.bundlePath);
  out.set("bundleBytes", app.bundleBytes);
  json::Array related;
  for (const std::string& path : app.related)
    related.emplace_back(path);
  out.set("related", json::Value(std::move(related)));
  out.set("relatedBytes", app.relatedBytes);
  json::Array userFolders;
  for (const std::string& path : app.userFolders)
    userFolders.emplace_back(path);
  out.set("userFolders", json::Value(std::move(userFolders)));
  out.set("userFolderBytes", app.userFolderBytes);
  out.set("lastUsed", isoOrNull(app.lastUsed));
  out.set("running", app.running);
  out.set("apple", app.apple);
  out.set("own", app.own);
  out.set("ino", static_cast<std::int64_t>(app.ino));
  out.set("kind", kindName(app.kind));
  out.set("iconPath", app.iconPath);
  out.set("softwareManager", AppUninstaller::removedWithSoftwareManager(app));
  out.set("rowText", AppUninstaller::rowText(app));
  return out;
}

std::string appLine(const AppRecord& app, const std::set<std::string>& needingAdmin) {
  std::string line = displayText(app.name) + " · " + sizeText(app.bundleBytes) + " app · " +
                     sizeText(AppUninstaller::dataBytes(app)) + " data · " +
                     sizeText(AppUninstaller::totalBytes(app)) + " in all · last used " +
                     (app.lastUsed ? timefmt::localDate(*app.lastUsed) : "unknown");
  std::string row = AppUninstaller::rowText(app);
  if (needingAdmin.contains(app.bundlePath)) {
    row = AppUninstaller::stayedForAdministratorRow();
  }
  if (!row.empty()) line += " · " + row;
  return line;
}

// Lists the apps through the model, as the apps page does. Nothing moves meanwhile, so Ctrl-C
// may end the program at once.
void listApps(Session& session) {
  ScanModel& model = session.model();
  session.setQuitOnInterrupt(true);
  model.refreshApps();
  session.runUntil([&] { return !model.isAppsRefreshRunning(); }, [] {});
  session.setQuitOnInterrupt(false);
}

std::string absolutePath(const std::string& path) {
  if (!path.empty() && path.front() == '/') return paths::standardize(path);
  char cwd[4096];
  if (!::getcwd(cwd, sizeof cwd)) return paths::standardize(path);
  return paths::standardize(paths::join(cwd, path));
}

bool looksLikePath(const std::string& text) {
  return text.find('/') != std::string::npos || text.ends_with(".app") ||
         paths::asciiLower(text).ends_with(".appimage");
}

}  // namespace

Runner addApps(CLI::App& app) {
  struct Options {
    PlaceOptions places;
    bool json = false;
  };
  auto options = std::make_shared<Options>();
  CLI::App* cmd =
      app.add_subcommand("apps", "The installed apps with the data they keep, largest first");
  options->places.addTo(*cmd);
  cmd->add_flag("--json", options->json, "Print the apps as JSON");

  return [options] {
    Session session(options->places.locations());
    listApps(session);
    const ScanModel& model = session.model();
    if (options->json) {
      json::Array rows;
      for (const AppRecord& a : model.installedApps())
        rows.push_back(appJson(a));
      printJson(json::Value(std::move(rows)));
      return 0;
    }
    if (model.installedApps().empty()) {
      std::cout << texts::apps::noneFound(model.wording()) << '\n';
      return 0;
    }
    for (const AppRecord& a : model.installedApps())
      std::cout << appLine(a, model.appsNeedingAdmin()) << '\n';
    return 0;
  };
}

Runner addUninstall(CLI::App& app) {
  struct Options {
    PlaceOptions places;
    std::string target;
    bool dryRun = false;
    bool yes = false;
  };
  auto options = std::make_shared<Options>();
  CLI::App* cmd = app.add_subcommand(
      "uninstall", "Move an app and its data to the Trash (never deletes; put-back restores it)");
  options->places.addTo(*cmd);
  cmd->add_option("app", options->target,
                  "The app's name as `dustwhale apps` shows it, or its path")
      ->required();
  cmd->add_flag("--dry-run", options->dryRun, "List what would move; move nothing");
  cmd->add_flag("--yes", options->yes, "Do not ask (needed without a terminal)");

  return [options] {
    Locations places = options->places.locations();
    if (!options->dryRun) {
      if (auto refused = refuseInAnotherUsersHome(places)) return *refused;
    }
    Session session(std::move(places));
    ScanModel& model = session.model();
    listApps(session);

    std::optional<AppRecord> target;
    if (looksLikePath(options->target)) {
      std::string path = absolutePath(options->target);
      // A link to an app is the app it points to, as the listing has it.
      std::string resolved = paths::resolveSymlinks(path);
      for (const AppRecord& a : model.installedApps()) {
        std::string listed = paths::standardize(a.bundlePath);
        if (listed == path || listed == resolved) target = a;
      }
      if (!target) {
        // Not in the Applications folders: described anyway, so that it is refused by name.
        SharedMeasurer measurer({});
        auto workspace = platform::systemWorkspace();
        target = AppUninstaller::recordFor(path, model.places(), *workspace, measurer);
      }
      if (!target) {
        // Only an app is uninstalled; anything else is named for what it is.
        if (auto what = AppUninstaller::notAnApp(path, model.places())) {
          std::cerr << displayText(*what) << '\n';
          return 1;
        }
        std::cerr << "dustwhale: no app at " << displayText(path) << '\n';
        return 2;
      }
    } else {
      std::vector<AppRecord> named;
      for (const AppRecord& a : model.installedApps()) {
        if (a.name == options->target) named.push_back(a);
      }
      if (named.empty()) {
        std::cerr << "dustwhale: no app named " << displayText(options->target)
                  << " (see dustwhale apps)\n";
        return 2;
      }
      if (named.size() > 1) {
        std::cerr << "dustwhale: " << named.size() << " apps are named "
                  << displayText(options->target) << "; give the path of one:\n";
        for (const AppRecord& a : named)
          std::cerr << "  " << displayText(a.bundlePath) << '\n';
        return 2;
      }
      target = named.front();
    }

    const AppRecord& a = *target;
    // Refused (not ours to move, running, Apple's, this app): the refusal alone, before anything
    // is listed as if it would move.
    if (auto refused = AppUninstaller::refusal(a, a.running, model.places())) {
      std::cerr << displayText(*refused) << '\n';
      return 1;
    }
    model.setUninstallTarget(a);
    model.requestConfirm(ConfirmScope::app);
    printLines(texts::toMoveApp(displayItems(model.moves().items()), model.moves().bytes()));
    // The app's folders in the home stay where they are; shown so that nothing is a surprise.
    for (const std::string& line : texts::apps::staysLines(a, model.places()))
      std::cout << displayText(line) << '\n';
    if (auto ended = session.confirmMove(options->dryRun, options->yes)) return *ended;
    // Refused after all when it started running meanwhile. Ctrl-C stops it after the item in
    // hand, as it stops a clear; what moved stays logged.
    if (!session.runMove()) return 1;
    bool allMoved = model.moves().outcome().rfind("Some items stayed in place", 0) != 0;
    return allMoved ? 0 : 1;
  };
}

}  // namespace dw::cli
