#include "tools/virtual_device/pty_line.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <termios.h>

#include <array>
#include <stdexcept>

namespace hvt::device {

PtyLine open_pty_line() {
  PtyLine line{UniqueFd(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)), {}};
  std::array<char, 128> name{};
  termios settings{};
  const int master = line.master.get();
  if (!line.master || ::grantpt(master) != 0 || ::unlockpt(master) != 0 ||
      ::ptsname_r(master, name.data(), name.size()) != 0 || ::tcgetattr(master, &settings) != 0)
    throw std::runtime_error("Could not make a pseudo-terminal.");
  ::cfmakeraw(&settings);
  ::tcsetattr(master, TCSANOW, &settings);
  int on = 1;
  if (::ioctl(master, TIOCPKT, &on) != 0) throw std::runtime_error("The pseudo-terminal has no packet mode.");
  line.path = name.data();
  // Only after it was open once does the master report that nobody has the other end.
  const UniqueFd other(::open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC));
  return line;
}

}  // namespace hvt::device
