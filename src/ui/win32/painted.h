#pragma once

#include <windows.h>

#include <string_view>

#include "ui/theme.h"
#include "ui/win32/canvas.h"
#include "ui/win32/look.h"

namespace hvt {

// What a control that is painted by the window (and not by the system) needs to know at any time.
struct Painted {
  const Look* look = nullptr;
  ThemeColor ground = ThemeColor::window;  // the surface it stands on
  bool hovered = false;                    // the pointer is over it
};

int scaled(HWND window, int logical);

// The frame of fields and choices.
inline constexpr int kFieldRadius = 3;  // logical pixels
COLORREF field_frame(const Look& look, COLORREF ground, bool enabled, bool focused);

// Calls `paint(canvas, client)` for WM_PAINT.
template <typename Paint>
void paint_window(HWND window, const Paint& paint) {
  PAINTSTRUCT job{};
  const HDC dc = BeginPaint(window, &job);
  RECT client{};
  GetClientRect(window, &client);
  if (dc != nullptr && !IsRectEmpty(&client)) {
    Canvas canvas{dc, client};
    paint(canvas, client);
  }
  EndPaint(window, &job);
}

// Messages at which the system's control paints at once, past WM_PAINT.
bool paints_by_itself(UINT message);
// The system's handling of such a message without its picture; the window's own follows.
LRESULT handled_unpainted(HWND window, UINT message, WPARAM first, LPARAM second);

// Keeps `hovered` from the mouse messages.
void follow_pointer(HWND window, UINT message, Painted& painted);

// The keyboard is in the window and its mark is to be seen.
bool shows_focus(HWND window);

// A static text: label, title, counter or status line.
struct StaticText {
  Painted painted;
  ThemeColor text = ThemeColor::text;
  bool ellipsis = false;
};
void make_static_text(HWND control, const StaticText& text);
void set_text_color(HWND control, ThemeColor text);

}  // namespace hvt
