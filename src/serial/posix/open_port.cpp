#include "serial/posix/open_port.h"

#include <asm/termbits.h>
#include <fcntl.h>
#include <grp.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <vector>

#include "base/posix/error_text.h"
#include "base/posix/unique_fd.h"
#include "base/text.h"
#include "serial/posix/line_settings.h"
#include "serial/posix/port_sources.h"
#include "serial/posix/tty_transport.h"
#include "serial/settings_difference.h"

namespace hvt {
namespace {

namespace fs = std::filesystem;

// A port as named by the user and the node behind it, with the sentences about it.
struct Target {
  std::wstring port;
  fs::path path;
  std::wstring name;  // "ttyUSB0 (/dev/ttyUSB0)", or the path alone when that was asked for
};

Target find_target(const std::wstring& port) {
  const fs::path path = port_path(port);
  const std::wstring shown = path_text(path);
  return {port, path, shown == port ? shown : port + L" (" + shown + L")"};
}

std::wstring busy_text(const Target& target) {
  return target.name + L" is in use by another program.";
}

std::wstring not_serial_text(const Target& target) {
  return target.name + L" is not a serial device.";
}

std::wstring refused_text(const Target& target, int code) {
  return target.name + L" refused the line settings: " + errno_text(code);
}

std::wstring group_name(gid_t id) {
  std::vector<char> buffer(16'384);
  group entry{};
  group* found = nullptr;
  if (::getgrgid_r(id, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr)
    return std::to_wstring(id);
  return utf8_to_utf16_lossy(entry.gr_name);
}

NodeAccess node_access(const Target& target) {
  std::error_code failure;
  const fs::path node = fs::canonical(target.path, failure);
  const bool is_link = !failure && node != target.path;
  NodeAccess access{is_link ? target.port + L" (" + path_text(node) + L")" : path_text(target.path),
                    L"unknown", false};
  struct stat status {};
  if (::stat(target.path.c_str(), &status) != 0) return access;
  access.group = group_name(status.st_gid);
  // To join the superuser's group is never the remedy.
  access.group_may_use = (status.st_mode & 0060) == 0060 && status.st_gid != 0;
  return access;
}

std::wstring open_failure_text(const Target& target, int code) {
  switch (code) {
    case EACCES:
    case EPERM: return no_permission_text(node_access(target));
    case EBUSY: return busy_text(target);
    case ENOENT:
    case ENOTDIR:
    case ELOOP: return L"There is no port " + target.name + L".";
    case ENODEV:
    case ENXIO:
    case EIO: return L"There is no device behind " + target.name + L".";
    case EISDIR: return not_serial_text(target);
    default: return L"Could not open " + target.name + L": " + errno_text(code);
  }
}

// Nothing but a character device is opened at all: opening may already act on other kinds of files.
UniqueFd open_device(const Target& target, std::wstring& error) {
  struct stat status {};
  if (::stat(target.path.c_str(), &status) != 0) {
    error = open_failure_text(target, errno);
    return {};
  }
  if (!S_ISCHR(status.st_mode)) {
    error = not_serial_text(target);
    return {};
  }
  UniqueFd device(::open(target.path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  if (!device) error = open_failure_text(target, errno);
  return device;
}

LineKind line_kind(const UniqueFd& device) {
  // The majors of the slaves of Unix 98 pseudo-terminals.
  constexpr unsigned kFirstSlave = 136;
  constexpr unsigned kLastSlave = 143;
  struct stat status {};
  if (::fstat(device.get(), &status) != 0) return LineKind::kHardware;
  const unsigned kind = major(status.st_rdev);
  return kFirstSlave <= kind && kind <= kLastSlave ? LineKind::kPseudoTerminal : LineKind::kHardware;
}

// The advisory lock is for programs that ask; TIOCEXCL keeps out everyone else but the superuser. A
// pseudo-terminal gets the lock only: it would stay exclusive after a refused open or a crash, for as long as
// its master lives.
bool claim(const UniqueFd& device, const Target& target, std::wstring& error) {
  if (::flock(device.get(), LOCK_EX | LOCK_NB) != 0) {
    const int code = errno;
    error = code == EWOULDBLOCK ? busy_text(target) : open_failure_text(target, code);
    return false;
  }
  if (line_kind(device) == LineKind::kHardware) ::ioctl(device.get(), TIOCEXCL);
  return true;
}

bool configure(const UniqueFd& device, const SerialSettings& settings, const Target& target,
               std::wstring& error) {
  termios2 current{};
  if (::ioctl(device.get(), TCGETS2, &current) != 0) {
    const int code = errno;
    error = code == ENOTTY || code == EINVAL ? not_serial_text(target) : open_failure_text(target, code);
    return false;
  }
  const auto wanted = line_settings(settings, current, error);
  if (!wanted) return false;
  if (::ioctl(device.get(), TCSETS2, &*wanted) == 0) return true;
  error = refused_text(target, errno);
  return false;
}

// A device without modem lines, such as a pseudo-terminal, is as good as any other.
bool set_modem_lines(const UniqueFd& device, const SerialSettings& settings, const Target& target,
                     std::wstring& error) {
  int present = 0;
  if (::ioctl(device.get(), TIOCMGET, &present) != 0) return true;
  struct Line {
    int bit;
    bool asserted;
  };
  for (Line line : {Line{TIOCM_DTR, settings.dtr}, Line{TIOCM_RTS, settings.rts}}) {
    if (::ioctl(device.get(), line.asserted ? TIOCMBIS : TIOCMBIC, &line.bit) == 0) continue;
    error = refused_text(target, errno);
    return false;
  }
  return true;
}

// What the driver made of the settings; it may change them without failing.
bool compare(const UniqueFd& device, const SerialSettings& settings, const Target& target,
             std::wstring& notice) {
  termios2 taken{};
  if (::ioctl(device.get(), TCGETS2, &taken) != 0) {
    notice = refused_text(target, errno);
    return false;
  }
  notice = settings_difference(settings, settings_taken(taken, settings, line_kind(device)));
  return true;
}

}  // namespace

std::wstring no_permission_text(const NodeAccess& access) {
  const std::wstring lead = L"No permission to open " + access.node;
  return access.group_may_use ? lead + L": join the group " + access.group + L" and log in again."
                              : lead + L" (group " + access.group + L"): ask the administrator for access.";
}

std::shared_ptr<SerialTransport> open_posix_port(const SerialSettings& settings, std::wstring& error) {
  error.clear();
  const Target target = find_target(settings.port);
  UniqueFd device = open_device(target, error);
  if (!device || !claim(device, target, error) || !configure(device, settings, target, error) ||
      !set_modem_lines(device, settings, target, error))
    return {};
  if (::ioctl(device.get(), TCFLSH, TCIOFLUSH) != 0) {
    error = open_failure_text(target, errno);
    return {};
  }
  if (!compare(device, settings, target, error)) return {};
  return std::make_shared<TtyTransport>(std::move(device));
}

std::shared_ptr<SerialTransport> open_system_port(const SerialSettings& settings, std::wstring& error) {
  return open_posix_port(settings, error);
}

}  // namespace hvt
