#include <algorithm>
#include <filesystem>
#include <vector>

#include "base/text.h"
#include "self_test/scenes.h"
#include "settings/data_file.h"
#include "settings/json.h"

// Scenes: recordings.

namespace hvt::self_test {
namespace {

using Id = ControlId;
using Path = std::filesystem::path;

std::vector<Path> recorded_files(const Person& person, std::string_view extension) {
  std::vector<Path> files;
  const Path folder = person.folder() / "recording";
  if (!std::filesystem::exists(folder)) return files;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() == extension) files.push_back(entry.path());
  }
  std::ranges::sort(files);
  return files;
}

std::wstring recorded_text(const Person& person) {
  std::string bytes;
  for (const Path& file : recorded_files(person, ".log"))  // what is pending beside them comes and goes
    bytes += read_data_file(file);
  return utf8_to_utf16(bytes);
}

// A member of the metadata of the only session, as text.
std::wstring metadata(const Person& person, std::string_view key) {
  const auto files = recorded_files(person, ".json");
  if (files.size() != 1) return std::to_wstring(files.size()) + L" metadata files";
  const JsonValue document = parse_json_document(read_data_file(files.front()));
  const JsonValue* const member = find_member(document, key);
  return member != nullptr ? utf8_to_utf16(member->text) : L"(missing)";
}

void sees_idle_recording(Person& person) {
  person.sees_text(Id::record, L"Start Recording");
  person.sees_enabled(Id::record_name, true);
}

void records(Person& person) {
  AppSettings settings = sending_settings();
  settings.receive_crlf_line_breaks = true;
  settings.send_items[0] = L"ask";
  person.start(settings);
  person.sees_enabled(Id::record, false);
  person.connect();
  person.device().say("not recorded\r\n");
  person.sees_received(L"[RX] not recorded<CR><LF>\n");
  person.fill(Id::record_name, L"session");
  person.click(Id::record);
  person.sees_text(Id::record, L"Stop Recording");
  person.sees_status(L"Recording to session");
  person.sees_enabled(Id::record_name, false);
  person.device().say("one\r\n");
  person.sees_received(L"[RX] not recorded<CR><LF>\none<CR><LF>\n");
  person.click(send_button(0));
  person.sees_received(L"[RX] not recorded<CR><LF>\none<CR><LF>\n[TX] ask");
  person.device().say("two\r\n");
  person.sees_received(L"[RX] not recorded<CR><LF>\none<CR><LF>\n[TX] ask\n[RX] two<CR><LF>\n");
  person.click(Id::record);
  person.sees_status(L"Recording saved: session");
  sees_idle_recording(person);
  person.device().say("not recorded either");
  person.sees(
      L"recorded text", [&] { return recorded_text(person); },
      L"one<CR><LF>\r\n[TX] ask\r\n[RX] two<CR><LF>\r\n");
  person.sees(
      L"reason of the end", [&] { return metadata(person, "stop_reason"); }, L"user_stop");
}

void records_in_parts(Person& person) {
  constexpr std::uint64_t kPartLimit = 4096;
  constexpr int kLines = 1000;
  RecordingConfig recording;
  recording.part_limit_bytes = kPartLimit;
  person.set_recording(recording);
  AppSettings settings = sending_settings();
  settings.transmit_enabled = false;
  settings.receive_crlf_line_breaks = true;
  settings.hide_receive_crlf = true;
  person.start(settings);
  person.connect();
  person.click(Id::record);
  person.sees_text(Id::record, L"Stop Recording");
  std::wstring expected;
  for (int line = 0; line < kLines; ++line) {
    const std::string text = "line " + std::to_string(line) + "\r\n";
    person.device().say(text);
    expected += utf8_to_utf16(text);
  }
  person.sees_text(Id::line_count, L"Line Count : " + std::to_wstring(kLines + 1));
  person.click(Id::record);
  sees_idle_recording(person);
  person.sees(
      L"recorded text", [&] { return recorded_text(person); }, expected);
  const auto parts = recorded_files(person, ".log");
  person.sees_true(L"several parts", [&] { return parts.size() >= expected.size() / kPartLimit; });
  person.sees_true(L"no part is too large", [&] {
    return std::ranges::all_of(
        parts, [](const Path& part) { return std::filesystem::file_size(part) <= kPartLimit; });
  });
}

void records_without_showing(Person& person) {
  AppSettings settings = sending_settings();
  settings.display_while_recording = false;
  settings.transmit_enabled = false;
  person.start(settings);
  person.connect();
  person.device().say("shown ");
  person.sees_received(L"shown ");
  person.click(Id::record);
  person.sees_text(Id::record, L"Stop Recording");
  person.device().say("hidden");
  person.sees(
      L"recorded text", [&] { return recorded_text(person); }, L"hidden");
  person.click(Id::record);
  sees_idle_recording(person);
  person.device().say("again");
  person.sees_received(L"shown \nagain");
}

void ends_a_recording_with_the_connection(Person& person) {
  person.start(sending_settings());
  person.connect();
  person.click(Id::record);
  person.sees_text(Id::record, L"Stop Recording");
  person.device().say("to the end");
  person.sees_received(L"[RX] to the end");
  person.disconnect();
  sees_idle_recording(person);
  person.sees_enabled(Id::record, false);
  person.sees(
      L"recorded text", [&] { return recorded_text(person); }, L"[RX] to the end");
  person.sees(
      L"how the connection ended", [&] { return metadata(person, "receive_processing_error"); },
      L"disconnected");
}

constexpr Scene kScenes[]{
    {"records", records},
    {"records_in_parts", records_in_parts},
    {"records_without_showing", records_without_showing},
    {"ends_a_recording_with_the_connection", ends_a_recording_with_the_connection},
};

}  // namespace

std::span<const Scene> recording_scenes() {
  return kScenes;
}

}  // namespace hvt::self_test
