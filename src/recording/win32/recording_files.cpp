#include "recording/recording_files.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdio>
#include <utility>

#include "base/win32/unique_handle.h"
#include "recording/stream_file.h"

namespace hvt {
namespace {

using Fault = FileResult::Fault;

FileResult creation_failure(DWORD error) {
  const bool exists = error == ERROR_FILE_EXISTS || error == ERROR_ALREADY_EXISTS;
  return {exists ? Fault::exists : Fault::failed, error};
}

FileResult move_failure(DWORD error) {
  const bool held = error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED;
  return {held ? Fault::held : Fault::failed, error};
}

// Turns a handle into a stream; each step takes over what the one before had.
std::FILE* open_stream(UniqueHandle handle, FileResult& result) {
  const int descriptor = _open_osfhandle(reinterpret_cast<std::intptr_t>(handle.get()), _O_BINARY);
  if (descriptor < 0) {
    result = {Fault::no_descriptor, 0};
    return nullptr;
  }
  handle.release();
  std::FILE* stream = _fdopen(descriptor, "wb");
  if (stream == nullptr) {
    _close(descriptor);
    result = {Fault::no_stream, 0};
  }
  return stream;
}

class Win32Files final : public PortableFiles {
 public:
  std::shared_ptr<void> reserve(const std::filesystem::path&, std::size_t) override { return nullptr; }

  std::unique_ptr<OutputFile> create_new(const std::filesystem::path& path, FileResult& result) override {
    UniqueHandle handle(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    if (!handle) {
      result = creation_failure(GetLastError());
      return nullptr;
    }
    result = {};
    std::FILE* stream = open_stream(std::move(handle), result);
    if (stream == nullptr) return nullptr;
    return std::make_unique<StreamFile>(stream);
  }

  FileResult replace(const std::filesystem::path& from, const std::filesystem::path& to) override {
    if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING)) return {};
    return move_failure(GetLastError());
  }
};

}  // namespace

std::unique_ptr<RecordingFiles> system_recording_files() {
  return std::make_unique<Win32Files>();
}

std::string system_error_suffix(std::uint32_t code) {
  return "(Windows error " + std::to_string(code) + ").";
}

}  // namespace hvt
