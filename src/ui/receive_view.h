#pragma once

#include <cstddef>
#include <functional>

#include "display/display_batch.h"
#include "display/palette.h"
#include "ui/texts.h"

namespace hvt {

inline constexpr int kMinFontPoints = 8;
inline constexpr int kMaxFontPoints = 24;

// What a view shows after a group of changes.
struct ViewUpdate {
  bool follow = false;  // the caret goes to the end of the text; else whatever was visible stays where it was
  bool scroll = true;   // with `follow`: the end is brought into view now
  bool repaint = true;  // painted before end_update() returns; else left to the next update or paint
};

// The coloured text of the receive area, appended at the end only and taken away where it has expired.
//
// Promises  append() keeps text and roles exactly and adds no undo record.
// Threads   the interface thread.
// Owns      the retained text.
// Ends      with its window; the owner outlives every call.
class ReceiveView {
 public:
  virtual ~ReceiveView() = default;

  // Brackets a group of changes: nothing is painted or scrolled in between. Selection (with its direction)
  // and visible text stay in place unless `update.follow`.
  virtual void begin_update() = 0;
  virtual void end_update(const ViewUpdate& update) = 0;

  // Returns the characters the view now holds for the batch (a line break counts as the view stores it).
  virtual std::size_t append(const DisplayBatch& batch) = 0;
  // Removes that many of the view's characters from the start; more than it holds clears it.
  virtual void trim_head(std::size_t characters) = 0;
  // Removes `count` of the view's characters from the middle; `first` counts from the start as it is now.
  virtual void remove(std::size_t first, std::size_t count) = 0;
  virtual void clear() = 0;

  // Brings the end of the text into view, the caret with it.
  virtual void go_to_tail() = 0;
  // Called when a person goes elsewhere: a scroll up, a scroll-bar press, a caret move away from the last
  // paragraph, a selection away from the end. Never for what the program itself does.
  virtual void on_navigated(std::function<void()> navigated) = 0;
  // Display lines, automatic wraps included; 0 when empty.
  virtual std::size_t line_count() const = 0;

  // Everything held, and what comes, in the colours of this appearance; light before the first call.
  // Throws std::runtime_error with the reason when what is held could not be recoloured.
  virtual void set_appearance(Appearance appearance) = 0;

  // The size of the text in points, kMinFontPoints to kMaxFontPoints.
  virtual void set_font_points(int points) = 0;

  // The language of the view's own menu (Copy, Select all) from its next opening on; English before the first
  // call. The text held is left as it is.
  virtual void set_language(Language language) = 0;
};

}  // namespace hvt
