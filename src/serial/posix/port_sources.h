#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "serial/port_list.h"

namespace hvt {

// Where ports are looked for.
struct PortFolders {
  std::filesystem::path sysfs = "/sys/class/tty";
  std::filesystem::path dev = "/dev";
  std::optional<std::filesystem::path> user_ports;  // see user_ports.h
};

// The folders of this system and user.
PortFolders system_port_folders();

// A listed port, where it is opened and what its device says about itself.
struct FoundPort {
  std::wstring name;
  std::filesystem::path path;
  std::wstring device_text;  // may be empty
};

// Every port, in the order of sort_ports(), each name once. Ports are the terminal devices with hardware
// behind them, Bluetooth links and virtual ports; without the port that carries the kernel's console.
std::vector<FoundPort> find_ports(const PortFolders& folders);

// Where a port is opened: a name that begins with "/" as it stands, else its node or, without one, the
// link of a virtual port. Need not exist.
std::filesystem::path port_path(std::wstring_view port, const PortFolders& folders);
std::filesystem::path port_path(std::wstring_view port);

}  // namespace hvt
