#include "scanners/duplicates/duplicate_scanner.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <system_error>

#include "base/sha256.h"
#include "measure/protected_libraries.h"
#include "support/command.h"
#include "support/home_builder.h"
#include "support/temp_dir.h"

namespace dw {
namespace {

using namespace DuplicateScanner;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

constexpr std::int64_t kMiB = 1'048'576;

// A file of size bytes: zeros (sparse, so cheap) but for the marks, one byte each.
std::string fileWith(test::HomeBuilder& b, const std::string& relative, std::int64_t size,
                     const std::vector<std::pair<std::int64_t, char>>& marks = {}) {
  std::string path = b.sparseFile(b.inHome(relative), size);
  int fd = ::open(path.c_str(), O_WRONLY);
  for (auto [at, byte] : marks)
    EXPECT_EQ(::pwrite(fd, &byte, 1, at), 1);
  ::close(fd);
  return path;
}

void setModified(const std::string& path, std::int64_t unixSeconds) {
  struct timespec times[2] = {{unixSeconds, 0}, {unixSeconds, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

std::vector<std::vector<std::string>> pathsOf(const std::vector<Group>& groups) {
  std::vector<std::vector<std::string>> out;
  for (const Group& g : groups) {
    out.emplace_back();
    for (const FileRef& f : g.files)
      out.back().push_back(f.path);
  }
  return out;
}

// The search as its rules read: every candidate of a shared sample hashed in full, one after
// another, grouped by size and digest (per size in the listing order of each group's first
// file), then the two sorts.
Result hashingEverything(const Locations& places, Scope scope) {
  Result r;
  std::vector<FileRef> files;
  for (const std::string& root : searchRoots(places, scope)) {
    Candidates c = collectCandidates(root, places);
    files.insert(files.end(), c.files.begin(), c.files.end());
    r.skipped.insert(r.skipped.end(), c.skipped.begin(), c.skipped.end());
  }
  std::map<std::int64_t, std::vector<FileRef>> bySize;
  for (const FileRef& f : files)
    if (f.bytes >= kMinimumBytes) bySize[f.bytes].push_back(f);
  for (auto& [size, same] : bySize) {
    if (same.size() < 2) continue;
    std::map<Digest, int> samples;
    std::vector<std::optional<Digest>> digest;
    for (const FileRef& f : same) {
      try {
        digest.push_back(partialDigest(f.path));
        ++samples[*digest.back()];
      } catch (const std::system_error&) {
        digest.push_back(std::nullopt);
      }
    }
    std::vector<Group> groups;
    for (size_t i = 0; i < same.size(); ++i) {
      if (!digest[i] || samples[*digest[i]] < 2) continue;
      std::string hex;
      try {
        hex = fullDigest(same[i].path);
      } catch (const std::system_error&) {
        continue;
      }
      auto g = std::find_if(groups.begin(), groups.end(),
                            [&](const Group& x) { return x.hashHex == hex; });
      if (g == groups.end()) g = groups.insert(groups.end(), Group{hex, size, {}});
      g->files.push_back(same[i]);
    }
    for (Group& g : groups)
      if (g.files.size() >= 2) r.groups.push_back(std::move(g));
  }
  orderGroups(r.groups, places);
  return r;
}

TEST(DuplicateScanner, ScopeIsAFullOptionSet) {
  Scope media = Scope::of({Scope::movies, Scope::music});
  Scope pics{Scope::pictures};
  EXPECT_EQ(Scope::all().rawValue, 15);
  EXPECT_TRUE(Scope().isEmpty());
  EXPECT_EQ((media | pics).rawValue, 14);
  EXPECT_EQ((media & Scope::all()), media);
  EXPECT_EQ((media ^ Scope::of({Scope::music, Scope::downloads})).rawValue, 3);
  EXPECT_EQ((Scope::all() - media).rawValue, 9);
  EXPECT_TRUE(media.isSubset(Scope::all()));
  EXPECT_FALSE(Scope::all().isSubset(media));
  EXPECT_TRUE(Scope::all().isSuperset(media));
  EXPECT_TRUE(media.isDisjoint(pics));
  EXPECT_FALSE(media.isDisjoint(Scope{Scope::music}));
  Scope s;
  EXPECT_TRUE(s.insert(Scope::downloads));
  EXPECT_FALSE(s.insert(Scope::downloads));
  EXPECT_TRUE(s.remove(Scope::downloads));
  EXPECT_FALSE(s.remove(Scope::downloads));
  s.formUnion(media);
  s.formSymmetricDifference(Scope{Scope::movies | Scope::pictures});
  EXPECT_EQ(s.rawValue, Scope::music | Scope::pictures);
  s.formIntersection(pics);
  EXPECT_EQ(s, pics);
  s.subtract(pics);
  EXPECT_TRUE(s.isEmpty());
  // Other bits are carried but select no folder.
  Scope odd{16 | Scope::downloads};
  EXPECT_TRUE(odd.contains(16));
  test::HomeBuilder b;  // it has Downloads and Movies
  b.folder(b.inHome("Music"));
  ASSERT_EQ(::rmdir(b.inHome("Movies").c_str()), 0);
  test::writeFile(b.inHome("Movies"), "a file, not a folder");
  EXPECT_THAT(searchRoots(b.locations(), odd), ElementsAre(b.inHome("Downloads")));
  EXPECT_THAT(searchRoots(b.locations(), Scope::all()),
              ElementsAre(b.inHome("Downloads"), b.inHome("Music")));
  EXPECT_THAT(searchRoots(b.locations(), Scope()), IsEmpty());
}

TEST(DuplicateScanner, FindsCopiesFrom1MiBAcrossFoldersWithExactDigests) {
  test::HomeBuilder b;
  std::string a = fileWith(b, "Downloads/a.bin", kMiB, {{5, 'a'}});
  std::string a2 = fileWith(b, "Pictures/trip/a copy.bin", kMiB, {{5, 'a'}});
  fileWith(b, "Downloads/small.bin", kMiB - 1, {{5, 's'}});
  fileWith(b, "Movies/small.bin", kMiB - 1, {{5, 's'}});
  setModified(a, 1'700'000'000);
  setModified(a2, 1'700'000'100);

  std::vector<std::string> progress;
  Result r =
      scan(b.locations(), Scope::all(), {}, [&](const std::string& t) { progress.push_back(t); });
  EXPECT_THAT(progress,
              ElementsAre("Listing files", "Listing Downloads", "Listing Movies",
                          "Listing Pictures", "Sampling files", "Hashing duplicates", "Done"));
  ASSERT_EQ(r.groups.size(), 1u);
  EXPECT_THAT(pathsOf(r.groups), ElementsAre(ElementsAre(a2, a)));  // the copy in Pictures first
  EXPECT_EQ(r.groups[0].bytes, kMiB);
  EXPECT_EQ(r.groups[0].files[1].modified, Clock::from_time_t(1'700'000'000));
  // The digests are those of the system's own tools.
  auto sum = test::runCommand({"sha256sum", a});
  EXPECT_EQ(r.groups[0].hashHex, sum.out.substr(0, 64));
  EXPECT_EQ(fullDigest(a), r.groups[0].hashHex);
  auto sample = test::runCommand({"sh", "-c",
                                  "{ head -c 65536 \"$1\"; tail -c 65536 \"$1\"; printf "
                                  "'\\000\\000\\000\\000\\000\\020\\000\\000'; } "
                                  "| sha256sum",
                                  "sh", a});
  EXPECT_EQ(Sha256::hex(partialDigest(a)), sample.out.substr(0, 64));

  // Only the folders in scope are searched.
  EXPECT_THAT(scan(b.locations(), Scope{Scope::downloads}).groups, IsEmpty());
  EXPECT_EQ(scan(b.locations(), Scope::of({Scope::downloads, Scope::pictures})).groups, r.groups);
}

TEST(DuplicateScanner, NeverListsLibrariesPackagesProjectFoldersHiddenEntriesOrLinks) {
  test::HomeBuilder b;
  std::string kept = fileWith(b, "Downloads/keep.bin", 2 * kMiB, {{0, 'k'}});
  std::string kept2 = fileWith(b, "Movies/keep.bin", 2 * kMiB, {{0, 'k'}});
  for (std::string place :
       {"Music/Music/Media/x.m4a", "Music/iTunes/x.m4a", "Movies/TV/x.mov",
        "Pictures/Photos Library.photoslibrary/originals/x.heic", "Music/Old.musiclibrary/x",
        "Pictures/Photo Booth Library/Pictures/x.jpg", "Downloads/Tool.app/Contents/x.bin",
        "Downloads/Doc.pages/Data/x.bin", "Downloads/site/node_modules/pkg/x.bin",
        "Downloads/app/build/out/x.bin", "Movies/ios/x.bin", "Downloads/.cache/x.bin",
        "Downloads/.hidden.bin", "Downloads/.next/x.bin"}) {
    fileWith(b, place, 2 * kMiB, {{0, 'k'}});
  }
  // A link is never a candidate; its target is, where it lies in a searched folder.
  b.symlink(kept, b.inHome("Pictures/link.bin"));
  b.symlink(b.inHome("Downloads"), b.inHome("Pictures/linked folder"));
  Result r = scan(b.locations(), Scope::all());
  // Made within a clock tick or two of each other: which is newer is the clock's to say.
  EXPECT_THAT(pathsOf(r.groups), ElementsAre(UnorderedElementsAre(kept, kept2)));
  EXPECT_THAT(r.skipped, IsEmpty());

  // A protected path is recognised reached through the system's "/private" as well.
  EXPECT_TRUE(isProtectedLibrary("/private" + b.home() + "/Movies/TV/x", b.home()));
  EXPECT_TRUE(isProtectedLibrary(b.home() + "/Music/Music", b.home()));
  EXPECT_FALSE(isProtectedLibrary(b.home() + "/Music/Musical/x", b.home()));
  EXPECT_TRUE(isProtectedLibrary("/elsewhere/Photo Booth Library", b.home()));
  std::string linkedHome = b.symlink(b.home(), b.inRoot("linked home"));
  EXPECT_TRUE(isProtectedLibrary(linkedHome + "/Music/iTunes/x", linkedHome));

  // The copy re-check before a move applies the same rules.
  EXPECT_TRUE(isListableCopy(kept, 2 * kMiB, b.locations(), Scope::all()));
  EXPECT_FALSE(isListableCopy(kept, 2 * kMiB + 1, b.locations(), Scope::all()));
  EXPECT_FALSE(isListableCopy(kept, 2 * kMiB, b.locations(), Scope{Scope::movies}));
  EXPECT_FALSE(
      isListableCopy(b.inHome("Pictures/link.bin"), 2 * kMiB, b.locations(), Scope::all()));
  EXPECT_FALSE(isListableCopy(b.inHome("Movies/TV/x.mov"), 2 * kMiB, b.locations(), Scope::all()));
  EXPECT_FALSE(isListableCopy(b.inHome("Movies/ios/x.bin"), 2 * kMiB, b.locations(), Scope::all()));
  EXPECT_FALSE(
      isListableCopy(b.inHome("Downloads/.cache/x.bin"), 2 * kMiB, b.locations(), Scope::all()));
  EXPECT_FALSE(isListableCopy(b.inHome("Downloads/Tool.app/Contents/x.bin"), 2 * kMiB,
                              b.locations(), Scope::all()));
}

TEST(DuplicateScanner, ABatchCheckJudgesAFolderAgainOnceItsPathLeadsElsewhere) {
  test::HomeBuilder b;
  Locations places = b.locations();
  std::string photo = fileWith(b, "Pictures/Album/photo.jpg", 2 * kMiB, {{0, 'p'}});
  std::string other = fileWith(b, "Pictures/Album/other.jpg", 2 * kMiB, {{0, 'o'}});
  // Outside every searched folder: a same-named file of the same size.
  std::string outside = fileWith(b, "Elsewhere/photo.jpg", 2 * kMiB, {{0, 'p'}});
  CopyCheck check(places, Scope::all());
  EXPECT_TRUE(check.listable(photo, 2 * kMiB));
  EXPECT_TRUE(check.listable(other, 2 * kMiB));

  // The album swapped for a link to a folder outside the search, mid-batch: refused, though
  // the folder's path was judged a moment ago.
  std::filesystem::rename(b.inHome("Pictures/Album"), b.inHome("Pictures/Album moved"));
  b.symlink(b.inHome("Elsewhere"), b.inHome("Pictures/Album"));
  EXPECT_FALSE(check.listable(photo, 2 * kMiB));
  EXPECT_FALSE(isListableCopy(photo, 2 * kMiB, places, Scope::all()));

  // The real folder back in its place is judged again and accepted.
  std::filesystem::remove(b.inHome("Pictures/Album"));
  std::filesystem::rename(b.inHome("Pictures/Album moved"), b.inHome("Pictures/Album"));
  EXPECT_TRUE(check.listable(photo, 2 * kMiB));
  EXPECT_FALSE(check.listable(outside, 2 * kMiB));
}

TEST(DuplicateScanner, NeverListsTheProgramsOwnGroundButWalksAFolderHoldingIt) {
  test::HomeBuilder b;
  test::ScopedEnv data("XDG_DATA_HOME", b.inHome("Downloads/data"));
  Locations places = b.locations();
  std::string a = fileWith(b, "Downloads/a", 2 * kMiB, {{1, 'a'}});
  std::string a2 = fileWith(b, "Movies/a", 2 * kMiB, {{1, 'a'}});
  std::string trashed = fileWith(b, "Downloads/data/Trash/files/a", 2 * kMiB, {{1, 'a'}});
  fileWith(b, "Downloads/data/com.dustwhale.Dustwhale/a", 2 * kMiB, {{1, 'a'}});
  EXPECT_THAT(pathsOf(scan(places, Scope::all()).groups),
              ElementsAre(::testing::UnorderedElementsAre(a, a2)));
  EXPECT_FALSE(isListableCopy(trashed, 2 * kMiB, places, Scope::all()));
  EXPECT_TRUE(isListableCopy(a, 2 * kMiB, places, Scope::all()));
}

TEST(DuplicateScanner, AHomeBelowAProjectFolderNameYieldsNothing) {
  test::TempDir dir;
  std::string home = dir / "build/me";
  test::makeDirs(home + "/Downloads/locked");
  test::writeSized(home + "/Downloads/a.bin", kMiB, 'a');
  test::writeSized(home + "/Downloads/b.bin", kMiB, 'a');
  Locations places = Locations::macos(dir.path(), home);
  Candidates c = collectCandidates(home + "/Downloads", places);
  EXPECT_THAT(c.files, IsEmpty());
  EXPECT_THAT(scan(places, Scope::all()).groups, IsEmpty());
}

TEST(DuplicateScanner, SplitsSharedSamplesByWholeContentExactlyAsHashingEverything) {
  test::HomeBuilder b;
  const std::int64_t size = 3 * kMiB + 12345;
  const std::int64_t middle = size / 2;
  // Same first and last 64 KiB, three different middles, two copies of two of them.
  std::string x1 = fileWith(b, "Downloads/x1", size, {{middle, '1'}});
  std::string x2 = fileWith(b, "Pictures/x2", size, {{middle, '1'}});
  std::string y1 = fileWith(b, "Downloads/y1", size, {{middle, '2'}});
  std::string y2 = fileWith(b, "Music/y2", size, {{middle, '2'}});
  fileWith(b, "Movies/z", size, {{middle, '3'}});
  fileWith(b, "Movies/only-middle-differs", 4 * kMiB, {{2 * kMiB, 'a'}});
  fileWith(b, "Music/only-middle-differs", 4 * kMiB, {{2 * kMiB, 'b'}});
  // Ten different contents behind one sample: compared side by side up to a point, then each
  // hashed on its own; four of them have a copy.
  for (int i = 0; i < 10; ++i) {
    std::vector<std::pair<std::int64_t, char>> mark = {{kMiB + 7, static_cast<char>('a' + i)}};
    fileWith(b, "Downloads/many/" + std::to_string(i), 2 * kMiB, mark);
    if (i % 3 == 0) fileWith(b, "Pictures/many/" + std::to_string(i), 2 * kMiB, mark);
  }
  // More copies than are read side by side: 70 sparse files of zeros, 3 with one byte set.
  for (int i = 0; i < 70; ++i) {
    std::vector<std::pair<std::int64_t, char>> mark;
    if (i % 25 == 1) mark.push_back({kMiB / 2, 'q'});
    fileWith(b, "Movies/crowd/" + std::to_string(100 + i), kMiB + 1, mark);
  }
  // A copy that differs from the rest only in its last byte, and files that end early.
  fileWith(b, "Downloads/end1", 5 * kMiB, {{5 * kMiB - 1, 'e'}});
  fileWith(b, "Music/end2", 5 * kMiB, {{5 * kMiB - 1, 'e'}});
  fileWith(b, "Movies/end3", 5 * kMiB, {{5 * kMiB - 1, 'f'}});

  Result r = scan(b.locations(), Scope::all());
  EXPECT_EQ(r.groups, hashingEverything(b.locations(), Scope::all()).groups);
  std::vector<std::vector<std::string>> groups = pathsOf(r.groups);
  EXPECT_THAT(groups, ::testing::Contains(::testing::UnorderedElementsAre(x1, x2)));
  EXPECT_THAT(groups, ::testing::Contains(::testing::UnorderedElementsAre(y1, y2)));
  size_t crowd = 0;
  for (const Group& g : r.groups)
    if (g.bytes == kMiB + 1) crowd = std::max(crowd, g.files.size());
  EXPECT_EQ(crowd, 67u);
  EXPECT_EQ(r.groups.size(), 2u + 4u + 2u + 1u);
}

TEST(DuplicateScanner, OrdersGroupsByWasteAndCopiesOldestFirstWithUndatedLast) {
  test::HomeBuilder b;
  const std::int64_t mb10 = 10 * kMiB, mb15 = 15 * kMiB;
  std::vector<std::string> ten, fifteen;
  for (int i = 0; i < 2; ++i)
    fifteen.push_back(fileWith(b, "Downloads/f" + std::to_string(i), mb15, {{0, 'f'}}));
  for (int i = 0; i < 3; ++i)
    ten.push_back(fileWith(b, "Movies/t" + std::to_string(i), mb10, {{0, 't'}}));
  setModified(ten[0], 1000);
  setModified(ten[1], 3000);
  setModified(ten[2], 2000);
  Result r = scan(b.locations(), Scope::all());
  // 3 × 10 MB wastes 20 MB, more than 2 × 15 MB.
  EXPECT_THAT(pathsOf(r.groups), ElementsAre(ElementsAre(ten[0], ten[2], ten[1]),
                                             ::testing::UnorderedElementsAreArray(fifteen)));
  EXPECT_EQ(wastedBytes(r.groups[0]), 2 * mb10);

  // Copies without a date sort last; equal dates and equal waste keep their order.
  auto at = [](std::int64_t s) { return Clock::from_time_t(s); };
  std::vector<Group> groups = {
      {"a", 100, {{"1", 100, kDistantPast}, {"2", 100, at(5)}, {"3", 100, at(5)}}},
      {"b", 200, {{"4", 200, at(1)}, {"5", 200, at(1)}}},
      {"c", 50, {{"6", 50, at(1)}, {"7", 50, at(2)}, {"8", 50, at(3)}, {"9", 50, at(4)}}}};
  orderGroups(groups, b.locations());
  EXPECT_THAT(pathsOf(groups), ElementsAre(ElementsAre("2", "3", "1"), ElementsAre("4", "5"),
                                           ElementsAre("6", "7", "8", "9")));
}

// Photos, an album and a film copied into Downloads: the copy that stays by default is the one
// in the user's organised folders, the original (the oldest) among them, however new the copy in
// Downloads is; a group only in Downloads keeps its oldest. A date far in the future is the newest
// date there is, not a wrapped one.
TEST(DuplicateScanner, TheOrganisedOriginalStaysOverCopiesInDownloads) {
  for (Locations::Layout layout : {Locations::Layout::macos, Locations::Layout::linux}) {
    test::HomeBuilder b(layout);
    const std::string movies = layout == Locations::Layout::macos ? "Movies" : "Videos";
    std::string camera = fileWith(b, "Pictures/Camera/IMG_0001.jpg", 3 * kMiB, {{9, 'p'}});
    std::string edited = fileWith(b, "Pictures/Edited/IMG_0001.jpg", 3 * kMiB, {{9, 'p'}});
    std::string copied = fileWith(b, "Downloads/IMG_0001 (1).jpg", 3 * kMiB, {{9, 'p'}});
    std::string track = fileWith(b, "Music/Album/01 Intro.flac", 2 * kMiB, {{9, 'm'}});
    std::string trackCopy = fileWith(b, "Downloads/album/01 Intro.flac", 2 * kMiB, {{9, 'm'}});
    std::string film = fileWith(b, movies + "/Holiday.mov", 4 * kMiB, {{9, 'v'}});
    std::string filmCopy = fileWith(b, "Downloads/Holiday.mov", 4 * kMiB, {{9, 'v'}});
    std::string setup = fileWith(b, "Downloads/setup.dmg", 5 * kMiB, {{9, 's'}});
    std::string setupAgain = fileWith(b, "Downloads/setup (1).dmg", 5 * kMiB, {{9, 's'}});
    setModified(camera, 1'500'000'000);
    setModified(edited, 1'600'000'000);
    setModified(copied, 1'700'000'000);
    // Older than the album's copy: the folder decides before the date.
    setModified(trackCopy, 1'000'000'000);
    setModified(track, 1'400'000'000);
    setModified(film, 1'400'000'000);
    setModified(filmCopy, 20'000'000'000);  // the year 2603
    setModified(setup, 1'650'000'000);
    // The year 2603: beyond what nanoseconds since 1970 hold, where a wrapped date would read
    // as 2019 and make this the oldest copy.
    setModified(setupAgain, 20'000'000'000);

    Result r = scan(b.locations(), Scope::all());
    EXPECT_THAT(
        pathsOf(r.groups),
        UnorderedElementsAre(ElementsAre(camera, edited, copied), ElementsAre(track, trackCopy),
                             ElementsAre(film, filmCopy), ElementsAre(setup, setupAgain)));
    EXPECT_EQ(r.groups, hashingEverything(b.locations(), Scope::all()).groups);
    EXPECT_EQ(folderOf(camera, b.locations()), Scope::pictures);
    EXPECT_EQ(folderOf(film, b.locations()), Scope::movies);
    EXPECT_EQ(folderOf(trackCopy, b.locations()), Scope::downloads);
    for (const Group& g : r.groups) {
      if (g.files.front().path == film || g.files.front().path == setup) {
        EXPECT_EQ(g.files.back().modified, TimePoint::max());
      }
    }
  }
}

TEST(DuplicateScanner, SkipsUnreadableFoldersAndDropsFilesThatChangeOnTheWay) {
  test::HomeBuilder b;
  std::string a = fileWith(b, "Downloads/a", 2 * kMiB, {{1, 'a'}});
  std::string a2 = fileWith(b, "Pictures/a", 2 * kMiB, {{1, 'a'}});
  fileWith(b, "Downloads/locked/a", 2 * kMiB, {{1, 'a'}});
  ASSERT_EQ(::chmod(b.inHome("Downloads/locked").c_str(), 0), 0);
  auto out = b.runUnprivileged([&] {
    Result r = scan(b.locations(), Scope::all());
    std::string text;
    for (const auto& s : r.skipped)
      text += "skipped " + s + ";";
    for (const auto& g : pathsOf(r.groups))
      text += "group of " + std::to_string(g.size()) + ";";
    return text;
  });
  EXPECT_EQ(out, "skipped " + b.inHome("Downloads/locked") + ";group of 2;");
  ASSERT_EQ(::chmod(b.inHome("Downloads/locked").c_str(), 0755), 0);

  // One copy disappears after the listing, another shrinks after the sampling: both drop out.
  std::string gone = fileWith(b, "Movies/gone", 2 * kMiB, {{1, 'a'}});
  std::string shrinks = fileWith(b, "Music/shrinks", 2 * kMiB, {{1, 'a'}});
  Result r = scan(b.locations(), Scope::all(), {}, [&](const std::string& stage) {
    if (stage == kSamplingFiles) {
      ASSERT_EQ(::unlink(gone.c_str()), 0);
    }
    if (stage == kHashingDuplicates) {
      ASSERT_EQ(::truncate(shrinks.c_str(), kMiB), 0);
    }
  });
  EXPECT_THAT(pathsOf(r.groups),
              ElementsAre(::testing::UnorderedElementsAre(a, b.inHome("Downloads/locked/a"), a2)));
  EXPECT_THROW(partialDigest(gone), std::system_error);
  EXPECT_THROW(fullDigest(gone), std::system_error);
}

TEST(DuplicateScanner, CancellationAtAnyStageReturnsNoGroups) {
  test::HomeBuilder b;
  fileWith(b, "Downloads/a", 2 * kMiB, {{1, 'a'}});
  fileWith(b, "Movies/a", 2 * kMiB, {{1, 'a'}});
  for (int i = 0; i < 600; ++i)
    test::writeFile(b.inHome("Music/small/" + std::to_string(i)), "x");
  for (std::string_view stage :
       {kListingFiles, std::string_view("Listing Music"), kSamplingFiles, kHashingDuplicates}) {
    std::stop_source source;
    EXPECT_THROW(scan(b.locations(), Scope::all(), source.get_token(),
                      [&](const std::string& text) {
                        if (text == stage) source.request_stop();
                      }),
                 Cancelled)
        << stage;
  }
  // The walk itself notices within 500 entries.
  std::stop_source source;
  source.request_stop();
  EXPECT_THROW(collectCandidates(b.inHome("Music"), b.locations(), source.get_token()), Cancelled);
  EXPECT_THROW(fullDigest(b.inHome("Movies/a"), source.get_token()), Cancelled);
}

}  // namespace
}  // namespace dw
