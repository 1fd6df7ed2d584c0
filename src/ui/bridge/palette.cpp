#include "palette.h"

#include <algorithm>
#include <cmath>

namespace dw::ui::palette {

namespace {

constexpr Rgba hex(std::uint32_t rgb, double alpha = 1) {
  return {static_cast<double>((rgb >> 16) & 0xFF), static_cast<double>((rgb >> 8) & 0xFF),
          static_cast<double>(rgb & 0xFF), alpha};
}

// Text colours meet 4.5:1 on every surface they are drawn on (window, sidebar, content, card,
// field, and those under a hover or selection tint); boundaries of controls and chart marks meet
// 3:1 against the surface around them. tests/ui/contrast_test.cpp checks each pairing.
constexpr std::array kEntries{
    Entry{"accent", hex(0x0E7A6D), hex(0x2BB3A1)},
    Entry{"accentTint", hex(0x0E7A6D, 0.12), hex(0x2BB3A1, 0.20)},
    // Text on the accent: white on the deep light-mode teal, a near-black teal on the brighter
    // dark-mode one, where white would read poorly.
    Entry{"accentForeground", hex(0xFFFFFF), hex(0x06211D)},
    Entry{"accentPressed", hex(0x0A5F55), hex(0x24998A)},
    Entry{"accentHover", hex(0x0C6C60), hex(0x3CC2B0)},

    Entry{"window", hex(0xF5F5F4), hex(0x1E1F21)},
    Entry{"sidebar", hex(0xEBEBEA), hex(0x252628)},
    Entry{"content", hex(0xFBFBFA), hex(0x1E1F21)},
    Entry{"card", hex(0xFFFFFF), hex(0x2A2B2E)},
    Entry{"cardBorder", hex(0xE3E3E1), hex(0x3A3B3F)},
    Entry{"separator", hex(0xE6E6E4), hex(0x38393C)},
    Entry{"field", hex(0xFFFFFF), hex(0x2F3033)},
    // The edge of a control a person must find: a checkbox, a button, the search field.
    Entry{"fieldBorder", hex(0x8A8A8E), hex(0x7E7F84)},
    Entry{"hover", hex(0x000000, 0.035), hex(0xFFFFFF, 0.05)},
    Entry{"pressed", hex(0x000000, 0.09), hex(0xFFFFFF, 0.12)},
    Entry{"scrim", hex(0x000000, 0.28), hex(0x000000, 0.55)},
    // The keyboard focus ring, drawn around the focused control.
    Entry{"focusRing", hex(0x0E7A6D), hex(0x3CC2B0)},

    Entry{"text", hex(0x1D1D1F), hex(0xECECEC)},
    Entry{"secondaryText", hex(0x5C5C61), hex(0xB4B4B9)},
    Entry{"tertiaryText", hex(0x68686D), hex(0xA3A3A9)},

    Entry{"skeleton", hex(0xE8E8E6), hex(0x35363A)},
    Entry{"skeletonShine", hex(0xF3F3F1), hex(0x414246)},

    // Badge tones: background and text.
    Entry{"safeBack", hex(0xE3F2EF), hex(0x2BB3A1, 0.18)},
    Entry{"safeText", hex(0x0B6B5F), hex(0x5FD3C2)},
    Entry{"reviewBack", hex(0xFCF0DC), hex(0xF2A633, 0.18)},
    Entry{"reviewText", hex(0x7A4F08), hex(0xF2B65C)},
    Entry{"neutralBack", hex(0xEFEFED), hex(0x37383C)},
    Entry{"neutralText", hex(0x55555A), hex(0xB8B8BD)},
    Entry{"warning", hex(0x8F5600), hex(0xF2B65C)},
    Entry{"warningBack", hex(0xFDF5E7), hex(0xF2A633, 0.12)},

    // The storage bar: used, ready (the accent), held; free space is the bar's empty track,
    // outlined so its end can be seen.
    Entry{"chartUsed", hex(0x5E5E63), hex(0x9A9A9F)},
    Entry{"chartHeld", hex(0xB26B00), hex(0xF2B65C)},
    Entry{"chartOutline", hex(0x8A8A8E), hex(0x7E7F84)},
};

// The Space Map's opacities by rank. The light ladder reads the text colour on every cell but
// the first (solid accent, white label); the dark one reads the near-black accent foreground on
// the two brightest and the text colour from the third on, skipping the shades where neither
// reaches 4.5:1.
constexpr std::array kLightShades{1.0, 0.70, 0.56, 0.44, 0.34, 0.25, 0.16};
constexpr std::array kDarkShades{1.0, 0.85, 0.48, 0.38, 0.30, 0.22, 0.16};
static_assert(kLightShades.size() == kDarkShades.size());

double channel(double value) {
  double c = value / 255.0;
  return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
}

}  // namespace

std::span<const Entry> entries() {
  return kEntries;
}

std::optional<Rgba> find(std::string_view name, bool dark) {
  for (const Entry& entry : kEntries)
    if (entry.name == name) return dark ? entry.dark : entry.light;
  return std::nullopt;
}

Rgba colour(std::string_view name, bool dark) {
  return find(name, dark).value_or(hex(0xFF00FF));
}

Rgba over(const Rgba& fg, const Rgba& bg) {
  auto mix = [&](double f, double b) { return f * fg.a + b * (1 - fg.a); };
  return {mix(fg.r, bg.r), mix(fg.g, bg.g), mix(fg.b, bg.b), 1};
}

double luminance(const Rgba& c) {
  return 0.2126 * channel(c.r) + 0.7152 * channel(c.g) + 0.0722 * channel(c.b);
}

double contrast(const Rgba& a, const Rgba& b) {
  double la = luminance(a), lb = luminance(b);
  return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

int spaceMapShades() {
  return static_cast<int>(kLightShades.size());
}

Rgba spaceMapCell(int rank, bool dark) {
  const auto& shades = dark ? kDarkShades : kLightShades;
  const double alpha = shades[static_cast<size_t>(std::clamp(rank, 0, spaceMapShades() - 1))];
  Rgba accent = colour("accent", dark);
  accent.a = alpha;
  return over(accent, colour("card", dark));
}

Rgba spaceMapLabel(int rank, bool dark) {
  const Rgba cell = spaceMapCell(rank, dark);
  const Rgba onAccent = colour("accentForeground", dark);
  const Rgba text = colour("text", dark);
  return contrast(onAccent, cell) >= contrast(text, cell) ? onAccent : text;
}

}  // namespace dw::ui::palette
