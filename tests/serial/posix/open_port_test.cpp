// Opening a terminal device: whoever cannot have it must learn why, and what was asked for must be what the
// line does.

#include "serial/posix/open_port.h"

#include <asm/termbits.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/fsuid.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <stdexcept>
#include <utility>

#include "base/posix/unique_fd.h"
#include "base/text.h"
#include "serial/posix/line_settings.h"
#include "serial/posix/tty_transport.h"
#include "serial/settings_difference.h"
#include "tests/support/pty.h"
#include "tests/support/time_limit.h"

namespace hvt::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

SerialSettings settings_for(const std::wstring& port) {
  SerialSettings settings;
  settings.port = port;
  return settings;
}

std::shared_ptr<SerialTransport> opened(const Pty& pty) {
  std::wstring error;
  auto transport = open_posix_port(settings_for(pty.port()), error);
  if (!transport) throw std::runtime_error(utf16_to_utf8(error));
  return transport;
}

std::string failure_of(const SerialSettings& settings) {
  std::wstring error;
  return open_posix_port(settings, error) ? "opened" : utf16_to_utf8(error);
}

// The line settings in force; a pseudo-terminal's master shows those of its slave.
termios2 line_of(const Pty& pty) {
  termios2 line{};
  EXPECT_EQ(::ioctl(pty.master(), TCGETS2, &line), 0);
  return line;
}

TEST(OpenPort, SetsAnyRateWithoutANotice) {
  for (const std::uint32_t baud : {50U, 9600U, 76'800U, 115'200U, 123'456U, 250'000U, 4'000'000U}) {
    Pty pty;
    SerialSettings settings = settings_for(pty.port());
    settings.baud = baud;
    std::wstring error;
    EXPECT_NE(open_posix_port(settings, error), nullptr) << baud;
    EXPECT_EQ(utf16_to_utf8(error), "") << baud;
    EXPECT_EQ(line_of(pty).c_ospeed, baud);
    EXPECT_EQ(line_of(pty).c_ispeed, baud);
  }
}

TEST(OpenPort, LeavesNothingOnThatChangesOrHoldsBackBytes) {
  Pty pty;
  termios2 line = line_of(pty);
  line.c_iflag = IXON | IXOFF | IXANY | ICRNL | INLCR | ISTRIP | INPCK | PARMRK | BRKINT;
  line.c_oflag = OPOST | ONLCR;
  line.c_lflag = ICANON | ECHO | ISIG | IEXTEN;
  line.c_cflag |= CRTSCTS;
  line.c_cc[VMIN] = 0;
  line.c_cc[VTIME] = 7;
  ASSERT_EQ(::ioctl(pty.master(), TCSETS2, &line), 0);
  const auto transport = opened(pty);
  line = line_of(pty);
  EXPECT_EQ(line.c_iflag, 0U);
  EXPECT_EQ(line.c_oflag, 0U);
  EXPECT_EQ(line.c_lflag, 0U);
  EXPECT_EQ(line.c_cflag & (CRTSCTS | CREAD | CLOCAL), tcflag_t{CREAD | CLOCAL});
  EXPECT_EQ(line.c_cc[VMIN], 1);
  EXPECT_EQ(line.c_cc[VTIME], 0);
}

TEST(OpenPort, TheNewConnectionSeesNothingFromBeforeIt) {
  Pty pty;
  pty.send(Bytes(300, 0xEE));
  const auto transport = opened(pty);
  pty.send(Bytes{1, 2, 3});
  Bytes buffer;
  std::wstring error;
  const TimeLimit limit("what the device sent", [&transport] { transport->cancel(); });
  while (buffer.empty() && !limit.expired())
    ASSERT_TRUE(transport->read(buffer, error));
  EXPECT_EQ(buffer, (Bytes{1, 2, 3}));
}

TEST(OpenPort, APortInUseIsBusyUntilItsUserLetsGo) {
  Pty pty;
  const std::string busy = pty.path() + " is in use by another program.";
  auto first = opened(pty);
  EXPECT_EQ(failure_of(settings_for(pty.port())), busy);
  first.reset();
  EXPECT_EQ(failure_of(settings_for(pty.port())), "opened");

  // Another program that follows the same custom.
  UniqueFd other(::open(pty.path().c_str(), O_RDWR | O_NOCTTY));
  ASSERT_EQ(::flock(other.get(), LOCK_EX | LOCK_NB), 0);
  EXPECT_EQ(failure_of(settings_for(pty.port())), busy);
  other.reset();
  EXPECT_EQ(failure_of(settings_for(pty.port())), "opened");
}

