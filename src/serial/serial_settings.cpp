#include "serial/serial_settings.h"

namespace hvt {

bool is_valid(const SerialSettings& settings) {
  const auto within = [](std::int32_t value, std::int32_t low, std::int32_t high) {
    return low <= value && value <= high;
  };
  return !settings.port.empty() && settings.baud != 0 && within(settings.data_bits, 5, 8) &&
         within(settings.parity, kParityNone, kParitySpace) &&
         within(settings.stop_bits, kStopBitsOne, kStopBitsTwo);
}

}  // namespace hvt
