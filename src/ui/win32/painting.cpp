#include "ui/win32/painting.h"

#include <algorithm>
#include <array>

namespace hvt {
namespace {

constexpr int kLineAboveStatus = 2;  // pixels, inside the gap above the status line

bool is_unit(ControlId id) {
  constexpr std::array kUnits{ControlId::timeout_unit, ControlId::font_size_unit, ControlId::rx_timeout_unit,
                              ControlId::interval_unit};
  return std::find(kUnits.begin(), kUnits.end(), id) != kUnits.end();
}

bool in_alternate_row(ControlId id) {
  return is_packet_row(id) && packet_row(id) % 2 == 1;
}

void fill(HDC dc, const RECT& area, COLORREF color) {
  SetDCBrushColor(dc, color);
  FillRect(dc, &area, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
}

}  // namespace

ThemeColor ground_of(const ControlRow& row) {
  if (row.group == ControlGroup::menu) return ThemeColor::menu_bar;
  if (row.group == ControlGroup::connection) return ThemeColor::header;
  return in_alternate_row(row.id) ? ThemeColor::alternate_row : ThemeColor::window;
}

ThemeColor field_surface_of(const ControlRow& row) {
  return in_alternate_row(row.id) ? ThemeColor::alternate_row : ThemeColor::field;
}

ThemeColor text_color_of(const ControlRow& row, StatusTone tone) {
  if (row.kind == ControlKind::status && tone == StatusTone::error) return ThemeColor::error_text;
  const bool quiet = is_unit(row.id) || row.kind == ControlKind::counter;
  return quiet ? ThemeColor::secondary_text : ThemeColor::text;
}

ControlColors control_colors(const Look& look, const ControlRow& row, bool enabled) {
  const ThemeColor surface = enabled ? field_surface_of(row) : ThemeColor::disabled_field;
  const COLORREF ground = look[surface];
  return {enabled ? look.text_on(ground) : look[ThemeColor::disabled_text], ground, look.brush(surface)};
}

Sections sections_of(const Placement& placement) {
  Sections sections;
  int bar_end = 0;
  int connection_begin = 0;
  int connection_end = 0;
  for (const ControlRow& row : kControls) {
    const Rect& rect = placement[index_of(row.id)];
    if (rect.empty()) continue;
    if (row.group == ControlGroup::menu) bar_end = std::max(bar_end, rect.bottom());
    if (row.group == ControlGroup::connection) {
      connection_begin = connection_begin == 0 ? rect.y : std::min(connection_begin, rect.y);
      connection_end = std::max(connection_end, rect.bottom());
    }
  }
  // A control of the bar stands in the middle of it.
  sections.bar_end = std::min(bar_end + placement[index_of(ControlId::menu_language)].y, connection_begin);
  sections.header_end = (connection_end + placement[index_of(ControlId::receive_title)].y) / 2;
  sections.footer_begin = placement[index_of(ControlId::status)].y - kLineAboveStatus;
  for (std::size_t row = 1; row < kPacketRows; row += 2) {
    const Rect& field = placement[index_of(packet_field(row))];
    const Rect& above = placement[index_of(packet_field(row - 1))];
    if (field.empty() || above.empty()) continue;
    const int spare = (field.y - above.bottom()) / 2;
    const int right = placement[index_of(send_button(row))].right();
    sections.rows.push_back({0, field.y - spare, right + field.x, field.height + 2 * spare});
  }
  sections.marks = section_marks(placement);
  return sections;
}

void paint_background(HDC dc, const Look& look, const RECT& client, const Sections& sections) {
  const COLORREF line = mixed(look[ThemeColor::window], look[ThemeColor::border], look.dark() ? 40 : 80);
  fill(dc, {client.left, client.top, client.right, sections.bar_end}, look[ThemeColor::menu_bar]);
  fill(dc, {client.left, sections.bar_end, client.right, sections.header_end}, look[ThemeColor::header]);
  fill(dc, {client.left, sections.header_end, client.right, client.bottom}, look[ThemeColor::window]);
  for (const Rect& row : sections.rows)
    fill(dc, {row.x, row.y, row.right(), row.bottom()}, look[ThemeColor::alternate_row]);
  for (const LONG y : {sections.header_end, sections.footer_begin})
    fill(dc, {client.left, y, client.right, y + 1}, line);
  for (const SectionMark& mark : sections.marks)
    fill(dc, {mark.place.x, mark.place.y, mark.place.right(), mark.place.bottom()}, look[mark.color]);
}

}  // namespace hvt
