#include "ui/win32/dialog_text.h"

#include <cstddef>
#include <string_view>

#include "display/rtf.h"
#include "ui/win32/fonts.h"

namespace hvt {
namespace {

// Colour numbers of the document's table.
constexpr std::string_view kHeading = "\\pard\\li160\\ri160\\sb200\\sa80\\keepn\\f0\\b\\fs23\\cf1 ";
constexpr std::string_view kText = "\\pard\\li160\\ri160\\sb0\\sa100\\f0\\b0\\fs19\\cf1 ";
constexpr std::string_view kCode = "\\pard\\li340\\ri160\\sb0\\sa40\\f1\\b0\\fs19\\cf1\\highlight2 ";

void append_line(std::string& rtf, const DialogLine& line) {
  const bool code = line.kind == DialogLine::Kind::code;
  if (code) {
    rtf += kCode;
  } else {
    rtf += line.kind == DialogLine::Kind::heading ? kHeading : kText;
  }
  append_rtf(rtf, line.text);
  if (code) rtf += "\\highlight0 ";
}

}  // namespace

std::string dialog_rtf(std::span<const DialogLine> lines, const Look& look) {
  const COLORREF ground = look[ThemeColor::receive_surface];
  std::string rtf{"{\\rtf1\\ansi\\deff0\\uc1{\\fonttbl{\\f0\\fswiss "};
  append_rtf(rtf, kInterfaceFace);
  rtf += ";}{\\f1\\fmodern ";
  append_rtf(rtf, kFixedFace);
  rtf += ";}}{\\colortbl ;";
  rtf += rtf_color(rgb(look.text_on(ground, ThemeColor::receive_text)));
  rtf += rtf_color(rgb(look[ThemeColor::disabled_field]));
  rtf += "}\n";
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (i > 0) rtf += "\\par\n";
    append_line(rtf, lines[i]);
  }
  rtf += "}";
  return rtf;
}

}  // namespace hvt
