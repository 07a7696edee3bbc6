// The risk: what a save does to links, rights and special files, and when the process dies or the disk is
// full in the middle of it.

#include "settings/data_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "settings/app_settings.h"
#include "tests/settings/wrapped_replacement.h"
#include "tests/support/error_of.h"
#include "tests/support/file_size_limit.h"
#include "tests/support/folder.h"

namespace hvt {
namespace {

using test::error_of;
using test::Folder;
namespace fs = std::filesystem;

const char* const kCannotSave = "Could not save the data file.";

// An exception must not take the child back into the tests that it was forked from.
[[noreturn]] void exit_with(const std::function<int()>& function) noexcept {
  ::_exit(function());
}

// Runs the function in a process of its own and returns the wait status.
int in_child(const std::function<int()>& function) {
  const pid_t child = ::fork();
  if (child == 0) exit_with(function);
  int status = 0;
  ::waitpid(child, &status, 0);
  return status;
}

TEST(PosixDataFile, a_symbolic_link_is_kept_and_its_target_replaced) {
  struct Case {
    const char* name;
    const char* link_to;  // seen from the folder "links"
    bool exists;
  };
  const Case kCases[] = {
      {"relative", "../real/file", true},
      {"to another link", "second", true},
      {"dangling", "../real/new", false},
      {"dangling into a folder that is missing", "../absent/new", false},
  };
  for (const Case& one : kCases) {
    const Folder folder;
    fs::create_directories(folder.path() / "links");
    fs::create_directories(folder.path() / "real");
    test::write_file(folder.path() / "real" / "file", "old");
    fs::create_symlink(folder.path() / "real" / "file", folder.path() / "links" / "second");
    const auto link = folder.path() / "links" / "link";
    fs::create_symlink(one.link_to, link);
    ASSERT_EQ(fs::exists(link), one.exists) << one.name;
    write_data_file_atomically(link, "new");
    EXPECT_EQ(fs::read_symlink(link), one.link_to) << one.name;
    EXPECT_EQ(read_data_file(link), "new") << one.name;
    EXPECT_EQ(read_data_file(folder.path() / "real" / "file"), one.exists ? "new" : "old") << one.name;
  }
}

TEST(PosixDataFile, links_that_lead_in_a_circle_are_refused) {
  const Folder folder;
  fs::create_symlink("b", folder.path() / "a");
  fs::create_symlink("a", folder.path() / "b");
  EXPECT_EQ(error_of([&] { write_data_file_atomically(folder.path() / "a", "x"); }), kCannotSave);
  EXPECT_EQ(folder.names(), "a b ");
}

TEST(PosixDataFile, the_mode_is_that_of_the_old_file_or_of_a_new_one) {
  const Folder folder;
  const auto path = folder.path() / "file";
  const mode_t old_mask = ::umask(0027);
  write_data_file_atomically(path, "x");
  const auto mode = [&] {
    struct stat facts {};
    ::stat(path.c_str(), &facts);
    return facts.st_mode & 07777;
  };
  EXPECT_EQ(mode(), mode_t{0640});
  for (const mode_t kept : {mode_t{0600}, mode_t{0666}, mode_t{0755}}) {
    ::chmod(path.c_str(), kept);
    write_data_file_atomically(path, "x");
    EXPECT_EQ(mode(), kept);
  }
  ::umask(old_mask);
}

// A group that cannot be kept must not lend its rights to another one.
TEST(PosixDataFile, owner_and_group_are_kept_where_that_is_allowed) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  for (const bool allowed : {true, false}) {
    const Folder folder;
    const auto path = folder.path() / "file";
    test::write_file(path, "old");
    ASSERT_EQ(::chown(path.c_str(), 12345, 54321), 0);
    ASSERT_EQ(::chmod(path.c_str(), 0662), 0);
    ASSERT_EQ(::chmod(folder.path().c_str(), 0777), 0);
    const int status = in_child([&] {
      if (!allowed && (::setresgid(65534, 65534, 65534) != 0 || ::setresuid(65534, 65534, 65534) != 0))
        return 2;
      write_data_file_atomically(path, "new");
      return 0;
    });
    ASSERT_EQ(status, 0);
    struct stat facts {};
    ASSERT_EQ(::stat(path.c_str(), &facts), 0);
    EXPECT_EQ(facts.st_uid, uid_t(allowed ? 12345 : 65534));
    EXPECT_EQ(facts.st_gid, gid_t(allowed ? 54321 : 65534));
    EXPECT_EQ(facts.st_mode & 0777, mode_t(allowed ? 0662 : 0622));
  }
}

TEST(PosixDataFile, a_file_that_may_not_be_written_stays) {
  const Folder folder;
  const auto path = folder.path() / "file";
  test::write_file(path, "old");
  ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
  ASSERT_EQ(::chmod(folder.path().c_str(), 0777), 0);
  const int status = in_child([&] {
    if (::geteuid() == 0 && ::setresuid(65534, 65534, 65534) != 0) return 2;
    return error_of([&] { write_data_file_atomically(path, "new"); }) == kCannotSave ? 0 : 1;
  });
  EXPECT_EQ(status, 0);
  EXPECT_EQ(read_data_file(path), "old");
  EXPECT_EQ(folder.names(), "file ");
}

TEST(PosixDataFile, only_ordinary_files_are_replaced_or_read) {
  const Folder folder;
  ASSERT_EQ(::mkfifo((folder.path() / "pipe").c_str(), 0600), 0);
  fs::create_directory(folder.path() / "folder");
  for (const char* name : {"pipe", "folder"}) {
    const auto path = folder.path() / name;
    EXPECT_EQ(error_of([&] { write_data_file_atomically(path, "x"); }), kCannotSave) << name;
    EXPECT_EQ(error_of([&] { read_data_file(path); }), "Could not open the data file.") << name;
  }
  EXPECT_EQ(folder.names(), "folder pipe ");
}

TEST(PosixDataFile, a_file_shorter_than_it_says_is_not_read) {
  // The kernel's own small text files claim a page.
  const fs::path path = "/sys/kernel/mm/transparent_hugepage/enabled";
  std::error_code unknown;
  if (!fs::is_regular_file(path, unknown)) GTEST_SKIP() << path << " does not exist here";
  EXPECT_EQ(error_of([&] { read_data_file(path); }), "Could not read the data file.");
}

TEST(PosixDataFile, a_name_too_long_for_the_temporary_file_is_refused) {
  const Folder folder;
  const auto path = folder.path() / std::string(250, 'n');
  EXPECT_EQ(error_of([&] { write_data_file_atomically(path, "x"); }), "Could not create the data file.");
  EXPECT_EQ(folder.names(), "");
}

TEST(PosixDataFile, settings_that_may_exist_are_not_taken_for_missing) {
  const Folder folder;
  const auto path = folder.path() / std::string(300, 'n');  // the system cannot say
  EXPECT_THROW(load_settings(path), fs::filesystem_error);
  EXPECT_EQ(error_of([&] { load_settings(folder.path()); }), "Could not open the data file.");
}

TEST(PosixDataFile, what_another_running_process_writes_stays) {
  const Folder folder;
  const std::string name = "file.tmp." + std::to_string(::getppid()) + ".4000000000";
  test::write_file(folder.path() / name, "");
  write_data_file_atomically(folder.path() / "file", "x");
  EXPECT_EQ(folder.names(), "file " + name + " ");
}

TEST(PosixDataFile, a_full_disk_leaves_the_old_file_and_no_litter) {
  const Folder folder;
  const auto path = folder.path() / "file";
  test::write_file(path, "old");
  {
    const test::FileSizeLimit full_disk(50'000);
    EXPECT_EQ(error_of([&] { write_data_file_atomically(path, std::string(60'000, 'n')); }), kCannotSave);
  }
  EXPECT_EQ(read_data_file(path), "old");
  EXPECT_EQ(folder.names(), "file ");
}

// Kills its own process before a step.
class DeadlyReplacement : public test::WrappedReplacement {
 public:
  explicit DeadlyReplacement(std::string step) : step_(std::move(step)) {}

  Verdict before_step(std::string_view name) override {
    if (name == step_) ::raise(SIGKILL);
    return Verdict::kGoOn;
  }

 private:
  const std::string step_;
};

TEST(PosixDataFile, a_process_killed_before_any_step_leaves_a_whole_file) {
  for (const std::string step : {"create", "write", "flush", "close", "replace", "sync_folder"}) {
    const Folder folder;
    const auto path = folder.path() / "file";
    test::write_file(path, "old");
    const int status = in_child([&] {
      DeadlyReplacement steps(step);
      write_data_file_atomically(steps, path, "new");
      return 0;
    });
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << step;
    EXPECT_EQ(read_data_file(path), step == "sync_folder" ? "new" : "old") << step;
    write_data_file_atomically(path, "newer");
    EXPECT_EQ(folder.names(), "file ") << step;
    EXPECT_EQ(read_data_file(path), "newer") << step;
  }
}

}  // namespace
}  // namespace hvt
