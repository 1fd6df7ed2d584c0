// The one confirmation every move goes through, driven as the confirm sheet and the command line
// drive it, with the manual dispatcher, against real files and a real Trash: the question
// follows the selection until its move starts, a stop ends it after the item in hand, a refusal
// takes the question down, and the outcome stays up until dismissed.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "model/scan_model.h"
#include "support/model_fixture.h"
#include "support/temp_dir.h"

namespace dw {
namespace {

using ::testing::Contains;
using Stage = MoveRunner::Stage;
using Phase = ScanModel::Phase;
constexpr std::int64_t kMiB = 1024 * 1024;

class MoveRunnerTest : public test::ModelFixture {
 protected:
  void scanToEnd() {
    model->scan();
    dispatcher.runAll();
  }
  std::vector<std::string> listed() const {
    std::vector<std::string> names;
    for (const auto& item : model->moves().items())
      names.push_back(item.name);
    return names;
  }
};

TEST_F(MoveRunnerTest, TheQuestionFollowsTheSelectionUntilItsMoveStartsAndTheOutcomeStays) {
  std::string big = tree.cache("com.example.big", 52'428'800);  // pre-selected
  std::string small = tree.cache("com.example.small", 12 * kMiB);
  scanToEnd();

  model->requestConfirm(ScanModel::ConfirmScope::caches);
  EXPECT_EQ(model->moveStage(), Stage::asking);
  EXPECT_TRUE(model->confirm());
  EXPECT_EQ(listed(), (std::vector<std::string>{"big"}));
  EXPECT_EQ(model->moves().title(), "Move 1 item to the Trash?");
  fields.clear();
  model->toggle(small);
  EXPECT_THAT(fields, Contains(ScanModel::Field::confirmItems));
  EXPECT_EQ(listed(), (std::vector<std::string>{"big", "small"}));
  EXPECT_EQ(model->moves().bytes(), 62 * kMiB);

  model->clearSelected();
  EXPECT_EQ(model->moveStage(), Stage::moving);
  EXPECT_EQ(model->phase(), Phase::clearing());
  model->toggle(small);  // from here on the list stands: the move took it as it was
  EXPECT_EQ(listed(), (std::vector<std::string>{"big", "small"}));
  dispatcher.runAll();
  EXPECT_FALSE(test::exists(big));
  EXPECT_FALSE(test::exists(small));
  EXPECT_EQ(model->moveStage(), Stage::done);
  EXPECT_FALSE(model->confirm());
  EXPECT_EQ(model->phase(), Phase::ready());
  EXPECT_EQ(model->moves().outcome(), model->message());
  EXPECT_TRUE(model->offerRecentlyCleared());
  model->reloadCleared();  // a later status line does not change the outcome shown
  model->findDuplicates();
  dispatcher.runAll();
  EXPECT_NE(model->moves().outcome(), model->message());
  model->dismissConfirm();
  EXPECT_EQ(model->moveStage(), Stage::idle);

  // Nothing to move: it says so, and the question stays up.
  model->requestConfirm(ScanModel::ConfirmScope::files);
  model->clearSelected();
  EXPECT_EQ(model->message(), "Select something to clear first.");
  EXPECT_EQ(model->moveStage(), Stage::asking);
}

TEST_F(MoveRunnerTest, AStopEndsAfterTheItemInHandAndARefusalTakesTheQuestionDown) {
  std::string a = tree.cache("com.example.a", 52'428'800);
  std::string b = tree.cache("com.example.b", 52'428'800);
  std::string google = tree.cache("Google", 12 * kMiB);
  std::string app = tree.app(tree.inHome("Applications/Foo.app"), "com.example.foo");
  std::string data = tree.folder(tree.inHome("Library/Caches/com.example.foo"));
  workspace.setRunning("com.google.Chrome", true);
  scanToEnd();
  model->refreshApps();
  dispatcher.runAll();
  ASSERT_TRUE(this->app("Foo"));

  // Chrome's cache, selected while Chrome runs, is not removable: it is not asked about.
  model->select({a, b, google});
  model->requestConfirm(ScanModel::ConfirmScope::caches);
  EXPECT_EQ(listed(), (std::vector<std::string>{"a", "b"}));
  model->clearSelected();
  EXPECT_EQ(model->progress(), (ScanModel::Progress{0, 2, ""}));
  model->stopClearing();
  EXPECT_EQ(model->moveStage(), Stage::stopping);
  EXPECT_EQ(model->message(), "Stopping after the current item…");
  model->setUninstallTarget(*this->app("Foo"));
  model->uninstall();  // one move at a time
  EXPECT_EQ(dispatcher.pendingTasks(), 1u);
  dispatcher.runAll();
  EXPECT_EQ(model->moves().outcome(), "Clearing stopped. Nothing was moved to the Trash.");
  EXPECT_TRUE(test::exists(a) && test::exists(b));
  EXPECT_FALSE(test::exists(places.logFile));  // nothing to record

  // The app opened after the question was asked: the answer is refused, the question goes.
  model->requestConfirm(ScanModel::ConfirmScope::app);
  EXPECT_EQ(listed(), (std::vector<std::string>{"Foo", "Caches/com.example.foo"}));
  workspace.setRunning("com.example.foo", true);
  model->clearSelected();
  EXPECT_EQ(model->message(), "Quit Foo first, then uninstall it.");
  EXPECT_EQ(model->moveStage(), Stage::idle);
  EXPECT_EQ(dispatcher.pendingTasks(), 0u);
  EXPECT_TRUE(test::exists(app) && test::exists(data));
  // Taking down an uninstall's question lets go of its app.
  model->requestConfirm(ScanModel::ConfirmScope::app);
  model->dismissConfirm();
  EXPECT_FALSE(model->uninstallTarget());
}

TEST_F(MoveRunnerTest, AMoveThatEndsWhileAScanRunsLeavesThePhaseToTheScan) {
  std::string cache = tree.cache("com.example.big", 52'428'800);
  scanToEnd();
  model->scan();  // a new scan, still running
  model->clearFindings(std::nullopt);
  ASSERT_EQ(dispatcher.pendingTasks(), 2u);
  dispatcher.runTask(1);  // the move
  dispatcher.runPosted();
  EXPECT_FALSE(test::exists(cache));
  EXPECT_EQ(model->moveStage(), Stage::done);
  EXPECT_EQ(model->phase(), Phase::scanning());
  dispatcher.runAll();
  EXPECT_EQ(model->phase(), Phase::ready());
}

}  // namespace
}  // namespace dw
