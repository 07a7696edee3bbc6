#include "settings/send_preset.h"

#include <stdexcept>

#include "settings/data_file.h"
#include "settings/json.h"

namespace hvt {

std::filesystem::path send_preset_folder(const std::filesystem::path& data_folder) {
  return data_folder / "send data";
}

SendItems parse_send_preset(std::string_view document) {
  const JsonValue root = parse_json_document(document);
  if (root.kind != JsonKind::kObject) throw std::runtime_error("Expected a JSON object.");
  if (const JsonValue* version = find_member(root, "Version")) json_value_as_int32(*version);
  const JsonValue* items = find_member(root, "Items");
  return items == nullptr ? SendItems{} : read_send_items_array(*items);
}

std::string serialize_send_preset(const SendItems& items) {
  return "{\n  \"Version\": 1,\n  \"Items\": " + write_send_items_array(items) + "\n}\n";
}

SendItems load_send_preset_file(const std::filesystem::path& path) {
  return parse_send_preset(read_data_file(path));
}

void save_send_preset_file(const std::filesystem::path& path, const SendItems& items) {
  write_data_file_atomically(path, serialize_send_preset(items));
}

}  // namespace hvt
