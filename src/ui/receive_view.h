#pragma once

#include <cstddef>

#include "display/display_batch.h"
#include "ui/texts.h"

namespace hvt {

// The coloured text of the receive area, appended at the end only.
//
// Promises  append() keeps text and roles exactly and adds no undo record.
// Threads   the interface thread.
// Owns      the retained text.
// Ends      with its window; the owner outlives every call.
class ReceiveView {
 public:
  virtual ~ReceiveView() = default;

  // Brackets a group of changes. Painting may wait until the end; `follow` then shows the end of the text,
  // otherwise what was visible stays where it was.
  virtual void begin_update() = 0;
  virtual void end_update(bool follow) = 0;

  // Returns the characters the view now holds for the batch (a line break counts as the view stores it).
  virtual std::size_t append(const DisplayBatch& batch) = 0;
  // Removes that many of the view's characters from the start; more than it holds clears it.
  virtual void trim_head(std::size_t characters) = 0;
  virtual void clear() = 0;

  // The end of the text is in view. True for an empty view.
  virtual bool at_tail() const = 0;
  // Display lines, automatic wraps included; 0 when empty.
  virtual std::size_t line_count() const = 0;

  // The language of the view's own menu (Copy, Select all) from its next opening on; English before the first
  // call. The text held is left as it is.
  virtual void set_language(Language language) = 0;
};

}  // namespace hvt
