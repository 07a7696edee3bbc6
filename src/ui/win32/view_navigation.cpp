#include "ui/win32/view_navigation.h"

#include <string>

namespace hvt {
namespace {

// One piece reaches past the end of most lines.
constexpr LONG kSearchedAtOnce = 1024;

bool has_break_after(const RichEdit& edit, LONG caret) {
  for (;;) {
    const std::wstring text = edit.text(caret, kSearchedAtOnce);
    if (text.find(L'\r') != std::wstring::npos) return true;
    if (text.size() < static_cast<std::size_t>(kSearchedAtOnce)) return false;
    caret += kSearchedAtOnce;
  }
}

bool is_wheel_up(UINT message, WPARAM first) {
  return message == WM_MOUSEWHEEL && static_cast<SHORT>(HIWORD(first)) > 0 &&
         (LOWORD(first) & MK_CONTROL) == 0;  // with Ctrl it zooms
}

}  // namespace

bool leaves_end(const RichEdit& edit, UINT message, WPARAM first) {
  if (message == WM_NCLBUTTONDOWN || message == WM_NCLBUTTONDBLCLK) return first == HTVSCROLL;
  if (message == WM_VSCROLL) return LOWORD(first) != SB_ENDSCROLL;
  return is_wheel_up(message, first) && edit.scroll_position().y > 0;
}

bool may_leave_end(UINT message, WPARAM first) {
  switch (message) {
    case WM_KEYDOWN:
    case WM_LBUTTONDOWN:
    case WM_LBUTTONUP:
    case WM_LBUTTONDBLCLK: return true;
    case WM_MOUSEMOVE: return (first & MK_LBUTTON) != 0;
    default: return false;
  }
}

bool has_left_end(const RichEdit& edit, LONG scroll_before) {
  const CHARRANGE chosen = edit.selection();
  return chosen.cpMin != chosen.cpMax || edit.scroll_position().y < scroll_before ||
         has_break_after(edit, chosen.cpMax);
}

}  // namespace hvt
