#include "tools/virtual_device/traffic_log.h"

#include <chrono>
#include <stdexcept>

#include "base/text.h"
#include "transmit/packet_text.h"

namespace hvt::device {

TrafficLog::TrafficLog(const std::string& path) {
  if (path.empty()) return;
  file_.open(path, std::ios::trunc);
  if (!file_) throw std::runtime_error("Could not write " + path + ".");
}

void TrafficLog::flush() {
  if (file_.is_open()) file_.flush();
}

void TrafficLog::write(const char* direction, std::span<const std::uint8_t> bytes) {
  if (!file_.is_open()) return;
  const std::chrono::nanoseconds now = std::chrono::steady_clock::now().time_since_epoch();
  file_ << now.count() << ' ' << direction << ' ' << bytes.size() << ' '
        << utf16_to_utf8(format_hex_bytes(bytes)) << '\n';
}

}  // namespace hvt::device
