#pragma once

#include <string>

#include "serial/serial_settings.h"

namespace hvt {

// A notice about line settings that the device replaced without failing: "The device set 38400 baud instead
// of 123456." Compares baud, data bits, parity and stop bits; empty when all four were taken as asked.
std::wstring settings_difference(const SerialSettings& asked, const SerialSettings& taken);

}  // namespace hvt
