// The application's own information: when updates count as configured, the version line, what
// a Linux build carries, and the Mac app's Info.plist as its bundle makes it.

#include "platform/bundle_info.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/locations.h"
#include "platform/plist.h"
#include "platform/updates.h"

namespace dw {
namespace {

using platform::BundleInfo;

TEST(BundleInfo, TheUpdateFeedCountsOnlyWithBothKeysAsTextThatIsNotBlank) {
  BundleInfo info{.feedURL = "https://example.com/appcast.xml", .publicEDKey = "key="};
  EXPECT_TRUE(platform::updateFeedConfigured(info));
  info.feedURL = "  ";  // blanks only
  EXPECT_FALSE(platform::updateFeedConfigured(info));
  info.feedURL = "\n\t https://example.com/appcast.xml \r\n";  // trimmed, still a feed
  EXPECT_TRUE(platform::updateFeedConfigured(info));
  info.publicEDKey = "\n";
  EXPECT_FALSE(platform::updateFeedConfigured(info));
  info.publicEDKey.reset();  // missing, or not text
  EXPECT_FALSE(platform::updateFeedConfigured(info));
  EXPECT_FALSE(platform::updateFeedConfigured(BundleInfo{}));
}

TEST(BundleInfo, TheVersionLineShowsAMissingValueAsADash) {
  EXPECT_EQ(platform::versionLine({.shortVersion = "1.2.0", .version = "42"}),
            "Dustwhale 1.2.0 (42)");
  EXPECT_EQ(platform::versionLine({.shortVersion = "1.2.0"}), "Dustwhale 1.2.0 (—)");
  EXPECT_EQ(platform::versionLine({}), "Dustwhale — (—)");
}

TEST(BundleInfo, ALinuxBuildCarriesItsIdentifierAndVersionAndNoUpdater) {
  BundleInfo info = platform::mainBundleInfo();
  EXPECT_EQ(info.identifier, std::string(kBundleID));
  EXPECT_EQ(info.shortVersion, std::string(DUSTWHALE_PROJECT_VERSION));
  EXPECT_FALSE(info.version);
  EXPECT_FALSE(platform::updateFeedConfigured(info));
  EXPECT_EQ(platform::versionLine(info), "Dustwhale " DUSTWHALE_PROJECT_VERSION " (—)");
  // Even a configured feed starts nothing where the build carries no updater.
  EXPECT_FALSE(
      platform::startUpdater({.feedURL = "https://example.com/a.xml", .publicEDKey = "k"}));
  EXPECT_FALSE(platform::updaterRunning());
  platform::checkForUpdates();  // and asking does nothing
}

TEST(BundleInfo, TheAppsInfoPlistNamesTheAppAndCarriesTheFeedOnlyWhenGiven) {
  const std::string plists = DUSTWHALE_INFO_PLISTS;
  auto plain = platform::readPropertyList(plists + "/plain/Info.plist");
  ASSERT_TRUE(plain) << "not a property list";
  // The identifier names the folder of the cleared log and the defaults domain of the flags.
  EXPECT_EQ(plain->string("CFBundleIdentifier"), std::string(kBundleID));
  EXPECT_EQ(plain->string("CFBundleShortVersionString"), std::string(DUSTWHALE_PROJECT_VERSION));
  EXPECT_TRUE(plain->string("CFBundleVersion"));
  EXPECT_EQ(plain->string("CFBundleExecutable"), "Dustwhale");
  EXPECT_EQ(plain->string("CFBundlePackageType"), "APPL");
  EXPECT_EQ(plain->string("CFBundleIconFile"), "Dustwhale");
  EXPECT_EQ(plain->string("LSMinimumSystemVersion"), "12.0");
  for (const char* key : {"NSDesktopFolderUsageDescription", "NSDocumentsFolderUsageDescription",
                          "NSDownloadsFolderUsageDescription", "NSRemovableVolumesUsageDescription",
                          "NSNetworkVolumesUsageDescription"}) {
    ASSERT_TRUE(plain->string(key)) << key;
    EXPECT_NE(plain->string(key)->find("Nothing is deleted."), std::string::npos) << key;
  }
  EXPECT_FALSE(plain->string("SUFeedURL"));
  EXPECT_FALSE(plain->string("SUPublicEDKey"));

  auto feed = platform::readPropertyList(plists + "/feed/Info.plist");
  ASSERT_TRUE(feed) << "not a property list";
  EXPECT_EQ(feed->string("SUFeedURL"), "https://example.com/appcast.xml");
  EXPECT_EQ(feed->string("SUPublicEDKey"), "Aq3KpPOYdLzj+2L1Kx3fnRN3ul2o0mGoYAq0Z3a3gm4=");
  EXPECT_TRUE(platform::updateFeedConfigured(
      {.feedURL = feed->string("SUFeedURL"), .publicEDKey = feed->string("SUPublicEDKey")}));
  EXPECT_EQ(feed->string("CFBundleIdentifier"), std::string(kBundleID));
}

}  // namespace
}  // namespace dw
