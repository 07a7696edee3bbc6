// Risk: a recording lacks what was on the line, and does not say so. The real window records a flood from the
// virtual device while a person does everything that keeps the interface busy; what the recovery tool makes
// of the files must be the flood, byte for byte.
//
// Longer runs: HVT_RECORDING_BYTES (each run), HVT_RECORDING_RATE ("150k", "max"),
// HVT_RECORDING_DISTURBANCE_MS (a display that takes no more needs 3 MiB in one of them).

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QMessageBox>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "tests/e2e/qt/windowed_program.h"
#include "tests/support/device_process.h"
#include "tests/support/file_size_limit.h"
#include "tests/support/folder.h"
#include "tools/recover/recovery.h"
#include "tools/virtual_device/pattern.h"
#include "ui/qt/qt_text.h"
#include "ui/texts.h"

namespace hvt {
namespace {

using device::PatternKind;

std::string setting(const char* name, std::string otherwise) {
  const char* const value = std::getenv(name);
  return value ? value : otherwise;
}

RecordingConfig small_parts() {
  RecordingConfig config;
  config.part_limit_bytes = 1u << 20;
  return config;
}

// A flood that begins when it is told to, and the folder of the program that records it.
struct Flood {
  Flood(PatternKind flood_kind, std::uint64_t bytes)
      : kind(flood_kind), device(options(kind, bytes)), port(path_in(device.line("ready"))) {}

  static std::vector<std::string> options(PatternKind kind, std::uint64_t bytes) {
    std::vector<std::string> all{"--flood", "1", "--bytes", std::to_string(bytes)};  // hardly anything yet
    if (kind == PatternKind::kBinary) all.push_back("--binary");
    return all;
  }
  static std::wstring path_in(const std::string& ready) {
    const std::string path = ready.substr(ready.rfind(' ') + 1);
    return {path.begin(), path.end()};
  }
  std::filesystem::path metadata() const { return folder.path() / "recording" / "flood.meta.json"; }
  // What the parts hold; the verifier says whether it is the flood from its beginning on.
  recover::Recovery recover(device::PatternVerifier& verifier) const {
    return recover::recover(metadata(), [&](auto bytes) { verifier.feed(bytes); });
  }

  const PatternKind kind;
  const test::PrivateRuntimeFolder runtime;
  test::DeviceProcess device;
  const std::wstring port;
  const test::Folder folder;
};

// The program, recording the flood.
struct Program : Flood, test::WindowedProgram {
  Program(PatternKind kind_, std::uint64_t bytes, bool hex)
      : Flood(kind_, bytes),
        WindowedProgram(
            folder.path(),
            [name = port] {
              return std::vector<PortDescription>{{name, L""}};
            },
            small_parts()) {
    click(ControlId::echo_sent);
    if (hex) click(ControlId::receive_hex);
    type(ControlId::record_name, "flood");
    click(ControlId::connect);
    EXPECT_TRUE(QTest::qWaitFor([&] { return caption(ControlId::connect) == "Connected"; }));
    click(ControlId::record);
    EXPECT_TRUE(records()) << status().toStdString();
    EXPECT_TRUE(device.tell("flood " + setting("HVT_RECORDING_RATE", "10M")));
  }

