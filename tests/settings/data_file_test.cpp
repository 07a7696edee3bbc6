// The risk: a file that is lost, half written or followed by litter because something went wrong on the way.

#include "settings/data_file.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "settings/temporary_name.h"
#include "tests/settings/wrapped_replacement.h"
#include "tests/support/error_of.h"
#include "tests/support/folder.h"

namespace hvt {
namespace {

using test::error_of;
using test::Folder;
using Verdict = test::WrappedReplacement::Verdict;

const char* const kCannotSave = "Could not save the data file.";

// Lets one step fail, the first times it is tried, and keeps what was tried.
class FailingReplacement : public test::WrappedReplacement {
 public:
  FailingReplacement(std::string step, Verdict verdict, int times = 1)
      : step_(std::move(step)), verdict_(verdict), times_(times) {}

  Verdict before_step(std::string_view name) override {
    tried_ += std::string(name) + " ";
    return name == step_ && times_-- > 0 ? verdict_ : Verdict::kGoOn;
  }

  const std::string& tried() const { return tried_; }

 private:
  const std::string step_;
  const Verdict verdict_;
  int times_;
  std::string tried_;
};

std::string repeated(int count, const std::string& text) {
  std::string all;
  for (int i = 0; i < count; ++i)
    all += text;
  return all;
}

TEST(DataFile, a_failure_at_any_step_leaves_the_old_file_and_nothing_else) {
  struct Case {
    const char* name;
    const char* step;
    Verdict verdict;
    int times;
    const char* expected;
    std::string tried;
  };
  const std::string kStart = "create write flush close ";
  const Case kCases[] = {
      {"nothing fails", "", Verdict::kGoOn, 0, "no error", kStart + "replace sync_folder "},
      {"the temporary file cannot be made", "create", Verdict::kFail, 1, "Could not create the data file.",
       "create "},
      {"the disk is full", "write", Verdict::kFail, 1, kCannotSave, "create write discard "},
      {"the disk fails", "flush", Verdict::kFail, 1, kCannotSave, "create write flush discard "},
      {"the file cannot be replaced", "replace", Verdict::kFail, 1, kCannotSave, kStart + "replace discard "},
      {"somebody reads the file for a moment", "replace", Verdict::kBusy, 19, "no error",
       kStart + repeated(19, "replace pause ") + "replace sync_folder "},
      {"somebody keeps the file open", "replace", Verdict::kBusy, 20, kCannotSave,
       kStart + repeated(19, "replace pause ") + "replace discard "},
      {"the folder cannot be synchronised", "sync_folder", Verdict::kFail, 1, "no error",
       kStart + "replace sync_folder "},
  };
  for (const Case& one : kCases) {
    for (const bool exists : {true, false}) {
      const Folder folder;
      const auto path = folder.path() / "file.json";
      if (exists) test::write_file(path, "the old file");
      FailingReplacement steps(one.step, one.verdict, one.times);
      const std::string error = error_of([&] { write_data_file_atomically(steps, path, "new"); });
      EXPECT_EQ(error, one.expected) << one.name;
      EXPECT_EQ(steps.tried(), one.tried) << one.name;
      const bool saved = error == "no error";
      EXPECT_EQ(folder.names(), saved || exists ? "file.json " : "") << one.name;
      if (!saved && !exists) continue;
      EXPECT_EQ(read_data_file(path), saved ? "new" : "the old file") << one.name;
    }
  }
}

TEST(DataFile, content_of_any_size_and_every_byte_is_kept) {
  const Folder folder;
  const auto path = folder.path() / "file";
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte)
    bytes += static_cast<char>(byte);
  for (const std::string& content :
       {std::string(), bytes, std::string("\r\n\x1A\n"), std::string(kDataFileLimit, 'x')}) {
    write_data_file_atomically(path, content);
    EXPECT_TRUE(read_data_file(path) == content) << content.size();
  }
  EXPECT_EQ(folder.names(), "file ");
}

TEST(DataFile, content_that_one_write_cannot_hold_is_refused) {
  const Folder folder;
  const auto path = folder.path() / "file";
  test::write_file(path, "old");
  const char byte = 'a';  // only the length is looked at
  EXPECT_EQ(error_of([&] { write_data_file_atomically(path, {&byte, 4294967296}); }), kCannotSave);
  EXPECT_EQ(read_data_file(path), "old");
  EXPECT_EQ(folder.names(), "file ");
}

TEST(DataFile, reading_has_a_limit) {
  const Folder folder;
  const auto path = folder.path() / "file";
  EXPECT_EQ(error_of([&] { read_data_file(path); }), "Could not open the data file.");
  EXPECT_EQ(error_of([&] { read_data_file(folder.path()); }), "Could not open the data file.");
  test::write_file(path, std::string(kDataFileLimit + 1, ' '));
  EXPECT_EQ(error_of([&] { read_data_file(path); }), "Data file exceeds the 16 MiB limit.");
}

TEST(DataFile, missing_folders_are_made) {
  const Folder folder;
  const auto path = folder.path() / "a" / "b" / "file";
  write_data_file_atomically(path, "x");
  EXPECT_EQ(read_data_file(path), "x");
  test::write_file(folder.path() / "taken", "");
  EXPECT_THROW(write_data_file_atomically(folder.path() / "taken" / "file", "x"),
               std::filesystem::filesystem_error);
}

TEST(DataFile, what_a_killed_writer_left_is_removed_by_the_next_write) {
  const std::string self = std::to_string(current_process_id());
  const std::string gone = "2000000001";  // no system counts so far
  struct Case {
    const char* name;
    std::string file;
    bool stays;
  };
  const Case kCases[] = {
      {"of a process that has ended", "file.tmp." + gone + ".1", false},
      {"of an earlier process of the same number", "file.tmp." + self + ".4000000000", false},
      {"of this process, maybe being written", "file.tmp." + self + ".0", true},
      {"of another file", "other.tmp." + gone + ".1", true},
      {"the user's", "file.tmp." + gone + ".1.json", true},
      {"the user's too", "file.tmp." + gone, true},
      {"no process", "file.tmp.x.1", true},
      {"no possible process", "file.tmp.99999999999.1", true},
  };
  for (const Case& one : kCases) {
    const Folder folder;
    test::write_file(folder.path() / one.file, "");
    write_data_file_atomically(folder.path() / "file", "x");
    EXPECT_EQ(std::filesystem::exists(folder.path() / one.file), one.stays) << one.name;
  }
}

TEST(DataFile, writes_of_one_file_at_the_same_time_leave_one_of_them_whole) {
  const Folder folder;
  const auto path = folder.path() / "file";
  constexpr int kRounds = 30;
  const auto write_often = [&](char letter) {
    for (int round = 0; round < kRounds; ++round)
      EXPECT_EQ(error_of([&] { write_data_file_atomically(path, std::string(20000, letter)); }), "no error");
  };
  std::vector<std::jthread> writers;
  for (const char letter : {'a', 'b', 'c'})
    writers.emplace_back(write_often, letter);
  writers.clear();
  const std::string content = read_data_file(path);
  ASSERT_EQ(content.size(), 20000U);
  EXPECT_EQ(content, std::string(20000, content[0]));
  EXPECT_EQ(folder.names(), "file ");
}

}  // namespace
}  // namespace hvt
