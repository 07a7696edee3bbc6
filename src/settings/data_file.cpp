#include "settings/data_file.h"

#include <chrono>
#include <cstdint>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <system_error>
#include <thread>

#include "settings/temporary_name.h"

namespace hvt {
namespace {

using std::filesystem::path;

constexpr int kReplaceAttempts = 20;
constexpr std::uint64_t kLongestWrite = std::numeric_limits<std::uint32_t>::max();

bool fill(FileReplacement& steps, std::string_view bytes) {
  return bytes.size() <= kLongestWrite && steps.write(bytes) && steps.flush();
}

bool publish(FileReplacement& steps, const path& temporary, const path& target) {
  steps.close();
  for (int attempt = 1;; ++attempt) {
    const auto outcome = steps.replace(temporary, target);
    if (outcome == FileReplacement::Outcome::kDone) return true;
    if (outcome == FileReplacement::Outcome::kFailed || attempt == kReplaceAttempts) return false;
    steps.pause();
  }
}

}  // namespace

void FileReplacement::pause() {
  std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

std::string read_data_file(const path& path) {
  // Asked first because opening a pipe would wait for its other end.
  std::error_code unknown;
  if (!std::filesystem::is_regular_file(path, unknown))
    throw std::runtime_error("Could not open the data file.");
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  if (!file) throw std::runtime_error("Could not open the data file.");
  const std::streamoff size = file.tellg();
  if (size < 0) throw std::runtime_error("Could not read the data file.");
  if (static_cast<std::uint64_t>(size) > kDataFileLimit)
    throw std::runtime_error("Data file exceeds the 16 MiB limit.");
  std::string bytes(static_cast<std::size_t>(size), '\0');
  file.seekg(0);
  file.read(bytes.data(), size);
  if (!file) throw std::runtime_error("Could not read the data file.");
  return bytes;
}

void write_data_file_atomically(const path& path, std::string_view bytes) {
  write_data_file_atomically(*system_file_replacement(), path, bytes);
}

void write_data_file_atomically(FileReplacement& steps, const path& path, std::string_view bytes) {
  const auto target = steps.resolve(path);
  if (target.has_parent_path()) std::filesystem::create_directories(target.parent_path());
  remove_abandoned_temporaries(target);
  const auto temporary = next_temporary_name(target);
  if (!steps.create(temporary, target)) throw std::runtime_error("Could not create the data file.");
  if (!fill(steps, bytes) || !publish(steps, temporary, target)) {
    steps.discard(temporary);
    throw std::runtime_error("Could not save the data file.");
  }
  steps.sync_folder(target);
}

}  // namespace hvt
