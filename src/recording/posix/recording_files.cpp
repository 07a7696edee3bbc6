#include "recording/recording_files.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>

#include "base/posix/unique_fd.h"
#include "recording/stream_file.h"

namespace hvt {
namespace {

FileResult failure(int error) {
  const auto fault = error == EEXIST ? FileResult::Fault::exists : FileResult::Fault::failed;
  return {fault, static_cast<std::uint32_t>(error)};
}

class PosixFile final : public StreamFile {
 public:
  using StreamFile::StreamFile;

  bool flush() override {
    if (!StreamFile::flush()) return false;
    struct stat now {};
    if (::fstat(::fileno(stream()), &now) != 0) return fail(errno);
    return now.st_nlink > 0 || fail(ENOENT);
  }
};

class PosixFiles final : public PortableFiles {
 public:
  // A file without a name: it goes when it is closed, or with the process.
  std::shared_ptr<void> reserve(const std::filesystem::path& folder, std::size_t bytes) override {
    UniqueFd fd(::open(folder.c_str(), O_WRONLY | O_TMPFILE | O_CLOEXEC, 0600));
    if (!fd || ::posix_fallocate(fd.get(), 0, static_cast<off_t>(bytes)) != 0) return nullptr;
    return std::make_shared<UniqueFd>(std::move(fd));
  }

  std::unique_ptr<OutputFile> create_new(const std::filesystem::path& path, FileResult& result) override {
    UniqueFd fd(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!fd) {
      result = failure(errno);
      return nullptr;
    }
    FILE* stream = ::fdopen(fd.get(), "wb");
    if (stream == nullptr) {
      result = {FileResult::Fault::no_stream, static_cast<std::uint32_t>(errno)};
      return nullptr;
    }
    fd.release();
    result = {};
    return std::make_unique<PosixFile>(stream);
  }

  FileResult replace(const std::filesystem::path& from, const std::filesystem::path& to) override {
    return ::rename(from.c_str(), to.c_str()) == 0 ? FileResult{} : failure(errno);
  }
};

}  // namespace

std::unique_ptr<RecordingFiles> system_recording_files() {
  return std::make_unique<PosixFiles>();
}

std::string system_error_suffix(std::uint32_t code) {
  return errno_suffix(static_cast<int>(code));
}

}  // namespace hvt
