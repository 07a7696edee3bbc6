#include "settings/app_settings.h"

#include <stdexcept>
#include <variant>

#include "base/text.h"
#include "settings/data_file.h"

namespace hvt {
namespace {

using IntField = std::int32_t AppSettings::*;
using TextField = std::wstring AppSettings::*;
using FlagField = bool AppSettings::*;

struct Field {
  std::string_view key;
  std::variant<IntField, TextField, FlagField> member;
};

constexpr std::string_view kSendItemsKey = "SendItems";

// In the order in which they stand in the file; the send items follow as the last.
constexpr Field kFields[] = {
    {"WindowLeft", &AppSettings::window_left},
    {"WindowTop", &AppSettings::window_top},
    {"WindowWidth", &AppSettings::window_width},
    {"WindowHeight", &AppSettings::window_height},
    {"WindowState", &AppSettings::window_state},
    {"Language", &AppSettings::language},
    {"Theme", &AppSettings::theme},
    {"ReceiveCrLfLineBreaks", &AppSettings::receive_crlf_line_breaks},
    {"HideReceiveCrLf", &AppSettings::hide_receive_crlf},
    {"ReceiveFontSize", &AppSettings::receive_font_size},
    {"ReceiveBufferSizeMB", &AppSettings::receive_buffer_size_mb},
    {"BaudRate", &AppSettings::baud_rate},
    {"PortName", &AppSettings::port_name},
    {"ConnectionTimeoutSeconds", &AppSettings::connection_timeout_seconds},
    {"AlwaysOnTop", &AppSettings::always_on_top},
    {"DataBits", &AppSettings::data_bits},
    {"StopBits", &AppSettings::stop_bits},
    {"Parity", &AppSettings::parity},
    {"ReceiveHex", &AppSettings::receive_hex},
    {"SendHex", &AppSettings::send_hex},
    {"AutoAppendCrLf", &AppSettings::auto_append_crlf},
    {"EchoSent", &AppSettings::echo_sent},
    {"DisplayWhileRecording", &AppSettings::display_while_recording},
    {"TransmitEnabled", &AppSettings::transmit_enabled},
    {"WaitForRx", &AppSettings::wait_for_rx},
    {"RepeatCount", &AppSettings::repeat_count},
    {"PacketStart", &AppSettings::packet_start},
    {"PacketEnd", &AppSettings::packet_end},
    {"IntervalMilliseconds", &AppSettings::interval_milliseconds},
    {"ResponseTimeoutMilliseconds", &AppSettings::response_timeout_milliseconds},
};

// One overload per type of field; a null means "not set" for all but integers.
void read(const JsonValue& value, std::int32_t& number) {
  number = json_value_as_int32(value);
}

void read(const JsonValue& value, std::wstring& text) {
  if (value.kind == JsonKind::kNull) return;
  if (value.kind != JsonKind::kString) throw std::runtime_error("Expected a JSON string.");
  text = utf8_to_utf16(value.text);
}

void read(const JsonValue& value, bool& flag) {
  if (value.kind == JsonKind::kNull) return;
  if (value.kind != JsonKind::kBool) throw std::runtime_error("Expected a JSON boolean.");
  flag = value.bool_value;
}

void read(const JsonValue& value, SendItems& items) {
  if (value.kind != JsonKind::kNull) items = read_send_items_array(value);
}

std::string written(std::int32_t number) {
  return std::to_string(number);
}

std::string written(const std::wstring& text) {
  return escape_json_string(utf16_to_utf8(text));
}

std::string written(bool flag) {
  return flag ? "true" : "false";
}

void repair(AppSettings& settings) {
  const auto outside = [](std::int32_t value, std::int32_t first, std::int32_t last) {
    return value < first || value > last;
  };
  if (outside(settings.receive_font_size, 8, 24)) settings.receive_font_size = 10;
  if (outside(settings.receive_buffer_size_mb, 1, 4)) settings.receive_buffer_size_mb = 1;
  const std::int32_t timeout = settings.connection_timeout_seconds;
  if (timeout != 1 && timeout != 3 && timeout != 5) settings.connection_timeout_seconds = 3;
  settings.language = ascii_upper(settings.language) == L"KOREAN" ? L"Korean" : L"English";
  settings.theme = normalize_theme_name(settings.theme);
  if (settings.window_state != L"Maximized") settings.window_state = L"Normal";
}

}  // namespace

std::filesystem::path settings_path(const std::filesystem::path& data_folder) {
  return data_folder / "config" / "settings.json";
}

LoadedSettings load_settings(const std::filesystem::path& path) {
  if (!std::filesystem::exists(path)) return {};
  return parse_settings(read_data_file(path));
}

LoadedSettings parse_settings(std::string_view document) {
  const JsonValue root = parse_json_document(document);
  if (root.kind != JsonKind::kObject) throw std::runtime_error("Expected a JSON object.");
  LoadedSettings loaded;
  AppSettings& settings = loaded.settings;
  for (const Field& field : kFields) {
    const JsonValue* value = find_member(root, field.key);
    if (value != nullptr) std::visit([&](auto member) { read(*value, settings.*member); }, field.member);
  }
  if (const JsonValue* items = find_member(root, kSendItemsKey)) read(*items, settings.send_items);
  repair(settings);
  loaded.has_saved_window_size = find_member(root, "WindowWidth") != nullptr && settings.window_width > 0 &&
                                 find_member(root, "WindowHeight") != nullptr && settings.window_height > 0;
  return loaded;
}

std::string serialize_settings(const AppSettings& settings) {
  AppSettings normal = settings;
  normal.theme = normalize_theme_name(settings.theme);
  std::string text = "{\n";
  for (const Field& field : kFields) {
    const std::string value = std::visit([&](auto member) { return written(normal.*member); }, field.member);
    text += "  " + escape_json_string(field.key) + ": " + value + ",\n";
  }
  return text + "  " + escape_json_string(kSendItemsKey) + ": " + write_send_items_array(normal.send_items) +
         "\n}\n";
}

void save_settings(const std::filesystem::path& path, const AppSettings& settings) {
  write_data_file_atomically(path, serialize_settings(settings));
}

std::wstring normalize_theme_name(std::wstring_view name) {
  const std::wstring upper = ascii_upper(name);
  if (upper == L"LIGHT") return L"Light";
  if (upper == L"DARK") return L"Dark";
  return L"System";
}

}  // namespace hvt
