#include "ui/win32/canvas.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace hvt {
namespace {

double length(PointF p) {
  return std::sqrt(p.x * p.x + p.y * p.y);
}

double distance_to_segment(PointF p, PointF a, PointF b) {
  const PointF along{b.x - a.x, b.y - a.y};
  const PointF to{p.x - a.x, p.y - a.y};
  const double square = along.x * along.x + along.y * along.y;
  const double at = square == 0 ? 0 : std::clamp((to.x * along.x + to.y * along.y) / square, 0.0, 1.0);
  return length({to.x - at * along.x, to.y - at * along.y});
}

BYTE blended(BYTE under, BYTE over, double share) {
  return static_cast<BYTE>(std::lround(under + (over - under) * share));
}

RECT inset(const RECT& area, double by) {
  const auto edge = static_cast<LONG>(std::lround(by));
  return {area.left + edge, area.top + edge, area.right - edge, area.bottom - edge};
}

}  // namespace

Canvas::Canvas(HDC target, const RECT& area) : target_(target), area_(area) {
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = area.right - area.left;
  info.bmiHeader.biHeight = area.top - area.bottom;  // negative: the first row is the top one
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  void* bits = nullptr;
  dc_.reset(CreateCompatibleDC(target));
  bitmap_.reset(CreateDIBSection(target, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
  if (!dc_ || !bitmap_) return;
  pixels_ = static_cast<DWORD*>(bits);
  previous_ = SelectObject(dc_.get(), bitmap_.get());
  SetViewportOrgEx(dc_.get(), -area.left, -area.top, nullptr);
  SetBkMode(dc_.get(), TRANSPARENT);
}

Canvas::~Canvas() {
  if (pixels_ == nullptr) return;
  BitBlt(target_, area_.left, area_.top, area_.right - area_.left, area_.bottom - area_.top, dc_.get(),
         area_.left, area_.top, SRCCOPY);
  SelectObject(dc_.get(), previous_);
}

// `distance` of a point to the shape's edge, negative inside: half a pixel around it is the smooth part.
template <typename Distance>
void Canvas::blend(const RECT& area, COLORREF color, const Distance& distance) {
  RECT part{};
  if (pixels_ == nullptr || !IntersectRect(&part, &area, &area_)) return;
  GdiFlush();
  for (LONG y = part.top; y < part.bottom; ++y) {
    DWORD* const row = pixels_ + static_cast<std::ptrdiff_t>(y - area_.top) * (area_.right - area_.left);
    for (LONG x = part.left; x < part.right; ++x) {
      const double share = std::clamp(0.5 - distance(PointF{x + 0.5, y + 0.5}), 0.0, 1.0);
      if (share == 0) continue;
      DWORD& pixel = row[x - area_.left];
      const auto channel = [&](int shift, BYTE over) {
        return static_cast<DWORD>(blended(static_cast<BYTE>(pixel >> shift), over, share)) << shift;
      };
      pixel = channel(16, GetRValue(color)) | channel(8, GetGValue(color)) | channel(0, GetBValue(color));
    }
  }
}

void Canvas::fill(const RECT& area, COLORREF color) {
  if (pixels_ == nullptr) return;
  SetDCBrushColor(dc_.get(), color);
  FillRect(dc_.get(), &area, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
}

void Canvas::rounded(const RECT& area, double radius, COLORREF color) {
  const PointF half{(area.right - area.left) / 2.0, (area.bottom - area.top) / 2.0};
  const PointF center{area.left + half.x, area.top + half.y};
  const double round = std::min({radius, half.x, half.y});
  blend(area, color, [=](PointF p) {
    const PointF corner{std::abs(p.x - center.x) - half.x + round, std::abs(p.y - center.y) - half.y + round};
    const double outside = length({std::max(corner.x, 0.0), std::max(corner.y, 0.0)});
    return outside + std::min(std::max(corner.x, corner.y), 0.0) - round;
  });
}

void Canvas::framed(const RECT& area, double radius, COLORREF inside, COLORREF edge, double width) {
  rounded(area, radius, edge);
  rounded(inset(area, width), std::max(0.0, radius - width), inside);
}

void Canvas::line(std::span<const PointF> points, double width, COLORREF color) {
  blend(area_, color, [=](PointF p) {
    double nearest = distance_to_segment(p, points[0], points[1]);
    for (std::size_t i = 2; i < points.size(); ++i)
      nearest = std::min(nearest, distance_to_segment(p, points[i - 1], points[i]));
    return nearest - width / 2;
  });
}

// The corners run clockwise on the screen.
void Canvas::triangle(const std::array<PointF, 3>& corners, COLORREF color) {
  blend(area_, color, [&](PointF p) {
    double outside = -1e9;
    for (std::size_t i = 0; i < corners.size(); ++i) {
      const PointF a = corners[i];
      const PointF b = corners[(i + 1) % corners.size()];
      const PointF along{b.x - a.x, b.y - a.y};
      outside = std::max(outside, (along.y * (p.x - a.x) - along.x * (p.y - a.y)) / length(along));
    }
    return outside;
  });
}

void Canvas::text(std::wstring_view text, RECT area, HFONT font, COLORREF color, UINT format) {
  if (pixels_ == nullptr) return;
  const HGDIOBJ before = SelectObject(dc_.get(), font);
  SetTextColor(dc_.get(), color);
  DrawTextW(dc_.get(), text.data(), static_cast<int>(text.size()), &area, format);
  SelectObject(dc_.get(), before);
}

}  // namespace hvt
