// The desktop around the program: the Full Disk Access settings it opens.

#include "platform/desktop.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace dw {
namespace {

TEST(Desktop, FullDiskAccessSettingsAreTriedInOrder) {
  std::vector<std::string> tried;
  auto opener = [&](bool opensFirst) {
    return [&tried, opensFirst](const std::string& url) {
      tried.push_back(url);
      return opensFirst && tried.size() == 1;
    };
  };
  platform::openFullDiskAccessSettings(opener(true));
  ASSERT_EQ(tried.size(), 1u);  // the first opened: the others are not tried
  EXPECT_EQ(tried[0], platform::kFullDiskAccessUrls[0]);
  tried.clear();
  platform::openFullDiskAccessSettings(opener(false));
  ASSERT_EQ(tried.size(), 3u);
  EXPECT_EQ(tried[2], "x-apple.systempreferences:com.apple.preference.security");
}

}  // namespace
}  // namespace dw
