#pragma once

#include <string_view>

#include "tools/virtual_device/options.h"

namespace hvt::device {

// One line of the control input.
struct Command {
  enum class Kind { kSay, kStall, kResume, kVanish, kReturn, kFlood, kFloodOff, kQuit };
  Kind kind = Kind::kQuit;
  Script text;             // kSay
  std::uint64_t rate = 0;  // kFlood, bytes per second
};

// Throws std::runtime_error with a sentence.
Command parse_command(std::string_view line);

}  // namespace hvt::device
