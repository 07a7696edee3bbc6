// Risk: what a kill or a removed folder leaves behind.

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <random>
#include <string>
#include <thread>

#include "base/text.h"
#include "recording/names.h"
#include "tests/recording/on_disk.h"
#include "tools/recover/recovery.h"

namespace hvt {
namespace {

namespace fs = std::filesystem;
using test::OnDisk;

std::string line(std::uint64_t number) {
  return "line " + std::to_string(number) + "\r\n";
}

// An exception must not take the child back into the tests that it was forked from.
[[noreturn]] void record_for_ever(const RecordingConfig& config) noexcept {
  RecordingWriter writer(config);
  for (std::uint64_t number = 0;; ++number) {
    const std::string text = line(number);
    while (writer.room() < text.size())
      std::this_thread::yield();
    if (!writer.enqueue(text, text.size())) ::_exit(1);
  }
}

// The parts behind each other, and how many there are.
std::pair<std::string, std::uint64_t> parts_of(const OnDisk& disk) {
  std::string text;
  std::uint64_t count = 0;
  for (;; ++count) {
    const fs::path part = disk.folder.path() / part_name(L"run", count + 1);
    if (!fs::exists(part)) return {text, count};
    text += test::read_file(part);
  }
}

// A process that records until its metadata says that so much is written, and is killed then.
void kill_a_recording(const OnDisk& disk, std::uint64_t bytes) {
  const pid_t process = ::fork();
  ASSERT_GE(process, 0);
  if (process == 0) record_for_ever(disk.config);
  {
    const test::TimeLimit limit("the recording to grow");
    const auto begun = [&] { return fs::exists(disk.path("run_part001.log")); };
    while (bytes > 0 && !limit.expired() && !(begun() && disk.metadata().log_written_bytes >= bytes))
      std::this_thread::yield();
  }
  ::kill(process, SIGKILL);
  int status = 0;
  ::waitpid(process, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "it ended by itself: " << status;
}

TEST(RecordingFiles, AKilledRecordingHoldsWhatItSaysAndClaimsNoMore) {
  std::mt19937 random(3);
  for (int round = 0; round < 15; ++round) {
    SCOPED_TRACE(round);
    OnDisk disk;
    disk.config.part_limit_bytes = 100'000;
    disk.config.flush_bytes = 1000;
    disk.config.flush_interval_ms = 2;
    kill_a_recording(disk, round * (random() % 50'000));
    const auto [text, parts] = parts_of(disk);
    if (parts == 0) continue;  // killed before it began
    const auto said = disk.metadata();
    const auto found = recover::recover(disk.path("run.meta.json"));
    EXPECT_FALSE(said.finalized);
    EXPECT_EQ(said.stop_reason, "");
    EXPECT_LE(said.parts_created, parts);
    EXPECT_EQ(found.parts_found, parts);
    EXPECT_LE(said.log_written_bytes, found.text_bytes);
    EXPECT_FALSE(found.whole());
    EXPECT_THAT(found.problems, testing::ElementsAre(testing::HasSubstr("not finished")));
    ASSERT_EQ(text.size(), found.text_bytes);
    std::string expected;
    for (std::uint64_t number = 0; expected.size() < text.size(); ++number)
      expected += line(number);
    EXPECT_TRUE(expected.starts_with(text));
  }
}

TEST(RecordingFiles, ARemovedFolderEndsTheRecordingInsteadOfWritingIntoNothing) {
  OnDisk disk;
  disk.config.directory = disk.path("recording");
  disk.config.flush_interval_ms = 1;
  RecordingWriter writer(disk.config);
  EXPECT_TRUE(writer.enqueue(std::string_view("text"), 4));
  {
    // The writer may put a new file into it meanwhile.
    const test::TimeLimit limit("the removal");
    std::error_code error;
    do
      fs::remove_all(disk.config.directory, error);
    while (fs::exists(disk.config.directory));
  }
  test::wait_for_end(writer);
  EXPECT_EQ(writer.status().log_error, L"Cannot flush recording file (errno 2).");
  EXPECT_TRUE(writer.status().metadata_error.ends_with(L"recording metadata (errno 2)."))
      << utf16_to_utf8(writer.status().metadata_error);
  EXPECT_EQ(writer.status().integrity, Integrity::incomplete);
}

}  // namespace
}  // namespace hvt
