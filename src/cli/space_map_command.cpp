#include <cstdio>
#include <iostream>

#include "cli/commands.h"
#include "cli/output.h"
#include "cli/session.h"
#include "findings/size_text.h"
#include "scanners/spacemap/space_map.h"
#include "scanners/spacemap/space_map_labels.h"

namespace dw::cli {

namespace {

json::Value nodeJson(const SpaceMap::Node& node, const Locations& places, int levels) {
  json::Value out{json::Object{}};
  out.set("name", node.name);
  out.set("path", node.path);
  out.set("bytes", node.bytes);
  json::Value children{json::Array{}};
  if (levels > 0) {
    for (const SpaceMap::Node& child : node.children)
      children.push(nodeJson(child, places, levels - 1));
  }
  out.set("children", std::move(children));
  SpaceMapLabels::Advice advice = SpaceMapLabels::advice(node.path, places);
  json::Value adviceJson{json::Object{}};
  adviceJson.set("title", advice.title);
  adviceJson.set("detail", advice.detail);
  adviceJson.set("linkedPage", advice.linkedPage ? json::Value(*advice.linkedPage) : json::Value());
  out.set("advice", std::move(adviceJson));
  return out;
}

// The share of a node in its parent, "100.0%" for the root.
std::string shareText(std::int64_t bytes, std::int64_t parentBytes) {
  double share = parentBytes > 0 ? 100.0 * static_cast<double>(bytes) / parentBytes : 0.0;
  char text[16];
  std::snprintf(text, sizeof text, "%.1f%%", share);
  return text;
}

void printNode(const SpaceMap::Node& node, std::int64_t parentBytes, const Locations& places,
               int indent, int levels) {
  std::cout << std::string(static_cast<size_t>(indent) * 2, ' ') << displayText(node.name) << '\t'
            << sizeText(node.bytes) << '\t' << shareText(node.bytes, parentBytes) << '\t'
            << SpaceMapLabels::advice(node.path, places).title << '\n';
  if (levels <= 0) return;
  for (const SpaceMap::Node& child : node.children)
    printNode(child, node.bytes, places, indent + 1, levels - 1);
}

}  // namespace

Runner addSpaceMap(CLI::App& app) {
  struct Options {
    PlaceOptions places;
    int depth = SpaceMap::kMaxDepth;
    bool json = false;
    bool full = false;
  };
  auto options = std::make_shared<Options>();
  CLI::App* cmd = app.add_subcommand(
      "space-map", "Where the space goes in the home folder, three levels deep (reads only)");
  options->places.addTo(*cmd);
  cmd->add_option("--depth", options->depth, "Levels below the home folder to show (0 to 3)")
      ->check(CLI::Range(0, SpaceMap::kMaxDepth));
  cmd->add_flag("--json", options->json, "Print the tree as one JSON object");
  cmd->add_flag("--full", options->full,
                "Complete sizes: walk the whole home folder, each folder counting everything in "
                "it (the quick map counts three levels down)");

  return [options] {
    Session session(options->places.locations());
    ScanModel& model = session.model();
    model.buildSpaceMap(options->full);
    session.runUntil([&] { return !model.isSpaceMapRunning(); },
                     [&model] { model.cancelSpaceMap(); });
    if (!model.spaceRoot() || (options->full && !model.spaceComplete())) {
      std::cerr << displayText(model.message()) << '\n';
      return session.unfinishedStatus();
    }
    const Locations& places = model.places();
    if (options->json) {
      printJson(nodeJson(*model.spaceRoot(), places, options->depth));
    } else {
      printNode(*model.spaceRoot(), model.spaceRoot()->bytes, places, 0, options->depth);
      std::cerr << displayText(model.message()) << '\n';
    }
    return 0;
  };
}

}  // namespace dw::cli
