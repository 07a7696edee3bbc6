#include "display/rtf.h"

#include <cstddef>
#include <cstdint>

namespace hvt {
namespace {

// Room for the head and for what escaping adds to ordinary text; more is allocated when it is needed.
constexpr std::size_t kHeadRoom = 512;

constexpr std::string_view kTableHead = "{\\colortbl";

bool is_plain(wchar_t unit) {
  return unit >= 32 && unit <= 126 && unit != L'\\' && unit != L'{' && unit != L'}';
}

// One unit that is neither copied nor part of a line break.
void append_escape(std::string& rtf, wchar_t unit) {
  if (unit == L'\t') {
    rtf += "\\tab ";
  } else if (unit == L'\\' || unit == L'{' || unit == L'}') {
    rtf += '\\';
    rtf += static_cast<char>(unit);
  } else {
    // The format's numbers are signed 16 bits; "?" is what a reader without Unicode shows.
    rtf += "\\u";
    rtf += std::to_string(static_cast<std::int16_t>(static_cast<std::uint16_t>(unit)));
    rtf += '?';
  }
}

// `after_cr` says that the unit before the text was CR, and then that its last one is: CR LF is one paragraph
// mark, also in two texts.
void append_escaped(std::string& rtf, std::wstring_view text, bool& after_cr) {
  for (const wchar_t unit : text) {
    if (is_plain(unit)) {
      rtf += static_cast<char>(unit);
    } else if (unit == L'\r' || unit == L'\n') {
      if (unit == L'\r' || !after_cr) rtf += "\\par ";
    } else {
      append_escape(rtf, unit);
    }
    after_cr = unit == L'\r';
  }
}

void append_head(std::string& rtf, const RtfFont& font, const RoleColors& colors) {
  bool after_cr = false;
  rtf += "{\\rtf1\\ansi\\deff0\\uc1{\\fonttbl{\\f0\\fmodern ";
  append_escaped(rtf, font.face, after_cr);
  rtf += ";}}{\\colortbl ;";
  for (const Rgb color : colors)
    rtf += rtf_color(color);
  rtf += "}\\f0\\fs" + std::to_string(font.height_twips / 10);
  rtf += font.bold ? "\\b" : "\\b0";
  rtf += font.italic ? "\\i" : "\\i0";
  rtf += font.underline ? "\\ul" : "\\ul0";
  rtf += font.strikeout ? "\\strike" : "\\strike0";
  rtf += ' ';
}

// At most one change in an entry: the first role whose old colour it is.
std::string recolored_entry(std::string entry, const RoleColors& from, const RoleColors& to) {
  for (std::size_t role = 0; role < from.size(); ++role) {
    const std::string old_text = rtf_color(from[role]);
    const std::size_t at = entry.find(old_text);
    if (at == std::string::npos) continue;
    return entry.replace(at, old_text.size(), rtf_color(to[role]));
  }
  return entry;
}

}  // namespace

void append_rtf(std::string& rtf, std::wstring_view text) {
  bool after_cr = false;
  append_escaped(rtf, text, after_cr);
}

std::string rtf_color(Rgb color) {
  return "\\red" + std::to_string(color.red) + "\\green" + std::to_string(color.green) + "\\blue" +
         std::to_string(color.blue) + ";";
}

RoleColors role_colors(Appearance appearance, Rgb system_gray_text) {
  RoleColors colors;
  for (std::size_t role = 0; role < colors.size(); ++role)
    colors[role] = role_color(static_cast<ColorRole>(role), appearance, system_gray_text);
  return colors;
}

DisplayBatch with_paragraph_marks(const DisplayBatch& batch) {
  DisplayBatch result;
  result.raw_rx_bytes = batch.raw_rx_bytes;
  result.auxiliary_bytes = batch.auxiliary_bytes;
  bool after_cr = false;
  std::wstring text;
  for (const DisplayRun run : batch) {
    text.clear();
    for (const wchar_t unit : run.text) {
      if (unit != L'\n') text.push_back(unit);
      if (unit == L'\n' && !after_cr) text.push_back(L'\r');
      after_cr = unit == L'\r';
    }
    result.add(text, run.role);
  }
  return result;
}

std::string rtf_of(const DisplayBatch& batch, const RtfFont& font, const RoleColors& colors) {
  std::string rtf;
  rtf.reserve(kHeadRoom + batch.characters() + batch.characters() / 2);
  append_head(rtf, font, colors);
  bool after_cr = false;
  for (const DisplayRun run : batch) {
    const auto role = static_cast<std::size_t>(run.role);
    rtf += "\\cf" + std::to_string(role < colors.size() ? role + 1 : 1) + " ";
    append_escaped(rtf, run.text, after_cr);
  }
  rtf += '}';
  return rtf;
}

std::optional<std::string> recolored_rtf(std::string_view rtf, const RoleColors& from, const RoleColors& to) {
  const std::size_t head = rtf.find(kTableHead);
  if (head == std::string_view::npos) return {};
  const std::size_t begin = head + kTableHead.size();
  const std::size_t end = rtf.find('}', begin);
  if (end == std::string_view::npos) return {};

  std::string result{rtf.substr(0, begin)};
  for (std::size_t at = begin; at < end;) {
    const std::size_t semicolon = rtf.find(';', at);
    const std::size_t next = semicolon < end ? semicolon + 1 : end;
    result += recolored_entry(std::string{rtf.substr(at, next - at)}, from, to);
    at = next;
  }
  return result.append(rtf.substr(end));
}

}  // namespace hvt
