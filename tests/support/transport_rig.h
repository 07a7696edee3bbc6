#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <span>
#include <string>
#include <vector>

#include "serial/serial_transport.h"

namespace hvt::test {

// A transport together with the far end of its line, for the contract every transport must keep.
//
// Promises  the device_ functions act on the far end; none blocks for longer than 5 s.
// Threads   one thread at a time may use the device_ functions, while others use transport().
// Owns      both ends.
// Ends      with the object; transport() is cancelled first.
class TransportRig {
 public:
  virtual ~TransportRig() = default;

  virtual const std::shared_ptr<SerialTransport>& transport() const = 0;
  // Puts the bytes on the line as one piece, in full; gives up after 5 s without progress.
  virtual void device_sends(std::span<const std::uint8_t> bytes) = 0;
  // Waits until `count` bytes arrived at the device; returns fewer after 5 s.
  virtual std::vector<std::uint8_t> device_receives(std::size_t count) = 0;
  // From now on the device takes nothing: a long write blocks.
  virtual void device_stalls() = 0;
  // Unplugs the device.
  virtual void device_vanishes() = 0;
};

// What the transport at hand can show; the contract skips nothing else.
struct RigTraits {
  bool idle_return = false;        // read() returns empty after a silence
  bool write_blocks = false;       // a long write to a stalled device waits
  bool write_deadline = false;     // ... and ends after 500 ms
  bool unplug = false;             // the device can vanish
  bool discard = false;            // discard_input() does something
  bool overtakes = false;          // read_is_current() knows about discards
  bool discard_ends_read = false;  // the read in progress takes nothing that comes after a discard
  bool device_end = false;         // the device does not simply send back what it is sent
};

// All that a serial line can show.
inline constexpr RigTraits kSerialLine{true, true, true, true, true, true, true, true};

struct RigKind {
  std::string name;
  RigTraits traits;
  std::function<std::unique_ptr<TransportRig>()> make;
};

// How a failing contract names the kind it failed for.
inline void PrintTo(const RigKind& kind, std::ostream* out) {
  *out << kind.name;
}

// The kinds of this system: the portable ones and those of tests/serial/posix or tests/serial/win32.
std::vector<RigKind> rig_kinds();
std::vector<RigKind> system_rig_kinds();

}  // namespace hvt::test
