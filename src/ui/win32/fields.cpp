#include "ui/win32/fields.h"

#include <commctrl.h>

#include <algorithm>
#include <memory>
#include <string>

#include "ui/win32/painted.h"

namespace hvt {
namespace {

constexpr UINT_PTR kSubclass = 0;
constexpr UINT kSetHint = WM_APP;  // to a field; the second parameter points to the text
constexpr int kFrame = 1;
constexpr int kSidePadding = 4;  // logical pixels

// A single-line edit writes at the top of its client area, so the client area is made one line high.
void shrink_to_text_line(HWND edit, RECT& area) {
  const int side =
      kFrame + MulDiv(kSidePadding, static_cast<int>(GetDpiForWindow(edit)), USER_DEFAULT_SCREEN_DPI);
  const LONG spare = area.bottom - area.top - font_height(font_of(edit));
  const LONG above = std::max<LONG>(kFrame, spare / 2);
  const LONG below = std::max<LONG>(kFrame, spare - above);
  area.left += side;
  area.right = std::max(area.left, area.right - side);
  area.top += above;
  area.bottom = std::max(area.top, area.bottom - below);
}

struct Field {
  Painted painted;
  ThemeColor surface;
  std::wstring hint;
};

// Everything but the client area of a window, by `paint(canvas, whole)`.
template <typename Paint>
void paint_around_client(HWND window, const Paint& paint) {
  const HDC dc = GetWindowDC(window);
  RECT whole{};
  GetWindowRect(window, &whole);
  RECT client{};
  GetClientRect(window, &client);
  MapWindowPoints(window, nullptr, reinterpret_cast<POINT*>(&client), 2);
  OffsetRect(&client, -whole.left, -whole.top);
  OffsetRect(&whole, -whole.left, -whole.top);
  ExcludeClipRect(dc, client.left, client.top, client.right, client.bottom);
  {
    Canvas canvas{dc, whole};
    paint(canvas, whole);
  }
  ReleaseDC(window, dc);
}

void paint_surround(HWND edit, const Field& field) {
  paint_around_client(edit, [&](Canvas& canvas, const RECT& whole) {
    const Look& look = *field.painted.look;
    const bool enabled = IsWindowEnabled(edit) != FALSE;
    canvas.fill(whole, look[field.painted.ground]);
    canvas.framed(whole, scaled(edit, kFieldRadius),
                  look[enabled ? field.surface : ThemeColor::disabled_field],
                  field_frame(look, look[field.painted.ground], enabled, GetFocus() == edit));
  });
}

// The system's own hint has a colour of its own.
void paint_hint(HWND edit, const Field& field) {
  if (field.hint.empty() || GetFocus() == edit || GetWindowTextLengthW(edit) > 0) return;
  const HDC dc = GetDC(edit);
  RECT client{};
  GetClientRect(edit, &client);
  const HGDIOBJ before = SelectObject(dc, font_of(edit));
  const Look& look = *field.painted.look;
  const bool enabled = IsWindowEnabled(edit) != FALSE;
  const COLORREF ground = look[enabled ? field.surface : ThemeColor::disabled_field];
  SetBkMode(dc, TRANSPARENT);
  SetTextColor(dc,
               enabled ? look.text_on(ground, ThemeColor::secondary_text) : look[ThemeColor::disabled_text]);
  DrawTextW(dc, field.hint.c_str(), static_cast<int>(field.hint.size()), &client,
            DT_SINGLELINE | DT_NOPREFIX);
  SelectObject(dc, before);
  ReleaseDC(edit, dc);
}

void repaint_with_surround(HWND edit) {
  RedrawWindow(edit, nullptr, nullptr, RDW_FRAME | RDW_INVALIDATE);
}

bool is_enter(LPARAM message_pointer) {
  const auto* message = reinterpret_cast<const MSG*>(message_pointer);
  return message != nullptr && message->message == WM_KEYDOWN && message->wParam == VK_RETURN;
}

void report_enter(HWND edit) {
  const auto id = static_cast<WORD>(GetDlgCtrlID(edit));
  SendMessageW(GetParent(edit), WM_COMMAND, MAKEWPARAM(id, kEnterPressed), reinterpret_cast<LPARAM>(edit));
}

LRESULT CALLBACK field_procedure(HWND edit, UINT message, WPARAM first, LPARAM second, UINT_PTR,
                                 DWORD_PTR data) {
  auto* const field = reinterpret_cast<Field*>(data);
  switch (message) {
    case kSetHint:
      field->hint = *reinterpret_cast<const std::wstring_view*>(second);
      InvalidateRect(edit, nullptr, TRUE);
      return 0;
    case WM_NCCALCSIZE: shrink_to_text_line(edit, *reinterpret_cast<RECT*>(second)); return 0;
    case WM_NCPAINT: paint_surround(edit, *field); return 0;
    case WM_NCHITTEST: return HTCLIENT;
    case WM_CONTEXTMENU:  // the system's menu has its own language and colours
      return SendMessageW(GetParent(edit), message, reinterpret_cast<WPARAM>(edit), second);
    case WM_GETDLGCODE:
      if (is_enter(second)) return DLGC_WANTMESSAGE;
      break;
    case WM_KEYDOWN:
      if (first == VK_RETURN) return report_enter(edit), 0;
      break;
    case WM_CHAR:
      if (first == VK_RETURN) return 0;  // the control would beep
      break;
    case WM_NCDESTROY:
      RemoveWindowSubclass(edit, field_procedure, kSubclass);
      delete field;
      return DefSubclassProc(edit, message, first, second);
    default: break;
  }
  const LRESULT result = DefSubclassProc(edit, message, first, second);
  if (message == WM_PAINT) paint_hint(edit, *field);
  if (message == WM_SETFOCUS || message == WM_KILLFOCUS || message == WM_ENABLE) repaint_with_surround(edit);
  if (message == WM_SETFONT) {
    SetWindowPos(edit, nullptr, 0, 0, 0, 0,
                 SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_FRAMECHANGED);
  }
  return result;
}

// The system's frame has a colour of its own; the scroll bar inside it stays the system's.
void paint_receive_frame(HWND rich_edit, const Look& look) {
  const HDC dc = GetWindowDC(rich_edit);
  RECT whole{};
  GetWindowRect(rich_edit, &whole);
  OffsetRect(&whole, -whole.left, -whole.top);
  SetDCBrushColor(dc, field_frame(look, look[ThemeColor::window], true, GetFocus() == rich_edit));
  FrameRect(dc, &whole, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
  ReleaseDC(rich_edit, dc);
}

LRESULT CALLBACK receive_field_procedure(HWND rich_edit, UINT message, WPARAM first, LPARAM second, UINT_PTR,
                                         DWORD_PTR data) {
  if (message == WM_GETDLGCODE) return DLGC_WANTARROWS | DLGC_WANTCHARS;
  const LRESULT result = DefSubclassProc(rich_edit, message, first, second);
  if (message == WM_NCPAINT || message == WM_SETFOCUS || message == WM_KILLFOCUS)
    paint_receive_frame(rich_edit, *reinterpret_cast<const Look*>(data));
  return result;
}

}  // namespace

void make_field(HWND edit, const Look& look, ThemeColor ground, ThemeColor surface) {
  auto owned = std::make_unique<Field>(Field{{&look, ground, false}, surface, {}});
  if (SetWindowSubclass(edit, field_procedure, kSubclass, reinterpret_cast<DWORD_PTR>(owned.get())))
    static_cast<void>(owned.release());  // the window's until it goes
}

void set_field_hint(HWND edit, std::wstring_view hint) {
  SendMessageW(edit, kSetHint, 0, reinterpret_cast<LPARAM>(&hint));
}

void make_receive_field(HWND rich_edit, const Look& look) {
  SetWindowSubclass(rich_edit, receive_field_procedure, kSubclass, reinterpret_cast<DWORD_PTR>(&look));
}

}  // namespace hvt
