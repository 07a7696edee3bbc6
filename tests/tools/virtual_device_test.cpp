// What the virtual device understands: a script or option read wrongly would make a demonstration or an
// end-to-end test prove something else than it says.

#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <stdexcept>

#include "tools/virtual_device/command.h"
#include "tools/virtual_device/flood_source.h"
#include "tools/virtual_device/options.h"
#include "tools/virtual_device/script.h"

namespace hvt::device {
namespace {

using namespace std::chrono_literals;
using Arguments = std::vector<std::string_view>;

Bytes bytes(std::string_view text) {
  return {text.begin(), text.end()};
}

std::string failure(const Arguments& arguments) {
  try {
    parse_options(arguments);
    return "accepted";
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

TEST(Script, PausesCutTheBytesIntoPieces) {
  struct Expected {
    std::chrono::milliseconds after;
    std::string_view text;
  };
  struct Case {
    const char* text;
    std::vector<Expected> pieces;
  };
  const Case cases[] = {
      {"", {}},
      {"OK\\r\\n", {{0ms, "OK\r\n"}}},
      {"OK<50ms>\\r\\n", {{0ms, "OK"}, {50ms, "\r\n"}}},
      {"<10ms><5ms>A<CR><0x42><3ms>", {{15ms, "A\rB"}}},
      {"<50><ms><5 ms>", {{0ms, "<50><ms><5 ms>"}}},
      {"<<7ms>x", {{0ms, "<"}, {7ms, "x"}}},
  };
  for (const Case& c : cases) {
    const Script script = parse_script(c.text);
    ASSERT_EQ(script.size(), c.pieces.size()) << c.text;
    for (std::size_t i = 0; i < script.size(); ++i) {
      EXPECT_EQ(script[i].after, c.pieces[i].after) << c.text;
      EXPECT_EQ(script[i].bytes, bytes(c.pieces[i].text)) << c.text;
    }
  }
  EXPECT_THROW(parse_script("\\q"), std::runtime_error);
}

TEST(Options, EverythingCanBeCombined) {
  const char* const kLine =
      "--echo --on AT\\r 20 OK<5ms>\\r\\n --every 100 tick --flood 2k --binary --count 3 --bytes 5000 "
      "--stall-after 7 --vanish-after 10 --return-after 20";
  std::istringstream line(kLine);
  const std::vector<std::string> words{std::istream_iterator<std::string>(line), {}};
  const Options options = parse_options(Arguments(words.begin(), words.end()));
  EXPECT_TRUE(options.echo);
  ASSERT_EQ(options.replies.size(), 1U);
  EXPECT_EQ(options.replies[0].request, bytes("AT\r"));
  EXPECT_EQ(options.replies[0].reply.at(0).after, 20ms);
  EXPECT_EQ(options.replies[0].reply.at(1).after, 5ms);
  ASSERT_TRUE(options.flood);
  EXPECT_EQ(options.flood->bytes_per_second, 2000U);
  EXPECT_EQ(options.flood->limit, 3 * kBinaryRecordBytes) << "the nearer end counts";
  EXPECT_EQ(options.stall_after, 7U);
  EXPECT_EQ(options.return_after, 20ms);
  EXPECT_EQ(parse_options(Arguments{"--stall"}).stall_after, 0U);
}

TEST(Options, AMistakeNamesItsOption) {
  const std::pair<Arguments, std::string> cases[] = {
      {{"--bogus"}, "--bogus: There is no such option."},
      {{"--on", "a", "1"}, "--on: A value is missing."},
      {{"--on", "", "1", "b"}, "--on: An empty request never arrives."},
      {{"--on", "a", "1x", "b"}, "--on: \"1x\" is not a number."},
      {{"--every", "0", "x"}, "--every: The interval must not be 0."},
      {{"--flood", "fast"}, "--flood: \"fast\" is not a number."},
      {{"--flood", "0"}, "--flood: The rate is out of range."},
      {{"--reply", "/no/such/table"}, "--reply: Could not read /no/such/table."},
      {{"--bytes", "5"}, "--count and --bytes say how long a --flood lasts."},
      {{"--silent", "--echo"}, "--silent: Another option lets the device talk."},
  };
  for (const auto& [arguments, text] : cases)
    EXPECT_EQ(failure(arguments), text);
}

TEST(Command, LinesBecomeCommandsOrAnError) {
  EXPECT_EQ(parse_command("say Hi<9ms>!").text.at(1).after, 9ms);
  EXPECT_EQ(parse_command("flood max").rate, kUnlimited);
  EXPECT_EQ(parse_command("flood off").kind, Command::Kind::kFloodOff);
  EXPECT_EQ(parse_command("quit").kind, Command::Kind::kQuit);
  for (const char* line : {"", "sayHi", "quit now", "flood", "flood x"})
    EXPECT_THROW(parse_command(line), std::runtime_error) << line;
}

TEST(FloodSource, KeepsItsRateAndItsLimitAndThePattern) {
  const FloodSource::Clock::time_point start{1h};
  FloodSource flood({10'000, PatternKind::kText, 15'000}, start + 100ms);
  EXPECT_TRUE(flood.due(start + 99ms).empty());
  EXPECT_EQ(flood.next_time(start), start + 100ms);
  PatternVerifier verifier(PatternKind::kText, PatternVerifier::Start::kAtRecordZero);
  for (auto time = start; time <= start + 3s; time += 7ms)
    for (auto due = flood.due(time); !due.empty(); due = flood.due(time)) {
      const auto part = due.first(std::min<std::size_t>(due.size(), 33));
      verifier.feed(part);
      flood.sent(part.size());
      const auto allowed = std::chrono::duration<double>(time - start - 100ms).count() * 10'000;
      ASSERT_LE(static_cast<double>(verifier.bytes()), allowed + 1);
    }
  verifier.finish();
  EXPECT_FALSE(verifier.fault());
  EXPECT_EQ(verifier.bytes(), 15'000U);
  EXPECT_TRUE(flood.done());
}

}  // namespace
}  // namespace hvt::device
