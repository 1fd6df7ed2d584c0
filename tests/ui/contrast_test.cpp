// The theme's colours against what they are drawn on, light and dark: text at 4.5:1 or more,
// the edges of controls, the focus ring and the marks of the charts at 3:1 or more, and the
// Space Map's labels on every shade of cell. The table is printed, so a failure shows the
// ratio it found.

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "bridge/palette.h"

namespace dw::ui::palette {
namespace {

constexpr double kText = 4.5;
constexpr double kGraphic = 3.0;

struct Pair {
  std::string fg;
  std::string bg;  // a name, or "a+b": a drawn over b
  double minimum;
};

Rgba surface(const std::string& layers, bool dark) {
  auto plus = layers.find('+');
  if (plus == std::string::npos) {
    EXPECT_TRUE(find(layers, dark)) << layers;
    return over(colour(layers, dark), colour("window", dark));
  }
  return over(colour(layers.substr(0, plus), dark), surface(layers.substr(plus + 1), dark));
}

std::vector<Pair> pairs() {
  std::vector<Pair> out;
  // Body, secondary and tertiary text on every surface and tint they sit on (tertiary text,
  // for headings and labels, is never on a selected row or on the sidebar's rows).
  const std::vector<std::string> surfaces{"window", "sidebar",    "content",       "card",
                                          "field",  "hover+card", "hover+content", "hover+window"};
  for (const char* fg : {"text", "secondaryText", "tertiaryText"})
    for (const auto& bg : surfaces)
      out.push_back({fg, bg, kText});
  for (const char* fg : {"text", "secondaryText"})
    for (const char* bg : {"hover+sidebar", "accentTint+sidebar", "accentTint+card"})
      out.push_back({fg, bg, kText});
  // Links and plain buttons in the accent; labels on the accent in every state.
  for (const char* bg : {"card", "content", "window", "hover+card"})
    out.push_back({"accent", bg, kText});
  for (const char* bg : {"accent", "accentHover", "accentPressed"})
    out.push_back({"accentForeground", bg, kText});
  // Badges on a row, and the notices.
  out.push_back({"safeText", "safeBack+card", kText});
  out.push_back({"reviewText", "reviewBack+card", kText});
  out.push_back({"neutralText", "neutralBack+card", kText});
  out.push_back({"safeText", "safeBack+hover+card", kText});
  out.push_back({"reviewText", "reviewBack+hover+card", kText});
  out.push_back({"neutralText", "neutralBack+hover+card", kText});
  out.push_back({"warning", "card", kText});
  out.push_back({"warning", "accentTint+card", kText});
  out.push_back({"warning", "warningBack+content", kText});
  out.push_back({"text", "warningBack+content", kText});
  // The edges of controls, the focus ring, a ticked box.
  for (const char* bg : {"field", "card", "content", "window"})
    out.push_back({"fieldBorder", bg, kGraphic});
  for (const char* bg : {"card", "field", "content", "window", "sidebar", "accentTint+sidebar"}) {
    out.push_back({"focusRing", bg, kGraphic});
    out.push_back({"accent", bg, kGraphic});
  }
  // The storage bar's segments and its outline, on the card; a Space Map cell's edge.
  for (const char* fg : {"chartUsed", "accent", "chartHeld", "chartOutline"})
    out.push_back({fg, "card", kGraphic});
  return out;
}

TEST(Contrast, EveryPairingMeetsItsRatioInBothAppearances) {
  for (bool dark : {false, true}) {
    std::printf("%-18s %-24s %6s %5s\n", dark ? "dark" : "light", "on", "ratio", "min");
    for (const Pair& pair : pairs()) {
      ASSERT_TRUE(find(pair.fg, dark)) << pair.fg;
      const double ratio =
          contrast(over(colour(pair.fg, dark), surface(pair.bg, dark)), surface(pair.bg, dark));
      std::printf("%-18s %-24s %6.2f %5.1f\n", pair.fg.c_str(), pair.bg.c_str(), ratio,
                  pair.minimum);
      EXPECT_GE(ratio, pair.minimum) << pair.fg << " on " << pair.bg << (dark ? " (dark)" : "");
    }
  }
}

TEST(Contrast, SpaceMapLabelsReadOnEveryCell) {
  for (bool dark : {false, true}) {
    // Past the last shade every rank has the last one: check a few beyond it too.
    for (int rank = 0; rank < spaceMapShades() + 3; ++rank) {
      const Rgba cell = spaceMapCell(rank, dark);
      const double label = contrast(spaceMapLabel(rank, dark), cell);
      std::printf("%s space map cell %d: label %.2f\n", dark ? "dark" : "light", rank, label);
      EXPECT_GE(label, kText) << "rank " << rank << (dark ? " (dark)" : "");
    }
    // Each cell's edge (the accent) tells it from the card and from its neighbours.
    EXPECT_GE(contrast(colour("accent", dark), colour("card", dark)), kGraphic);
  }
}

TEST(Contrast, ArithmeticMatchesTheDefinition) {
  const Rgba black{0, 0, 0, 1}, white{255, 255, 255, 1};
  EXPECT_DOUBLE_EQ(contrast(black, white), 21.0);
  EXPECT_DOUBLE_EQ(contrast(white, white), 1.0);
  // A known pair: #767676 on white is 4.54:1.
  EXPECT_NEAR(contrast({118, 118, 118, 1}, white), 4.54, 0.01);
  // Half-transparent black over white is mid grey.
  Rgba half = over({0, 0, 0, 0.5}, white);
  EXPECT_DOUBLE_EQ(half.r, 127.5);
  EXPECT_DOUBLE_EQ(half.a, 1.0);
}

}  // namespace
}  // namespace dw::ui::palette
