#include "settings/send_items.h"

#include <stdexcept>

#include "base/text.h"

namespace hvt {

std::string write_send_items_array(const SendItems& items) {
  std::string text = "[\n";
  for (std::size_t i = 0; i < items.size(); ++i) {
    text += "    ";
    text += escape_json_string(utf16_to_utf8(items[i]));
    text += i + 1 < items.size() ? ",\n" : "\n";
  }
  return text + "  ]";
}

SendItems read_send_items_array(const JsonValue& value) {
  if (value.kind != JsonKind::kArray) throw std::runtime_error("Expected an array of send strings.");
  SendItems items;
  for (std::size_t i = 0; i < value.items.size(); ++i) {
    const JsonValue& element = value.items[i];
    if (element.kind != JsonKind::kString && element.kind != JsonKind::kNull)
      throw std::runtime_error("Expected a send string.");
    // A null has no text.
    if (i < items.size()) items[i] = utf8_to_utf16(element.text);
  }
  return items;
}

}  // namespace hvt
