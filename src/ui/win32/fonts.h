#pragma once

#include <windows.h>

#include <memory>
#include <string_view>
#include <type_traits>

#include "ui/controls.h"

namespace hvt {

inline constexpr const wchar_t* kInterfaceFace = L"Segoe UI";
inline constexpr const wchar_t* kTitleFace = L"Segoe UI Semibold";
inline constexpr const wchar_t* kFixedFace = L"Consolas";
inline constexpr int kInterfacePoints = 9;
inline constexpr int kFixedPoints = 10;

struct DeleteGdiObject {
  using pointer = HGDIOBJ;
  void operator()(HGDIOBJ object) const { DeleteObject(object); }
};
using UniqueGdiObject = std::unique_ptr<std::remove_pointer_t<HGDIOBJ>, DeleteGdiObject>;

// The window's fonts for one DPI value. Controls use them without owning them, so the old set lives until
// every control has the new one.
class Fonts {
 public:
  Fonts() = default;
  explicit Fonts(int dpi);

  HFONT interface_font() const { return static_cast<HFONT>(interface_.get()); }
  HFONT fixed_font() const { return static_cast<HFONT>(fixed_.get()); }
  HFONT of(const ControlRow& row) const;
  int dpi() const { return dpi_; }

 private:
  int dpi_ = USER_DEFAULT_SCREEN_DPI;
  UniqueGdiObject interface_;
  UniqueGdiObject title_;
  UniqueGdiObject fixed_;
};

// The font a control was given.
HFONT font_of(HWND window);
// Pixels, on the screen.
int font_height(HFONT font);
int text_width(HFONT font, std::wstring_view text);

}  // namespace hvt
