#include "self_test/scenes.h"
#include "serial/serial_status.h"

// Scenes: ports and connections.

namespace hvt::self_test {
namespace {

using Id = ControlId;

void connects_and_disconnects(Person& person) {
  person.start(sending_settings(kEchoPort));
  person.sees_status(L"Ready");
  person.sees_text(Id::connect, L"Connect");
  person.sees_enabled(send_button(0), false);
  person.click(Id::connect);
  person.sees_text(Id::connect, L"Connected");
  person.sees_status(L"Connected to ECHO1");
  for (const Id id : {Id::port, Id::baud, Id::data_bits, Id::stop_bits, Id::parity, Id::timeout})
    person.sees_enabled(id, false);
  person.sees_enabled(send_button(0), true);
  person.sees_enabled(Id::repeat, true);
  person.click(Id::connect);
  person.sees_status(L"Disconnected");
  person.sees_text(Id::connect, L"Connect");
  person.sees_enabled(Id::baud, true);
}

void finds_a_port_that_is_plugged_in(Person& person) {
  person.bay().plug_in({});
  person.start(sending_settings(L""));
  person.sees_enabled(Id::port, false);
  person.click(Id::connect);
  person.sees_status(L"Select a COM port first.");
  person.bay().plug_in({{std::wstring(kEchoPort), L"Loopback"}, {std::wstring(kScriptedPort), L""}});
  person.click(Id::refresh);
  person.sees_enabled(Id::port, true);
  person.choose(Id::port, kScriptedPort);
  person.choose(Id::port, L"ECHO1 - Loopback");
  person.connect();
  person.sees_status(L"Connected to ECHO1");
}

void is_told_that_a_port_is_busy(Person& person) {
  person.start(sending_settings(kBusyPort));
  person.click(Id::connect);
  person.sees_status(L"BUSY3 is in use by another program.");
  person.sees_text(Id::connect, L"Connect");
  person.choose(Id::port, L"ECHO1 - Loopback");
  person.connect();
}

void gives_up_on_a_slow_driver(Person& person) {
  AppSettings settings = sending_settings(kStubbornPort);
  settings.connection_timeout_seconds = 1;
  person.start(settings);
  person.click(Id::connect);
  person.sees_text(Id::connect, L"Connecting\u2026");
  person.settle();  // the window answers meanwhile
  person.sees_status(L"Serial connection exceeded 1 sec.");
  person.click(Id::connect);
  person.sees_status(
      L"The previous connection attempt is still being cleaned up. Retry later or select another port.");
  person.choose(Id::port, L"ECHO1 - Loopback");
  person.connect();
  person.sees_status(L"Connected to ECHO1");
}

void cancels_an_attempt(Person& person) {
  person.start(sending_settings(kStubbornPort));
  person.click(Id::connect);
  person.sees_status(L"Connecting to SLOW4");
  person.click(Id::connect);
  person.sees_status(L"Disconnected");
  person.sees_text(Id::connect, L"Connect");
}

void survives_an_unplug(Person& person) {
  person.start(sending_settings());
  person.connect();
  person.device().say("before");
  person.sees_received(L"[RX] before");
  person.device().unplug(L"The serial device was removed.");
  person.sees_status(L"The serial device was removed.");
  person.sees_text(Id::connect, L"Connect");
  person.connect();
  person.device().say(" and after");
  person.sees_received(L"[RX] before and after");
}

void tells_of_line_errors(Person& person) {
  person.start(sending_settings());
  person.connect();
  person.device().report_errors(kCommOverrun);
  person.sees_status(L"RX error: overrun");
  person.device().report_errors(kCommFrame | kCommParity);
  person.sees_status(L"RX error: parity, framing (2)");
  person.sees_text(Id::connect, L"Connected");
}

void sets_the_line(Person& person) {
  person.start(sending_settings());
  person.choose(Id::baud, L"9600");
  person.choose(Id::data_bits, L"7");
  person.choose(Id::stop_bits, L"2");
  person.choose(Id::parity, L"Even");
  person.connect();
  person.device();
  const auto used = person.bay().opened_with();
  person.sees(
      L"line settings",
      [&] {
        return std::to_wstring(used->baud) + L" " + std::to_wstring(used->data_bits) + L" " +
               std::to_wstring(used->stop_bits) + L" " + std::to_wstring(used->parity);
      },
      L"9600 7 2 2");
}

constexpr Scene kScenes[]{
    {"connects_and_disconnects", connects_and_disconnects},
    {"finds_a_port_that_is_plugged_in", finds_a_port_that_is_plugged_in},
    {"is_told_that_a_port_is_busy", is_told_that_a_port_is_busy},
    {"gives_up_on_a_slow_driver", gives_up_on_a_slow_driver},
    {"cancels_an_attempt", cancels_an_attempt},
    {"survives_an_unplug", survives_an_unplug},
    {"tells_of_line_errors", tells_of_line_errors},
    {"sets_the_line", sets_the_line},
};

}  // namespace

std::span<const Scene> connection_scenes() {
  return kScenes;
}

}  // namespace hvt::self_test
