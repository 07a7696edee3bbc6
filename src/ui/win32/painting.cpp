#include "ui/win32/painting.h"

#include <algorithm>

namespace hvt {
namespace {

constexpr COLORREF kHeader = RGB(238, 244, 250);
constexpr COLORREF kAlternateField = RGB(238, 244, 250);
constexpr int kLineAboveStatus = 2;  // pixels, inside the gap above the status line
constexpr COLORREF kErrorText = RGB(255, 0, 0);
constexpr COLORREF kRestingFrame = RGB(192, 192, 192);

}  // namespace

Surfaces::Surfaces() {
  const std::array<COLORREF, static_cast<unsigned>(Surface::count)> colors{
      GetSysColor(COLOR_BTNFACE), kHeader, GetSysColor(COLOR_WINDOW), kAlternateField};
  for (std::size_t i = 0; i < colors.size(); ++i) {
    paints_[i].color = colors[i];
    paints_[i].brush.reset(CreateSolidBrush(colors[i]));
  }
}

HBRUSH Surfaces::brush(Surface surface) const {
  return static_cast<HBRUSH>(paints_[static_cast<unsigned>(surface)].brush.get());
}

Surfaces::Surface Surfaces::surface_of(ControlId id) const {
  switch (control(id).kind) {
    case ControlKind::packet_edit: return packet_row(id) % 2 == 0 ? Surface::field : Surface::alternate_field;
    case ControlKind::number_edit:
    case ControlKind::name_edit: return Surface::field;
    default: return control(id).group == ControlGroup::connection ? Surface::header : Surface::window;
  }
}

ControlColors Surfaces::colors(ControlId id, bool enabled, StatusTone tone) const {
  const Surface surface = surface_of(id);
  ControlColors result;
  result.background = paints_[static_cast<unsigned>(surface)].color;
  result.brush = brush(surface);
  result.text = GetSysColor(enabled ? COLOR_WINDOWTEXT : COLOR_GRAYTEXT);
  if (control(id).kind == ControlKind::status && tone == StatusTone::error) result.text = kErrorText;
  return result;
}

COLORREF field_frame_color(bool focused) {
  return focused ? GetSysColor(COLOR_HIGHLIGHT) : kRestingFrame;
}

Sections sections_of(const Placement& placement) {
  int connection_end = 0;
  const int receive_begin = placement[index_of(ControlId::receive_title)].y;
  for (const ControlRow& row : kControls) {
    const Rect& rect = placement[index_of(row.id)];
    if (row.group == ControlGroup::connection) connection_end = std::max(connection_end, rect.bottom());
  }
  return {(connection_end + receive_begin) / 2, placement[index_of(ControlId::status)].y - kLineAboveStatus};
}

void paint_background(HDC dc, const Surfaces& surfaces, const RECT& client, const Sections& sections) {
  const RECT header{client.left, client.top, client.right, sections.header_end};
  const RECT body{client.left, sections.header_end, client.right, client.bottom};
  FillRect(dc, &header, surfaces.header());
  FillRect(dc, &body, surfaces.window());
  const UniqueGdiObject line{CreateSolidBrush(kRestingFrame)};
  for (const LONG y : {sections.header_end, sections.footer_begin}) {
    const RECT edge{client.left, y, client.right, y + 1};
    FillRect(dc, &edge, static_cast<HBRUSH>(line.get()));
  }
}

void draw_frame(HDC dc, const RECT& rect, COLORREF color) {
  const UniqueGdiObject brush{CreateSolidBrush(color)};
  FrameRect(dc, &rect, static_cast<HBRUSH>(brush.get()));
}

}  // namespace hvt
