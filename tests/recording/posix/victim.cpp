// Records numbered lines in the folder given until it is killed; after every flush it writes to standard
// output how many bytes are flushed (8 bytes, this machine's order).

#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <thread>

#include "recording/recording_writer.h"
#include "tests/recording/posix/victim.h"

namespace hvt::test {
namespace {

std::uint64_t written = 0;

class CountedFile final : public OutputFile {
 public:
  explicit CountedFile(std::unique_ptr<OutputFile> file) : file_(std::move(file)) {}
  std::size_t write(std::string_view bytes) override {
    const std::size_t count = file_->write(bytes);
    written += count;
    return count;
  }
  bool flush() override {
    const bool flushed = file_->flush();
    if (flushed && ::write(STDOUT_FILENO, &written, sizeof written) < 0) ::_exit(1);
    return flushed;
  }
  bool close() override { return file_->close(); }
  int last_error() const override { return file_->last_error(); }

 private:
  std::unique_ptr<OutputFile> file_;
};

class CountingFiles final : public RecordingFiles {
 public:
  FileResult create_folders(const std::filesystem::path& path) override {
    return files_->create_folders(path);
  }
  std::shared_ptr<void> reserve(const std::filesystem::path& folder, std::size_t bytes) override {
    return files_->reserve(folder, bytes);
  }
  std::unique_ptr<OutputFile> create_new(const std::filesystem::path& path, FileResult& result) override {
    auto file = files_->create_new(path, result);
    if (!file || path.extension() != ".log") return file;
    return std::make_unique<CountedFile>(std::move(file));
  }
  FileResult replace(const std::filesystem::path& from, const std::filesystem::path& to) override {
    return files_->replace(from, to);
  }
  void remove(const std::filesystem::path& path) override { files_->remove(path); }
  void wait_for_reader() override { files_->wait_for_reader(); }

 private:
  const std::unique_ptr<RecordingFiles> files_ = system_recording_files();
};

void record(const char* folder) {
  RecordingConfig config;
  config.directory = folder;
  config.filename = L"run";
  config.part_limit_bytes = 100'000;
  config.flush_bytes = 1000;
  config.flush_interval_ms = 2;
  RecordingWriter writer(config, {}, std::make_unique<CountingFiles>());
  for (std::uint64_t number = 0;; ++number) {
    const std::string line = victim_line(number);
    while (writer.room() < line.size())
      std::this_thread::yield();
    if (!writer.enqueue(line, line.size())) ::_exit(1);
  }
}

}  // namespace
}  // namespace hvt::test

int main(int, char** values) {
  hvt::test::record(values[1]);
}
