#pragma once
// The model on the manual dispatcher over a real home folder built in a temporary folder: every
// task and every post runs when the test says. The Trash and the log live under a temporary
// home of their own; every field the model announces and every message it shows are kept.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "model/dispatcher.h"
#include "model/scan_model.h"
#include "platform/defaults.h"
#include "support/home_builder.h"
#include "support/temp_dir.h"
#include "support/test_workspace.h"

namespace dw::test {

class ModelFixture : public ::testing::Test {
 protected:
  explicit ModelFixture(Locations::Layout layout = Locations::Layout::macos) : tree(layout) {}

  void SetUp() override {
    model = std::make_unique<ScanModel>(dispatcher, places, workspace, defaults);
    model->addObserver([this](ScanModel::Field field) {
      fields.push_back(field);
      if (field == ScanModel::Field::message) messages.push_back(model->message());
    });
  }

  // The listed app of that name, if any.
  const AppUninstaller::AppRecord* app(std::string_view name) const {
    for (const auto& a : model->installedApps())
      if (a.name == name) return &a;
    return nullptr;
  }

  TempHome trashHome;  // the real Trash and the log live under this home
  HomeBuilder tree;    // the home (and disk) the model scans
  Locations places = tree.locations();
  ManualDispatcher dispatcher;
  TestWorkspace workspace;
  platform::UserDefaults defaults{places.defaultsFile};
  std::unique_ptr<ScanModel> model;
  std::vector<ScanModel::Field> fields;
  std::vector<std::string> messages;
};

}  // namespace dw::test
