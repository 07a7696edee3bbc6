#pragma once

#include <windows.h>

#include <array>

#include "display/palette.h"
#include "ui/controls.h"
#include "ui/main_window.h"
#include "ui/win32/fonts.h"

namespace hvt {

constexpr COLORREF color_ref(Rgb color) {
  return RGB(color.red, color.green, color.blue);
}
constexpr Rgb rgb(COLORREF color) {
  return {GetRValue(color), GetGValue(color), GetBValue(color)};
}

// What a control stands on and writes with.
struct ControlColors {
  COLORREF text = 0;
  COLORREF background = 0;
  HBRUSH brush = nullptr;
};

// Colours and brushes of the window's surfaces. System colours are read when the object is made.
//
// Threads   the interface thread.
// Owns      its brushes; controls that were handed one must be repainted before the object goes.
class Surfaces {
 public:
  Surfaces();

  HBRUSH window() const { return brush(Surface::window); }
  HBRUSH header() const { return brush(Surface::header); }
  ControlColors colors(ControlId id, bool enabled, StatusTone tone) const;

 private:
  enum class Surface : unsigned { window, header, field, alternate_field, count };
  struct Paint {
    COLORREF color = 0;
    UniqueGdiObject brush;
  };

  Surface surface_of(ControlId id) const;
  HBRUSH brush(Surface surface) const;

  std::array<Paint, static_cast<unsigned>(Surface::count)> paints_;
};

// The one-pixel frame of a field, in its resting and its focused look.
COLORREF field_frame_color(bool focused);

// Where the window's background changes: y coordinates of the client area.
struct Sections {
  int header_end = 0;    // the connection controls stand above, on a band of their own
  int footer_begin = 0;  // the status line stands below
  friend bool operator==(const Sections&, const Sections&) = default;
};
Sections sections_of(const Placement& placement);

// What is visible between the controls.
void paint_background(HDC dc, const Surfaces& surfaces, const RECT& client, const Sections& sections);

// Fills a rectangle's one-pixel edge.
void draw_frame(HDC dc, const RECT& rect, COLORREF color);

}  // namespace hvt
