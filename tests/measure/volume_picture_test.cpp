#include "measure/volume_picture.h"

#include <gtest/gtest.h>
#include <sys/statvfs.h>

#include <cstdlib>

#include "support/temp_dir.h"

namespace dw {
namespace {

TEST(VolumePicture, ReadsTheHomeVolumeAndNeverFails) {
  const char* env = std::getenv("HOME");
  std::string home = env && *env ? env : "/";
  VolumePicture picture = VolumePicture::read(home);
  EXPECT_GT(picture.total, 0);
  EXPECT_GE(picture.available, 0);
  EXPECT_LE(picture.available, picture.total);
  // Linux holds no purgeable space back, so nothing lies between available and important.
  EXPECT_EQ(picture.important, picture.available);
  EXPECT_FALSE(picture.heldReported);

  // The same volume through a folder on it gives the same capacity.
  test::TempDir t;
  struct statvfs a {};
  ASSERT_EQ(::statvfs(t.path().c_str(), &a), 0);
  EXPECT_EQ(VolumePicture::read(t.path()).total,
            static_cast<std::int64_t>(a.f_blocks) * static_cast<std::int64_t>(a.f_frsize));

  EXPECT_EQ(VolumePicture::read(t / "no/such/home"), VolumePicture{});
  EXPECT_EQ(VolumePicture::read(""), VolumePicture{});
}

}  // namespace
}  // namespace dw
