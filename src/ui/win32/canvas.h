#pragma once

#include <windows.h>

#include <array>
#include <span>
#include <string_view>

#include "ui/win32/fonts.h"

namespace hvt {

struct PointF {
  double x = 0;
  double y = 0;
};

struct DeleteDeviceContext {
  using pointer = HDC;
  void operator()(HDC dc) const { DeleteDC(dc); }
};
using UniqueDeviceContext = std::unique_ptr<std::remove_pointer_t<HDC>, DeleteDeviceContext>;

// A picture of one rectangle, painted off the screen with smooth edges and shown whole.
//
// Promises  the screen never sees it half painted; without memory for it nothing is painted at all.
// Threads   the interface thread.
// Owns      the picture. Coordinates are those of the target.
// Ends      with the object, which copies the picture to the target.
class Canvas {
 public:
  Canvas(HDC target, const RECT& area);
  ~Canvas();
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;

  void fill(const RECT& area, COLORREF color);
  void rounded(const RECT& area, double radius, COLORREF color);
  // A rounded area with an edge of `width` pixels.
  void framed(const RECT& area, double radius, COLORREF inside, COLORREF edge, double width = 1);
  void line(std::span<const PointF> points, double width, COLORREF color);
  void triangle(const std::array<PointF, 3>& corners, COLORREF color);
  // `format` is that of DrawTextW.
  void text(std::wstring_view text, RECT area, HFONT font, COLORREF color, UINT format);

 private:
  template <typename Distance>
  void blend(const RECT& area, COLORREF color, const Distance& distance);

  HDC target_;
  RECT area_;
  UniqueDeviceContext dc_;
  UniqueGdiObject bitmap_;
  HGDIOBJ previous_ = nullptr;
  DWORD* pixels_ = nullptr;
};

}  // namespace hvt
