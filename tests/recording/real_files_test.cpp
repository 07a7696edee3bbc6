// Risk: what the system's files really do, with others reading them meanwhile.

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include "base/text.h"
#include "recording/recording_writer.h"
#include "tests/support/error_of.h"
#include "tests/support/folder.h"
#include "tests/support/time_limit.h"
#include "tools/recover/session_metadata.h"

namespace hvt {
namespace {

namespace fs = std::filesystem;
using test::error_of;
using test::Folder;
using test::TimeLimit;

std::string content(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void put(const fs::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

RecordingConfig config_in(const fs::path& folder) {
  RecordingConfig config;
  config.directory = folder;
  config.filename = L"run";
  return config;
}

void wait_until_written(const RecordingWriter& writer, std::uint64_t bytes) {
  const TimeLimit limit("the disk");
  while (writer.status().log_written_bytes < bytes)
    std::this_thread::yield();
}

TEST(RecordingFiles, OthersReadAGrowingRecording) {
  const Folder folder;
  RecordingConfig config = config_in(folder.path());
  config.flush_interval_ms = 3'600'000;  // nobody waits for a flush
  RecordingWriter writer(config);
  std::string expected;
  for (int i = 0; i < 50; ++i) {
    const std::string block = "block " + std::to_string(i) + "\r\n";
    writer.enqueue(block, 0);
    expected += block;
    wait_until_written(writer, expected.size());
    ASSERT_EQ(content(folder.path() / "run_part001.log"), expected);
    ASSERT_EQ(recover::parse_metadata(content(folder.path() / "run.meta.json")).session_base, "run");
  }
}

TEST(RecordingFiles, LieInAFolderThatIsMadeForThem) {
  const Folder folder;
  const fs::path deep = folder.path() / "a" / to_path(L"\xD55C\xAE00 b") / "c";
  RecordingConfig config = config_in(deep);
  config.filename = L"\xD55C\xAE00";
  config.part_limit_bytes = 4;
  {
    RecordingWriter writer(config);
    writer.enqueue(std::string_view("123456"), 6);
  }
  EXPECT_EQ(content(deep / to_path(L"\xD55C\xAE00_part001.log")), "1234");
  EXPECT_EQ(content(deep / to_path(L"\xD55C\xAE00_part002.log")), "56");
  EXPECT_TRUE(recover::parse_metadata(content(deep / to_path(L"\xD55C\xAE00.meta.json"))).finalized);
}

TEST(RecordingFiles, AreNeverOverwritten) {
  const Folder folder;
  put(folder.path() / "run.meta.json", "old");
  put(folder.path() / "run_01_part002.log", "old part");
  put(folder.path() / "run_01.meta.json.pending", "left over");
  RecordingConfig config = config_in(folder.path());
  config.part_limit_bytes = 4;
  RecordingWriter writer(config);
  writer.enqueue(std::string_view("123456"), 6);
  {
    const TimeLimit limit("the end");
    while (!writer.status().ended)
      std::this_thread::yield();
  }
  EXPECT_EQ(writer.status().log_error,
            L"The next recording part already exists; recording stopped to protect it.");
  EXPECT_EQ(writer.status().metadata_error, L"Recording metadata temporary file already exists.");
  EXPECT_EQ(content(folder.path() / "run_01_part001.log"), "1234");
  EXPECT_EQ(content(folder.path() / "run.meta.json"), "old");
  EXPECT_EQ(content(folder.path() / "run_01_part002.log"), "old part");
  EXPECT_EQ(content(folder.path() / "run_01.meta.json.pending"), "left over");
}

TEST(RecordingFiles, CannotLieInAFile) {
  const Folder folder;
  put(folder.path() / "file", "");
  const std::string error =
      error_of([&] { RecordingWriter writer(config_in(folder.path() / "file" / "sub")); });
  EXPECT_TRUE(error.starts_with("Cannot create recording directory (errno ")) << error;
}

}  // namespace
}  // namespace hvt
