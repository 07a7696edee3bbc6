#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include "settings/file_replacement.h"

namespace hvt {

inline constexpr std::size_t kDataFileLimit = 16777216;

// A whole small file. Throws std::runtime_error:
//   "Could not open the data file."            also for anything but a file of the ordinary kind
//   "Data file exceeds the 16 MiB limit."
//   "Could not read the data file."
std::string read_data_file(const std::filesystem::path& path);

// Replaces the file or makes a new one, and the folders above it where they are missing. Whatever happens on
// the way, the path names the complete old file or the complete new one, also when the process is killed or
// the machine stops. After a failure nothing is left behind; what a killed process left is removed by the
// next write of the same file.
//
// Any thread; writes of the same file may run at the same time, the last one stays. Throws:
//   std::filesystem::filesystem_error          the folders cannot be made
//   "Could not create the data file."          the temporary file beside it
//   "Could not save the data file."            everything after that; the old file is as it was
void write_data_file_atomically(const std::filesystem::path& path, std::string_view bytes);

// The same with steps of the caller's, by which a failure can be caused at each of them.
void write_data_file_atomically(FileReplacement& steps, const std::filesystem::path& path,
                                std::string_view bytes);

}  // namespace hvt
