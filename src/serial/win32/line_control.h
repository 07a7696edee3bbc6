#pragma once

#include <windows.h>

#include "serial/serial_settings.h"

namespace hvt {

// The driver's control block with the user's line settings put in: 8-bit transparent, flow control off in
// both directions, DTR and RTS as asked. Reserved bits, queue limits and special characters stay the
// driver's.
DCB with_settings(DCB driver, const SerialSettings& settings);

// The line settings that a control block read back from the driver says; port, DTR and RTS are those of
// `asked`.
SerialSettings settings_in(const DCB& driver, const SerialSettings& asked);

}  // namespace hvt
