#pragma once
// The app's colours, light and dark, in one table that the QML theme reads (through
// ThemeColors) and the contrast test reads directly; and the contrast arithmetic of the WCAG
// definition (relative luminance of sRGB, alpha composited over what a colour sits on).

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace dw::ui::palette {

struct Rgba {
  double r = 0, g = 0, b = 0;  // 0..255
  double a = 1;                // 0..1

  friend bool operator==(const Rgba&, const Rgba&) = default;
};

struct Entry {
  std::string_view name;
  Rgba light;
  Rgba dark;
};

// Every named colour of the theme.
std::span<const Entry> entries();
std::optional<Rgba> find(std::string_view name, bool dark);
// The named colour; a name the table lacks is a programming error and gives magenta.
Rgba colour(std::string_view name, bool dark);

// fg drawn over bg (bg's own alpha is taken as opaque).
Rgba over(const Rgba& fg, const Rgba& bg);
double luminance(const Rgba& colour);
// The contrast ratio of two opaque colours, 1 to 21.
double contrast(const Rgba& a, const Rgba& b);

// The Space Map's cells: the accent at an opacity falling with the cell's rank (largest first),
// over the card; each cell's label is whichever of the text colours reads best on it.
Rgba spaceMapCell(int rank, bool dark);
Rgba spaceMapLabel(int rank, bool dark);
// The number of distinct cell shades; every rank from here on has the last one.
int spaceMapShades();

}  // namespace dw::ui::palette
