#include "recording/metadata_file.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace hvt {
namespace {

using Fault = FileResult::Fault;

[[noreturn]] void fail(const std::string& what) {
  throw std::runtime_error(what);
}

void write_whole(OutputFile& file, std::string_view text) {
  if (file.write(text) != text.size()) fail("Cannot write recording metadata.");
  if (!file.close()) fail("Cannot close recording metadata.");
}

// Takes away a file of ours that did not become what it should, unless release() was called.
class Removal {
 public:
  Removal(RecordingFiles& files, const std::filesystem::path& path) : files_(files), path_(&path) {}
  Removal(const Removal&) = delete;
  Removal& operator=(const Removal&) = delete;
  ~Removal() {
    if (path_) files_.remove(*path_);
  }
  void release() { path_ = nullptr; }

 private:
  RecordingFiles& files_;
  const std::filesystem::path* path_;
};

}  // namespace

MetadataFile::MetadataFile(RecordingFiles& files, std::filesystem::path path)
    : files_(files), path_(std::move(path)), pending_(path_) {
  pending_ += ".pending";
}

bool MetadataFile::claim(std::string_view text) {
  FileResult result;
  std::unique_ptr<OutputFile> file = files_.create_new(path_, result);
  if (result.fault == Fault::exists) return false;
  if (!file) fail("Cannot create recording metadata " + system_error_suffix(result.code));
  Removal removal(files_, path_);
  // Goes before the removal: on Windows an open file cannot be removed.
  const std::unique_ptr<OutputFile> open = std::move(file);
  write_whole(*open, text);
  removal.release();
  return true;
}

void MetadataFile::publish(std::string_view text) {
  FileResult result;
  std::unique_ptr<OutputFile> file = files_.create_new(pending_, result);
  if (result.fault == Fault::exists) fail("Recording metadata temporary file already exists.");
  if (!file) fail("Cannot create recording metadata " + system_error_suffix(result.code));
  Removal removal(files_, pending_);
  {
    const std::unique_ptr<OutputFile> open = std::move(file);
    write_whole(*open, text);
  }
  move_into_place();
  removal.release();
}

void MetadataFile::move_into_place() {
  for (int attempt = 1;; ++attempt) {
    const FileResult result = files_.replace(pending_, path_);
    if (result.ok()) return;
    if (result.fault != Fault::held || attempt == kMoveAttempts)
      fail("Cannot publish recording metadata " + system_error_suffix(result.code));
    files_.wait_for_reader();
  }
}

}  // namespace hvt
