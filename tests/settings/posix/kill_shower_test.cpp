// The risk: a process that dies in the middle of a save takes the user's settings with it. A process that
// does nothing but save is killed at random moments, again and again: 100 times, or HVT_KILLS times.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <utility>

#include "base/posix/unique_fd.h"
#include "settings/app_settings.h"
#include "settings/data_file.h"
#include "tests/settings/folder.h"

namespace hvt {
namespace {

// A record of its own for every generation, of up to about 100 KB so that a save takes a while.
AppSettings settings_of(std::uint32_t generation) {
  std::mt19937 random(generation);
  AppSettings settings;
  settings.window_left = static_cast<std::int32_t>(generation);
  for (std::wstring& item : settings.send_items)
    item.assign(random() % 10000, static_cast<wchar_t>(L'a' + random() % 26));
  return settings;
}

// What the saving process tells before and after each save.
struct Progress {
  std::uint32_t begun = 0;
  std::uint32_t done = 0;
};

[[noreturn]] void save_for_ever(const std::filesystem::path& path, int report, Progress progress) {
  for (;;) {
    ++progress.begun;
    if (::write(report, &progress, sizeof progress) != sizeof progress) ::_exit(1);
    save_settings(path, settings_of(progress.begun));
    progress.done = progress.begun;
    if (::write(report, &progress, sizeof progress) != sizeof progress) ::_exit(1);
  }
}

struct Victim {
  pid_t process = -1;
  UniqueFd reports;
};

Victim start(const std::filesystem::path& path, Progress progress) {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) return {};
  const pid_t process = ::fork();
  if (process == 0) {
    ::close(ends[0]);
    save_for_ever(path, ends[1], progress);
  }
  ::close(ends[1]);
  return {process, UniqueFd(ends[0])};
}

// Kills it after the delay, counted from its first report, and returns its last.
Progress kill_after(Victim victim, std::chrono::microseconds delay, Progress progress) {
  Progress report;
  if (::read(victim.reports.get(), &report, sizeof report) == sizeof report) progress = report;
  std::this_thread::sleep_for(delay);
  ::kill(victim.process, SIGKILL);
  int status = 0;
  ::waitpid(victim.process, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "it ended by itself: " << status;
  while (::read(victim.reports.get(), &report, sizeof report) == sizeof report)
    progress = report;
  return progress;
}

// What was seen, so that a shower that never hits a save does not count as one.
struct Score {
  int old_file = 0;
  int new_file = 0;
  int temporaries = 0;
  std::size_t most_temporaries = 0;
};

std::size_t count_temporaries(const std::filesystem::path& folder) {
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    count += entry.path().filename() != "settings.json";
  return count;
}

// Whether the file is that of the last finished save or of the one begun last.
::testing::AssertionResult is_old_or_new(const std::filesystem::path& path, const Progress& progress,
                                         Score& score) {
  const std::string content = read_data_file(path);
  const bool is_new = content == serialize_settings(settings_of(progress.begun));
  ++(is_new ? score.new_file : score.old_file);
  if (is_new || content == serialize_settings(settings_of(progress.done)))
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << content.size() << " bytes that are neither save " << progress.done
                                       << " nor save " << progress.begun;
}

int kills_wanted() {
  const char* wanted = std::getenv("HVT_KILLS");
  return wanted == nullptr ? 100 : std::atoi(wanted);
}

TEST(KillShower, the_file_is_the_complete_old_or_new_one_after_every_kill) {
  const test::Folder folder;
  const auto path = folder.path() / "settings.json";
  std::random_device seed;
  std::mt19937 random(seed());
  Progress progress;
  save_settings(path, settings_of(progress.done));
  // Up to the time that some saves take, so that kills fall into every part of one.
  const auto began = std::chrono::steady_clock::now();
  for (int i = 0; i < 10; ++i)
    save_settings(path, settings_of(0));
  const auto some_saves =
      std::chrono::duration_cast<std::chrono::microseconds>((std::chrono::steady_clock::now() - began) / 2);
  std::uniform_int_distribution<std::int64_t> delay(0, some_saves.count());

  const int kills = kills_wanted();
  Score score;
  for (int kill = 0; kill < kills; ++kill) {
    Victim victim = start(path, progress);
    ASSERT_GT(victim.process, 0);
    progress = kill_after(std::move(victim), std::chrono::microseconds(delay(random)), progress);
    ASSERT_TRUE(is_old_or_new(path, progress, score)) << "kill " << kill;
    progress.done = read_data_file(path) == serialize_settings(settings_of(progress.begun)) ? progress.begun
                                                                                            : progress.done;
    const std::size_t temporaries = count_temporaries(folder.path());
    score.temporaries += temporaries > 0;
    score.most_temporaries = std::max(score.most_temporaries, temporaries);
  }
  std::printf(
      "%d kills during %u saves: %d found the old file, %d the new one; "
      "%d left a temporary file, never more than %zu at a time\n",
      kills, progress.begun, score.old_file, score.new_file, score.temporaries, score.most_temporaries);
  EXPECT_LE(score.most_temporaries, 1U);
  EXPECT_GT(score.temporaries, 0) << "no kill hit a save";
  save_settings(path, settings_of(0));
  EXPECT_EQ(folder.names(), "settings.json ");
}

}  // namespace
}  // namespace hvt
