#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace hvt::recover {

// The values of a JSON document by their path: "parts_created", "serial.port", "history[0].mask". Strings are
// in UTF-8 without their escapes; numbers are as they are written; the words true, false and null stand for
// themselves. Empty objects and arrays have no entry.
struct JsonValue {
  enum class Kind { string, number, word };
  Kind kind = Kind::word;
  std::string text;
};
using JsonValues = std::map<std::string, JsonValue, std::less<>>;

// Strict: throws std::runtime_error with the position of anything that is not JSON, behind the document too.
JsonValues parse_json(std::string_view document);

}  // namespace hvt::recover
