#include "settings/file_replacement.h"

#include <windows.h>

#include "base/win32/unique_handle.h"

namespace hvt {
namespace {

class Win32FileReplacement : public FileReplacement {
 public:
  std::filesystem::path resolve(const std::filesystem::path& path) override { return path; }

  bool create(const std::filesystem::path& temporary, const std::filesystem::path&) override {
    file_ = UniqueHandle(CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
    return static_cast<bool>(file_);
  }

  bool write(std::string_view bytes) override {
    const auto asked = static_cast<DWORD>(bytes.size());
    DWORD written = 0;
    return WriteFile(file_.get(), bytes.data(), asked, &written, nullptr) && written == asked;
  }

  bool flush() override { return FlushFileBuffers(file_.get()) != 0; }

  void close() override { file_.reset(); }

  Outcome replace(const std::filesystem::path& temporary, const std::filesystem::path& target) override {
    if (MoveFileExW(temporary.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
      return Outcome::kDone;
    const DWORD error = GetLastError();
    const bool busy = error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED;
    return busy ? Outcome::kBusy : Outcome::kFailed;
  }

  // The move itself was written through.
  void sync_folder(const std::filesystem::path&) override {}

  void discard(const std::filesystem::path& temporary) override {
    file_.reset();
    DeleteFileW(temporary.c_str());
  }

 private:
  UniqueHandle file_;
};

}  // namespace

std::unique_ptr<FileReplacement> system_file_replacement() {
  return std::make_unique<Win32FileReplacement>();
}

std::uint32_t current_process_id() {
  return GetCurrentProcessId();
}

bool process_is_gone(std::uint32_t process_id) {
  const UniqueHandle process(OpenProcess(SYNCHRONIZE, FALSE, process_id));
  if (!process) return GetLastError() == ERROR_INVALID_PARAMETER;
  // A process that has ended can be opened as long as somebody holds a handle to it.
  return WaitForSingleObject(process.get(), 0) == WAIT_OBJECT_0;
}

}  // namespace hvt
