#include <filesystem>

#include "base/text.h"
#include "self_test/scenes.h"
#include "settings/data_file.h"
#include "settings/send_preset.h"

// Scenes: packet files and saved settings.

namespace hvt::self_test {
namespace {

using Id = ControlId;

void saves_and_loads_packets(Person& person) {
  AppSettings settings = sending_settings();
  settings.send_items[0] = L"first";
  settings.send_items[9] = L"\uC5F4 <CR>";
  person.start(settings);
  person.click(Id::save_packets);
  person.answer_file_dialog(L"Save send data file", L"mine.json");
  const auto file = send_preset_folder(person.folder()) / "mine.json";
  person.sees_true(L"the file is there", [&] { return std::filesystem::exists(file); });
  person.fill(packet_field(0), L"changed");
  person.fill(packet_field(9), L"changed");
  person.click(Id::load_packets);
  person.answer_file_dialog(L"Load send data file", L"mine.json");
  person.sees_text(packet_field(0), L"first");
  person.sees_text(packet_field(9), L"\uC5F4 <CR>");
}

void leaves_packets_alone_when_cancelled(Person& person) {
  AppSettings settings = sending_settings();
  settings.send_items[0] = L"first";
  person.start(settings);
  person.click(Id::load_packets);
  person.cancel_file_dialog(L"Load send data file");
  person.click(Id::save_packets);
  person.cancel_file_dialog(L"Save send data file");
  person.settle();
  person.sees_text(packet_field(0), L"first");
  person.sees_status(L"Ready");
  person.sees_true(L"no file was made",
                   [&] { return std::filesystem::is_empty(send_preset_folder(person.folder())); });
}

void refuses_a_broken_packet_file(Person& person) {
  AppSettings settings = sending_settings();
  settings.send_items[0] = L"first";
  person.start(settings);
  write_data_file_atomically(send_preset_folder(person.folder()) / "broken.json", "{\"sendItems\": [1, ");
  person.click(Id::load_packets);
  person.answer_file_dialog(L"Load send data file", L"broken.json");
  person.sees_status(L"Invalid JSON document.");
  person.sees_text(packet_field(0), L"first");
}

std::wstring seen_of(Person& person, const ControlRow& row) {
  const Sight sight = person.driver().look(row.id);
  std::wstring line = utf8_to_utf16(row.name);
  line += sight.visible ? L" shown" : L" hidden";
  line += sight.enabled ? L" on" : L" off";
  line += sight.checked ? L" checked " : L" ";
  return line + sight.text + L"\n";
}

std::wstring seen_of_all(Person& person) {
  std::wstring lines;
  for (const ControlRow& row : kControls)
    lines += seen_of(person, row);
  const Size size = person.driver().client_size();
  return lines + std::to_wstring(size.width) + L" x " + std::to_wstring(size.height);
}

void is_as_it_was_left(Person& person) {
  person.start(AppSettings{});
  person.choose(Id::port, L"SIM2 - Simulated device");
  person.choose(Id::timeout, L"5");
  person.choose(Id::baud, L"460800");
  person.choose(Id::data_bits, L"6");
  person.choose(Id::stop_bits, L"1.5");
  person.choose(Id::parity, L"Space");
  person.choose(Id::buffer_size, L"4MB");
  person.set_checked(Id::transmit, true);
  for (const Id id : {Id::line_break, Id::hide_crlf, Id::auto_crlf})
    person.set_checked(id, true);
  for (const Id id : {Id::echo_sent, Id::wait_for_rx, Id::display_while_recording})
    person.set_checked(id, false);
  person.click(Id::receive_hex);
  person.sees_checked(Id::receive_hex, true);
  for (std::size_t row = 0; row < kPacketRows; ++row)
    person.fill(packet_field(row), L"packet " + std::to_wstring(row));
  person.fill(Id::start_packet, L"4");
  person.fill(Id::end_packet, L"7");
  person.fill(Id::repeat_count, L"12");
  person.fill(Id::interval, L"345");
  person.driver().resize({760, 800});
  person.sees(
      L"width", [&] { return std::to_wstring(person.driver().client_size().width); }, L"760");
  const std::wstring left = seen_of_all(person);
  person.close();
  person.start();
  person.sees(
      L"the window", [&] { return seen_of_all(person); }, left);
}

void starts_with_defaults_when_settings_are_broken(Person& person) {
  write_data_file_atomically(settings_path(person.folder()), "not JSON");
  person.start();
  person.sees_status(L"Ready");
  person.sees_text(Id::baud, L"115200");
  person.sees_checked(Id::transmit, false);
  person.sees_enabled(Id::echo_sent, false);
  person.sees_text(Id::port, L"ECHO1 - Loopback");
  person.close();
  person.start();
  person.sees_text(Id::baud, L"115200");
}

void keeps_a_rate_of_its_own(Person& person) {
  AppSettings settings = sending_settings();
  settings.baud_rate = L"250000";
  person.start(settings);
  person.sees_text(Id::baud, L"250000");
  person.connect();
  person.device();
  person.sees(
      L"rate", [&] { return std::to_wstring(person.bay().opened_with()->baud); }, L"250000");
}

constexpr Scene kScenes[]{
    {"saves_and_loads_packets", saves_and_loads_packets},
    {"leaves_packets_alone_when_cancelled", leaves_packets_alone_when_cancelled},
    {"refuses_a_broken_packet_file", refuses_a_broken_packet_file},
    {"is_as_it_was_left", is_as_it_was_left},
    {"starts_with_defaults_when_settings_are_broken", starts_with_defaults_when_settings_are_broken},
    {"keeps_a_rate_of_its_own", keeps_a_rate_of_its_own},
};

}  // namespace

std::span<const Scene> file_scenes() {
  return kScenes;
}

}  // namespace hvt::self_test
