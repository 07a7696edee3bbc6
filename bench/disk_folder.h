#pragma once

#include <stdlib.h>
#include <sys/resource.h>

#include <filesystem>
#include <stdexcept>
#include <string>

namespace hvt::bench {

// A new folder on the disk that the build is on: the temporary folder may be memory. It goes with the object.
class DiskFolder {
 public:
  DiskFolder() {
    std::string name = (std::filesystem::current_path() / "bench-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder to be had");
    path_ = name;
  }
  DiskFolder(const DiskFolder&) = delete;
  DiskFolder& operator=(const DiskFolder&) = delete;
  ~DiskFolder() { std::filesystem::remove_all(path_); }
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// Of this process so far, user and system.
inline double cpu_seconds() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

}  // namespace hvt::bench
