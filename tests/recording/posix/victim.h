#pragma once

#include <cstdint>
#include <string>

namespace hvt::test {

inline std::string victim_line(std::uint64_t number) {
  return "line " + std::to_string(number) + "\r\n";
}

}  // namespace hvt::test
