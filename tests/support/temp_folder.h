#pragma once

#include <filesystem>
#include <random>
#include <stdexcept>
#include <string>
#include <system_error>

namespace hvt::test {

// A new folder that goes with everything in it when the test ends.
class TempFolder {
 public:
  TempFolder() {
    std::random_device random;
    for (int attempt = 0; attempt < 100; ++attempt) {
      path_ = std::filesystem::temp_directory_path() / ("hvt-test-" + std::to_string(random()));
      if (std::filesystem::create_directory(path_)) return;
    }
    throw std::runtime_error("no folder to be had");
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace hvt::test
