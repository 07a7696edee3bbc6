#pragma once

#include <memory>

#include "tests/support/transport_rig.h"

namespace hvt::test {

// COM ports of Wine that are Linux pseudo-terminals, served by tools/wine/with_ptys.py: each pair of
// connections to its socket makes one port and is the device at its far end.
bool mapped_ports_available();
std::unique_ptr<TransportRig> make_mapped_port_rig();

}  // namespace hvt::test
