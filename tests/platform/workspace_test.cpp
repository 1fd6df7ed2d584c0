#include "platform/workspace.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <mutex>
#include <set>
#include <vector>

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
