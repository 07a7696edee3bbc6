#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <map>
#include <optional>
#include <span>
#include <string>

#include "base/posix/unique_fd.h"
#include "serial/posix/user_ports.h"
#include "tools/virtual_device/command.h"
#include "tools/virtual_device/flood_source.h"
#include "tools/virtual_device/options.h"
#include "tools/virtual_device/pty_line.h"
#include "tools/virtual_device/traffic_log.h"

namespace hvt::device {

// The device: answers, talks, floods, stalls and vanishes as it is told.
//
// Promises  what it sends while nobody has the port open is gone, as on a real line.
// Threads   one, in run().
// Owns      the pseudo-terminal, the announced name, the log.
// Ends      run() returns after "quit", SIGTERM or SIGINT; the name is given back by the destructor.
class Device {
 public:
  // `status` is told what happens, a line each. Throws std::runtime_error.
  Device(Options options, std::string name, UserPort port, std::ostream& status);
  void run();

 private:
  using Clock = std::chrono::steady_clock;

  void at(Clock::time_point time, std::function<void()> action);
  void run_due_actions();
  Clock::time_point wake_time(Clock::time_point now);
  void wait();

  void appear();
  void vanish();
  void set_open(bool open);
  void look_for_opener();
  void serve_line(short events);
  void receive();
  void answer(std::span<const std::uint8_t> bytes);
  void say(const Script& script);
  void say_every(std::size_t index);
  void send();
  bool write(std::span<const std::uint8_t> bytes, std::size_t& written);
  void start_flood(Clock::duration after);
  void read_commands(UniqueFd& input, std::string& rest);
  void obey(const Command& command);

  Options options_;
  const std::string name_;
  UserPort port_;
  std::ostream& status_;
  TrafficLog log_;
  UniqueFd signals_;
  std::array<UniqueFd, 2> inputs_;  // standard input and the FIFO
  std::array<std::string, 2> lines_;
  std::optional<PtyLine> line_;
  std::multimap<Clock::time_point, std::function<void()>> actions_;
  std::uint64_t opening_ = 0;  // counts openings, so that actions of an earlier one fall flat
  bool open_ = false;
  bool quit_ = false;
  std::uint64_t may_take_ = 0;  // bytes until the device stalls
  Bytes heard_;                 // the latest input, as long as the longest request
  Bytes outbox_;
  std::optional<FloodSource> flood_;
};

}  // namespace hvt::device
