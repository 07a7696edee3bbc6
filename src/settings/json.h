#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace hvt {

enum class JsonKind : std::uint8_t { kNull, kBool, kNumber, kString, kArray, kObject };

// One node of a JSON document; only what belongs to its kind is filled. A plain value that owns its children:
// a copy copies everything below it.
struct JsonValue {
  JsonKind kind = JsonKind::kNull;
  bool bool_value = false;
  std::string text;                                       // a String's UTF-8 content (NUL allowed), or a
                                                          // Number exactly as it stood in the document
  std::vector<JsonValue> items;                           // an Array's elements
  std::map<std::string, JsonValue, std::less<>> members;  // an Object's, in byte order of their keys
};

// The root of a document. Strict: UTF-8 with or without a byte-order mark, at most 64 levels of containers
// around a value, nothing behind the root but whitespace. Where a key occurs twice the later value counts.
//
// Throws std::runtime_error:
//   "Invalid UTF-8 in JSON."          a byte that begins no character
//   "Incomplete UTF-8 in JSON."       the document ends within a character
//   "Invalid UTF-8 continuation."     a byte that does not continue its character
//   "Invalid Unicode scalar in JSON." an overlong form, a surrogate, or beyond U+10FFFF
//   "JSON nesting limit exceeded."
//   "Invalid JSON document."          everything else
// The bytes are checked to the end before anything is parsed, so the first four come first.
JsonValue parse_json_document(std::string_view document);

// Throws "Expected a JSON integer." for anything but a Number, and "Invalid or out-of-range JSON integer."
// for one with a fraction, an exponent or more than 32 bits.
std::int32_t json_value_as_int32(const JsonValue& value);

// Null when the object has no such member. Exact and case-sensitive.
const JsonValue* find_member(const JsonValue& object, std::string_view key);

// The bytes as a JSON string with its quotation marks. They must be UTF-8, and parse back to themselves.
std::string escape_json_string(std::string_view utf8);

}  // namespace hvt
