#pragma once

#include <cstdint>
#include <fstream>
#include <span>
#include <string>

namespace hvt::device {

// A line for every chunk that passed: time, direction, length and bytes. Without a path it keeps quiet.
class TrafficLog {
 public:
  explicit TrafficLog(const std::string& path);  // throws std::runtime_error
  void received(std::span<const std::uint8_t> bytes) { write("rx", bytes); }
  void sent(std::span<const std::uint8_t> bytes) { write("tx", bytes); }
  void flush();

 private:
  void write(const char* direction, std::span<const std::uint8_t> bytes);

  std::ofstream file_;
};

}  // namespace hvt::device
