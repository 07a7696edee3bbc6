#include "tools/virtual_device/device.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <iostream>
#include <stdexcept>
#include <utility>

namespace hvt::device {
namespace {

using namespace std::chrono_literals;

// While nobody has the port open, poll() cannot wait for someone to come: it returns at once.
constexpr auto kOpenerCheck = 5ms;
// A program empties its queues when it opens a port; a flood that began earlier would lack its beginning. One
// that has emptied them may do so again at once; one that never does gets its flood all the same.
constexpr auto kFloodAfterFlush = 100ms;
constexpr auto kFloodWithoutFlush = 1s;
constexpr std::size_t kReadBytes = 65'536;
// So many blocks go out before the inputs get their turn again.
constexpr int kBlocksPerTurn = 16;

UniqueFd end_signals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP})
    sigaddset(&set, signal);
  ::sigprocmask(SIG_BLOCK, &set, nullptr);
  ::signal(SIGPIPE, SIG_IGN);
  return UniqueFd(::signalfd(-1, &set, SFD_CLOEXEC));
}

// Open for writing as well, so that it does not end when a writer closes it.
UniqueFd open_control(const std::string& path) {
  if (path.empty()) return {};
  UniqueFd fifo(::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
  if (!fifo) throw std::runtime_error("Could not open the control FIFO " + path + ".");
  return fifo;
}

timespec to_timespec(std::chrono::nanoseconds time) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
  return {seconds.count(), (time - seconds).count()};
}

}  // namespace

Device::Device(Options options, std::string name, UserPort port, std::ostream& status)
    : options_(std::move(options)),
      name_(std::move(name)),
      port_(std::move(port)),
      status_(status),
      log_(options_.log),
      signals_(end_signals()),
      inputs_{UniqueFd(::dup(STDIN_FILENO)), open_control(options_.control)},
      may_take_(options_.stall_after) {}

void Device::run() {
  appear();
  const auto start = Clock::now();
  if (options_.vanish_after) at(start + *options_.vanish_after, [this] { vanish(); });
  for (std::size_t i = 0; i < options_.periodic.size(); ++i)
    at(start + options_.periodic[i].interval, [this, i] { say_every(i); });
  while (!quit_) {
    run_due_actions();
    if (!quit_) wait();
    log_.flush();
  }
}

void Device::at(Clock::time_point time, std::function<void()> action) {
  actions_.emplace(time, std::move(action));
}

void Device::run_due_actions() {
  while (!actions_.empty() && actions_.begin()->first <= Clock::now()) {
    const auto action = std::move(actions_.begin()->second);
    actions_.erase(actions_.begin());
    action();
  }
}

Device::Clock::time_point Device::wake_time(Clock::time_point now) {
  auto time = now + 1h;
  if (!actions_.empty()) time = std::min(time, actions_.begin()->first);
  if (line_ && !open_) time = std::min(time, now + kOpenerCheck);
  if (open_ && flood_ && !flood_->done() && flood_->due(now).empty())
    time = std::min(time, flood_->next_time(now));
  return std::max(time, now);
}

void Device::wait() {
  if (line_ && !open_) look_for_opener();
  // One time for both questions: what becomes due in between would be neither written nor waited for.
  const auto now = Clock::now();
  const bool talks = !outbox_.empty() || (flood_ && !flood_->due(now).empty());
  const auto line_events = static_cast<short>((may_take_ > 0 ? POLLIN : 0) | (talks ? POLLOUT : 0));
  std::array<pollfd, 4> waits{pollfd{signals_.get(), POLLIN, 0}, pollfd{inputs_[0].get(), POLLIN, 0},
                              pollfd{inputs_[1].get(), POLLIN, 0},
                              pollfd{open_ ? line_->master.get() : -1, line_events, 0}};
  const timespec limit = to_timespec(wake_time(now) - now);
  if (::ppoll(waits.data(), waits.size(), &limit, nullptr) <= 0) return;
  if (waits[0].revents != 0) quit_ = true;
  for (std::size_t i = 0; i < inputs_.size(); ++i)
    if (waits[1 + i].revents != 0) read_commands(inputs_[i], lines_[i]);
  if (open_ && waits[3].revents != 0) serve_line(waits[3].revents);
}

void Device::appear() {
  if (line_) return;
  line_ = open_pty_line();
  port_.show(line_->path);
  status_ << "ready " << name_ << ' ' << line_->path.string() << std::endl;
}

void Device::vanish() {
  if (!line_) return;
  port_.hide();
  set_open(false);
  line_.reset();
  status_ << "vanished" << std::endl;
  if (options_.return_after) at(Clock::now() + *options_.return_after, [this] { appear(); });
}

void Device::set_open(bool open) {
  if (open_ == open) return;
  open_ = open;
  ++opening_;
  outbox_.clear();
  heard_.clear();
  flood_.reset();
  if (open) start_flood(kFloodWithoutFlush);
  status_ << (open ? "opened" : "closed") << std::endl;
}

void Device::look_for_opener() {
  pollfd line{line_->master.get(), POLLIN, 0};
  ::poll(&line, 1, 0);
  // Input without an opener is from one that has been and gone in the meantime.
  if ((line.revents & POLLHUP) == 0 || (line.revents & POLLIN) != 0) set_open(true);
}

