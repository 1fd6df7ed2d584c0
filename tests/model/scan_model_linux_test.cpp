// The main scan of a Linux-shaped home: the model gathers which program holds which cache file
// open once, before the caches are measured, and the scan's findings carry it.

#include <gtest/gtest.h>

#include "model/scan_model.h"
#include "support/home_builder.h"
#include "support/test_workspace.h"

namespace dw {
namespace {

using namespace std::chrono_literals;
constexpr std::int64_t MB = 1024 * 1024;

TEST(ScanModelLinux, TheScanNamesTheProgramHoldingACacheOpenAndLeavesItUnchosen) {
  test::HomeBuilder b(Locations::Layout::linux);
  std::string yarn = b.cache("yarn", 70 * MB);
  std::string pip = b.cache("pip", 60 * MB);
  Locations places = b.locations();
  test::RunningProgram program("yarnish", yarn + "/filler.bin");
  test::TestWorkspace workspace;

  std::vector<std::string> areas;
  auto scanned = [&] {
    return ScanFlow::runPipeline(places, workspace, {},
                                 [&](const std::string& a) { areas.push_back(a); });
  };
  // The program holds the file from its start; its own name shows once it runs.
  ASSERT_TRUE(test::eventually(
      [&] {
        auto result = scanned();
        return !result.findings.empty() && result.findings[0].id == yarn &&
               result.findings[0].note.find("yarnish") != std::string::npos;
      },
      5s));
  areas.clear();
  ScanFlow::Result result = scanned();
  // The areas in a Linux home's words.
  EXPECT_EQ(areas,
            (std::vector<std::string>{"caches in ~/.cache", "tool and app caches",
                                      "Chrome and Chromium", "large files", "Flatpak leftovers"}));
  ASSERT_EQ(result.findings.size(), 2u);
  EXPECT_EQ(result.findings[0].name, "Yarn cache");
  EXPECT_EQ(result.findings[0].note, "In use by yarnish. Quit it before clearing this cache.");
  EXPECT_FALSE(result.findings[0].suggested);
  EXPECT_EQ(result.findings[1].id, pip);
  EXPECT_TRUE(result.findings[1].suggested);
}

TEST(ScanModelLinux, ARunningFirefoxKeepsItsCacheUnchosenThoughItHoldsNothingOpen) {
  test::HomeBuilder b(Locations::Layout::linux);
  std::string firefoxCache = b.cache("mozilla", 70 * MB);
  Locations places = b.locations();
  test::TestWorkspace workspace;
  test::RunningProgram firefox("firefox-esr");
  ASSERT_TRUE(test::eventually(
      [&] {
        auto result = ScanFlow::runPipeline(places, workspace, {}, [](const std::string&) {});
        return !result.findings.empty() && !result.findings[0].suggested;
      },
      5s));
  auto result = ScanFlow::runPipeline(places, workspace, {}, [](const std::string&) {});
  ASSERT_EQ(result.findings.size(), 1u);
  EXPECT_EQ(result.findings[0].id, firefoxCache);
  EXPECT_EQ(result.findings[0].note, "In use by Firefox. Quit it before clearing this cache.");
  EXPECT_FALSE(result.findings[0].suggested);
}

}  // namespace
}  // namespace dw