TEST(OpenPort, ARefusedOpenOfAPseudoTerminalLeavesItFreeForEveryUser) {
  Pty pty;
  const UniqueFd watcher(::open(pty.path().c_str(), O_RDWR | O_NOCTTY));
  SerialSettings settings = settings_for(pty.port());
  settings.stop_bits = kStopBitsOneAndHalf;  // impossible with 8 data bits
  EXPECT_NE(failure_of(settings), "opened");
  int exclusive = -1;  // would outlive the open, and the superuser would not notice
  ASSERT_EQ(::ioctl(watcher.get(), TIOCGEXCL, &exclusive), 0);
  EXPECT_EQ(exclusive, 0);
}

TEST(TtyTransport, WhatWasWrittenReachesTheDeviceAlthoughThePortIsClosedAtOnce) {
  Pty pty;
  const Bytes packet(8000, 0x55);
  auto transport = opened(pty);
  std::wstring error;
  ASSERT_TRUE(transport->write(packet, error));
  transport.reset();
  EXPECT_EQ(pty.receive(packet.size()), packet);
}

TEST(OpenPort, SaysWhatIsWrongWithAPath) {
  const std::string program = "/proc/self/exe";
  const std::pair<std::string, std::string> cases[] = {
      {"/tmp", "/tmp is not a serial device."},
      {program, program + " is not a serial device."},
      {"/dev/null", "/dev/null is not a serial device."},
      {"/dev/no-such-port", "There is no port /dev/no-such-port."},
      {"/proc/self/exe/below", "There is no port /proc/self/exe/below."},
      {"no-such-port", "There is no port no-such-port (/dev/no-such-port)."},
      {"../tmp", "../tmp (/dev/../tmp) is not a serial device."},
  };
  for (const auto& [port, text] : cases)
    EXPECT_EQ(failure_of(settings_for({port.begin(), port.end()})), text);
}

