// Risk: what the system's files really do, with others reading them meanwhile.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <thread>

#include "base/text.h"
#include "tests/recording/on_disk.h"
#include "tests/support/error_of.h"

namespace hvt {
namespace {

using test::OnDisk;
using test::read_file;
using test::write_file;

TEST(RecordingFiles, OthersReadAGrowingRecording) {
  OnDisk disk;
  disk.config.flush_interval_ms = 3'600'000;  // nobody waits for a flush
  RecordingWriter writer(disk.config);
  std::string expected;
  for (int i = 0; i < 50; ++i) {
    const std::string block = "block " + std::to_string(i) + "\r\n";
    writer.enqueue(block, 0);
    expected += block;
    const test::TimeLimit limit("the disk");
    while (writer.status().log_written_bytes < expected.size())
      std::this_thread::yield();
    ASSERT_EQ(disk.content("run_part001.log"), expected);
    ASSERT_EQ(disk.metadata().session_base, "run");
  }
}

TEST(RecordingFiles, LieInAFolderThatIsMadeForThem) {
  OnDisk disk;
  const auto deep = disk.folder.path() / "a" / to_path(L"\xD55C\xAE00 b") / "c";
  disk.config.directory = deep;
  disk.config.filename = L"\xD55C\xAE00";
  disk.config.part_limit_bytes = 4;
  {
    RecordingWriter writer(disk.config);
    writer.enqueue(std::string_view("123456"), 6);
  }
  EXPECT_EQ(read_file(deep / to_path(L"\xD55C\xAE00_part001.log")), "1234");
  EXPECT_EQ(read_file(deep / to_path(L"\xD55C\xAE00_part002.log")), "56");
  EXPECT_TRUE(recover::parse_metadata(read_file(deep / to_path(L"\xD55C\xAE00.meta.json"))).finalized);
}

TEST(RecordingFiles, AreNeverOverwritten) {
  OnDisk disk;
  write_file(disk.path("run.meta.json"), "old");
  write_file(disk.path("run_01_part002.log"), "old part");
  write_file(disk.path("run_01.meta.json.pending"), "left over");
  disk.config.part_limit_bytes = 4;
  RecordingWriter writer(disk.config);
  writer.enqueue(std::string_view("123456"), 6);
  test::wait_for_end(writer);
  EXPECT_EQ(writer.status().log_error,
            L"The next recording part already exists; recording stopped to protect it.");
  EXPECT_EQ(writer.status().metadata_error, L"Recording metadata temporary file already exists.");
  EXPECT_EQ(disk.content("run_01_part001.log"), "1234");
  EXPECT_EQ(disk.content("run.meta.json"), "old");
  EXPECT_EQ(disk.content("run_01_part002.log"), "old part");
  EXPECT_EQ(disk.content("run_01.meta.json.pending"), "left over");
}

TEST(RecordingFiles, CannotLieInAFile) {
  OnDisk disk;
  write_file(disk.path("file"), "");
  disk.config.directory = disk.path("file") / "sub";
  const std::string error = test::error_of([&] { RecordingWriter writer(disk.config); });
  EXPECT_TRUE(error.starts_with("Cannot create recording directory (errno ")) << error;
}

}  // namespace
}  // namespace hvt
