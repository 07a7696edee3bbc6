#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "settings/send_items.h"

namespace hvt {

// Where the file dialogs for presets begin, below the program's data folder, and the name they propose.
std::filesystem::path send_preset_folder(const std::filesystem::path& data_folder);
inline constexpr std::wstring_view kProposedSendPresetName = L"serial-send-presets-01.json";

// The send texts in a preset of any version; all empty when it holds none. Throws std::runtime_error with the
// texts of parse_json_document(), json_value_as_int32() and read_send_items_array(), or
// "Expected a JSON object.".
SendItems parse_send_preset(std::string_view document);

// Throws "Invalid Unicode text." for an unpaired surrogate.
std::string serialize_send_preset(const SendItems& items);

// Throw what the functions above and read_data_file() or write_data_file_atomically() throw.
SendItems load_send_preset_file(const std::filesystem::path& path);
void save_send_preset_file(const std::filesystem::path& path, const SendItems& items);

}  // namespace hvt
