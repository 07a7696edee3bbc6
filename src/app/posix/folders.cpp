#include "app/folders.h"

#include <unistd.h>

#include <cstdlib>
#include <string>

namespace hvt {
namespace {

constexpr const char* kProgram = "HalvetricSerialTest";

// An absolute path in the environment, else `fallback` below the home folder.
std::filesystem::path user_folder(const char* variable, const char* fallback) {
  const char* const value = std::getenv(variable);
  if (value != nullptr && value[0] == '/') return value;
  const char* const home = std::getenv("HOME");
  return std::filesystem::path(home != nullptr ? home : "/") / fallback;
}

}  // namespace

std::filesystem::path executable_folder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

// A system folder is not for data, even if the program runs as root and may write there.
std::filesystem::path data_folder() {
  const std::filesystem::path beside = executable_folder();
  const bool installed = beside.string().starts_with("/usr/");
  if (!installed && ::access(beside.c_str(), W_OK) == 0) return beside;
  return user_folder("XDG_DATA_HOME", ".local/share") / kProgram;
}

std::filesystem::path error_log_file() {
  return user_folder("XDG_STATE_HOME", ".local/state") / kProgram / "error.log";
}

}  // namespace hvt
