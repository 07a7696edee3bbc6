#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "serial/serial_settings.h"
#include "serial/serial_status.h"

namespace hvt {

// A byte stream to one open device.
//
// Promises  read() and write() can always be ended from another thread with cancel().
// Threads   one reader, one writer and any number of cancel / discard_input / query_errors callers at the
//           same time.
// Owns      the operating system's handle.
// Ends      with its last reference; cancel() must come first while a thread may still be reading.
class SerialTransport {
 public:
  SerialTransport() = default;
  SerialTransport(const SerialTransport&) = delete;
  SerialTransport& operator=(const SerialTransport&) = delete;
  virtual ~SerialTransport() = default;

  // Waits until bytes arrived (true, `buffer` holds exactly them), a short idle time passed (true, empty:
  // just call again), the transport was cancelled (false, `error` empty) or failed (false, `error` set).
  // `buffer` keeps its capacity from call to call.
  virtual bool read(std::vector<std::uint8_t>& buffer, std::wstring& error) = 0;

  // Writes all of `data` or fails with `error` set. An empty span succeeds at once.
  virtual bool write(std::span<const std::uint8_t> data, std::wstring& error) = 0;

  // Makes a blocked read or write return false promptly and every later one fail at once. Any thread, any
  // number of times.
  virtual void cancel() = 0;

  // Drops what was received and not yet read; a read in progress counts as overtaken from now on.
  virtual bool discard_input(std::wstring& error) = 0;

  // False when discard_input() ran after the bytes of the latest read were taken: they belong to the time
  // before the discard and must be dropped. Asked by the reading thread.
  virtual bool read_is_current() { return true; }

  // Polls and clears the device's communication errors. The base version is that of a transport without
  // any: `out` and `error` cleared, true.
  virtual bool query_errors(CommErrorSnapshot& out, std::wstring& error);
};

// Opens a port. An empty pointer is a failure with its reason in the text. A transport with a text is a
// success with a notice: the device took other line settings than those asked for.
using TransportFactory =
    std::function<std::shared_ptr<SerialTransport>(const SerialSettings&, std::wstring& error)>;

// The factory for this system's serial ports (open_win32_port or open_posix_port).
std::shared_ptr<SerialTransport> open_system_port(const SerialSettings& settings, std::wstring& error);

}  // namespace hvt
