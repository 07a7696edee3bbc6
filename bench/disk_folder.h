#pragma once

#include <sys/resource.h>

#include <filesystem>

#include "tests/support/folder.h"

namespace hvt::bench {

// A new folder on the disk that the build is on: the temporary folder may be memory.
struct DiskFolder : test::Folder {
  DiskFolder() : Folder(std::filesystem::current_path()) {}
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
