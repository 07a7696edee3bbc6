#include "app/folders.h"

#include <windows.h>

#include <stdexcept>
#include <string>

namespace hvt {
namespace {

constexpr DWORD kLongestPath = 32'768;

}  // namespace

std::filesystem::path executable_folder() {
  std::wstring path(kLongestPath, L'\0');
  const DWORD length = GetModuleFileNameW(nullptr, path.data(), kLongestPath);
  if (length == 0 || length == kLongestPath) throw std::runtime_error("Could not find the program's folder.");
  path.resize(length);
  return std::filesystem::path(path).parent_path();
}

std::filesystem::path data_folder() {
  return executable_folder();
}

std::filesystem::path error_log_file() {
  std::wstring folder(kLongestPath, L'\0');
  const DWORD length = GetEnvironmentVariableW(L"LOCALAPPDATA", folder.data(), kLongestPath);
  if (length == 0 || length >= kLongestPath) return {};
  folder.resize(length);
  return std::filesystem::path(folder) / "HalvetricSerialTest" / "error.log";
}

}  // namespace hvt
