#pragma once

#include <array>

#include "ui/controls.h"
#include "ui/geometry.h"

namespace hvt {

// What the face measured, in device pixels at the window's DPI.
struct Metrics {
  int dpi = 96;
  int text_height = 16;                         // line height of the interface font
  int mono_height = 16;                         // line height of the fixed-width font
  std::array<int, kControlCount> text_width{};  // widest text the control must show, without its frame
};

struct PanelState {
  bool transmit_expanded = false;
  friend bool operator==(const PanelState&, const PanelState&) = default;
};

// A rectangle per control; an empty one is not shown in this panel state.
using Placement = std::array<Rect, kControlCount>;

// Pure. Sizes are client areas in device pixels; the constants in layout.cpp are logical pixels at 96 DPI.
// A client below the minimum is laid out as the minimum, so that its right and lower parts lie outside.
Placement layout(const Metrics& metrics, Size client, const PanelState& panel);

// The smallest width at which everything fits, and the smallest height at the width the user proposes (a
// narrower window needs more rows, so more height).
Size minimum_client_size(const Metrics& metrics, int proposed_width, const PanelState& panel);

// `wanted` as far as a screen has room for it: `largest` is its largest client area. Where the height that
// the width needs is not there, the next wider arrangement with fewer rows is taken; where none fits, as much
// of the normal window (740 by 800 logical pixels) as there is room for.
Size fit_client_size(const Metrics& metrics, Size wanted, const PanelState& panel, Size largest);

// A new configuration's client area: 800 by 800 logical pixels.
Size first_client_size(const Metrics& metrics);

}  // namespace hvt
