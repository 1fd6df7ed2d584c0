#include "platform/locations.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "base/paths.h"
#include "support/temp_dir.h"

namespace dw {
namespace {

TEST(Locations, UserDirsAcceptHomeRelativeAndAbsoluteValuesOnly) {
  auto dirs = parseUserDirs(
      "# written by xdg-user-dirs-update\n"
      "XDG_DOWNLOAD_DIR=\"$HOME/Téléchargements\"\n"
      "  XDG_VIDEOS_DIR=\"/data/films\"\r\n"
      "XDG_MUSIC_DIR=\"$HOME\"\n"           // switched off: the home folder itself
      "XDG_PICTURES_DIR=\"$HOMEWORK/x\"\n"  // not the home folder
      "XDG_DESKTOP_DIR=$HOME/Desktop\n"     // not quoted
      "XDG_DOCUMENTS_DIR=\"relative/docs\"\n"
      "XDG_TEMPLATES_DIR=\"$HOME/../elsewhere\"\n"  // as good as an absolute value
      "XDG_PUBLICSHARE_DIR=\"$HOME/Public Files\"\n",
      "/home/ana");
  std::vector<std::pair<std::string, std::string>> expected{
      {"DOWNLOAD", "/home/ana/Téléchargements"},
      {"VIDEOS", "/data/films"},
      {"TEMPLATES", "/home/elsewhere"},
      {"PUBLICSHARE", "/home/ana/Public Files"}};
  EXPECT_EQ(dirs, expected);
}

TEST(Locations, LinuxLayoutReadsTheScannedHomesOwnTables) {
  test::TempDir home;
  std::filesystem::create_directories(home.path() + "/.config");
  std::ofstream(home.path() + "/.config/user-dirs.dirs")
      << "XDG_VIDEOS_DIR=\"$HOME/Vidéos\"\nXDG_DOWNLOAD_DIR=\"$HOME/Downloads\"\n";

  Locations places = Locations::resolve("", home.path(), "");
  EXPECT_EQ(places.layout, Locations::Layout::linux);
  // A scanned home that is not the user's own keeps its own cache folder whatever
  // XDG_CACHE_HOME says.
  EXPECT_EQ(places.caches, home.path() + "/.cache");
  EXPECT_EQ(places.movies, home.path() + "/Vidéos");
  EXPECT_EQ(places.downloads, home.path() + "/Downloads");
  EXPECT_EQ(places.music, home.path() + "/Music");  // missing entries keep the English names

  Locations mac = Locations::resolve("", home.path(), "macos");
  EXPECT_EQ(mac.layout, Locations::Layout::macos);
  EXPECT_EQ(mac.movies, home.path() + "/Movies");
  EXPECT_THROW(Locations::resolve("", home.path(), "windows"), std::invalid_argument);
}

TEST(Locations, TheUsersOwnHomeFollowsTheXdgVariables) {
  test::TempHome home;
  test::ScopedEnv cache("XDG_CACHE_HOME", home / "elsewhere/cache");
  Locations places = Locations::platformDefault(home.path());
  EXPECT_EQ(places.caches, home / "elsewhere/cache");
  EXPECT_EQ(places.logFile, home / ".local/share/com.dustwhale.Dustwhale/cleared.json");
}

}  // namespace
}  // namespace dw
