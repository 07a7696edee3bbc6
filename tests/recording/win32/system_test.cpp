// Risk: a reader that opened the metadata without leave to replace it.

#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <thread>

#include "base/win32/unique_handle.h"
#include "recording/metadata_file.h"
#include "tests/recording/on_disk.h"
#include "tests/support/error_of.h"

namespace hvt {
namespace {

UniqueHandle open_for_reading(const std::filesystem::path& path) {
  return UniqueHandle(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  OPEN_EXISTING, 0, nullptr));
}

// Waits as the system does; the reader of the test lets go during the given wait.
class Files final : public RecordingFiles {
 public:
  Files(UniqueHandle& reader, int wait) : reader_(reader), wait_(wait) {}

  FileResult create_folders(const std::filesystem::path& path) override {
    return files_->create_folders(path);
  }
  std::shared_ptr<void> reserve(const std::filesystem::path& folder, std::size_t bytes) override {
    return files_->reserve(folder, bytes);
  }
  std::unique_ptr<OutputFile> create_new(const std::filesystem::path& path, FileResult& result) override {
    return files_->create_new(path, result);
  }
  FileResult replace(const std::filesystem::path& from, const std::filesystem::path& to) override {
    return files_->replace(from, to);
  }
  void remove(const std::filesystem::path& path) override { files_->remove(path); }
  void wait_for_reader() override {
    if (++waits == wait_) reader_.reset();
  }
  int waits = 0;

 private:
  const std::unique_ptr<RecordingFiles> files_ = system_recording_files();
  UniqueHandle& reader_;
  const int wait_;
};

TEST(RecordingFiles, AReaderHoldsTheMetadataForAWhileOrTooLong) {
  for (const bool lets_go : {true, false}) {
    const test::Folder folder;
    UniqueHandle reader;
    Files files(reader, lets_go ? 7 : 1000);
    MetadataFile metadata(files, folder.path() / "run.meta.json");
    ASSERT_TRUE(metadata.claim("old"));
    reader = open_for_reading(folder.path() / "run.meta.json");
    ASSERT_TRUE(reader);
    const std::string error = test::error_of([&] { metadata.publish("new"); });
    EXPECT_EQ(files.waits, lets_go ? 7 : 19);
    EXPECT_EQ(error.starts_with("Cannot publish recording metadata (Windows error "), !lets_go) << error;
    reader.reset();
    EXPECT_NO_THROW(metadata.publish("newer"));
  }
}

TEST(RecordingFiles, AReaderOfTheMetadataDoesNotEndTheRecording) {
  test::OnDisk disk;
  disk.config.flush_interval_ms = 1;
  RecordingWriter writer(disk.config);
  UniqueHandle reader = open_for_reading(disk.path("run.meta.json"));
  ASSERT_TRUE(reader);
  {
    const test::TimeLimit limit("a metadata failure");
    while (writer.status().metadata_error.empty())
      std::this_thread::yield();
  }
  EXPECT_TRUE(writer.enqueue(std::string_view("text"), 4));
  reader.reset();
  writer.stop();
  test::wait_for_end(writer);
  EXPECT_EQ(disk.content("run_part001.log"), "text");
  EXPECT_EQ(writer.status().integrity, Integrity::no_reported_problem);
}

}  // namespace
}  // namespace hvt
