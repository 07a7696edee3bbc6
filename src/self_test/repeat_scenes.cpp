#include "self_test/scenes.h"

// Scenes: repeat runs.

namespace hvt::self_test {
namespace {

using Id = ControlId;

AppSettings repeat_settings() {
  AppSettings settings = sending_settings();
  settings.send_items[0] = L"A";
  settings.send_items[1] = L"B";
  settings.packet_end = L"2";
  settings.repeat_count = L"2";
  settings.interval_milliseconds = L"10";
  return settings;
}

void repeats_a_range(Person& person) {
  person.start(repeat_settings());
  person.connect();
  person.click(Id::repeat);
  person.sees_received(
      L"-------------------- Repeat 1/2 --------------------\n[TX] A\n[TX] B\n"
      L"-------------------- Repeat 2/2 --------------------\n[TX] A\n[TX] B");
  person.device_gets("ABAB");
  person.sees_text(Id::repeat, L"Repeat Send");
  person.sees_enabled(packet_field(0), true);
}

void repeats_with_responses(Person& person) {
  AppSettings settings = repeat_settings();
  settings.packet_end = L"1";
  settings.wait_for_rx = true;
  settings.response_timeout_milliseconds = L"5000";
  person.start(settings);
  person.fill(Id::repeat_count, L"3");
  person.fill(Id::interval, L"0");
  person.connect();
  person.device().answer("ok\r\n", std::chrono::milliseconds(20));
  person.click(Id::repeat);
  person.sees_received(
      L"-------------------- Repeat 1/3 --------------------\n[TX] A [t ms]\n[RX] ok<CR><LF>\n"
      L"-------------------- Repeat 2/3 --------------------\n[TX] A [t ms]\n[RX] ok<CR><LF>\n"
      L"-------------------- Repeat 3/3 --------------------\n[TX] A [t ms]\n[RX] ok<CR><LF>");
  person.sees_text(Id::repeat, L"Repeat Send");
}

void goes_on_after_a_time_out(Person& person) {
  AppSettings settings = repeat_settings();
  settings.packet_end = L"1";
  settings.wait_for_rx = true;
  settings.response_timeout_milliseconds = L"50";
  person.start(settings);
  person.connect();
  person.click(Id::repeat);
  person.sees_received(
      L"-------------------- Repeat 1/2 --------------------\n[TX] A [TIMEOUT]\n"
      L"-------------------- Repeat 2/2 --------------------\n[TX] A [TIMEOUT]");
}

void locks_the_panel_until_stopped(Person& person) {
  AppSettings settings = repeat_settings();
  settings.repeat_count = L"9999";
  settings.interval_milliseconds = L"5";
  person.start(settings);
  person.connect();
  person.click(Id::repeat);
  person.sees_text(Id::repeat, L"Stop");
  for (const Id id :
       {Id::transmit, packet_field(0), send_button(0), Id::auto_crlf, Id::send_hex, Id::interval,
        Id::repeat_count, Id::start_packet, Id::end_packet, Id::wait_for_rx, Id::load_packets})
    person.sees_enabled(id, false);
  person.sees_true(L"packets are sent", [&] { return person.device().received().starts_with("ABABAB"); });
  person.click(Id::repeat);
  person.sees_text(Id::repeat, L"Repeat Send");
  for (const Id id : {Id::transmit, packet_field(0), send_button(0), Id::interval, Id::load_packets})
    person.sees_enabled(id, true);
}

void stops_within_a_long_wait(Person& person) {
  AppSettings settings = repeat_settings();
  settings.interval_milliseconds = L"99999999";
  settings.wait_for_rx = true;
  settings.response_timeout_milliseconds = L"99999999";
  person.start(settings);
  person.connect();
  person.click(Id::repeat);
  person.device_gets("A");
  person.click(Id::repeat);
  person.sees_text(Id::repeat, L"Repeat Send");
  person.click(Id::repeat);
  person.device_gets("AA");
  person.device().answer(std::nullopt);
  person.device().say("now comes the interval");
  person.sees(
      L"the response", [&] { return person.received().ends_with(L"interval") ? L"yes" : L"no"; }, L"yes");
  person.click(Id::repeat);
  person.sees_text(Id::repeat, L"Repeat Send");
  person.device_gets("AA");
}

void disconnects_a_run(Person& person) {
  AppSettings settings = repeat_settings();
  settings.repeat_count = L"9999";
  person.start(settings);
  person.connect();
  person.click(Id::repeat);
  person.sees_text(Id::repeat, L"Stop");
  person.disconnect();
  person.sees_text(Id::repeat, L"Repeat Send");
  person.sees_enabled(Id::repeat, false);
  person.sees_enabled(packet_field(0), true);
}

constexpr Scene kScenes[]{
    {"repeats_a_range", repeats_a_range},
    {"repeats_with_responses", repeats_with_responses},
    {"goes_on_after_a_time_out", goes_on_after_a_time_out},
    {"locks_the_panel_until_stopped", locks_the_panel_until_stopped},
    {"stops_within_a_long_wait", stops_within_a_long_wait},
    {"disconnects_a_run", disconnects_a_run},
};

}  // namespace

std::span<const Scene> repeat_scenes() {
  return kScenes;
}

}  // namespace hvt::self_test
