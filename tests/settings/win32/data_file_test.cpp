// The risk: a save that gives up too early, or too late, because another program has the file open.

#include "settings/data_file.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "base/win32/unique_handle.h"
#include "tests/settings/folder.h"
#include "tests/settings/wrapped_replacement.h"
#include "tests/support/error_of.h"

namespace hvt {
namespace {

using test::error_of;
using test::Folder;

const char* const kCannotSave = "Could not save the data file.";

// Open for reading as by a program that does not allow the file to be deleted.
UniqueHandle open_against_deletion(const std::filesystem::path& path) {
  return UniqueHandle(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  OPEN_EXISTING, 0, nullptr));
}

// Lets go of the file after some attempts to replace it.
class WaitedFor : public test::WrappedReplacement {
 public:
  WaitedFor(UniqueHandle reader, int attempts) : reader_(std::move(reader)), attempts_(attempts) {}

  Verdict before_step(std::string_view name) override {
    if (name == "replace" && attempts_-- == 0) reader_.reset();
    if (name == "pause") ++pauses_;
    return Verdict::kGoOn;
  }

  int pauses() const { return pauses_; }

 private:
  UniqueHandle reader_;
  int attempts_;
  int pauses_ = 0;
};

TEST(Win32DataFile, a_reader_that_lets_go_in_time_delays_the_save_only) {
  const Folder folder;
  const auto path = folder.path() / "file";
  test::write_file(path, "old");
  WaitedFor steps(open_against_deletion(path), 5);
  write_data_file_atomically(steps, path, "new");
  EXPECT_EQ(steps.pauses(), 5);
  EXPECT_EQ(read_data_file(path), "new");
  EXPECT_EQ(folder.names(), "file ");
}

TEST(Win32DataFile, a_reader_that_holds_on_makes_the_save_fail) {
  const Folder folder;
  const auto path = folder.path() / "file";
  test::write_file(path, "old");
  const UniqueHandle reader = open_against_deletion(path);
  ASSERT_TRUE(reader);
  EXPECT_EQ(error_of([&] { write_data_file_atomically(path, "new"); }), kCannotSave);
  EXPECT_EQ(read_data_file(path), "old");
  EXPECT_EQ(folder.names(), "file ");
}

}  // namespace
}  // namespace hvt
