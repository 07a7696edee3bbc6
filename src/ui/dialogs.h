#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace hvt {

// The windows that tell something at length and stay open beside the main window.
enum class DialogId : std::uint8_t { usage, about, update };

struct DialogLine {
  enum class Kind : std::uint8_t {
    heading,  // bold
    text,     // a paragraph, wrapped
    code,     // in the fixed-width font, not wrapped
  };
  Kind kind = Kind::text;
  std::wstring text;
  friend bool operator==(const DialogLine&, const DialogLine&) = default;
};

struct DialogContent {
  std::wstring title;
  std::vector<DialogLine> lines;
  std::wstring link;   // caption of the button that raises dialog_link(); empty for none
  std::wstring close;  // caption of the button that closes
  friend bool operator==(const DialogContent&, const DialogContent&) = default;
};

}  // namespace hvt
