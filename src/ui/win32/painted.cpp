#include "ui/win32/painted.h"

#include <commctrl.h>

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

#include "ui/win32/native_controls.h"

namespace hvt {
namespace {

constexpr UINT_PTR kStaticSubclass = 1;
constexpr UINT kSetTextColor = WM_APP;  // to a static text; the first parameter is the colour

void paint_static(HWND control, const StaticText& text) {
  paint_window(control, [&](Canvas& canvas, const RECT& client) {
    const Look& look = *text.painted.look;
    const COLORREF ground = look[text.painted.ground];
    const COLORREF color =
        IsWindowEnabled(control) ? look.text_on(ground, text.text) : look[ThemeColor::disabled_text];
    canvas.fill(client, ground);
    const UINT cut = text.ellipsis ? DT_END_ELLIPSIS : 0;
    canvas.text(window_text(control), client, font_of(control), color,
                DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | cut);
  });
}

LRESULT CALLBACK static_procedure(HWND control, UINT message, WPARAM first, LPARAM second, UINT_PTR,
                                  DWORD_PTR data) {
  auto* const text = reinterpret_cast<StaticText*>(data);
  switch (message) {
    case WM_ERASEBKGND: return 1;
    case WM_PAINT: paint_static(control, *text); return 0;
    case kSetTextColor:
      if (std::exchange(text->text, static_cast<ThemeColor>(first)) != text->text)
        InvalidateRect(control, nullptr, FALSE);
      return 0;
    case WM_NCDESTROY:
      RemoveWindowSubclass(control, static_procedure, kStaticSubclass);
      delete text;
      break;
    default: break;
  }
  if (paints_by_itself(message)) return handled_unpainted(control, message, first, second);
  return DefSubclassProc(control, message, first, second);
}

}  // namespace

int scaled(HWND window, int logical) {
  return MulDiv(logical, static_cast<int>(GetDpiForWindow(window)), USER_DEFAULT_SCREEN_DPI);
}

COLORREF field_frame(const Look& look, COLORREF ground, bool enabled, bool focused) {
  if (focused) return legible(look[ThemeColor::accent], ground);
  const COLORREF rest = mixed(ground, look[ThemeColor::border], look.dark() ? 55 : 100);
  return enabled ? rest : mixed(ground, rest, 60);
}

bool paints_by_itself(UINT message) {
  constexpr std::array<UINT, 7> kMessages{BM_SETSTATE, BM_SETCHECK, BM_SETSTYLE,     WM_SETTEXT,
                                          WM_ENABLE,   WM_SETFONT,  WM_UPDATEUISTATE};
  return std::find(kMessages.begin(), kMessages.end(), message) != kMessages.end();
}

LRESULT handled_unpainted(HWND window, UINT message, WPARAM first, LPARAM second) {
  // Of a hidden window the message that turns painting on again would show it.
  const bool visible = (static_cast<DWORD>(GetWindowLongPtrW(window, GWL_STYLE)) & WS_VISIBLE) != 0;
  if (!visible) return DefSubclassProc(window, message, first, second);
  DefWindowProcW(window, WM_SETREDRAW, FALSE, 0);
  const LRESULT result = DefSubclassProc(window, message, first, second);
  DefWindowProcW(window, WM_SETREDRAW, TRUE, 0);
  InvalidateRect(window, nullptr, FALSE);
  return result;
}

void follow_pointer(HWND window, UINT message, Painted& painted) {
  const bool over = message == WM_MOUSEMOVE;
  if ((!over && message != WM_MOUSELEAVE) || painted.hovered == over) return;
  painted.hovered = over;
  InvalidateRect(window, nullptr, FALSE);
  if (!over) return;
  TRACKMOUSEEVENT leaving{};
  leaving.cbSize = sizeof leaving;
  leaving.dwFlags = TME_LEAVE;
  leaving.hwndTrack = window;
  TrackMouseEvent(&leaving);
}

bool shows_focus(HWND window) {
  return GetFocus() == window && (SendMessageW(window, WM_QUERYUISTATE, 0, 0) & UISF_HIDEFOCUS) == 0;
}

void make_static_text(HWND control, const StaticText& text) {
  auto owned = std::make_unique<StaticText>(text);
  if (SetWindowSubclass(control, static_procedure, kStaticSubclass, reinterpret_cast<DWORD_PTR>(owned.get())))
    static_cast<void>(owned.release());  // the window's until it goes
}

void set_text_color(HWND control, ThemeColor text) {
  SendMessageW(control, kSetTextColor, static_cast<WPARAM>(text), 0);
}

}  // namespace hvt
