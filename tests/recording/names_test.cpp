// Risk: a name that a file system refuses, or two sessions with the same one.

#include "recording/names.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <string>

#include "tests/support/error_of.h"

namespace hvt {
namespace {

TEST(RecordingNames, ReplaceEveryCharacterThatAFileSystemRefuses) {
  const std::wstring_view refused = L"<>:\"/\\|?*";
  for (wchar_t unit = 0; unit < 0x3000; ++unit) {
    const bool bad = unit < 32 || refused.find(unit) != refused.npos;
    const std::wstring name = {L'a', unit, L'b'};
    EXPECT_EQ(sanitised_name(name), bad ? L"a_b" : name) << static_cast<unsigned>(unit);
  }
}

TEST(RecordingNames, NumberBasesAndParts) {
  EXPECT_EQ(session_base(L"run", 0), L"run");
  EXPECT_EQ(session_base(L"run", 1), L"run_01");
  EXPECT_EQ(session_base(L"run", 99), L"run_99");
  EXPECT_EQ(session_base(L"run", 999), L"run_999");
  EXPECT_EQ(part_name(L"run", 1), L"run_part001.log");
  EXPECT_EQ(part_name(L"run", 999), L"run_part999.log");
  EXPECT_EQ(part_name(L"run", 1000), L"run_part1000.log");
  EXPECT_EQ(metadata_name(L"run"), L"run.meta.json");
}

TEST(RecordingNames, MakeANameOfTheTimeAndThePort) {
  const LocalTime early{2025, 3, 1, 9, 5, 2};
  EXPECT_EQ(automatic_name(early, L"COM9", ReceiveFormat::ascii), L"20250301_090502_COM9_ASCII");
  EXPECT_EQ(automatic_name({2031, 12, 31, 23, 59, 59}, L"/dev/pts:3", ReceiveFormat::hex),
            L"20311231_235959__dev_pts_3_HEX");
}

TEST(RecordingNames, TheLocalClockGivesADate) {
  const LocalTime now = local_time_now();
  EXPECT_TRUE(now.year >= 2024 && now.month >= 1 && now.month <= 12 && now.day >= 1 && now.day <= 31);
}

TEST(RecordingConfig, IsCheckedBeforeAnythingIsCreated) {
  struct Case {
    const char* name;
    void (*spoil)(RecordingConfig&);
    const char* says;
  };
  constexpr const char* kNames = "Recording directory and filename must not be empty.";
  constexpr const char* kLimits = "Recording limits and flush interval must be positive.";
  const Case cases[] = {
      {"no folder", [](RecordingConfig& c) { c.directory.clear(); }, kNames},
      {"no name", [](RecordingConfig& c) { c.filename.clear(); }, kNames},
      {"a blank name", [](RecordingConfig& c) { c.filename = L" \t\r\n "; }, kNames},
      {"no part limit", [](RecordingConfig& c) { c.part_limit_bytes = 0; }, kLimits},
      {"no flush size", [](RecordingConfig& c) { c.flush_bytes = 0; }, kLimits},
      {"no queue", [](RecordingConfig& c) { c.queue_capacity_bytes = 0; }, kLimits},
      {"no interval", [](RecordingConfig& c) { c.flush_interval_ms = 0; }, kLimits},
      {"a negative interval", [](RecordingConfig& c) { c.flush_interval_ms = -1; }, kLimits},
  };
  RecordingConfig good;
  good.directory = "folder";
  good.filename = L"name";
  EXPECT_NO_THROW(validate(good));
  for (const Case& c : cases) {
    RecordingConfig config = good;
    c.spoil(config);
    EXPECT_EQ(test::error_of([&] { validate(config); }), c.says) << c.name;
  }
}

}  // namespace
}  // namespace hvt
