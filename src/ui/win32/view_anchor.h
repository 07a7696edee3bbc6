#pragma once

#include <windows.h>

#include "ui/win32/fonts.h"
#include "ui/win32/rich_edit.h"

namespace hvt {

// What a person sees and has selected in a rich edit control, to stay in place while the program changes text
// beyond it. Made when the control still stands as it should stay; its redrawing may be off or on.
//
// Threads   the interface thread.
// Owns      the region that waits to be painted.
class ViewAnchor {
 public:
  ViewAnchor() = default;
  explicit ViewAnchor(const RichEdit& edit);

  // The program has taken `count` characters from `first` on.
  void text_taken(LONG first, LONG count);

  // The selection with its direction.
  void restore_selection(const RichEdit& edit) const;
  // The text that was at the top stands where it stood, to the pixel. Changing the selection may scroll:
  // last.
  void restore_place(const RichEdit& edit) const;
  // After redrawing has been turned on: what waits to be painted is what waited before, the text that came
  // into view, and all of it when its place could not be kept.
  void restore_unpainted(const RichEdit& edit) const;

 private:
  bool stands_as_before(const RichEdit& edit) const;
  void scroll_line_to_top(const RichEdit& edit) const;

  CHARRANGE selection_{};
  bool start_is_active_ = false;  // the caret is at the selection's first character
  LONG top_character_ = 0;        // the first one of the line at the top
  LONG top_y_ = 0;
  LONG end_y_ = 0;  // of the last line
  SCROLLINFO bar_{};
  UniqueGdiObject unpainted_;
  bool top_taken_ = false;  // the text at the top is no more
};

}  // namespace hvt
