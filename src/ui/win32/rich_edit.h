#pragma once

#include <windows.h>

#include <richedit.h>

#include <optional>
#include <string>
#include <string_view>

namespace hvt {

// A rich edit control's messages under their names. Positions count the control's characters.
//
// Promises  without a window every question answers zero or empty and every order does nothing.
// Threads   the interface thread.
// Owns      nothing: copies stand for the same control.
// Ends      any time; the control does not notice.
class RichEdit {
 public:
  RichEdit() = default;
  explicit RichEdit(HWND window) : window_(window) {}

  HWND window() const { return window_; }
  LRESULT send(UINT message, WPARAM first = 0, LPARAM second = 0) const;

  LONG length() const;
  // At most `count` characters from `begin` on; a line break is one CR.
  std::wstring text(LONG begin, LONG count) const;
  CHARRANGE selection() const;
  // An `end` of -1 means the end of the text.
  void select(LONG begin, LONG end) const;
  void replace_selection(const wchar_t* text) const;

  // Formats of the selection; setting one changes what its mask names.
  CHARFORMAT2W character_format() const;
  void set_character_format(const CHARFORMAT2W& format) const;
  PARAFORMAT2 paragraph_format() const;
  void set_paragraph_format(const PARAFORMAT2& format) const;

  POINT scroll_position() const;
  void set_scroll_position(POINT position) const;
  // Client coordinates of a character's top left corner.
  POINTL position_of(LONG character) const;

  enum class Part : WPARAM { all = 0, selection = SFF_SELECTION };
  // Puts rich text in the place of a part. False when the control reports an error; some of it may be there.
  bool stream_in(std::string_view rtf, Part replaced) const;
  // All of the document as rich text. Empty after an error.
  std::optional<std::string> stream_out() const;

 private:
  HWND window_ = nullptr;
};

}  // namespace hvt
