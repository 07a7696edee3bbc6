#include "ui/win32/fields.h"

#include <commctrl.h>

#include <algorithm>

#include "ui/win32/painting.h"

namespace hvt {
namespace {

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

// The strip around the text line, in the colour that the parent gives the field.
void paint_surround(HWND edit) {
  const HDC dc = GetWindowDC(edit);
  RECT window{};
  GetWindowRect(edit, &window);
  RECT client{};
  GetClientRect(edit, &client);
  MapWindowPoints(edit, nullptr, reinterpret_cast<POINT*>(&client), 2);
  OffsetRect(&client, -window.left, -window.top);
  OffsetRect(&window, -window.left, -window.top);

  const UINT question = IsWindowEnabled(edit) ? WM_CTLCOLOREDIT : WM_CTLCOLORSTATIC;
  const auto brush = reinterpret_cast<HBRUSH>(
      SendMessageW(GetParent(edit), question, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(edit)));
  ExcludeClipRect(dc, client.left, client.top, client.right, client.bottom);
  FillRect(dc, &window, brush);
  draw_frame(dc, window, field_frame_color(GetFocus() == edit));
  ReleaseDC(edit, dc);
}

void repaint_surround(HWND edit) {
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

LRESULT CALLBACK field_procedure(HWND edit, UINT message, WPARAM first, LPARAM second, UINT_PTR, DWORD_PTR) {
  switch (message) {
    case WM_NCCALCSIZE: shrink_to_text_line(edit, *reinterpret_cast<RECT*>(second)); return 0;
    case WM_NCPAINT: paint_surround(edit); return 0;
    case WM_NCHITTEST: return HTCLIENT;
    case WM_GETDLGCODE:
      if (is_enter(second)) return DLGC_WANTMESSAGE;
      break;
    case WM_KEYDOWN:
      if (first == VK_RETURN) return report_enter(edit), 0;
      break;
    case WM_CHAR:
      if (first == VK_RETURN) return 0;  // the control would beep
      break;
    default: break;
  }
  const LRESULT result = DefSubclassProc(edit, message, first, second);
  if (message == WM_SETFOCUS || message == WM_KILLFOCUS || message == WM_ENABLE) repaint_surround(edit);
  if (message == WM_SETFONT) {
    SetWindowPos(edit, nullptr, 0, 0, 0, 0,
                 SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_FRAMECHANGED);
  }
  return result;
}

LRESULT CALLBACK receive_field_procedure(HWND rich_edit, UINT message, WPARAM first, LPARAM second, UINT_PTR,
                                         DWORD_PTR) {
  if (message == WM_GETDLGCODE) return DLGC_WANTARROWS | DLGC_WANTCHARS;
  return DefSubclassProc(rich_edit, message, first, second);
}

}  // namespace

void make_field(HWND edit) {
  SetWindowSubclass(edit, field_procedure, 0, 0);
}

void make_receive_field(HWND rich_edit) {
  SetWindowSubclass(rich_edit, receive_field_procedure, 0, 0);
}

}  // namespace hvt
