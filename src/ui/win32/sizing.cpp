#include "ui/win32/sizing.h"

#include <algorithm>

namespace hvt {
namespace {

RECT work_area(HWND window) {
  MONITORINFO monitor{};
  monitor.cbSize = sizeof monitor;
  GetMonitorInfoW(MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST), &monitor);
  return monitor.rcWork;
}

}  // namespace

Size frame_size(HWND window) {
  RECT rect{};
  const auto style = static_cast<DWORD>(GetWindowLongPtrW(window, GWL_STYLE));
  const auto extended = static_cast<DWORD>(GetWindowLongPtrW(window, GWL_EXSTYLE));
  AdjustWindowRectExForDpi(&rect, style, FALSE, extended, GetDpiForWindow(window));
  return {rect.right - rect.left, rect.bottom - rect.top};
}

Size client_size(HWND window) {
  RECT rect{};
  GetClientRect(window, &rect);
  return {rect.right, rect.bottom};
}

Size work_area_size(HWND window) {
  const RECT work = work_area(window);
  return {work.right - work.left, work.bottom - work.top};
}

void enlarge_dragged_rect(RECT& rect, WPARAM edge, Size minimum) {
  const bool left = edge == WMSZ_LEFT || edge == WMSZ_TOPLEFT || edge == WMSZ_BOTTOMLEFT;
  const bool top = edge == WMSZ_TOP || edge == WMSZ_TOPLEFT || edge == WMSZ_TOPRIGHT;
  const LONG width = std::max<LONG>(rect.right - rect.left, minimum.width);
  const LONG height = std::max<LONG>(rect.bottom - rect.top, minimum.height);
  if (left) {
    rect.left = rect.right - width;
  } else {
    rect.right = rect.left + width;
  }
  if (top) {
    rect.top = rect.bottom - height;
  } else {
    rect.bottom = rect.top + height;
  }
}

void resize_client(HWND window, Size client) {
  const RECT work = work_area(window);
  const Size frame = frame_size(window);
  RECT current{};
  GetWindowRect(window, &current);
  const LONG width = std::min<LONG>(client.width + frame.width, work.right - work.left);
  const LONG height = std::min<LONG>(client.height + frame.height, work.bottom - work.top);
  const LONG x = std::clamp<LONG>(current.left, work.left, work.right - width);
  const LONG y = std::clamp<LONG>(current.top, work.top, work.bottom - height);
  SetWindowPos(window, nullptr, x, y, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
}

}  // namespace hvt
