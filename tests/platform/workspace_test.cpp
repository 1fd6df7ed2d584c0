#include "platform/workspace.h"

#include <gtest/gtest.h>

#include <mutex>
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

  workspace->setAppEventHandler({});
  RunningProgram chrome("chrome");
  std::this_thread::sleep_for(1500ms);
  EXPECT_EQ(seen().size(), 2u) << "no events once the handler is cleared";
}

}  // namespace
}  // namespace dw
