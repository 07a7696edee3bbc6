// Risk: what a person records is not what was on the line: lost at the stop, at a clear, at a disconnect or a
// close, or with the display off or full; or a failed recording takes the connection with it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "tests/app/program.h"

namespace hvt {
namespace {

using test::Program;
using testing::HasSubstr;

// The program, connected, about to record as "log".
struct Recorder : Program {
  explicit Recorder(const RecordingConfig& config = {}) : Program({.recording = config}) {
    connect();
    type(ControlId::record_name, L"log");
  }
  void record() {
    press(ControlId::record);
    EXPECT_TRUE(records()) << "the status is " << testing::PrintToString(window.status());
  }
  bool can_record() const { return window.state(ControlId::record).caption == L"Start Recording"; }
  bool recording_ends() {
    return until([&] { return can_record(); });
  }
  bool stop() {
    press(ControlId::record);
    return recording_ends();
  }
  std::filesystem::path recordings() const { return folder.path() / "recording"; }
  std::string log() const { return test::read_file(recordings() / "log_part001.log"); }
  std::string metadata() const { return test::read_file(recordings() / "log.meta.json"); }
};

RecordingConfig queue_of(std::size_t bytes) {
  RecordingConfig config;
  config.queue_capacity_bytes = bytes;
  return config;
}

const std::wstring kQueueFull = L"Recording incomplete: Recording buffer full. Recording stopped.";

TEST(Recording, HoldsWhatArrivedUntilTheStop) {
  Recorder program;
  EXPECT_EQ(program.window.state(ControlId::record_name).caption, L"Auto Filename");
  program.record();
  EXPECT_FALSE(program.window.state(ControlId::record_name).enabled);
  program.feed("one\r\n");
  program.feed("two");  // not formatted yet at the stop
  program.press(ControlId::record);
  EXPECT_FALSE(program.window.state(ControlId::record).enabled);  // draining
  program.feed("after");
  ASSERT_TRUE(program.recording_ends());
  EXPECT_EQ(program.log(), "one<CR><LF>two");
  EXPECT_THAT(program.metadata(), HasSubstr("\"stop_reason\": \"user_stop\""));
  EXPECT_THAT(program.metadata(), HasSubstr("\"raw_rx_delivered_bytes\": 8,"));
  EXPECT_EQ(program.window.status(), L"Recording saved: log");
}

TEST(Recording, IsCompleteHoweverItEnds) {
  const test::End kClose{"close", [](Program& program) { program.app.closing(); }, L"Disconnected"};
  for (const test::End& end : {test::kDisconnect, test::kUnplug, kClose}) {
    SCOPED_TRACE(end.name);
    Recorder program;
    program.record();
    program.feed("last words");
    end.happen(program);
    ASSERT_TRUE(program.recording_ends());
    EXPECT_EQ(program.log(), "last words");
    EXPECT_EQ(program.window.status(), end.status);
    const std::string note = end.name == kClose.name ? "application_closed" : "disconnected";
    EXPECT_THAT(program.metadata(), HasSubstr("\"receive_processing_error\": \"" + note + "\""));
    EXPECT_THAT(program.metadata(), HasSubstr("\"finalized\": true"));
    EXPECT_THAT(program.metadata(), HasSubstr("\"integrity\": \"not_verified\""));
  }
}

TEST(Recording, NeitherAClearNorASilentDisplayCostsIt) {
  Recorder program;
  program.record();
  program.feed("before");
  program.press(ControlId::clear);
  program.press(ControlId::display_while_recording);
  program.feed("unseen");
  ASSERT_TRUE(program.until([&] { return program.log().ends_with("unseen"); }));
  EXPECT_EQ(program.window.shown(), L"");
  ASSERT_TRUE(program.stop());
  EXPECT_EQ(program.log(), "before\r\nunseen");
  program.feed("seen");
  EXPECT_TRUE(program.shows(L"seen"));
}

TEST(Recording, TakesSentPacketsAndTheirTimingsToo) {
  Recorder program;
  program.press(ControlId::transmit);
  program.type(packet_field(0), L"PING");
  program.type(ControlId::rx_timeout, L"10");
  program.record();
  program.send();
  ASSERT_TRUE(program.shows(L"[TX] PING [TIMEOUT]"));
  program.press(ControlId::clear);
  program.feed("late");
  ASSERT_TRUE(program.shows(L"[RX] late"));
  ASSERT_TRUE(program.stop());
  EXPECT_EQ(program.log(), "[TX] PING [TIMEOUT]\r\n[RX] late");
}

TEST(Recording, AFailedStartOrDiskLeavesTheConnection) {
  Recorder program;
  test::write_file(program.recordings(), "in the way");
  program.press(ControlId::record);
  EXPECT_TRUE(program.can_record());
  EXPECT_TRUE(program.window.status().starts_with(L"Cannot create recording")) << "another status";
  std::filesystem::remove(program.recordings());

  program.record();
  const auto removed = [&] {  // the session goes on writing meanwhile
    std::error_code in_use;
    std::filesystem::remove_all(program.recordings(), in_use);
    return !std::filesystem::exists(program.recordings());
  };
  for (int tries = 0; !removed(); ++tries)
    if (tries == 100) GTEST_SKIP() << "this system keeps the folder of an open file";
  program.feed("x");
  ASSERT_TRUE(program.recording_ends());
  EXPECT_TRUE(program.window.status().starts_with(L"Recording incomplete: ")) << "another status";
  EXPECT_EQ(program.connection(), L"Connected");
  EXPECT_TRUE(program.shows(L"x"));
}

TEST(Recording, AStopThatCameTooLateDoesNotEndTheNextOne) {
  Recorder program(queue_of(8));
  program.record();
  program.feed("more than eight");
  program.app.message(kDisplayMessage, 0, 0);
  // Windows does not replace a file while it is read: a look without a pause would keep the end from being
  // told.
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (program.metadata().find("\"finalized\": true") == std::string::npos) {
    ASSERT_LT(std::chrono::steady_clock::now(), limit);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  program.press(ControlId::record);  // the program does not know yet that the session has ended
  while (!program.can_record())
    program.app.message(kTaskMessage, 0, 0);
  EXPECT_EQ(program.window.status(), kQueueFull);
  program.record();
  program.feed("second");
  const auto second = [&] { return test::read_file(program.recordings() / "log_01_part001.log"); };
  EXPECT_TRUE(program.until([&] { return second() == "second"; }));
  EXPECT_TRUE(program.records());
}

TEST(Recording, AFailureStaysToldWhileTheDisplayIsFull) {
  Recorder program(queue_of(8));
  program.record();
  program.feed("more than eight");
  ASSERT_TRUE(program.recording_ends());
  EXPECT_EQ(program.window.status(), kQueueFull);
  program.window.receive_view().navigate();
  program.feed(std::string(std::size_t{4} << 20, 'x'));
  EXPECT_TRUE(program.until(
      [&] { return program.window.status().starts_with(kQueueFull + L" Receive display is full."); }));
  program.press(ControlId::clear);
  EXPECT_EQ(program.window.status(), kQueueFull);
}

TEST(Recording, HighSpeedTurnsTheDisplayOff) {
  Recorder program;
  program.press(ControlId::connect);
  program.window.choose(ControlId::baud, 11);  // 921600
  EXPECT_TRUE(program.window.status().starts_with(L"At 921600 baud or higher, Display while recording"));
  const auto display = [&] { return program.window.state(ControlId::display_while_recording); };
  EXPECT_FALSE(display().checked || display().enabled);
  program.device = std::make_shared<test::ScriptedTransport>();
  program.connect_again();
  program.record();
  program.feed("fast");
  ASSERT_TRUE(program.until([&] { return program.log() == "fast"; }));
  EXPECT_EQ(program.window.shown(), L"");
  ASSERT_TRUE(program.stop());
  program.press(ControlId::connect);
  program.window.choose(ControlId::baud, 8);
  EXPECT_TRUE(display().checked);  // the preference is kept
}

TEST(Recording, LineErrorsMakeItSuspect) {
  Recorder program;
  program.record();
  program.device->feed_errors({.available = true, .mask = kCommOverrun});
  program.device->feed_idle();
  program.feed("x");
  ASSERT_TRUE(program.stop());
  EXPECT_TRUE(program.window.status().starts_with(L"Recording data loss possible: RX error: overrun"));
  EXPECT_THAT(program.metadata(), HasSubstr("\"overrun_observations\": 1"));
}

TEST(Recording, MetadataThatCannotBeWrittenAreToldWhileItRuns) {
  Recorder program;
  for (int ticks = 0; ticks < 50; ++ticks)  // a line that was silent for a while
    program.window.tick();
  std::filesystem::create_directories(program.recordings());
  std::ofstream(program.recordings() / "log.meta.json.pending") << "someone's";
  program.record();
  EXPECT_EQ(program.window.timer_interval, DisplayPump::kTick);
  EXPECT_TRUE(program.status_becomes(L"Recording metadata temporary file already exists."));
  EXPECT_EQ(program.window.timer_interval, DisplayPump::kTick);
  EXPECT_TRUE(program.records());
}

TEST(Recording, TheFolderOpensInTheDesktop) {
  Recorder program;
  program.press(ControlId::open_folder);
  ASSERT_EQ(program.window.opened.size(), 1u);
  EXPECT_TRUE(std::filesystem::is_directory(program.window.opened[0]));
}

}  // namespace
}  // namespace hvt
