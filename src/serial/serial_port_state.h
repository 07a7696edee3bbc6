#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "serial/port_reservation.h"
#include "serial/serial_port.h"

// What SerialPort and its workers share. Lock order: delivery mutex, then state mutex; the mutexes of an
// attempt and of a connection are leaves. No driver call and no callback runs under the state mutex.
namespace hvt {

// An open handle together with the reservation of its name, which lasts exactly as long as the handle.
struct SerialPort::OpenedPort {
  // Closes the handle (a driver may take its time), then frees the name.
  void close() {
    transport.reset();
    lease.reset();
  }

  std::shared_ptr<PendingPortLease> lease;
  std::shared_ptr<SerialTransport> transport;  // destroyed before the lease
};

// One run of the factory, shared by connect(), the open worker and the connection thread.
struct SerialPort::Attempt {
  explicit Attempt(std::chrono::steady_clock::time_point when) : deadline(when) {}

  // A disconnect overtook the attempt: whatever the factory still returns is thrown away.
  void cancel() {
    {
      const std::lock_guard lock(mutex);
      cancelled = true;
    }
    changed.notify_all();
  }

  const std::chrono::steady_clock::time_point deadline;
  std::mutex mutex;
  std::condition_variable changed;
  bool finished = false;   // the factory has returned and nothing of it is left to clean up
  bool cancelled = false;  // a disconnect or the shutdown came first
  bool timed_out = false;  // the connection thread gave up
  OpenedPort opened;
  std::wstring error_text;
  std::chrono::steady_clock::time_point finished_at{};
};

// One opened port.
//
// Promises  the handle is closed once close() was called, the receive thread has left its loop and the last
//           user has let go; always by the receive thread, so that no caller waits for a driver, and never
//           under a lock.
// Threads   any.
// Owns      the transport and the reservation of its name.
// Ends      idle; a connection is never reopened.
class SerialPort::Connection {
 public:
  explicit Connection(OpenedPort opened) : opened_(std::move(opened)) {}

  // The transport for one operation, or nothing once closing; each success needs its release().
  std::shared_ptr<SerialTransport> acquire();
  void release();
  // Ends every operation in progress; any number of times.
  void close();
  // The receive thread has left its loop: waits for close() and the last user, then closes the handle.
  void finish_reading();
  bool is_closing() const { return closing_; }
  bool is_idle();
  // False when the limit passed first.
  bool wait_until_idle(std::chrono::milliseconds limit);

  const std::thread::id reader_thread_id = std::this_thread::get_id();

 private:
  std::atomic<bool> closing_{false};
  std::mutex mutex_;
  std::condition_variable changed_;
  int users_ = 0;
  bool handle_closed_ = false;  // set after the transport is destroyed, not when that begins
  OpenedPort opened_;
};

// Holds the transport of a connection for one operation.
class SerialPort::TransportUse {
 public:
  explicit TransportUse(Connection& connection) : connection_(connection), transport_(connection.acquire()) {}
  TransportUse(const TransportUse&) = delete;
  TransportUse& operator=(const TransportUse&) = delete;
  ~TransportUse() {
    if (!transport_) return;
    transport_.reset();  // before release(), which may have to close the handle
    connection_.release();
  }

  explicit operator bool() const { return transport_ != nullptr; }
  SerialTransport* operator->() const { return transport_.get(); }

 private:
  Connection& connection_;
  std::shared_ptr<SerialTransport> transport_;
};

struct SerialPort::State {
  State(TransportFactory open, Callbacks calls) : factory(std::move(open)), callbacks(std::move(calls)) {}

  // Still the business of this generation: nothing connected or disconnected since.
  bool is_current(std::uint64_t wanted) {
    const std::lock_guard lock(state_mutex);
    return !shutting_down && generation == wanted;
  }

  std::shared_ptr<Connection> current_connection() {
    const std::lock_guard lock(state_mutex);
    return connection;
  }

  const TransportFactory factory;
  const Callbacks callbacks;

  std::mutex delivery_mutex;  // held while a callback runs, see DeliveryScope

  std::mutex state_mutex;  // guards the rest
  std::shared_ptr<Connection> connection;
  std::shared_ptr<Connection> closing_connection;  // disconnected, its handle perhaps not yet closed
  std::shared_ptr<Attempt> attempt;
  std::uint64_t generation = 0;
  bool shutting_down = false;
  SerialStatus status;
};

// Keeps callbacks and public functions apart. A thread that is already inside this port passes.
class SerialPort::DeliveryScope {
 public:
  explicit DeliveryScope(State& state) : state_(state), outer_(innermost()) {
    for (const DeliveryScope* scope = outer_; scope; scope = scope->outer_)
      nested_ |= &scope->state_ == &state;
    if (!nested_) state.delivery_mutex.lock();
    innermost() = this;
  }
  DeliveryScope(const DeliveryScope&) = delete;
  DeliveryScope& operator=(const DeliveryScope&) = delete;
  ~DeliveryScope() {
    innermost() = outer_;
    if (!nested_) state_.delivery_mutex.unlock();
  }

  bool nested() const { return nested_; }

 private:
  static const DeliveryScope*& innermost();  // of this thread

  State& state_;
  const DeliveryScope* outer_;
  bool nested_ = false;
};

// The two threads of a connection. Both are detached: they hold what they need and may outlive the port.
struct SerialPort::Workers {
  // Runs the factory and hands the transport to the attempt, or destroys a late one.
  static void open(std::shared_ptr<State> state, std::shared_ptr<Attempt> attempt,
                   std::shared_ptr<PendingPortLease> lease, SerialSettings settings) noexcept;
  // Waits for the open, reports the outcome, then receives until the connection ends.
  static void connection(std::shared_ptr<State> state, std::shared_ptr<Attempt> attempt,
                         ConnectCallback callback, std::uint64_t generation, int timeout_ms) noexcept;
  // One error poll; false with a message when it could not be made or failed.
  static bool poll_errors(State& state, Connection& connection, std::uint64_t generation,
                          std::wstring& error);

 private:
  static OpenedPort take_outcome(Attempt& attempt, int timeout_ms, std::wstring& message);
  static std::shared_ptr<Connection> establish(State& state, const std::shared_ptr<Attempt>& attempt,
                                               OpenedPort opened, const ConnectCallback& callback,
                                               const std::wstring& message, std::uint64_t generation);
  static void receive(State& state, const std::shared_ptr<Connection>& connection, std::uint64_t generation);
  static bool read_is_current(Connection& connection);
  static void report_lost(State& state, const std::shared_ptr<Connection>& connection,
                          std::uint64_t generation, const std::wstring& message);
};

}  // namespace hvt