// The superuser may open everything; it lays that down for a moment, for this thread.
class WithoutPrivilege {
 public:
  WithoutPrivilege() {
    if (::geteuid() == 0) ::setfsuid(65'534);
  }
  ~WithoutPrivilege() { ::setfsuid(::geteuid()); }
};

TEST(OpenPort, WithoutPermissionNamesTheNodeItsGroupAndTheRemedy) {
  Pty pty;
  ASSERT_EQ(::chmod(pty.path().c_str(), 0), 0);
  const WithoutPrivilege scope;
  const std::string text = failure_of(settings_for(pty.port()));
  EXPECT_TRUE(text.starts_with("No permission to open " + pty.path() + " (group ")) << text;
  EXPECT_TRUE(text.ends_with("): ask the administrator for access.")) << text;

  // Another way to the node is told together with it.
  const std::string detour = failure_of(settings_for(L"/dev/.." + pty.port()));
  const std::string both = "/dev/.." + pty.path() + " (" + pty.path() + ")";
  EXPECT_TRUE(detour.starts_with("No permission to open " + both + " (group ")) << detour;

  EXPECT_EQ(utf16_to_utf8(no_permission_text({L"/dev/ttyUSB0", L"dialout", true})),
            "No permission to open /dev/ttyUSB0: join the group dialout and log in again.");
}

TEST(LineSettings, EveryFrameMapsToItsFlagsAndBack) {
  constexpr tcflag_t kSizes[] = {CS5, CS6, CS7, CS8};
  constexpr tcflag_t kParities[] = {0, PARENB | PARODD, PARENB, PARENB | CMSPAR | PARODD, PARENB | CMSPAR};
  for (std::uint8_t bits = 5; bits <= 8; ++bits)
    for (std::int32_t parity = 0; parity <= 4; ++parity)
      for (std::int32_t stop = 0; stop <= 2; ++stop) {
        SCOPED_TRACE(std::to_string(bits) + "/" + std::to_string(parity) + "/" + std::to_string(stop));
        const SerialSettings asked{L"x", 123'456, bits, parity, stop, true, true};
        std::wstring error;
        const auto line = line_settings(asked, termios2{}, error);
        if (stop == kStopBitsOneAndHalf && bits != 5) {
          EXPECT_FALSE(line);
          EXPECT_EQ(error, L"1.5 stop bits are only possible with 5 data bits.");
          continue;
        }
        ASSERT_TRUE(line);
        EXPECT_EQ(line->c_cflag & CSIZE, kSizes[bits - 5]);
        EXPECT_EQ(line->c_cflag & (PARENB | PARODD | CMSPAR), kParities[parity]);
        EXPECT_EQ((line->c_cflag & CSTOPB) != 0, stop != kStopBitsOne);
        EXPECT_EQ(settings_difference(asked, settings_taken(*line, asked, LineKind::kHardware)), L"");
      }
}

TEST(LineSettings, WhatTheDeviceChangedIsFoundExceptWhatAPseudoTerminalCannotKeep) {
  const SerialSettings asked{L"x", 123'456, 7, kParityEven, kStopBitsTwo, true, true};
  std::wstring error;
  termios2 taken = *line_settings(asked, termios2{}, error);
  taken.c_ospeed = 38'400;
  taken.c_cflag = (taken.c_cflag & ~tcflag_t{CSIZE | PARENB | CSTOPB}) | CS8;
  const auto notice = [&](LineKind kind) {
    return utf16_to_utf8(settings_difference(asked, settings_taken(taken, asked, kind)));
  };
  EXPECT_EQ(
      notice(LineKind::kHardware),
      "The device set 38400 baud instead of 123456, 8 data bits instead of 7, no parity instead of even, "
      "1 stop bits instead of 2.");
  EXPECT_EQ(notice(LineKind::kPseudoTerminal),
            "The device set 38400 baud instead of 123456, 1 stop bits instead of 2.");
}

TEST(OpenPort, APseudoTerminalRaisesNoFalseAlarmForAFrameItDoesNotKeep) {
  Pty pty;
  SerialSettings settings = settings_for(pty.port());
  settings.data_bits = 7;
  settings.parity = kParityEven;
  settings.stop_bits = kStopBitsTwo;
  std::wstring error;
  EXPECT_NE(open_posix_port(settings, error), nullptr);
  EXPECT_EQ(utf16_to_utf8(error), "");
}

// A pseudo-terminal drops what was on its way when it is unplugged; a socket keeps it, as some drivers do.
std::pair<UniqueFd, UniqueFd> socket_line() {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends.data()) != 0)
    throw std::runtime_error("no sockets");
  return {UniqueFd(ends[1]), UniqueFd(ends[0])};
}

TEST(TtyTransport, DeliversWhatCameBeforeTheEndAndThenTheEndForGood) {
  auto [device, port] = socket_line();
  TtyTransport transport{std::move(port)};
  const Bytes last(5000, 0x5A);
  ASSERT_EQ(::write(device.get(), last.data(), last.size()), static_cast<ssize_t>(last.size()));
  device.reset();
  Bytes buffer;
  std::wstring error;
  EXPECT_TRUE(transport.read(buffer, error));
  EXPECT_EQ(buffer, last);
  for (int i = 0; i < 3; ++i) {
    EXPECT_FALSE(transport.read(buffer, error));
    EXPECT_EQ(error, kDeviceRemoved);
    EXPECT_TRUE(buffer.empty());
  }
}

TEST(TtyTransport, OneReadTakesMuchOfABurstAndNeverMoreThanItsLimit) {
  auto [device, port] = socket_line();
  TtyTransport transport{std::move(port)};
  const Bytes burst(kReadBufferBytes + 10'000, 0x11);
  ASSERT_EQ(::write(device.get(), burst.data(), burst.size()), static_cast<ssize_t>(burst.size()));
  Bytes buffer;
  std::wstring error;
  EXPECT_TRUE(transport.read(buffer, error));
  EXPECT_EQ(buffer.size(), kReadBufferBytes);
  EXPECT_TRUE(transport.read(buffer, error));
  EXPECT_EQ(buffer.size(), 10'000U);
}

TEST(TtyTransport, CountsThatGrewOrWrappedBecomeTheirBits) {
  const ErrorCounts start{INT_MAX, 2, 3, 4, 5};
  const std::pair<ErrorCounts, std::uint32_t> cases[] = {
      {start, 0},
      {{INT_MIN, 2, 3, 4, 5}, kCommRxOver},
      {{INT_MAX, 9, 3, 4, 5}, kCommOverrun},
      {{INT_MAX, 2, 4, 5, 5}, kCommParity | kCommFrame},
      {{INT_MAX, 2, 3, 4, 6}, kCommBreak},
  };
  for (const auto& [now, mask] : cases)
    EXPECT_EQ(errors_between(start, now), mask);
}

}  // namespace
}  // namespace hvt::test
