#pragma once

#include <memory>
#include <string>

#include "serial/serial_transport.h"

namespace hvt {

// Opens and configures a port: a listed name, or a path that begins with "/". Sole use is claimed, so that a
// second program that asks for it as well is told that the port is busy. Keeps the rules of TransportFactory;
// `error` is a sentence for the user, also for the notice that the device took other settings.
std::shared_ptr<SerialTransport> open_posix_port(const SerialSettings& settings, std::wstring& error);

// Who may open a device node.
struct NodeAccess {
  std::wstring node;  // as told to the user: "/dev/ttyUSB0", or with the port asked for where that is another
  std::wstring group;
  bool group_may_use = false;  // reads and writes
};

// The sentence for a device that this user may not open: names the node and its group, and what to do. Short
// enough for a status line.
std::wstring no_permission_text(const NodeAccess& access);

}  // namespace hvt
