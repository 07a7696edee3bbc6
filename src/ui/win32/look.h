#pragma once

#include <windows.h>

#include <array>

#include "ui/theme.h"
#include "ui/win32/fonts.h"

namespace hvt {

constexpr COLORREF color_ref(Rgb color) {
  return RGB(color.red, color.green, color.blue);
}
constexpr Rgb rgb(COLORREF color) {
  return {GetRValue(color), GetGValue(color), GetBValue(color)};
}

// `share` (0 to 100) percent of `over` on top of `under`.
COLORREF mixed(COLORREF under, COLORREF over, int share);
// How far apart two colours are in brightness, 1 to 21; text needs 4.5.
double contrast(COLORREF a, COLORREF b);
// `wanted`, moved away from `ground` until it can be read there.
COLORREF legible(COLORREF wanted, COLORREF ground);

// The colours that everything in the window is painted with, and the brushes of the surfaces.
//
// Promises  made whole, or the constructor throws std::runtime_error "Could not create theme brushes.".
// Threads   the interface thread.
// Owns      the brushes. Who paints keeps a reference to one Look that another is moved into; the brushes it
//           was handed are good until then.
class Look {
 public:
  explicit Look(const ThemePalette& palette);

  const ThemePalette& palette() const { return palette_; }
  bool dark() const { return palette_.dark; }
  COLORREF operator[](ThemeColor slot) const { return color_ref(palette_[slot]); }
  // Of a surface (window to pressed).
  HBRUSH brush(ThemeColor surface) const;

  // Text that is readable on a surface, whatever its slot says.
  COLORREF text_on(COLORREF ground, ThemeColor wanted = ThemeColor::text) const;
  // A slot to write on in the colour of selected text, far enough from that to be read.
  COLORREF filled(ThemeColor slot) const;

 private:
  ThemePalette palette_;
  std::array<UniqueGdiObject, kSurfaceColorCount> brushes_;
};

}  // namespace hvt
