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

constexpr const char* kChrome = "com.google.Chrome";

TEST(SystemWorkspace, SeesChromeByItsProcessNames) {
  auto workspace = platform::systemWorkspace();
  EXPECT_FALSE(workspace->isRunning("com.example.unknown")) << "ids without a table row never run";
  if (!eventually([&] { return !workspace->isRunning(kChrome); }, 5s)) {
    GTEST_SKIP() << "a Chrome process of someone else's is running on this machine";
  }
  {
    // Longer than the 15 bytes the kernel keeps of a process name; found by its executable.
    RunningProgram chrome("google-chrome-stable");
    EXPECT_TRUE(eventually([&] { return workspace->isRunning(kChrome); }, 5s));
  }
  EXPECT_FALSE(workspace->isRunning(kChrome));
  RunningProgram other("chromium-ish");
  EXPECT_FALSE(workspace->isRunning(kChrome)) << "names are compared whole";
}

TEST(SystemWorkspace, ReportsLaunchAndQuitUntilTheHandlerIsCleared) {
  auto workspace = platform::systemWorkspace();
  if (!eventually([&] { return !workspace->isRunning(kChrome); }, 5s)) {
    GTEST_SKIP() << "a Chrome process of someone else's is running on this machine";
  }
  std::mutex mutex;
  std::vector<std::pair<std::string, bool>> events;
  auto seen = [&] {
    std::lock_guard lock(mutex);
    return events;
  };
  workspace->setAppEventHandler([&](const std::string& id, bool launched) {
    std::lock_guard lock(mutex);
    events.emplace_back(id, launched);
  });
  std::this_thread::sleep_for(100ms);  // the poller takes its first picture

  auto chrome = std::make_unique<RunningProgram>("chrome");
  ASSERT_TRUE(eventually([&] { return seen().size() == 1; }, 5s));
  EXPECT_EQ(seen()[0], std::make_pair(std::string(kChrome), true));
  chrome->stop();
  ASSERT_TRUE(eventually([&] { return seen().size() == 2; }, 5s));
  EXPECT_EQ(seen()[1], std::make_pair(std::string(kChrome), false));

  workspace->setAppEventHandler({});
  chrome = std::make_unique<RunningProgram>("chrome");
  std::this_thread::sleep_for(1500ms);
  EXPECT_EQ(seen().size(), 2u) << "no events once the handler is cleared";
}

}  // namespace
}  // namespace dw
