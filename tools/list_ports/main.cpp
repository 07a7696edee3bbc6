// Prints the ports that the program lists, one label a line.

#include <cstdio>

#include "base/text.h"
#include "serial/port_list.h"

int main() {
  for (const hvt::PortDescription& port : hvt::list_system_ports()) {
    std::puts(hvt::utf16_to_utf8(hvt::port_label(port)).c_str());
  }
}
