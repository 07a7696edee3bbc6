#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace hvt::test {

// A new empty folder for one test, whose path is not ASCII.
//
// Promises  nobody else uses it.
// Threads   any.
// Owns      the folder with all that is in it.
// Ends      by removing it.
class Folder {
 public:
  explicit Folder(const std::filesystem::path& in = std::filesystem::temp_directory_path()) {
    std::random_device random;
    do {
      path_ = in / (std::filesystem::path(u8"hvt \uC124\uC815 ") += std::to_string(random()));
    } while (!std::filesystem::create_directory(path_));
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  const std::filesystem::path& path() const { return path_; }

  // The names in it in order, each followed by a blank.
  std::string names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_))
      names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    std::string text;
    for (const std::string& name : names)
      text += name + " ";
    return text;
  }

 private:
  std::filesystem::path path_;
};

inline void write_file(const std::filesystem::path& path, std::string_view bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// All of it; empty if there is none.
inline std::string read_file(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace hvt::test
