#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "app/app.h"
#include "tests/support/folder.h"
#include "tests/support/recording_window.h"
#include "tests/support/scripted_transport.h"

namespace hvt::test {

inline std::vector<PortDescription> two_ports() {
  return {{L"COM8", L""}, {L"COM9", L"CP210x"}};
}

// What a test has otherwise than usual.
struct Setup {
  TransportFactory open{};  // instead of the scripted device
  PortSource ports = two_ports;
  RecordingConfig recording{};
  std::filesystem::path folder{};  // of another run, instead of a new one
  std::function<void(std::wstring_view)> log_error{};
  StartupUpdateCheck::Fetch fetch_manifest{};
};

// One run of the program on a window without a screen, with one scripted device behind all of its ports. The
// test is the person, the message loop and the device.
//
// Promises  what is waited for and does not come within 10 s fails the test and says what is there instead.
// Threads   the test's, which is the interface thread.
// Owns      its folder, unless it got one.
// Ends      as a person ends it: the window closes, then it is gone.
struct Program {
  using Bytes = ScriptedTransport::Bytes;
  using WriteMode = ScriptedTransport::WriteMode;

  explicit Program(const Setup& setup = {})
      : app(setup.folder.empty() ? folder.path() : setup.folder,
            {.factory = setup.open ? setup.open : [this](const auto&, auto&) { return device; },
             .port_source = setup.ports,
             .recording = setup.recording,
             .log_error = setup.log_error,
             .fetch_manifest = setup.fetch_manifest}),
        window(app) {
    app.attach(window);
  }
  ~Program() {
    app.closing();
    app.detach();
  }

  // The person.
  void press(ControlId id) { app.command(id); }
  void type(ControlId id, std::wstring text) { window.type(id, std::move(text)); }
  void connect() {
    press(ControlId::connect);
    EXPECT_TRUE(status_becomes(L"Connected to COM8"));
  }
  // The reader of the connection before may still be leaving.
  void connect_again() {
    EXPECT_TRUE(until([&] {
      press(ControlId::connect);
      return connection() != L"Connect";
    }));
    EXPECT_TRUE(until([&] { return connection() == L"Connected"; }));
  }
  void open_transmit(std::wstring packet) {
    press(ControlId::transmit);
    press(ControlId::wait_for_rx);  // off
    type(packet_field(0), std::move(packet));
  }
  void wait_for_rx(std::wstring timeout) {
    press(ControlId::wait_for_rx);
    type(ControlId::rx_timeout, std::move(timeout));
  }
  void send() { press(send_button(0)); }

  // What the person sees.
  std::wstring_view connection() const { return window.state(ControlId::connect).caption; }
  std::wstring_view repeat_caption() const { return window.state(ControlId::repeat).caption; }
  bool records() const { return window.state(ControlId::record).caption == L"Stop Recording"; }
  std::wstring chosen(ControlId id) {
    const auto& choice = window.choice(id);
    return choice.selected ? choice.entries.at(*choice.selected) : std::wstring();
  }

  // The device. What feed() brings has reached the program when it returns.
  void feed(std::string_view text) {
    device->feed(Bytes(text.begin(), text.end()));
    EXPECT_TRUE(device->wait_until_read_out());
    EXPECT_TRUE(device->wait_until_reading());
  }
  void block_writes() { device->set_write_mode(WriteMode::kBlock); }
  void accept_writes() { device->set_write_mode(WriteMode::kAccept); }
  void fail_writes(std::wstring text) { device->set_write_mode(WriteMode::kFail, std::move(text)); }

  // Runs the message loop until the condition holds.
  template <typename Condition>
  bool until(Condition&& condition) {
    using namespace std::chrono_literals;
    const auto start = std::chrono::steady_clock::now();
    auto next_tick = start + DisplayPump::kTick;
    while (!condition()) {
      const auto now = std::chrono::steady_clock::now();
      if (now > start + 10s) return false;
      window.deliver();
      if (now >= next_tick) {
        window.tick();
        next_tick = now + DisplayPump::kTick;
      }
      std::this_thread::yield();
    }
    return true;
  }
  bool status_becomes(std::wstring_view text) {
    const bool became = until([&] { return window.status() == text; });
    if (!became) ADD_FAILURE() << "the status is " << testing::PrintToString(window.status());
    return became;
  }
  // "[t ms]" stands for however long a response took.
  bool shows(std::wstring_view text) {
    const bool shown = until([&] { return masked(window.shown()) == text; });
    if (!shown) ADD_FAILURE() << "shown is " << testing::PrintToString(window.shown());
    return shown;
  }
  bool disconnected() {
    return until([&] { return connection() == L"Connect"; });
  }

  static std::wstring masked(std::wstring text) {
    for (std::size_t end = text.find(L" ms]"); end != text.npos; end = text.find(L" ms]", end + 1)) {
      const std::size_t begin = text.find_last_not_of(L"0123456789.", end - 1) + 1;
      text.replace(begin, end - begin, L"t");
      end = begin + 1;
    }
    return text;
  }

  std::shared_ptr<ScriptedTransport> device = std::make_shared<ScriptedTransport>();
  Folder folder;
  App app;
  RecordingWindow window;
};

// A way in which a connection ends, and what is told of it.
struct End {
  const char* name;
  std::function<void(Program&)> happen;
  std::wstring status;
};
inline const End kDisconnect{"disconnect", [](Program& program) { program.press(ControlId::connect); },
                             L"Disconnected"};
inline const End kUnplug{"unplug",
                         [](Program& program) { program.device->unplug(L"The serial device was removed."); },
                         L"The serial device was removed."};

}  // namespace hvt::test
