// Risk: a tool that calls a recording whole although it is not, or gives back other bytes than came.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "display/formatter.h"
#include "recording/recording_writer.h"
#include "tests/support/error_of.h"
#include "tests/support/folder.h"
#include "tools/recover/json_values.h"
#include "tools/recover/recovery.h"

namespace hvt::recover {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using Bytes = std::vector<std::uint8_t>;

Bytes bytes_of(std::string_view text) {
  return {text.begin(), text.end()};
}

// What the program records while things happen on the line.
class Session {
 public:
  explicit Session(DisplayOptions options, std::uint64_t part_limit = 1000) : options_(options) {
    RecordingConfig config;
    config.directory = folder_.path();
    config.filename = L"run";
    config.part_limit_bytes = part_limit;
    config.receive_format = options.hex ? ReceiveFormat::hex : ReceiveFormat::ascii;
    writer_.emplace(config);
  }

  void receive(const Bytes& bytes) {
    format_rx(bytes, options_, line_, batch_);
    received_.insert(received_.end(), bytes.begin(), bytes.end());
    record();
  }
  void send(const Bytes& bytes) {
    if (options_.labels) format_tx(bytes, options_, line_, batch_);
    record();
  }
  void elapsed() {
    format_elapsed(Milliseconds(12.5), options_, line_, batch_);
    record();
  }
  void time_out(bool late) {
    format_timeout(line_, batch_);
    if (late) format_late(line_, batch_);
    record();
  }
  void separate() {
    format_standalone(L"-------------------- \xBC18\xBCF5 1/3\xD68C --------------------", ColorRole::normal,
                      line_, batch_);
    record();
  }
  void end() { writer_.reset(); }

  const Bytes& received() const { return received_; }
  fs::path part(int number) const {
    return folder_.path() / ("run_part00" + std::to_string(number) + ".log");
  }
  fs::path metadata() const { return folder_.path() / "run.meta.json"; }
  const fs::path& folder() const { return folder_.path(); }

 private:
  void record() {
    writer_->enqueue(batch_.text(), batch_.raw_rx_bytes);
    batch_.clear();
  }

