#include "recording/recording_files.h"

#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>

#include "recording/stream_file.h"

namespace hvt {

StreamFile::StreamFile(std::FILE* stream) : stream_(stream) {
  std::setvbuf(stream, nullptr, _IONBF, 0);
}

std::size_t StreamFile::write(std::string_view bytes) {
  errno = 0;
  const std::size_t written = std::fwrite(bytes.data(), 1, bytes.size(), stream_.get());
  if (written < bytes.size()) last_error_ = errno;
  return written;
}

bool StreamFile::flush() {
  errno = 0;
  return std::fflush(stream_.get()) == 0 || fail(errno);
}

bool StreamFile::close() {
  errno = 0;
  return std::fclose(stream_.release()) == 0 || fail(errno);
}

bool StreamFile::fail(int error) {
  last_error_ = error;
  return false;
}

FileResult PortableFiles::create_folders(const std::filesystem::path& path) {
  std::error_code error;
  std::filesystem::create_directories(path, error);
  if (!error) return {};
  return {FileResult::Fault::failed, static_cast<std::uint32_t>(error.default_error_condition().value())};
}

void PortableFiles::remove(const std::filesystem::path& path) {
  std::error_code ignored;
  std::filesystem::remove(path, ignored);
}

void PortableFiles::wait_for_reader() {
  std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

std::string errno_suffix(int code) {
  return "(errno " + std::to_string(code) + ").";
}

}  // namespace hvt
