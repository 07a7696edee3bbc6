// The JSON reader on any bytes: it ends, refuses with an error or gives a tree, and a tree that is written
// out reads as the same tree.

#include <string>

#include "base/text.h"
#include "fuzz/target.h"
#include "settings/json.h"

namespace hvt {
namespace {

std::string written(const JsonValue& value);

std::string written_array(const JsonValue& value) {
  std::string text;
  for (const JsonValue& item : value.items)
    text += (text.empty() ? "" : ",") + written(item);
  return "[" + text + "]";
}

std::string written_object(const JsonValue& value) {
  std::string text;
  for (const auto& [key, member] : value.members)
    text += (text.empty() ? "" : ",") + escape_json_string(key) + ":" + written(member);
  return "{" + text + "}";
}

std::string written(const JsonValue& value) {
  switch (value.kind) {
    case JsonKind::kNull: return "null";
    case JsonKind::kBool: return value.bool_value ? "true" : "false";
    case JsonKind::kNumber: return value.text;
    case JsonKind::kString: return escape_json_string(value.text);
    case JsonKind::kArray: return written_array(value);
    case JsonKind::kObject: return written_object(value);
  }
  return {};
}

bool same(const JsonValue& a, const JsonValue& b) {
  if (a.kind != b.kind || a.bool_value != b.bool_value || a.text != b.text) return false;
  if (a.items.size() != b.items.size() || a.members.size() != b.members.size()) return false;
  for (std::size_t i = 0; i < a.items.size(); ++i) {
    if (!same(a.items[i], b.items[i])) return false;
  }
  for (const auto& [key, member] : a.members) {
    const JsonValue* other = find_member(b, key);
    if (other == nullptr || !same(member, *other)) return false;
  }
  return true;
}

}  // namespace
}  // namespace hvt

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace hvt;
  const auto root = fuzz::accepted(parse_json_document, fuzz::text_of(data, size));
  if (!root) return 0;
  const std::string text = written(*root);
  fuzz::require(find_utf8_fault(text) == Utf8Fault::kNone);
  fuzz::require(same(parse_json_document(text), *root));
  // An integer that is accepted is the number that stands there.
  const auto read_integer = [&](std::string_view) { return json_value_as_int32(*root); };
  if (const auto integer = fuzz::accepted(read_integer, {}))
    fuzz::require(std::to_string(*integer) == root->text || root->text == "-0");
  return 0;
}