  const test::Folder folder_;
  const DisplayOptions options_;
  DisplayLineState line_;
  DisplayBatch batch_;
  Bytes received_;
  std::optional<RecordingWriter> writer_;
};

Bytes random_bytes(std::mt19937& random, bool text) {
  Bytes bytes(random() % 60);
  for (auto& byte : bytes)
    byte = static_cast<std::uint8_t>(text ? "abc \r\n<>"[random() % 8] : random());
  return bytes;
}

TEST(Recover, GivesBackWhatTheProgramRecordedInEveryFormat) {
  std::mt19937 random(5);
  for (int format = 0; format < 8; ++format) {
    const DisplayOptions options{
        .hex = (format & 1) != 0, .line_break = (format & 2) != 0, .labels = (format & 4) != 0};
    SCOPED_TRACE(format);
    Session session(options, 3 + random() % 2000);
    for (int step = 0; step < 300; ++step) {
      switch (random() % 8) {
        case 0: session.send(random_bytes(random, true)); break;
        case 1: session.elapsed(); break;
        case 2: session.time_out(random() % 2 == 0); break;
        case 3: session.separate(); break;
        default: session.receive(random_bytes(random, random() % 2 == 0));
      }
    }
    session.end();
    Bytes recovered;
    const Recovery found = recover(session.metadata(), [&](auto bytes) {
      recovered.insert(recovered.end(), bytes.begin(), bytes.end());
    });
    EXPECT_TRUE(recovered == session.received());
    EXPECT_THAT(found.problems, ElementsAre());
    EXPECT_GT(found.parts_found, 5u);
  }
}

TEST(Recover, ReadsTheTextInPiecesOfAnySize) {
  Session session({.line_break = true, .labels = true}, 1'000'000);
  for (int byte = 0; byte < 256; ++byte) {
    session.receive({static_cast<std::uint8_t>(byte), '\n'});
    session.send(bytes_of("packet"));
  }
  session.end();
  const std::string text = test::read_file(session.part(1));
  for (std::size_t size = 1; size < 100; ++size) {
    Bytes recovered;
    TextDecoder decoder(ReceiveFormat::ascii, LineMarks::labels,
                        [&](auto bytes) { recovered.insert(recovered.end(), bytes.begin(), bytes.end()); });
    for (std::size_t at = 0; at < text.size(); at += size)
      decoder.feed(std::string_view(text).substr(at, size));
    decoder.finish();
    ASSERT_TRUE(recovered == session.received()) << size;
    ASSERT_FALSE(decoder.first_fault());
  }
}

TEST(Recover, TextThatLooksLikeALabelIsToldApartByTheCount) {
  Session session({.line_break = true});
  session.receive(bytes_of("[RX] echo\n[TX] AT\nplain\n[TIMEOUT]\n"));
  session.end();
  Bytes recovered;
  const Recovery found = recover(
      session.metadata(), [&](auto bytes) { recovered.insert(recovered.end(), bytes.begin(), bytes.end()); });
  EXPECT_TRUE(recovered == session.received());
  EXPECT_TRUE(found.whole());
  EXPECT_THAT(found.remarks, ElementsAre(HasSubstr("look like labels")));
}

void overwrite(const fs::path& path, std::string_view from, std::string_view to) {
  std::string text = test::read_file(path);
  const std::size_t at = text.find(from);
  ASSERT_NE(at, text.npos) << from;
  test::write_file(path, text.replace(at, from.size(), to));
}

TEST(Recover, SaysWhatIsNotWhole) {
  struct Case {
    const char* name;
    DisplayOptions options;
    std::string received;
    std::function<void(Session&)> spoil;
    std::string problems;  // a part of each, each followed by a bar
  };
  const std::string long_text(2500, 'x');
  constexpr DisplayOptions kAscii{};
  constexpr DisplayOptions kHidden{.line_break = true, .hide_crlf = true};
  constexpr DisplayOptions kHex{.hex = true};
  const auto nothing = [](Session&) {};
  const auto remove_second_part = [](Session& s) { fs::remove(s.part(2)); };
  const auto first_part = [](const char* text) {
    return [text](Session& s) { test::write_file(s.part(1), text); };
  };
  const auto unfinish = [](Session& s) {
    overwrite(s.metadata(), "\"stopped\"", "\"recording\"");
    overwrite(s.metadata(), "\"finalized\": true", "\"finalized\": false");
  };
  const auto overflow = [](Session& s) {
    overwrite(s.metadata(), "not_verified", "incomplete");
    overwrite(s.metadata(), "user_stop", "queue_overflow");
  };
  const Case cases[] = {
      {"hidden line ends", kHidden, "a\r\nb\r\n", nothing,
       "stands for 2 received bytes, the metadata says 6|"},
      {"a literal token", kAscii, "a<LF>b", nothing, "stands for 3 received bytes, the metadata says 6|"},
      {"a missing part", kAscii, long_text, remove_second_part,
       "Part 2 of 3 is missing|hold 1500 bytes of text, the metadata says 2500|stands for 1500|"},
      {"a cut part", kAscii, long_text, [](Session& s) { fs::resize_file(s.part(3), 499); },
       "hold 2499 bytes|stands for 2499|"},
      {"a longer part", kAscii, "abc", first_part("abcd"), "hold 4 bytes|stands for 4|"},
      {"a changed byte", kAscii, "abc", first_part("a\001c"), "from byte 1 on|stands for 2|"},
      {"another format", kHex, "abc", first_part("61 Hi 63"), "from byte 3 on|stands for 2|"},
      {"not finished", kAscii, "abc", unfinish, "not finished|"},
      {"less than an unfinished session claims", kAscii, "abc",
       [&](Session& s) { unfinish(s), first_part("ab")(s); }, "not finished|hold 2 bytes|"},
      {"incomplete by its own word", kAscii, "abc", overflow, "data is missing (queue_overflow)|"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Session session(c.options);
    session.receive(bytes_of(c.received));
    session.end();
    c.spoil(session);
    const Recovery found = recover(session.metadata());
    EXPECT_FALSE(found.whole());
    std::vector<testing::Matcher<std::string>> problems;
    std::istringstream parts(c.problems);
    for (std::string part; std::getline(parts, part, '|');)
      problems.push_back(HasSubstr(part));
    EXPECT_THAT(found.problems, testing::ElementsAreArray(problems));
  }
}

TEST(Recover, TellsWhatElseAReaderShouldKnow) {
  Session session({});
  session.receive(bytes_of("abc"));
  session.end();
  overwrite(session.metadata(), "\"observations\": 0", "\"observations\": 1");
  overwrite(session.metadata(), "\"receive_processing_error\": null",
            "\"receive_processing_error\": \"disconnected\"");
  const Recovery found = recover(session.metadata());
  EXPECT_TRUE(found.whole());
  EXPECT_THAT(found.remarks, ElementsAre(HasSubstr("disconnected"), HasSubstr("1 error while")));
}

TEST(Recover, RefusesMetadataThatIsNone) {
  struct Case {
    const char* text;
    const char* says;
  };
  const Case cases[] = {
      {"", "The metadata file is empty"},
      {"{", "Not JSON: "},
      {"{} x", "Not JSON: the end was expected at byte 3."},
      {"{\"a\": 1, \"a\": 2}", "Not JSON: a new key"},
      {"{\"a\": \"\n\"}", "Not JSON: an escape"},
      {"{\"a\": \"\\u12\"}", "Not JSON: four hex digits"},
      {"{\"a\": 01}", "Not JSON: "},
      {"{\"a\": tru}", "Not JSON: true"},
      {"{\"a\": [1, ]}", "Not JSON: a digit"},
      {"{\"schema_version\": 2}", "The metadata has a newer format"},
      {"{\"schema_version\": 1}", "Not the metadata of a recording: \"finalized\""},
      {"{\"schema_version\": -1}", "Not the metadata of a recording: \"schema_version\""},
  };
  const test::Folder folder;
  const fs::path path = folder.path() / "x.meta.json";
  for (const Case& c : cases) {
    test::write_file(path, c.text);
    EXPECT_THAT(test::error_of([&] { recover(path); }), testing::StartsWith(c.says)) << c.text;
  }
  EXPECT_THAT(test::error_of([&] { recover(folder.path() / "none"); }), testing::StartsWith("Cannot open"));
}

TEST(Recover, TheToolWritesTheBytesAndTellsTheVerdictByItsExitStatus) {
  Session session({.line_break = true});
  session.receive({0, 1, 2, '\r', '\n', 0xFF});
  session.end();
  const std::string raw = (session.folder() / "raw").string();
  const std::string out = (session.folder() / "out").string();
  const auto quoted = [](const fs::path& path) { return std::string("'").append(path.string()).append("'"); };
  const auto run = [&](const std::string& arguments) {
    const int status =
        std::system((HVT_RECOVER " " + arguments + " >" + quoted(out) + " 2>/dev/null").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  };
  const std::string expected(session.received().begin(), session.received().end());
  EXPECT_EQ(run(quoted(session.metadata())), 0);
  EXPECT_THAT(test::read_file(out), HasSubstr("verdict  whole\n"));
  EXPECT_EQ(run(quoted(session.metadata()) + " " + quoted(raw)), 0);
  EXPECT_EQ(test::read_file(raw), expected);
  EXPECT_EQ(run(quoted(session.metadata()) + " -"), 0);
  EXPECT_EQ(test::read_file(out), expected);
  fs::resize_file(session.part(1), 3);
  EXPECT_EQ(run(quoted(session.metadata())), 1);
  EXPECT_THAT(test::read_file(out), HasSubstr("verdict  NOT WHOLE\n"));
  EXPECT_EQ(run(quoted(session.part(1))), 2);
  EXPECT_EQ(run(""), 2);
}

}  // namespace
}  // namespace hvt::recover
