// A Linux-shaped home end to end through the command line, with no layout asked for: the scan
// lists ~/.cache and the user's own videos folder, a cache and the data of a removed Flatpak app
// go into the freedesktop Trash and come back byte for byte.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "base/json.h"
#include "support/command.h"
#include "support/home_builder.h"
#include "support/linux_apps.h"
#include "support/temp_dir.h"

namespace dw {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
constexpr std::int64_t MB = 1024 * 1024;

TEST(LinuxCli, ScanClearAndPutBackACacheOfALinuxHome) {
  test::TempHome trashHome;
  test::HomeBuilder b(Locations::Layout::linux);
  b.userDirs({{"VIDEOS", "$HOME/Vidéos"}});
  std::string pip = b.inHome(".cache/pip");
  test::writeFile(pip + "/http-v2/a/b/c/entry", "a wheel's bytes");
  b.cache("pip", 60 * MB);
  b.cache("mozilla", 20 * MB);
  b.cache("sessions", 70 * MB);
  std::string film = b.sparseFile(b.inHome("Vidéos/film.mkv"), 209'715'200);
  std::string gone = test::flatpakData(b, "org.example.Gone", 3 * MB);
  test::writeFile(gone + "/config/settings.ini", "[main]\nzoom=2\n");
  test::flatpakData(b, "org.example.Notes", 2 * MB);
  test::flatpakInstall(b, b.inHome(".local/share/flatpak"), "org.example.Notes", "Notes");
  std::vector<std::string> before = test::snapshot(b.home());

  auto scan = test::dustwhale({"scan", "--home", b.home(), "--json"});
  ASSERT_EQ(scan.status, 0) << scan.err;
  auto doc = json::parse(scan.out);
  ASSERT_TRUE(doc && doc->isObject()) << scan.out;
  std::map<std::string, const json::Value*> byId;
  for (const auto& f : doc->find("findings")->array())
    byId[f.find("id")->string()] = &f;
  ASSERT_EQ(byId.size(), 4u) << scan.out;  // Notes is installed: its data is no leftover
  EXPECT_EQ(byId.at(pip)->find("name")->string(), "pip downloads");
  EXPECT_TRUE(byId.at(pip)->find("suggested")->boolean());
  EXPECT_EQ(byId.at(b.inHome(".cache/mozilla"))->find("name")->string(), "Firefox cache");
  EXPECT_EQ(byId.at(film)->find("note")->string(),
            "In Vidéos. Nothing is removed until you select it and confirm.");
  const json::Value* leftover = byId.at("leftover:org.example.Gone");
  EXPECT_EQ(leftover->find("path")->string(), "~/.var/app/org.example.Gone");
  EXPECT_FALSE(leftover->find("suggested")->boolean());
  EXPECT_EQ(test::snapshot(b.home()), before);  // a scan only reads

  auto text = test::dustwhale({"scan", "--home", b.home()});
  EXPECT_THAT(text.out, HasSubstr("[x] pip downloads · 60 MB · Safe to clear"));
  EXPECT_THAT(text.out, Not(HasSubstr("sessions")));

  auto clear = test::dustwhale({"clear", "--home", b.home(), "--id", pip, "--yes"});
  ASSERT_EQ(clear.status, 0) << clear.out << clear.err;
  EXPECT_THAT(clear.out, HasSubstr("moved to the Trash. Choose Empty Trash in the file manager "
                                   "to get the space back."));
  EXPECT_FALSE(test::exists(pip));
  // The desktop's own Trash: the item under files/, its record under info/.
  EXPECT_EQ(test::readFile(trashHome.trashFiles() + "/pip/http-v2/a/b/c/entry"), "a wheel's bytes");
  EXPECT_THAT(test::readFile(trashHome.trashInfo() + "/pip.trashinfo"),
              HasSubstr("Path=" + pip + "\n"));

  auto second =
      test::dustwhale({"clear", "--home", b.home(), "--id", "leftover:org.example.Gone", "--yes"});
  ASSERT_EQ(second.status, 0) << second.out << second.err;
  EXPECT_FALSE(test::exists(gone));
  EXPECT_TRUE(test::exists(b.inHome(".var/app/org.example.Notes")));
  EXPECT_EQ(test::readFile(trashHome.trashFiles() + "/org.example.Gone/config/settings.ini"),
            "[main]\nzoom=2\n");
  EXPECT_THAT(test::readFile(trashHome.trashInfo() + "/org.example.Gone.trashinfo"),
              HasSubstr("Path=" + gone + "\n"));

  auto history = json::parse(test::dustwhale({"history", "--json"}).out);
  ASSERT_TRUE(history && history->isArray() && history->array().size() == 2u);
  std::vector<std::string> ids;
  for (const auto& entry : history->array())
    ids.push_back(entry.find("id")->string());
  std::vector<std::string> args{"put-back", "--home", b.home()};
  args.insert(args.end(), ids.begin(), ids.end());
  auto back = test::dustwhale(args);
  ASSERT_EQ(back.status, 0) << back.err;
  EXPECT_THAT(back.out, HasSubstr("pip downloads was put back.\n"));
  EXPECT_EQ(test::snapshot(b.home()), before);
  EXPECT_FALSE(test::exists(trashHome.trashInfo() + "/pip.trashinfo"));
  EXPECT_FALSE(test::exists(trashHome.trashInfo() + "/org.example.Gone.trashinfo"));

  // The help names the videos folder as this desktop calls it.
  auto help = test::dustwhale({"duplicates", "--help"});
  EXPECT_THAT(help.out, HasSubstr("Downloads, Videos, Music and Pictures"));
}

}  // namespace
}  // namespace dw
