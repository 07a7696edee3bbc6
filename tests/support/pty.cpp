#include "tests/support/pty.h"

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace hvt::test {
namespace {

constexpr int kPatienceMs = 5000;

bool wait_for(int fd, short events) {
  pollfd wait{fd, events, 0};
  return ::poll(&wait, 1, kPatienceMs) == 1 && (wait.revents & events) != 0;
}

}  // namespace

Pty::Pty() : master_(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)) {
  std::array<char, 128> name{};
  termios line{};
  if (master_ < 0 || ::grantpt(master_) != 0 || ::unlockpt(master_) != 0 ||
      ::ptsname_r(master_, name.data(), name.size()) != 0 || ::tcgetattr(master_, &line) != 0)
    throw std::runtime_error("no pseudo-terminal to be had");
  path_ = name.data();
  ::cfmakeraw(&line);
  ::tcsetattr(master_, TCSANOW, &line);
}

Pty::~Pty() {
  unplug();
}

std::size_t Pty::send(std::span<const std::uint8_t> bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size() && wait_for(master_, POLLOUT)) {
    const auto count = ::write(master_, bytes.data() + sent, bytes.size() - sent);
    if (count > 0) sent += static_cast<std::size_t>(count);
  }
  return sent;
}

std::vector<std::uint8_t> Pty::receive(std::size_t count) {
  std::vector<std::uint8_t> bytes(count);
  std::size_t received = 0;
  while (received < count && wait_for(master_, POLLIN)) {
    const auto got = ::read(master_, bytes.data() + received, count - received);
    if (got <= 0) break;
    received += static_cast<std::size_t>(got);
  }
  bytes.resize(received);
  return bytes;
}

void Pty::unplug() {
  if (master_ >= 0) ::close(master_);
  master_ = -1;
}

}  // namespace hvt::test
