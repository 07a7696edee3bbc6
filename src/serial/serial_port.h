#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "serial/serial_settings.h"
#include "serial/serial_status.h"
#include "serial/serial_transport.h"

namespace hvt {

// The message of an attempt that took too long: "Serial connection exceeded 3000 ms."
std::wstring connect_timeout_text(int timeout_ms);

// At most one live connection to one port, with every thread and every blocking driver call behind it.
//
// Promises  connect() returns at once, however long the driver's open takes; an open that outlives its
//           time-out is abandoned, and its port stays reserved in this process until the driver lets go.
//           Callbacks never overlap each other. None comes after the destructor, and none of an ended
//           connection after disconnect().
// Threads   public functions from any thread, callbacks included. write() may run beside everything else;
//           the others take turns with the callbacks.
// Owns      the connection, the running attempt and, shared with its workers, their state.
// Ends      with the destructor: everything is disconnected; a worker that still sits in the driver cleans
//           up on its own when it returns.
class SerialPort {
 public:
  // Called on worker threads; must not throw and must not wait for a thread that uses this port.
  struct Callbacks {
    // Bytes with the time at which the read returned.
    std::function<void(const std::vector<std::uint8_t>&, std::chrono::steady_clock::time_point)> received;
    // A copy of the status after a poll that found something new, or after a loss.
    std::function<void(const SerialStatus&)> status;
    // The link broke; the message is never empty. The port is disconnected by then.
    std::function<void(const std::wstring&)> lost;
  };

  // Outcome of one connect(). A failure carries its message; a success may carry a notice (TransportFactory).
  using ConnectCallback = std::function<void(bool connected, const std::wstring& message)>;

  // An empty factory means this system's serial ports.
  SerialPort(TransportFactory factory, Callbacks callbacks);
  SerialPort(const SerialPort&) = delete;
  SerialPort& operator=(const SerialPort&) = delete;
  ~SerialPort();

  // Starts an attempt with a deadline `timeout_ms` from now. False means that nothing was started: invalid
  // settings, a time-out below 1, a connection or attempt in the way, or the port still reserved.
  bool connect(const SerialSettings& settings, int timeout_ms, ConnectCallback callback);

  // Ends the connection or the attempt; harmless without one. Waits until the handle is closed, but not when
  // called from a callback, and not for a driver that ignores the cancelling (kReleaseLimit).
  void disconnect();

  // All three: false with a message; "Connect to a COM port first." without a connection.
  bool write(std::span<const std::uint8_t> data, std::wstring& error);
  bool discard_input(std::wstring& error);
  bool refresh_status(std::wstring& error);  // one error poll now

  // Runs the function while no callback runs and none can start.
  void while_undisturbed(const std::function<void()>& function);

  // How long disconnect() waits for the handle before it leaves the rest to the reader. Long past what a
  // working driver needs; it keeps a broken one from freezing the window. Until the handle is closed,
  // connect() declines.
  static constexpr std::chrono::milliseconds kReleaseLimit{2000};

 private:
  struct State;
  struct OpenedPort;
  struct Attempt;
  class Connection;
  class TransportUse;
  class DeliveryScope;
  struct Workers;

  std::shared_ptr<State> state_;
};

}  // namespace hvt
