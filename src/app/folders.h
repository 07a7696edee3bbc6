#pragma once

#include <filesystem>

namespace hvt {

// Where the executable lies. Throws std::runtime_error when the system does not tell.
std::filesystem::path executable_folder();

// Where the program keeps settings, recordings and packet files: beside the executable, on Linux only if that
// folder is writable, else $XDG_DATA_HOME/HalvetricSerialTest. The folder may not exist yet.
std::filesystem::path data_folder();

}  // namespace hvt
