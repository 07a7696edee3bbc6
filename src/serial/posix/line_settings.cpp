#include "serial/posix/line_settings.h"

#include <array>
#include <iterator>

namespace hvt {
namespace {

// By number of data bits, from 5 on.
constexpr std::array<tcflag_t, 4> kSizeFlags{CS5, CS6, CS7, CS8};
// By parity code.
constexpr std::array<tcflag_t, 5> kParityFlags{0, PARENB | PARODD, PARENB, PARENB | PARODD | CMSPAR,
                                               PARENB | CMSPAR};
constexpr tcflag_t kParityMask = PARENB | PARODD | CMSPAR;

template <typename Table>
std::ptrdiff_t index_of(const Table& table, tcflag_t flags) {
  for (std::size_t i = 0; i < table.size(); ++i)
    if (table[i] == flags) return static_cast<std::ptrdiff_t>(i);
  return 0;
}

}  // namespace

std::optional<termios2> line_settings(const SerialSettings& settings, const termios2& current,
                                      std::wstring& error) {
  // The hardware makes "two" of five-bit characters one and a half; there is no flag of its own for it.
  if (settings.stop_bits == kStopBitsOneAndHalf && settings.data_bits != 5) {
    error = L"1.5 stop bits are only possible with 5 data bits.";
    return {};
  }
  termios2 line = current;
  line.c_iflag = 0;
  line.c_oflag = 0;
  line.c_lflag = 0;
  line.c_cflag = BOTHER | CREAD | CLOCAL | kSizeFlags.at(settings.data_bits - 5U) |
                 kParityFlags.at(static_cast<std::size_t>(settings.parity)) | (current.c_cflag & HUPCL);
  if (settings.stop_bits != kStopBitsOne) line.c_cflag |= CSTOPB;
  // With VMIN 0 a read without data would return zero bytes, which must mean an unplugged device.
  line.c_cc[VMIN] = 1;
  line.c_cc[VTIME] = 0;
  line.c_ispeed = settings.baud;
  line.c_ospeed = settings.baud;
  return line;
}

SerialSettings settings_taken(const termios2& taken, const SerialSettings& asked, LineKind kind) {
  SerialSettings settings = asked;
  settings.baud = taken.c_ospeed;
  const bool two = (taken.c_cflag & CSTOPB) != 0;
  if (two != (asked.stop_bits != kStopBitsOne)) settings.stop_bits = two ? kStopBitsTwo : kStopBitsOne;
  if (kind == LineKind::kPseudoTerminal) return settings;
  settings.data_bits = static_cast<std::uint8_t>(5 + index_of(kSizeFlags, taken.c_cflag & CSIZE));
  settings.parity = static_cast<std::int32_t>(index_of(kParityFlags, taken.c_cflag & kParityMask));
  return settings;
}

}  // namespace hvt
