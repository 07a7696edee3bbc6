#include "ui/section_marks.h"

namespace hvt {
namespace {

struct Title {
  ControlId id;
  ThemeColor color;
};
constexpr std::array kTitles{
    Title{ControlId::receive_title, ThemeColor::receive_accent},
    Title{ControlId::record_title, ThemeColor::recording},
    Title{ControlId::transmit, ThemeColor::packet_text},
    Title{ControlId::repeat_title, ThemeColor::warning_text},
};

Rect beside(const Rect& title, int margin) {
  if (title.empty()) return {};
  const int inset = margin * 5 / 8;
  return {title.x - margin * 7 / 8, title.y + inset, margin * 3 / 8, title.height - 2 * inset};
}

}  // namespace

SectionMarks section_marks(const Placement& placement) {
  // Device pixels at every DPI, as everything in the placement: the first title begins where the margin ends.
  const int margin = placement[index_of(kTitles.front().id)].x;
  SectionMarks marks;
  for (std::size_t i = 0; i < kTitles.size(); ++i)
    marks[i] = {beside(placement[index_of(kTitles[i].id)], margin), kTitles[i].color};
  return marks;
}

}  // namespace hvt