  bool paused() { return find(ControlId::follow).isEnabled(); }
  bool full() { return status() == to_qstring(text(TextId::display_full, Language::english)); }
  // Gives a fast flood the time to fill the display.
  void scroll_up() {
    const auto up = [&] { return QTest::keyClick(&find(ControlId::receive_view), Qt::Key_PageUp), paused(); };
    (void)QTest::qWaitFor(up, 1000);  // at once, unless there is too little text yet
  }
  bool records() { return caption(ControlId::record) == "Stop Recording"; }
  bool stop() {
    if (records()) click(ControlId::record);
    return QTest::qWaitFor([&] { return !records(); }, 60'000);
  }
  // Received bytes that the session has taken, as its metadata says while it grows.
  std::uint64_t taken() const {
    return recover::parse_metadata(test::read_file(metadata())).raw_rx_delivered_bytes;
  }
};

// What keeps the interface busy or the display from taking text, each for a while.
struct Disturbance {
  const char* name;
  void (*begin)(Program& program);
  void (*end)(Program& program);
};
void nothing(Program&) {}
const Disturbance kDisturbances[] = {
    {"scrolled up", [](Program& p) { p.scroll_up(); }, [](Program& p) { p.click(ControlId::clear); }},
    {"panel unfolded", [](Program& p) { p.click(ControlId::transmit); },
     [](Program& p) { p.click(ControlId::transmit); }},
    {"message box", [](Program& p) { p.window.show_notice(L"Notice", L"Open for a while."); },
     [](Program& p) { p.window.findChild<QMessageBox*>()->close(); }},
    {"display off while recording", [](Program& p) { p.click(ControlId::display_while_recording); },
     [](Program& p) { p.click(ControlId::display_while_recording); }},
    {"cleared", [](Program& p) { p.click(ControlId::clear); }, nothing},
    {"line breaks shown", [](Program& p) { p.click(ControlId::line_break); },
     [](Program& p) { p.click(ControlId::line_break); }},
    {"moved and resized", [](Program& p) { p.window.move(50, 40), p.window.resize(900, 700); },
     [](Program& p) { p.window.move(10, 10), p.window.resize(700, 800); }},
};

// A view that a person holds takes text until it is full. Whether that comes before the flood has ended
// depends on the speed of the build, so the test tells it and does not demand it.
bool fill_display(Program& program) {
  program.scroll_up();
  const bool full = QTest::qWaitFor([&] { return program.full(); }, 2'000);
  program.click(ControlId::clear);
  return full;
}

// Until the flood has come or nothing of it has for ten seconds.
void disturb_until(Program& program, std::uint64_t bytes) {
  const int milliseconds = std::stoi(setting("HVT_RECORDING_DISTURBANCE_MS", "100"));
  QElapsedTimer quiet;
  quiet.start();
  std::uint64_t taken = 0;
  for (std::size_t turn = 0; program.records() && !quiet.hasExpired(10'000); ++turn) {
    const Disturbance& disturbance = kDisturbances[turn % std::size(kDisturbances)];
    disturbance.begin(program);
    QTest::qWait(milliseconds);
    disturbance.end(program);
    const std::uint64_t now = program.taken();
    if (now == bytes && turn >= std::size(kDisturbances)) break;
    if (now != taken) quiet.restart();
    taken = now;
  }
}

struct Format {
  const char* name;
  PatternKind kind;
  bool hex;
};
void PrintTo(const Format& format, std::ostream* out) {
  *out << format.name;
}

class Recording : public testing::TestWithParam<Format> {};

TEST_P(Recording, OfAFloodIsWholeWhateverThePersonDoes) {
  const auto [name, kind, hex] = GetParam();
  const std::uint64_t bytes = std::stoull(setting("HVT_RECORDING_BYTES", "12672000"));
  Program program(kind, bytes, hex);
  QElapsedTimer time;
  time.start();
  const bool was_full = fill_display(program);
  disturb_until(program, bytes);
  const auto milliseconds = time.elapsed();
  ASSERT_TRUE(program.stop());
  EXPECT_EQ(program.status(), "Recording saved: flood");

  device::PatternVerifier verifier(kind, device::PatternVerifier::Start::kAtRecordZero);
  const recover::Recovery found = program.recover(verifier);
  verifier.finish();
  EXPECT_EQ(found.problems, std::vector<std::string>());
  EXPECT_FALSE(verifier.fault()) << device::describe(*verifier.fault());
  EXPECT_EQ(verifier.bytes(), bytes);
  EXPECT_EQ(found.metadata.stop_reason, "user_stop");
  EXPECT_EQ(found.metadata.integrity, "not_verified");
  EXPECT_GE(found.parts_found, found.text_bytes >> 20);
  std::cout << name << ": " << bytes << " bytes, " << found.parts_found << " parts, " << found.text_bytes
            << " bytes of text in " << milliseconds << " ms" << (was_full ? ", display full" : "") << "\n";
}

INSTANTIATE_TEST_SUITE_P(Formats, Recording,
                         testing::Values(Format{"Ascii", PatternKind::kText, false},
                                         Format{"Hex", PatternKind::kBinary, true},
                                         Format{"AsciiTokens", PatternKind::kBinary, false}),
                         [](const auto& test) { return test.param.name; });

// What cannot be recorded is told, and what is recorded is right as far as it goes.
TEST(FailedRecording, SaysThatItIsIncompleteAndWhy) {
  Program program(PatternKind::kText, 1'000'000, false);  // less than the display can hold
  bool ended = false;
  {
    const test::FileSizeLimit full_disk(500'000);
    ended = QTest::qWaitFor([&] { return !program.records(); }, 60'000);
  }
  ASSERT_TRUE(ended);
  EXPECT_TRUE(program.status().startsWith("Recording incomplete: Cannot write recording file (errno 27)."))
      << program.status().toStdString();
  EXPECT_EQ(program.caption(ControlId::connect), "Connected");
  device::PatternVerifier verifier(program.kind, device::PatternVerifier::Start::kAtRecordZero);
  const recover::Recovery found = program.recover(verifier);
  EXPECT_FALSE(verifier.fault()) << device::describe(*verifier.fault());
  EXPECT_EQ(found.metadata.integrity, "incomplete");
  EXPECT_EQ(found.metadata.stop_reason, "writer_failure");
  EXPECT_TRUE(found.metadata.finalized);
  EXPECT_EQ(found.metadata.log_written_bytes, found.text_bytes);
}

}  // namespace
}  // namespace hvt
