#pragma once

#include <windows.h>

#include <cstddef>

#include "display/display_batch.h"
#include "ui/receive_view.h"

namespace hvt {

// Where the text stood on screen when a group of changes began.
struct ViewAnchor {
  LONG selection_begin = 0;
  LONG selection_end = 0;
  bool start_is_active = false;  // the caret is at the selection's first character
  LONG first_visible = 0;        // character index at the top left
  POINT scroll{};
  LONG trimmed = 0;  // characters taken from the head since then
};

// The receive view as a read-only rich edit control; the control is the document.
//
// Promises  text and colour roles appear exactly as appended, each line break as one character; no undo
//           record is ever kept; selection and visible text stay in place unless the end is followed.
// Threads   the interface thread.
// Owns      the text inside the control, not the control: its parent window destroys that.
// Ends      with release() when the control goes; every later call is harmless.
class RichEditView final : public ReceiveView {
 public:
  // `control` is a "RICHEDIT50W" window that nobody else writes to; it goes before this object.
  void attach(HWND control);
  void release() { control_ = nullptr; }

  // The interface's fixed-width face in points; what the view holds and its margin change with it.
  void set_font(const wchar_t* face, int points, int dpi);

  void begin_update() override;
  void end_update(bool follow) override;
  std::size_t append(const DisplayBatch& batch) override;
  void trim_head(std::size_t characters) override;
  void clear() override;
  bool at_tail() const override;
  std::size_t line_count() const override;
  void set_language(Language language) override { language_ = language; }

 private:
  static LRESULT CALLBACK procedure(HWND control, UINT message, WPARAM first, LPARAM second, UINT_PTR,
                                    DWORD_PTR view);
  bool show_menu(LPARAM where);
  POINT caret_point() const;
  LRESULT send(UINT message, WPARAM first = 0, LPARAM second = 0) const;
  LONG length() const;
  // All of the text is in view.
  bool fits() const;
  void select(LONG begin, LONG end);
  void set_selection_color(ColorRole role);
  void insert_at_end(const DisplayBatch& normalised);
  ViewAnchor anchor() const;
  void restore(const ViewAnchor& anchor);

  HWND control_ = nullptr;
  Language language_ = Language::english;
  int updates_ = 0;  // begin_update() calls that still wait for their end
  ViewAnchor before_;
};

}  // namespace hvt
