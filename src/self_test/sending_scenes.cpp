#include "self_test/scenes.h"

// Scenes: single packets, and what becomes of them.

namespace hvt::self_test {
namespace {

using Id = ControlId;

std::size_t count(std::wstring_view text, std::wstring_view part) {
  std::size_t found = 0;
  for (std::size_t at = text.find(part); at != std::wstring_view::npos;
       at = text.find(part, at + part.size()))
    ++found;
  return found;
}

void sends_by_click_enter_and_double_click(Person& person) {
  person.start(sending_settings(kEchoPort));
  person.fill(packet_field(0), L"ID?");
  person.connect();
  person.click(send_button(0));
  person.sees_received(L"[TX] ID?\n[RX] ID?");
  person.press_in(packet_field(0), Key::enter);
  person.sees_received(L"[TX] ID?\n[RX] ID?\n[TX] ID?\n[RX] ID?");
  person.click(Id::clear);
  person.sees_received(L"");
  person.fill(packet_field(9), L"ten");
  person.double_click(send_button(9));
  // The second packet and the first echo may come in either order.
  person.sees(
      L"packets sent and echoed",
      [&] {
        const std::wstring text = person.received();
        return std::to_wstring(count(text, L"[TX] ten")) + L" of " + std::to_wstring(count(text, L"ten"));
      },
      L"2 of 4");
}

void sends_what_is_written(Person& person) {
  person.start(sending_settings());
  person.fill(packet_field(1), LR"(<STX>001F<0xAB>\x02\n<cr><ABC>)");
  person.connect();
  person.click(send_button(1));
  std::string bytes =
      "\x02"
      "001F\xAB\x02\n\r<ABC>";
  person.device_gets(bytes);
  person.sees_received(L"[TX] <STX>001F<0xAB><STX><LF><CR><ABC>");
  person.set_checked(Id::auto_crlf, true);
  person.fill(packet_field(2), L"A");
  person.click(send_button(2));
  person.device_gets(bytes += "A\r\n");
}

void sends_hex(Person& person) {
  person.start(sending_settings());
  person.click(Id::send_hex);
  person.sees_checked(Id::send_hex, true);
  person.fill(packet_field(0), L"02434d44fF");
  person.sees_text(packet_field(0), L"02 43 4D 44 FF");
  person.connect();
  person.press_in(packet_field(0), Key::enter);
  person.device_gets(
      "\x02"
      "CMD\xFF");
  person.click(Id::receive_hex);
  person.sees_checked(Id::receive_hex, true);
  person.device().say("\x01");
  person.device().say("\n");
  person.sees_received(L"[TX] <STX>CMD<0xFF>\n[RX] 01 0A");
}

void measures_responses(Person& person) {
  AppSettings settings = sending_settings();
  settings.wait_for_rx = true;
  settings.response_timeout_milliseconds = L"300";
  settings.send_items[0] = L"PING";
  person.start(settings);
  person.connect();
  person.device().answer("PONG");
  person.click(send_button(0));
  person.sees_received(L"[TX] PING [t ms]\n[RX] PONG");
  person.device().answer(std::nullopt);
  person.click(send_button(0));
  person.sees_received(L"[TX] PING [t ms]\n[RX] PONG\n[TX] PING [TIMEOUT]");
  person.device().say("LATE");
  person.sees_received(L"[TX] PING [t ms]\n[RX] PONG\n[TX] PING [TIMEOUT] [LATE]\n[RX] LATE");
}

void marks_time_outs_without_sent_data(Person& person) {
  AppSettings settings = sending_settings();
  settings.wait_for_rx = true;
  settings.response_timeout_milliseconds = L"100";
  settings.echo_sent = false;
  settings.send_items[0] = L"PING";
  person.start(settings);
  person.connect();
  person.click(send_button(0));
  person.sees_received(L"[TIMEOUT]\n");
  person.device().say("tardy");
  person.sees_received(L"[TIMEOUT]\n[LATE]\ntardy");
}

void queues_a_burst(Person& person) {
  AppSettings settings = sending_settings();
  for (std::size_t row = 0; row < kPacketRows; ++row)
    settings.send_items[row] = std::wstring(1, static_cast<wchar_t>(L'a' + row));
  person.start(settings);
  person.connect();
  person.device().set_writing(ScriptedDevice::Writing::blocks);
  for (std::size_t row = 0; row < kPacketRows; ++row)
    person.click(send_button(row));
  person.sees_true(L"the first write is blocked", [&] { return person.device().write_is_blocked(); });
  person.settle();
  person.device().set_writing(ScriptedDevice::Writing::accepts);
  person.device_gets("abcdefghij");
  person.sees_received(L"[TX] a\n[TX] b\n[TX] c\n[TX] d\n[TX] e\n[TX] f\n[TX] g\n[TX] h\n[TX] i\n[TX] j");
}

void drops_what_waits_behind_a_failure(Person& person) {
  AppSettings settings = sending_settings();
  settings.send_items[0] = L"one";
  person.start(settings);
  person.connect();
  person.device().set_writing(ScriptedDevice::Writing::blocks);
  person.click(send_button(0));
  person.click(send_button(0));
  person.sees_true(L"the first write is blocked", [&] { return person.device().write_is_blocked(); });
  person.device().set_writing(ScriptedDevice::Writing::fails);
  person.sees_status(L"Simulated write failure");
  person.sees_text(Id::connect, L"Connect");
  person.sees_received(L"");
}

void cancels_a_long_wait(Person& person) {
  AppSettings settings = sending_settings();
  settings.wait_for_rx = true;
  settings.response_timeout_milliseconds = L"99999999";
  settings.send_items[0] = L"PING";
  person.start(settings);
  person.connect();
  person.click(send_button(0));
  person.sees_received(L"[TX] PING");
  person.sees_enabled(Id::repeat, true);
  person.click(Id::repeat);  // ignored while a response is waited for
  person.settle();
  person.sees_text(Id::repeat, L"Repeat Send");
  person.disconnect();
  person.sees_status(L"Disconnected");
  person.sees_received(L"[TX] PING");
}

void keeps_the_packets_while_folded(Person& person) {
  AppSettings settings = sending_settings();
  settings.auto_append_crlf = true;
  settings.send_items[3] = L"kept";
  person.start(settings);
  person.connect();
  person.click(Id::transmit);
  person.sees_visible(packet_field(3), false);
  for (const Id id :
       {send_button(3), Id::repeat, Id::save_packets, Id::load_packets, Id::send_hex, Id::interval})
    person.sees_visible(id, false);
  for (const Id id : {Id::echo_sent, Id::wait_for_rx, Id::rx_timeout})
    person.sees_enabled(id, false);
  person.sees_checked(Id::echo_sent, true);
  for (const Id stale : {send_button(3), packet_field(3), Id::repeat})
    person.driver().press_stale(stale);
  person.settle();
  person.device().say("only this");
  person.sees_received(L"only this");
  person.device_gets("");
  person.click(Id::transmit);
  person.sees_text(packet_field(3), L"kept");
  person.sees_checked(Id::auto_crlf, true);
  person.click(send_button(3));
  person.device_gets("kept\r\n");
}

constexpr Scene kScenes[]{
    {"sends_by_click_enter_and_double_click", sends_by_click_enter_and_double_click},
    {"sends_what_is_written", sends_what_is_written},
    {"sends_hex", sends_hex},
    {"measures_responses", measures_responses},
    {"marks_time_outs_without_sent_data", marks_time_outs_without_sent_data},
    {"queues_a_burst", queues_a_burst},
    {"drops_what_waits_behind_a_failure", drops_what_waits_behind_a_failure},
    {"cancels_a_long_wait", cancels_a_long_wait},
    {"keeps_the_packets_while_folded", keeps_the_packets_while_folded},
};

}  // namespace

std::span<const Scene> sending_scenes() {
  return kScenes;
}

}  // namespace hvt::self_test
