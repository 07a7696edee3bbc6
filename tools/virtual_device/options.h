#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/virtual_device/pattern.h"
#include "tools/virtual_device/script.h"

namespace hvt::device {

struct Reply {
  Bytes request;
  Script reply;  // the delay after the request is in its first piece
};

struct Periodic {
  std::chrono::milliseconds interval{0};
  Script text;
};

inline constexpr std::uint64_t kUnlimited = ~std::uint64_t{0};

// The numbered pattern, begun anew each time the port is opened.
struct Flood {
  std::uint64_t bytes_per_second = kUnlimited;
  PatternKind kind = PatternKind::kText;
  std::uint64_t limit = kUnlimited;  // bytes
};

// What the device does. Everything may be combined.
struct Options {
  std::string name;  // empty: the first free of ttyV0, ttyV1 and so on
  bool echo = false;
  std::vector<Reply> replies;
  std::vector<Periodic> periodic;
  std::optional<Flood> flood;
  std::uint64_t stall_after = kUnlimited;  // received bytes; 0 takes nothing from the start
  std::optional<std::chrono::milliseconds> vanish_after;
  std::optional<std::chrono::milliseconds> return_after;  // counted from vanishing
  std::string log;
  std::string control;  // a FIFO; standard input is always listened to

  bool help = false;
  bool verify = false;  // check a pattern on standard input instead
  PatternVerifier::Start verify_start = PatternVerifier::Start::kAtRecordZero;
  PatternKind pattern = PatternKind::kText;
};

extern const std::string_view kHelp;

// Throws std::runtime_error with a sentence that names the option.
Options parse_options(std::span<const std::string_view> arguments);

// "9600", "100k", "2M" or "max", in bytes per second.
std::uint64_t parse_rate(std::string_view text);

}  // namespace hvt::device
