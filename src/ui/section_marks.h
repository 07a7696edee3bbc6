#pragma once

#include <array>

#include "ui/geometry.h"
#include "ui/layout.h"
#include "ui/theme.h"

namespace hvt {

// The coloured bar in the margin beside a section's title.
struct SectionMark {
  Rect place;  // empty where the title is not shown
  ThemeColor color = ThemeColor::text;
  friend bool operator==(const SectionMark&, const SectionMark&) = default;
};
using SectionMarks = std::array<SectionMark, 4>;

SectionMarks section_marks(const Placement& placement);

}  // namespace hvt
