// Risk: what a person records is not what was on the line: lost at the stop, at a clear, at a disconnect or a
// close, or with the display off or full; or a failed recording takes the connection with it.

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "app/app.h"
#include "tests/support/folder.h"
#include "tests/support/recording_window.h"
#include "tests/support/scripted_transport.h"

namespace hvt {
namespace {

using namespace std::chrono_literals;
using test::ScriptedTransport;

std::string file_text(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// The program, connected, recording as "log".
struct Program {
  explicit Program(const RecordingConfig& config = {})
      : app(folder.path(), {.factory = [this](const auto&, auto&) { return device; },
                            .port_source =
                                [] {
                                  return std::vector<PortDescription>{{L"COM8", L""}};
                                },
                            .recording = config}),
        window(app) {
    app.attach(window);
    app.command(ControlId::connect);
    EXPECT_TRUE(until([&] { return window.status() == L"Connected to COM8"; }));
    window.type(ControlId::record_name, L"log");
  }
  ~Program() {
    app.closing();
    app.detach();
  }
  template <typename Condition>
  bool until(Condition&& condition) {
    const auto limit = std::chrono::steady_clock::now() + 10s;
    while (!condition()) {
      if (std::chrono::steady_clock::now() > limit) return false;
      window.deliver();
      window.tick();
      std::this_thread::yield();
    }
    return true;
  }
  void record() {
    app.command(ControlId::record);
    EXPECT_EQ(window.state(ControlId::record).caption, L"Stop Recording") << "the status is another one";
  }
  bool recording_ends() {
    return until([&] { return window.state(ControlId::record).caption == L"Start Recording"; });
  }
  // Everything fed so far has reached the program.
  void feed(const std::string& text) {
    device->feed({text.begin(), text.end()});
    EXPECT_TRUE(device->wait_until_read_out());
    EXPECT_TRUE(device->wait_until_reading());
  }
  std::filesystem::path file(const std::string& name) const { return folder.path() / "recording" / name; }
  std::string log() const { return file_text(file("log_part001.log")); }
  std::string metadata() const { return file_text(file("log.meta.json")); }

  test::Folder folder;
  std::shared_ptr<ScriptedTransport> device = std::make_shared<ScriptedTransport>();
  App app;
  test::RecordingWindow window;
};

TEST(Recording, HoldsWhatArrivedUntilTheStop) {
  Program program;
  EXPECT_EQ(program.window.state(ControlId::record_name).caption, L"Auto Filename");
  program.record();
  EXPECT_FALSE(program.window.state(ControlId::record_name).enabled);
  program.feed("one\r\n");
  program.feed("two");  // not formatted yet at the stop
  program.app.command(ControlId::record);
  EXPECT_FALSE(program.window.state(ControlId::record).enabled);  // draining
  program.feed("after");
  ASSERT_TRUE(program.recording_ends());
  EXPECT_EQ(program.log(), "one<CR><LF>two");
  EXPECT_NE(program.metadata().find("\"stop_reason\": \"user_stop\""), std::string::npos);
  EXPECT_NE(program.metadata().find("\"raw_rx_delivered_bytes\": 8,"), std::string::npos);
  EXPECT_EQ(program.window.status(), L"Recording saved: log");
}

TEST(Recording, IsCompleteHoweverItEnds) {
  struct Case {
    const char* name;
    std::function<void(Program&)> end;
    std::string note;
    std::wstring status;
  };
  const Case cases[] = {
      {"disconnect", [](auto& program) { program.app.command(ControlId::connect); }, "\"disconnected\"",
       L"Disconnected"},
      {"unplug", [](auto& program) { program.device->unplug(L"Gone."); }, "\"disconnected\"", L"Gone."},
      {"close", [](auto& program) { program.app.closing(); }, "\"application_closed\"", L"Disconnected"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Program program;
    program.record();
    program.feed("last words");
    c.end(program);
    ASSERT_TRUE(program.recording_ends());
    EXPECT_EQ(program.log(), "last words");
    EXPECT_EQ(program.window.status(), c.status);
    EXPECT_NE(program.metadata().find("\"receive_processing_error\": " + c.note), std::string::npos);
    EXPECT_NE(program.metadata().find("\"finalized\": true"), std::string::npos);
    EXPECT_NE(program.metadata().find("\"integrity\": \"not_verified\""), std::string::npos);
  }
}

TEST(Recording, NeitherAClearNorASilentDisplayCostsIt) {
  Program program;
  program.record();
  program.feed("before");
  program.app.command(ControlId::clear);
  program.app.command(ControlId::display_while_recording);
  program.feed("unseen");
  ASSERT_TRUE(program.until([&] { return program.log().ends_with("unseen"); }));
  EXPECT_EQ(program.window.shown(), L"");
  program.app.command(ControlId::record);
  ASSERT_TRUE(program.recording_ends());
  EXPECT_EQ(program.log(), "before\r\nunseen");
  program.feed("seen");
  EXPECT_TRUE(program.until([&] { return program.window.shown() == L"seen"; }));
}

TEST(Recording, TakesSentPacketsAndTheirTimingsToo) {
  Program program;
  program.app.command(ControlId::transmit);
  program.window.type(packet_field(0), L"PING");
  program.window.type(ControlId::rx_timeout, L"10");
  program.record();
  program.app.command(send_button(0));
  ASSERT_TRUE(program.until([&] { return program.window.shown() == L"[TX] PING [TIMEOUT]"; }));
  program.app.command(ControlId::clear);
  program.feed("late");
  ASSERT_TRUE(program.until([&] { return program.window.shown() == L"[RX] late"; }));
  program.app.command(ControlId::record);
  ASSERT_TRUE(program.recording_ends());
  EXPECT_EQ(program.log(), "[TX] PING [TIMEOUT]\r\n[RX] late");
}

TEST(Recording, AFailedStartOrDiskLeavesTheConnection) {
  Program program;
  test::write_file(program.folder.path() / "recording", "in the way");
  program.app.command(ControlId::record);
  EXPECT_EQ(program.window.state(ControlId::record).caption, L"Start Recording");
  EXPECT_TRUE(program.window.status().starts_with(L"Cannot create recording")) << "another status";
  std::filesystem::remove(program.folder.path() / "recording");

  program.record();
  const auto removed = [&] {  // the session goes on writing meanwhile
    std::error_code in_use;
    std::filesystem::remove_all(program.folder.path() / "recording", in_use);
    return !std::filesystem::exists(program.folder.path() / "recording");
  };
  for (int tries = 0; !removed(); ++tries)
    if (tries == 100) GTEST_SKIP() << "this system keeps the folder of an open file";
  program.feed("x");
  ASSERT_TRUE(program.recording_ends());
  EXPECT_TRUE(program.window.status().starts_with(L"Recording incomplete: ")) << "another status";
  EXPECT_EQ(program.window.state(ControlId::connect).caption, L"Connected");
  EXPECT_TRUE(program.until([&] { return program.window.shown() == L"x"; }));
}

TEST(Recording, AStopThatCameTooLateDoesNotEndTheNextOne) {
  RecordingConfig config;
  config.queue_capacity_bytes = 8;
  Program program(config);
  program.record();
  program.feed("more than eight");
  program.app.message(kDisplayMessage, 0, 0);
  while (program.metadata().find("\"finalized\": true") == std::string::npos)
    std::this_thread::yield();
  program.app.command(ControlId::record);  // the program does not know yet that the session has ended
  const auto caption = [&] { return program.window.state(ControlId::record).caption; };
  while (caption() != L"Start Recording")
    program.app.message(kTaskMessage, 0, 0);
  EXPECT_EQ(program.window.status(), L"Recording incomplete: Recording buffer full. Recording stopped.");
  program.record();
  program.feed("second");
  const auto second = [&] { return file_text(program.file("log_01_part001.log")); };
  EXPECT_TRUE(program.until([&] { return second() == "second"; }));
  EXPECT_EQ(caption(), L"Stop Recording");
}

TEST(Recording, AFailureStaysToldWhileTheDisplayIsFull) {
  RecordingConfig config;
  config.queue_capacity_bytes = 8;
  Program program(config);
  program.record();
  program.feed("more than eight");
  ASSERT_TRUE(program.recording_ends());
  const std::wstring failure = L"Recording incomplete: Recording buffer full. Recording stopped.";
  EXPECT_EQ(program.window.status(), failure);
  program.window.receive_view().navigate();
  program.feed(std::string(std::size_t{4} << 20, 'x'));
  EXPECT_TRUE(program.until(
      [&] { return program.window.status().starts_with(failure + L" Receive display is full."); }));
  program.app.command(ControlId::clear);
  EXPECT_EQ(program.window.status(), failure);
}

TEST(Recording, HighSpeedTurnsTheDisplayOff) {
  Program program;
  program.app.command(ControlId::connect);
  program.window.choose(ControlId::baud, 11);  // 921600
  EXPECT_TRUE(program.window.status().starts_with(L"At 921600 baud or higher, Display while recording"));
  EXPECT_FALSE(program.window.state(ControlId::display_while_recording).checked);
  EXPECT_FALSE(program.window.state(ControlId::display_while_recording).enabled);
  program.device = std::make_shared<ScriptedTransport>();
  program.app.command(ControlId::connect);
  ASSERT_TRUE(
      program.until([&] { return program.window.state(ControlId::connect).caption == L"Connected"; }));
  program.record();
  program.feed("fast");
  ASSERT_TRUE(program.until([&] { return program.log() == "fast"; }));
  EXPECT_EQ(program.window.shown(), L"");
  program.app.command(ControlId::record);
  ASSERT_TRUE(program.recording_ends());
  program.app.command(ControlId::connect);
  program.window.choose(ControlId::baud, 8);
  EXPECT_TRUE(program.window.state(ControlId::display_while_recording).checked);  // the preference is kept
}

TEST(Recording, LineErrorsMakeItSuspect) {
  Program program;
  program.record();
  program.device->feed_errors({.available = true, .mask = kCommOverrun});
  program.device->feed_idle();
  program.feed("x");
  program.app.command(ControlId::record);
  ASSERT_TRUE(program.recording_ends());
  EXPECT_TRUE(program.window.status().starts_with(L"Recording data loss possible: RX error: overrun"));
  EXPECT_NE(program.metadata().find("\"overrun_observations\": 1"), std::string::npos);
}

TEST(Recording, TheFolderOpensInTheDesktop) {
  Program program;
  program.app.command(ControlId::open_folder);
  ASSERT_EQ(program.window.opened.size(), 1u);
  EXPECT_TRUE(std::filesystem::is_directory(program.window.opened[0]));
}

}  // namespace
}  // namespace hvt
