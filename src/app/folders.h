#pragma once

#include <filesystem>

namespace hvt {

// Where the executable lies. Throws std::runtime_error when the system does not tell.
std::filesystem::path executable_folder();

// Where the program keeps settings, recordings and packet files: beside the executable, on Linux only if that
// folder is writable, else $XDG_DATA_HOME/HalvetricSerialTest. The folder may not exist yet.
std::filesystem::path data_folder();

// The error log: below %LOCALAPPDATA% on Windows, below $XDG_STATE_HOME on Linux, in HalvetricSerialTest. Its
// folder may not exist yet. Empty when the system names no such place.
std::filesystem::path error_log_file();

}  // namespace hvt
