#include "tools/virtual_device/command.h"

#include <array>
#include <stdexcept>

namespace hvt::device {
namespace {

struct Word {
  std::string_view text;
  Command::Kind kind;
};
constexpr std::array kWords{
    Word{"stall", Command::Kind::kStall},   Word{"resume", Command::Kind::kResume},
    Word{"vanish", Command::Kind::kVanish}, Word{"return", Command::Kind::kReturn},
    Word{"quit", Command::Kind::kQuit},     Word{"flood off", Command::Kind::kFloodOff}};
constexpr std::string_view kSay = "say ";
constexpr std::string_view kFlood = "flood ";

}  // namespace

Command parse_command(std::string_view line) {
  for (const Word& word : kWords)
    if (line == word.text) return {word.kind, {}, 0};
  if (line.starts_with(kSay)) return {Command::Kind::kSay, parse_script(line.substr(kSay.size())), 0};
  if (line.starts_with(kFlood)) return {Command::Kind::kFlood, {}, parse_rate(line.substr(kFlood.size()))};
  throw std::runtime_error("There is no command \"" + std::string(line) + "\".");
}

}  // namespace hvt::device
