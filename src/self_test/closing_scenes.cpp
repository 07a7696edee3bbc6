#include <filesystem>
#include <string>

#include "base/text.h"
#include "self_test/scenes.h"
#include "settings/data_file.h"

// Scenes: the window is closed while something is going on.

namespace hvt::self_test {
namespace {

using Id = ControlId;

constexpr std::chrono::milliseconds kNoticeable{2000};

AppSettings busy_settings() {
  AppSettings settings = sending_settings();
  settings.send_items[0] = L"A";
  settings.repeat_count = L"9999";
  settings.interval_milliseconds = L"5";
  return settings;
}

void closes_during_a_run(Person& person) {
  person.start(busy_settings());
  person.connect();
  person.click(Id::repeat);
  person.sees_true(L"packets are sent", [&] { return person.device().received().starts_with("AAA"); });
  person.close(kNoticeable);
}

void closes_during_a_long_wait(Person& person) {
  AppSettings settings = busy_settings();
  settings.wait_for_rx = true;
  settings.response_timeout_milliseconds = L"99999999";
  person.start(settings);
  person.connect();
  person.click(send_button(0));
  person.device_gets("A");
  person.close(kNoticeable);
}

void closes_during_a_blocked_write(Person& person) {
  person.start(busy_settings());
  person.connect();
  person.device().set_writing(ScriptedDevice::Writing::blocks);
  person.click(send_button(0));
  person.sees_true(L"the write is blocked", [&] { return person.device().write_is_blocked(); });
  person.close(kNoticeable);
  person.device_gets("");
}

void closes_during_an_attempt(Person& person) {
  AppSettings settings = busy_settings();
  settings.port_name = kStubbornPort;
  person.start(settings);
  person.click(Id::connect);
  person.sees_status(L"Connecting to SLOW4");
  person.close(kNoticeable);
}

void closes_during_a_recording(Person& person) {
  person.start(busy_settings());
  person.connect();
  person.fill(Id::record_name, L"to the end");
  person.click(Id::record);
  person.sees_text(Id::record, L"Stop Recording");
  std::string said;
  for (int i = 0; i < 500; ++i) {
    const std::string piece = std::to_string(i) + " ";
    person.device().say(piece);
    said += piece;
  }
  person.sees(
      L"receive view", [&] { return person.received(); }, L"[RX] " + utf8_to_utf16(said));
  person.close(kNoticeable);
  std::string recorded;
  std::string metadata;
  for (const auto& entry : std::filesystem::directory_iterator(person.folder() / "recording"))
    (entry.path().extension() == ".json" ? metadata : recorded) += read_data_file(entry.path());
  person.sees(
      L"recorded text", [&] { return utf8_to_utf16(recorded); }, L"[RX] " + utf8_to_utf16(said));
  person.sees_true(L"the metadata says how it ended",
                   [&] { return metadata.find("application_closed") != std::string::npos; });
}

constexpr Scene kScenes[]{
    {"closes_during_a_run", closes_during_a_run},
    {"closes_during_a_long_wait", closes_during_a_long_wait},
    {"closes_during_a_blocked_write", closes_during_a_blocked_write},
    {"closes_during_an_attempt", closes_during_an_attempt},
    {"closes_during_a_recording", closes_during_a_recording},
};

}  // namespace

std::span<const Scene> closing_scenes() {
  return kScenes;
}

}  // namespace hvt::self_test
