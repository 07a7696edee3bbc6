#pragma once

// The kernel's own structure: the C library's termios knows only the classic rates.
#include <asm/termbits.h>

#include <optional>
#include <string>

#include "serial/serial_settings.h"

namespace hvt {

// How the settings look to the kernel: every byte unchanged in both directions, no flow control of any kind,
// no check of received parity, any rate. Fields with no say in this keep their value from `current`.
// A combination that no device offers is refused: empty, with the reason in `error`.
std::optional<termios2> line_settings(const SerialSettings& settings, const termios2& current,
                                      std::wstring& error);

// What a device made of the settings, as settings. Of a pseudo-terminal, which always carries 8 bits and no
// parity and loses nothing by it, character size and parity count as taken.
enum class LineKind { kHardware, kPseudoTerminal };
SerialSettings settings_taken(const termios2& taken, const SerialSettings& asked, LineKind kind);

}  // namespace hvt
