// Risk: what a kill, a full disk or a removed folder leaves behind.

#include <gmock/gmock.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <thread>

#include "base/posix/unique_fd.h"
#include "base/text.h"
#include "recording/names.h"
#include "recording/recording_writer.h"
#include "tests/recording/posix/victim.h"
#include "tests/support/folder.h"
#include "tests/support/time_limit.h"
#include "tools/recover/recovery.h"
#include "tools/recover/session_metadata.h"

extern char** environ;

namespace hvt {
namespace {

namespace fs = std::filesystem;
using test::Folder;
using test::TimeLimit;

std::string content(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::uint64_t part_count(const fs::path& folder) {
  std::uint64_t count = 0;
  for (const auto& entry : fs::directory_iterator(folder))
    count += entry.path().extension() == ".log";
  return count;
}

// The victim, running; what it says to have flushed comes out of `flushed`.
struct Victim {
  explicit Victim(const fs::path& folder) {
    int ends[2];
    if (::pipe(ends) != 0) throw std::runtime_error("no pipe");
    flushed.reset(ends[0]);
    const UniqueFd write_end(ends[1]);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, write_end.get(), STDOUT_FILENO);
    ::posix_spawn_file_actions_addclose(&actions, ends[0]);
    std::string program = HVT_VICTIM;
    std::string argument = folder.string();
    char* arguments[] = {program.data(), argument.data(), nullptr};
    const int error = ::posix_spawn(&process, HVT_VICTIM, &actions, nullptr, arguments, environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::runtime_error("no victim");
  }
  void kill() {
    ::kill(process, SIGKILL);
    int status = 0;
    ::waitpid(process, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status)) << "it ended by itself";
  }
  // False when nothing more comes.
  bool read(std::uint64_t& bytes) {
    return ::read(flushed.get(), &bytes, sizeof bytes) == static_cast<ssize_t>(sizeof bytes);
  }

  pid_t process = 0;
  UniqueFd flushed;
};

TEST(RecordingFiles, AKilledRecordingHoldsWhatWasFlushedAndClaimsNoMore) {
  std::mt19937 random(3);
  std::uint64_t most_parts = 0;
  for (int round = 0; round < 15; ++round) {
    SCOPED_TRACE(round);
    const Folder folder;
    Victim victim(folder.path());
    std::uint64_t flushed = 0;
    for (auto left = round == 0 ? 0 : random() % 200; left > 0; --left)
      ASSERT_TRUE(victim.read(flushed));
    victim.kill();
    while (victim.read(flushed)) {
    }
    const fs::path metadata = folder.path() / "run.meta.json";
    const std::uint64_t parts = part_count(folder.path());
    most_parts = std::max(most_parts, parts);
    if (parts == 0) continue;  // killed before it began
    const auto said = recover::parse_metadata(content(metadata));
    const auto found = recover::recover(metadata);
    EXPECT_FALSE(said.finalized);
    EXPECT_EQ(said.stop_reason, "");
    EXPECT_LE(said.parts_created, parts);
    EXPECT_EQ(found.parts_found, parts);
    EXPECT_LE(said.log_written_bytes, found.text_bytes);
    EXPECT_GE(found.text_bytes, flushed);
    EXPECT_FALSE(found.whole());
    EXPECT_THAT(found.problems, testing::ElementsAre(testing::HasSubstr("not finished")));

    std::string text;
    for (std::uint64_t part = 1; part <= parts; ++part)
      text += content(folder.path() / part_name(L"run", part));
    ASSERT_EQ(text.size(), found.text_bytes);
    std::string expected;
    for (std::uint64_t number = 0; expected.size() < text.size(); ++number)
      expected += test::victim_line(number);
    EXPECT_TRUE(expected.starts_with(text));
  }
  EXPECT_GT(most_parts, 1u) << "no kill was late enough to see a second part";
}

// A limit of this process stands for a full disk: the write that meets it is short, the next one fails.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    ::getrlimit(RLIMIT_FSIZE, &old_);
    old_handler_ = ::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes, old_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  ~FileSizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &old_);
    ::signal(SIGXFSZ, old_handler_);
  }

 private:
  rlimit old_{};
  sighandler_t old_handler_ = SIG_DFL;
};

RecordingConfig config_in(const fs::path& folder) {
  RecordingConfig config;
  config.directory = folder;
  config.filename = L"run";
  return config;
}

void wait_for_end(const RecordingWriter& writer) {
  const TimeLimit limit("the end");
  while (!writer.status().ended)
    std::this_thread::yield();
}

TEST(RecordingFiles, AShortWriteIsCountedAndEndsTheRecording) {
  const Folder folder;
  const FileSizeLimit limit(100'000);
  RecordingWriter writer(config_in(folder.path()));
  EXPECT_TRUE(writer.enqueue(std::string(250'000, 'x'), 250'000));
  wait_for_end(writer);
  EXPECT_EQ(writer.status().log_error, L"Cannot write recording file (errno 27).");
  EXPECT_EQ(writer.status().log_written_bytes, 100'000u);
  EXPECT_EQ(fs::file_size(folder.path() / "run_part001.log"), 100'000u);
  const auto said = recover::parse_metadata(content(folder.path() / "run.meta.json"));
  EXPECT_EQ(said.integrity, "incomplete");
  EXPECT_EQ(said.stop_reason, "writer_failure");
  EXPECT_EQ(said.log_written_bytes, 100'000u);
}

TEST(RecordingFiles, ARemovedFolderEndsTheRecordingInsteadOfWritingIntoNothing) {
  const Folder folder;
  RecordingConfig config = config_in(folder.path() / "recording");
  config.flush_interval_ms = 1;
  RecordingWriter writer(config);
  EXPECT_TRUE(writer.enqueue(std::string_view("text"), 4));
  {
    // The writer may put a new file into it meanwhile.
    const TimeLimit limit("the removal");
    std::error_code error;
    do
      fs::remove_all(config.directory, error);
    while (fs::exists(config.directory));
  }
  wait_for_end(writer);
  EXPECT_EQ(writer.status().log_error, L"Cannot flush recording file (errno 2).");
  EXPECT_TRUE(writer.status().metadata_error.ends_with(L"recording metadata (errno 2)."))
      << utf16_to_utf8(writer.status().metadata_error);
  EXPECT_EQ(writer.status().integrity, Integrity::incomplete);
}

}  // namespace
}  // namespace hvt