void Device::serve_line(short events) {
  if ((events & POLLIN) != 0 && may_take_ > 0)
    receive();
  else if ((events & POLLHUP) != 0) {
    // What a stalled device has not taken, it never will.
    Bytes dropped(kReadBytes);
    while (::read(line_->master.get(), dropped.data(), dropped.size()) > 0) {
    }
    set_open(false);
  }
  if (open_ && (events & POLLOUT) != 0) send();
}

void Device::receive() {
  Bytes bytes(1 + static_cast<std::size_t>(std::min<std::uint64_t>(kReadBytes, may_take_)));
  const auto count = ::read(line_->master.get(), bytes.data(), bytes.size());
  if (count <= 0) return set_open(false);
  const std::uint8_t news = bytes.front();
  bytes.resize(static_cast<std::size_t>(count));
  bytes.erase(bytes.begin());
  if ((news & TIOCPKT_FLUSHREAD) != 0 && flood_ && !flood_->begun()) start_flood(kFloodAfterFlush);
  if (bytes.empty()) return;
  if (may_take_ != kUnlimited) may_take_ -= bytes.size();
  log_.received(bytes);
  if (options_.echo) outbox_.insert(outbox_.end(), bytes.begin(), bytes.end());
  answer(bytes);
}

// Looks for the requests at every byte, so that it does not matter how the input was cut. Of several that end
// at the same byte the longest counts.
void Device::answer(std::span<const std::uint8_t> bytes) {
  std::size_t longest = 0;
  for (const Reply& reply : options_.replies)
    longest = std::max(longest, reply.request.size());
  if (longest == 0) return;
  for (const std::uint8_t byte : bytes) {
    if (heard_.size() == longest) heard_.erase(heard_.begin());
    heard_.push_back(byte);
    const Reply* best = nullptr;
    for (const Reply& reply : options_.replies)
      if ((best == nullptr || reply.request.size() > best->request.size()) &&
          reply.request.size() <= heard_.size() &&
          std::equal(reply.request.rbegin(), reply.request.rend(), heard_.rbegin()))
        best = &reply;
    if (best == nullptr) continue;
    heard_.clear();
    say(best->reply);
  }
}

void Device::say(const Script& script) {
  auto time = Clock::now();
  for (const Piece& piece : script) {
    time += piece.after;
    at(time, [this, bytes = piece.bytes, opening = opening_] {
      if (open_ && opening == opening_) outbox_.insert(outbox_.end(), bytes.begin(), bytes.end());
    });
  }
}

void Device::say_every(std::size_t index) {
  const Periodic& periodic = options_.periodic[index];
  at(Clock::now() + periodic.interval, [this, index] { say_every(index); });
  say(periodic.text);
}

bool Device::write(std::span<const std::uint8_t> bytes, std::size_t& written) {
  const auto count = ::write(line_->master.get(), bytes.data(), bytes.size());
  if (count <= 0) return false;
  written = static_cast<std::size_t>(count);
  log_.sent(bytes.first(written));
  return true;
}

void Device::send() {
  std::size_t written = 0;
  if (!outbox_.empty()) {
    if (!write(outbox_, written)) return;
    outbox_.erase(outbox_.begin(), outbox_.begin() + static_cast<std::ptrdiff_t>(written));
  }
  for (int turn = 0; turn < kBlocksPerTurn && outbox_.empty() && flood_; ++turn) {
    const auto bytes = flood_->due(Clock::now());
    if (bytes.empty() || !write(bytes, written)) return;
    flood_->sent(written);
  }
}

void Device::start_flood(Clock::duration after) {
  if (options_.flood) flood_.emplace(*options_.flood, Clock::now() + after);
}

void Device::read_commands(UniqueFd& input, std::string& rest) {
  std::array<char, 4096> bytes{};
  const auto count = ::read(input.get(), bytes.data(), bytes.size());
  if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
  if (count <= 0) return input.reset();  // its end means nothing but that no more commands come
  rest.append(bytes.data(), static_cast<std::size_t>(count));
  for (std::size_t end = rest.find('\n'); end != rest.npos; end = rest.find('\n')) {
    const std::string line = rest.substr(0, end);
    rest.erase(0, end + 1);
    try {
      if (!line.empty()) obey(parse_command(line));
    } catch (const std::runtime_error& error) {
      std::cerr << error.what() << std::endl;
    }
  }
}

void Device::obey(const Command& command) {
  switch (command.kind) {
    case Command::Kind::kSay: say(command.text); break;
    case Command::Kind::kStall: may_take_ = 0; break;
    case Command::Kind::kResume: may_take_ = kUnlimited; break;
    case Command::Kind::kVanish: vanish(); break;
    case Command::Kind::kReturn: appear(); break;
    case Command::Kind::kFlood:
      options_.flood =
          Flood{command.rate, options_.pattern, options_.flood ? options_.flood->limit : kUnlimited};
      flood_.reset();
      if (open_) flood_.emplace(*options_.flood, Clock::now());
      break;
    case Command::Kind::kFloodOff:
      options_.flood.reset();
      flood_.reset();
      break;
    case Command::Kind::kQuit: quit_ = true; break;
  }
}

}  // namespace hvt::device
