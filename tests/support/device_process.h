#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

#include "base/posix/unique_fd.h"

namespace hvt::test {

// A run-time folder of its own for this process, so that no other device is listed.
class PrivateRuntimeFolder {
 public:
  PrivateRuntimeFolder();
  ~PrivateRuntimeFolder() { std::filesystem::remove_all(path_); }

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// hvt-virtual-device as a process, steered by its standard input.
//
// Promises  the process is gone when the object is. Throws std::runtime_error when it cannot be started.
// Threads   one.
class DeviceProcess {
 public:
  explicit DeviceProcess(std::vector<std::string> arguments);
  ~DeviceProcess();
  DeviceProcess(const DeviceProcess&) = delete;
  DeviceProcess& operator=(const DeviceProcess&) = delete;

  // One command line. False when the device no longer listens.
  bool tell(const std::string& command);
  // The next line that begins with `word`; empty when the device ended before.
  std::string line(const std::string& word);

 private:
  pid_t process_ = 0;
  UniqueFd input_;
  UniqueFd output_;
};

}  // namespace hvt::test
