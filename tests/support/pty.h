#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace hvt::test {

// A pseudo-terminal: the test is the device at the master, the program opens the slave by its path.
//
// Promises  bytes pass unchanged both ways from the start. The calls wait 5 s at most.
// Threads   one, besides the program at the slave.
// Owns      the master.
// Ends      with unplug() or the destructor; the slave hangs up.
class Pty {
 public:
  Pty();  // throws std::runtime_error
  ~Pty();
  Pty(const Pty&) = delete;
  Pty& operator=(const Pty&) = delete;

  const std::string& path() const { return path_; }
  std::wstring port() const { return {path_.begin(), path_.end()}; }
  int master() const { return master_; }

  // Both return how much they managed; receive() stops as soon as it has `count` bytes.
  std::size_t send(std::span<const std::uint8_t> bytes);
  std::vector<std::uint8_t> receive(std::size_t count);
  void unplug();

 private:
  int master_ = -1;
  std::string path_;
};

}  // namespace hvt::test
