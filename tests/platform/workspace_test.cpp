#include "platform/workspace.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <set>
#include <vector>

#include "platform/open_files.h"
#include "support/home_builder.h"

namespace dw {
namespace {

using namespace std::chrono_literals;
using test::eventually;
using test::RunningProgram;
const std::string kChrome = "com.google.Chrome";

TEST(SystemWorkspace, SeesChromeByItsProcessNamesAndReportsLaunchAndQuit) {
  auto workspace = platform::systemWorkspace();
  EXPECT_FALSE(workspace->isRunning("com.example.unknown")) << "ids without a table row never run";
  auto running = [&] { return workspace->isRunning(kChrome); };
  if (!eventually([&] { return !running(); }, 5s))
    GTEST_SKIP() << "a Chrome process of someone else's is running on this machine";
  std::mutex mutex;
  std::vector<std::pair<std::string, bool>> events;
  auto seen = [&] { return std::lock_guard(mutex), events; };
  workspace->setAppEventHandler([&](const std::string& id, bool launched) {
    std::lock_guard lock(mutex);
    events.emplace_back(id, launched);
  });
  std::this_thread::sleep_for(100ms);  // the poller takes its first picture
  {
    // Longer than the 15 bytes the kernel keeps of a process name; found by its executable.
    RunningProgram chrome("google-chrome-stable");
    EXPECT_TRUE(eventually([&] { return running() && seen().size() == 1; }, 5s));
  }
  EXPECT_FALSE(running());
  ASSERT_TRUE(eventually([&] { return seen().size() == 2; }, 5s));
  EXPECT_EQ(seen(), (decltype(events){{kChrome, true}, {kChrome, false}}));
  RunningProgram other("chromium-ish");
  EXPECT_FALSE(running()) << "names are compared whole";
  if (::getuid() == 0) {
    RunningProgram someoneElses("chrome", "", 65534);
    auto nobodysChromeRuns = [] {
      for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        struct stat s {};
        std::ifstream comm(entry.path() / "comm");
        std::string name;
        if (::stat(entry.path().c_str(), &s) == 0 && s.st_uid == 65534 &&
            std::getline(comm, name) && name == "chrome")
          return true;
      }
      return false;
    };
    ASSERT_TRUE(eventually(nobodysChromeRuns, 5s));
    EXPECT_FALSE(running()) << "another user's Chrome does not hold this user's caches";
  }

  workspace->setAppEventHandler({});
  RunningProgram chrome("chrome");
  std::this_thread::sleep_for(1500ms);
  EXPECT_EQ(seen().size(), 2u) << "no events once the handler is cleared";
}

}  // namespace
}  // namespace dw

namespace dw {
namespace {

TEST(FlatpakProcesses, TheAppIsReadFromTheSandboxInfoOrTheCgroup) {
  using platform::flatpakAppOfCgroup;
  using platform::flatpakAppOfInfo;
  EXPECT_EQ(flatpakAppOfInfo("[Application]\nname=org.gnome.Calculator\nruntime=runtime/x\n"
                             "\n[Instance]\nname=other\n"),
            "org.gnome.Calculator");
  EXPECT_EQ(flatpakAppOfInfo("[Runtime]\nname=org.gnome.Platform\r\n"), "");
  EXPECT_EQ(flatpakAppOfInfo("[Instance]\nname=x\n[Application]\r\nname=org.a.B\r\n"), "org.a.B");
  EXPECT_EQ(flatpakAppOfInfo(""), "");
  EXPECT_EQ(flatpakAppOfCgroup("0::/user.slice/user-1000.slice/user@1000.service/app.slice/"
                               "app-flatpak-org.gnome.Calculator-4242.scope\n"),
            "org.gnome.Calculator");
  EXPECT_EQ(flatpakAppOfCgroup("0::/user.slice/user-1000.slice/user@1000.service/app.slice/"
                               "app-flatpak-org.example.my-app-17.scope/sub\n"),
            "org.example.my-app");
  for (const char* none : {"0::/user.slice/app-gnome-firefox-12.scope\n",
                           "0::/app.slice/app-flatpak-org.a.B-x1.scope\n",
                           "0::/app.slice/app-flatpak-org.a.B-12.service\n", ""})
    EXPECT_EQ(flatpakAppOfCgroup(none), "") << none;
}

TEST(FlatpakProcesses, AProgramRunningItsOwnFileIsSeenByThatFile) {
  std::set<std::string> executables = platform::runningExecutables();
  char self[4096];
  ssize_t n = ::readlink("/proc/self/exe", self, sizeof self - 1);
  ASSERT_GT(n, 0);
  EXPECT_TRUE(executables.contains(std::string(self, static_cast<size_t>(n))));
}

}  // namespace
}  // namespace dw

