#pragma once

#include <windows.h>

#include <vector>

#include "ui/controls.h"
#include "ui/layout.h"
#include "ui/main_window.h"
#include "ui/section_marks.h"
#include "ui/win32/look.h"

namespace hvt {

// The surface that a control stands on, and the one inside a field.
ThemeColor ground_of(const ControlRow& row);
ThemeColor field_surface_of(const ControlRow& row);
// Of a static text.
ThemeColor text_color_of(const ControlRow& row, StatusTone tone);

// What a native control that the system paints stands on and writes with.
struct ControlColors {
  COLORREF text = 0;
  COLORREF background = 0;
  HBRUSH brush = nullptr;
};
ControlColors control_colors(const Look& look, const ControlRow& row, bool enabled);

// Where the window's background changes, in pixels of the client area.
struct Sections {
  int bar_end = 0;         // the menus stand above
  int header_end = 0;      // the connection controls stand above, on a band of their own
  int footer_begin = 0;    // the status line stands below
  std::vector<Rect> rows;  // every second packet row
  SectionMarks marks;
  friend bool operator==(const Sections&, const Sections&) = default;
};
Sections sections_of(const Placement& placement);

// What is visible between the controls.
void paint_background(HDC dc, const Look& look, const RECT& client, const Sections& sections);

}  // namespace hvt
