#include "settings/json.h"

#include <charconv>
#include <stdexcept>

namespace hvt {
namespace {

struct Escape {
  char byte;
  char letter;
};

constexpr Escape kShortEscapes[] = {{'\t', 't'}, {'\n', 'n'}, {'\r', 'r'}, {'"', '"'}, {'\\', '\\'}};

constexpr bool needs_escape(char byte) {
  return static_cast<std::uint8_t>(byte) < 0x20 || byte == '"' || byte == '\\';
}

void append_escaped(std::string& text, char byte) {
  for (const Escape& escape : kShortEscapes) {
    if (escape.byte != byte) continue;
    text += '\\';
    text += escape.letter;
    return;
  }
  constexpr char kDigits[] = "0123456789abcdef";
  const auto value = static_cast<std::uint8_t>(byte);
  text += "\\u00";
  text += kDigits[value >> 4];
  text += kDigits[value & 0x0F];
}

}  // namespace

std::int32_t json_value_as_int32(const JsonValue& value) {
  if (value.kind != JsonKind::kNumber) throw std::runtime_error("Expected a JSON integer.");
  std::int32_t number = 0;
  const char* end = value.text.data() + value.text.size();
  const auto [stopped, error] = std::from_chars(value.text.data(), end, number);
  if (error != std::errc() || stopped != end)
    throw std::runtime_error("Invalid or out-of-range JSON integer.");
  return number;
}

const JsonValue* find_member(const JsonValue& object, std::string_view key) {
  const auto found = object.members.find(key);
  return found == object.members.end() ? nullptr : &found->second;
}

std::string escape_json_string(std::string_view utf8) {
  std::string text;
  text.reserve(utf8.size() + 2);
  text += '"';
  for (const char byte : utf8) {
    if (needs_escape(byte)) {
      append_escaped(text, byte);
    } else {
      text += byte;
    }
  }
  text += '"';
  return text;
}

}  // namespace hvt
