#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "settings/send_items.h"

namespace hvt {

// Everything the main window remembers from one run to the next; a new record holds the defaults.
struct AppSettings {
  // The restored window in pixels, also while it is maximized.
  std::int32_t window_left = 100;
  std::int32_t window_top = 100;
  std::int32_t window_width = 800;
  std::int32_t window_height = 800;
  std::wstring window_state = L"Normal";  // or "Maximized"
  std::wstring language = L"English";     // or "Korean"
  std::wstring theme = L"System";         // or "Light", "Dark"
  bool receive_crlf_line_breaks = false;
  bool hide_receive_crlf = false;
  std::int32_t receive_font_size = 10;      // 8 to 24
  std::int32_t receive_buffer_size_mb = 1;  // 1 to 4
  // The serial and the repeat fields are the text that was chosen or typed, valid or not.
  std::wstring baud_rate = L"115200";
  std::wstring port_name;                       // bare: "COM3"
  std::int32_t connection_timeout_seconds = 3;  // 1, 3 or 5
  bool always_on_top = false;
  std::wstring data_bits = L"8";
  std::wstring stop_bits = L"1";
  std::wstring parity = L"None";
  bool receive_hex = false;
  bool send_hex = false;
  bool auto_append_crlf = false;
  bool echo_sent = true;
  bool display_while_recording = true;
  bool transmit_enabled = false;  // the Transmit panel is expanded
  bool wait_for_rx = true;
  std::wstring repeat_count = L"3";
  std::wstring packet_start = L"1";
  std::wstring packet_end = L"1";
  std::wstring interval_milliseconds = L"100";
  std::wstring response_timeout_milliseconds = L"1000";
  SendItems send_items;

  bool operator==(const AppSettings&) const = default;
};

struct LoadedSettings {
  AppSettings settings;
  bool has_saved_window_size = false;  // the file holds a width and a height above 0
};

// Where the settings stand below the program's data folder.
std::filesystem::path settings_path(const std::filesystem::path& data_folder);

// The settings in the file; the defaults when there is no file. Keys that are missing have their default,
// values out of range are repaired, unknown keys are ignored.
//
// Throws std::filesystem::filesystem_error when it cannot be told whether the file exists, and
// std::runtime_error with the texts of read_data_file(), parse_json_document(), json_value_as_int32() and
// read_send_items_array() or:
//   "Expected a JSON object."    the root
//   "Expected a JSON string."    a text that is neither string nor null
//   "Expected a JSON boolean."   a flag that is neither true, false nor null
LoadedSettings load_settings(const std::filesystem::path& path);

// The same from the bytes of a file.
LoadedSettings parse_settings(std::string_view document);

// The bytes of the file. Throws "Invalid Unicode text." for a text with an unpaired surrogate.
std::string serialize_settings(const AppSettings& settings);

// Throws what serialize_settings() and write_data_file_atomically() throw; the old file is whole then.
void save_settings(const std::filesystem::path& path, const AppSettings& settings);

// "Light" and "Dark" from any letter case, anything else is "System".
std::wstring normalize_theme_name(std::wstring_view name);

}  // namespace hvt