namespace dw {
namespace {

TEST(KnownPrograms, AProcessIsKnownByItsExecutableAndByItsNameOnlyWithoutOne) {
  using platform::knownProgramOf;
  auto name = [](const platform::KnownProgram* p) {
    return p ? std::string(p->name) : std::string("-");
  };
  // Content processes run the browser's executable under names of their own.
  EXPECT_EQ(name(knownProgramOf("Web Content", "/usr/lib/firefox-esr/firefox-esr")), "Firefox");
  EXPECT_EQ(name(knownProgramOf("Isolated Web Co", "/usr/lib/firefox/firefox (deleted)")),
            "Firefox");
  EXPECT_EQ(name(knownProgramOf("code", "/usr/share/code/code")), "Visual Studio Code");
  EXPECT_EQ(name(knownProgramOf("steamwebhelper", "/home/me/.steam/steamwebhelper")), "Steam");
  // A program called "firefox" that runs something else is that something else.
  EXPECT_EQ(name(knownProgramOf("firefox", "/usr/bin/sleep")), "-");
  EXPECT_EQ(name(knownProgramOf("chromium-ish", "/tmp/chromium-ish")), "-");
  // Without a readable executable, its own names are all there is.
  EXPECT_EQ(name(knownProgramOf("thunderbird\n", "")), "Thunderbird");
  EXPECT_EQ(name(knownProgramOf("google-chrome-s", "", "/opt/google/chrome/google-chrome-stable")),
            "Chrome");
  EXPECT_EQ(platform::programName("Web Content", "/usr/lib/firefox-esr/firefox-esr"), "Firefox");
  EXPECT_EQ(platform::programName("rg", "/usr/bin/rg"), "rg");
  EXPECT_EQ(platform::programName("", "/opt/tool/bin/cachewriter (deleted)"), "cachewriter");
  // Each program's caches and identifiers.
  EXPECT_EQ(name(platform::programOfCacheFolder("mozilla")), "Firefox");
  EXPECT_EQ(name(platform::programOfCacheFolder("com.tinyspeck.slackmacgap")), "Slack");
  EXPECT_EQ(name(platform::programOfCacheFolder("pip")), "-");
  for (std::string_view wanted : {"Firefox", "Chromium", "Chrome", "Thunderbird",
                                  "Visual Studio Code", "Slack", "Spotify", "Discord", "Steam"}) {
    auto known = platform::knownPrograms();
    EXPECT_TRUE(std::any_of(known.begin(), known.end(), [&](const auto& p) {
      return p.name == wanted;
    })) << wanted;
  }
  EXPECT_EQ(platform::argv0Of(std::string("/usr/bin/slack\0--no-sandbox\0", 27)), "/usr/bin/slack");
}

TEST(SystemWorkspace, SeesABrowserOtherThanChromeUnderItsIdentifier) {
  auto workspace = platform::systemWorkspace();
  test::RunningProgram firefox("firefox");
  EXPECT_TRUE(eventually([&] { return workspace->isRunning("org.mozilla.firefox"); }, 5s));
  EXPECT_FALSE(workspace->isRunning(kChrome));
}

}  // namespace
}  // namespace dw
