// The program's own ground is never offered, wherever the desktop puts it: the Trash and the
// log's folder under an $XDG_DATA_HOME inside ~/Library/Caches or inside Downloads.
#include "platform/own_ground.h"

#include <gtest/gtest.h>

#include "scanners/caches/cache_scanner.h"
#include "scanners/largefiles/large_files_scanner.h"
#include "support/home_builder.h"

namespace dw {
namespace {

constexpr std::int64_t MB = 1024 * 1024;

std::vector<std::string> ids(const std::vector<Finding>& findings) {
  std::vector<std::string> out;
  for (const auto& f : findings)
    out.push_back(f.id);
  return out;
}

TEST(OwnGround, NoScannerOffersATrashOrTheProgramsOwnData) {
  test::HomeBuilder b;
  {
    test::ScopedEnv data("XDG_DATA_HOME", b.inHome("Library/Caches/data"));
    Locations places = b.locations();
    b.folderOfSize(b.inHome("Library/Caches/data/com.dustwhale.Dustwhale"), 20 * MB);
    b.folderOfSize(b.inHome("Library/Caches/data/Trash/files/old"), 20 * MB);
    b.folderOfSize(b.inHome("Library/Caches/.Trash-1000/files/old"), 20 * MB);
    std::string real = b.cache("com.example.real", 20 * MB);
    SharedMeasurer measurer({});
    EXPECT_EQ(ids(CacheScanner::scanLibraryCaches(places, false, measurer)),
              std::vector<std::string>{real});
    for (const char* own : {"Library/Caches/data", "Library/Caches/data/Trash/files/old",
                            "Library/Caches/data/com.dustwhale.Dustwhale", "Library/Caches"}) {
      EXPECT_FALSE(CacheScanner::isListableCache(b.inHome(own), places)) << own;
      EXPECT_TRUE(OwnGround::excludes(b.inHome(own), places)) << own;
    }
    EXPECT_FALSE(OwnGround::excludes(real, places));
  }
  {
    test::ScopedEnv data("XDG_DATA_HOME", b.inHome("Downloads/data"));
    Locations places = b.locations();
    std::string trashed = b.sparseFile(b.inHome("Downloads/data/Trash/files/movie.mkv"), 300 * MB);
    b.sparseFile(b.inHome("Downloads/data/com.dustwhale.Dustwhale/cleared.json"), 300 * MB);
    std::string kept = b.sparseFile(b.inHome("Downloads/keep.dmg"), 300 * MB);
    EXPECT_EQ(ids(LargeFilesScanner::scan(places)), std::vector<std::string>{kept});
    EXPECT_FALSE(LargeFilesScanner::isAllowedLocation(trashed, places));
  }
}

}  // namespace
}  // namespace dw
