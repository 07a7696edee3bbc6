#include "ui/win32/icons.h"

namespace hvt {
namespace {

constexpr WORD kIconResource = 1;

}  // namespace

WindowIcons::WindowIcons(int dpi)
    : large_(load(SM_CXICON, SM_CYICON, dpi)), small_(load(SM_CXSMICON, SM_CYSMICON, dpi)) {}

WindowIcons::UniqueIcon WindowIcons::load(int width_metric, int height_metric, int dpi) {
  const auto size = static_cast<UINT>(dpi);
  return UniqueIcon{static_cast<HICON>(LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(kIconResource),
                                                  IMAGE_ICON, GetSystemMetricsForDpi(width_metric, size),
                                                  GetSystemMetricsForDpi(height_metric, size), 0))};
}

void WindowIcons::show_on(HWND window) const {
  SendMessageW(window, WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(large_.get()));
  SendMessageW(window, WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(small_.get()));
}

}  // namespace hvt
