// The space map flow of the model, with the manual dispatcher and a real home folder.

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

#include "model/scan_model.h"
#include "scanners/spacemap/space_map.h"
#include "support/home_builder.h"
#include "support/model_fixture.h"
#include "support/temp_dir.h"
#include "support/test_workspace.h"

namespace dw {
namespace {

class SpaceMapFlowTest : public test::ModelFixture {};

TEST_F(SpaceMapFlowTest, BuildsTheHomeTreeAndSteps) {
  {
    test::ScopedEnv host("XCTestConfigurationFilePath", "/tmp/x.xctestconfiguration");
    model->buildSpaceMap();
    EXPECT_EQ(dispatcher.pendingTasks(), 0u);
    EXPECT_FALSE(model->spaceScanning());
  }
  tree.file(tree.inHome("Movies/clip.mov"), 1 << 20);
  tree.file(tree.inHome("Library/Caches/com.a.b/blob"), 1 << 16);
  model->buildSpaceMap(false);  // the quick map alone
  EXPECT_TRUE(model->spaceScanning());
  EXPECT_TRUE(model->isSpaceMapRunning());
  dispatcher.runAll();
  EXPECT_FALSE(model->spaceScanning());
  EXPECT_FALSE(model->isSpaceMapRunning());
  EXPECT_FALSE(model->spaceComplete());
  ASSERT_TRUE(model->spaceRoot());
  EXPECT_EQ(*model->spaceRoot(), SpaceMap::build(places.home));
  EXPECT_EQ(model->spaceRoot()->children.front().path, tree.inHome("Movies"));
  ASSERT_TRUE(model->spaceElapsed());
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%.1f", *model->spaceElapsed());
  EXPECT_EQ(model->message(),
            std::string("Space Map ready in ") + seconds + " s. The map does not move anything.");
  EXPECT_TRUE(
      std::regex_match(model->message(), std::regex(R"(Space Map ready in \d+\.\d s\. .*)")));

  // Stepping in and back; a cell without children is selected but not entered.
  EXPECT_EQ(model->spaceCurrent(), &*model->spaceRoot());
  EXPECT_TRUE(model->enterSpaceNode(tree.inHome("Library")));
  EXPECT_EQ(model->spacePath(), std::vector<std::string>{tree.inHome("Library")});
  EXPECT_TRUE(model->enterSpaceNode(tree.inHome("Library/Caches")));
  EXPECT_EQ(model->spaceCurrent()->path, tree.inHome("Library/Caches"));
  model->selectSpaceNode(tree.inHome("Library/Caches/com.a.b"));
  EXPECT_FALSE(model->enterSpaceNode(tree.inHome("Library/Caches/com.a.b")));
  EXPECT_EQ(model->spaceSelected(), tree.inHome("Library/Caches/com.a.b"));
  model->leaveSpaceNodes(1);
  EXPECT_EQ(model->spaceCurrent()->path, tree.inHome("Library"));
  EXPECT_FALSE(model->spaceSelected());

  // A new map starts at the root level again, with nothing selected.
  model->selectSpaceNode(tree.inHome("Library/Caches"));
  model->buildSpaceMap();
  dispatcher.runAll();
  EXPECT_TRUE(model->spacePath().empty());
  EXPECT_FALSE(model->spaceSelected());
}

// The first picture counts three levels; the walk of the whole home that follows replaces it
// with complete sizes and says so.
TEST_F(SpaceMapFlowTest, TheFirstPictureIsFollowedByCompleteSizes) {
  tree.file(tree.inHome("Library/Caches/com.a.b/deep/down/blob"), 1 << 20);
  tree.file(tree.inHome("Movies/clip.mov"), 1 << 19);
  fields.clear();
  model->buildSpaceMap();
  EXPECT_TRUE(model->spaceScanning());
  EXPECT_FALSE(model->spaceComplete());
  dispatcher.runAll();
  EXPECT_FALSE(model->isSpaceMapRunning());
  EXPECT_FALSE(model->spaceCompleting());
  EXPECT_TRUE(model->spaceComplete());
  ASSERT_TRUE(model->spaceRoot());
  EXPECT_EQ(*model->spaceRoot(), SpaceMap::buildFull(places.home));
  // The blob four levels down now makes Library the biggest folder.
  EXPECT_EQ(model->spaceRoot()->children.front().path, tree.inHome("Library"));
  EXPECT_TRUE(std::regex_match(model->message(),
                               std::regex(R"(Space Map sizes complete in \d+\.\d s\. .*)")));
  // The first picture was published before the complete one.
  auto first = std::find(fields.begin(), fields.end(), ScanModel::Field::spaceRoot);
  ASSERT_NE(first, fields.end());
  EXPECT_NE(std::find(first + 1, fields.end(), ScanModel::Field::spaceRoot), fields.end());
  EXPECT_NE(std::find(fields.begin(), fields.end(), ScanModel::Field::spaceComplete), fields.end());
  // A new build starts again from the first picture.
  model->buildSpaceMap();
  EXPECT_FALSE(model->spaceComplete());
  dispatcher.runAll();
  EXPECT_TRUE(model->spaceComplete());
}

TEST_F(SpaceMapFlowTest, CancelledOrReplacedBuildsKeepThePreviousMap) {
  tree.file(tree.inHome("Documents/a"), 1 << 16);
  model->buildSpaceMap();
  dispatcher.runAll();
  ASSERT_TRUE(model->spaceRoot());
  SpaceMap::Node previous = *model->spaceRoot();

  tree.file(tree.inHome("Documents/b"), 1 << 20);
  model->buildSpaceMap();
  model->cancelSpaceMap();
  dispatcher.runAll();
  EXPECT_FALSE(model->spaceScanning());
  EXPECT_EQ(model->message(), "Space Map could not finish. Try again.");
  EXPECT_EQ(*model->spaceRoot(), previous);

  // Two builds: the first one's result, finishing late, is dropped.
  model->buildSpaceMap();
  model->buildSpaceMap();
  ASSERT_EQ(dispatcher.pendingTasks(), 2u);
  dispatcher.runTask(1);
  dispatcher.runPosted();
  EXPECT_FALSE(model->spaceScanning());
  EXPECT_NE(*model->spaceRoot(), previous);
  std::string message = model->message();
  dispatcher.runAll();
  EXPECT_EQ(model->message(), message);
}

}  // namespace
}  // namespace dw
