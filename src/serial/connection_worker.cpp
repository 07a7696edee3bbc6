#include <exception>
#include <utility>

#include "serial/driver_call.h"
#include "serial/serial_port_state.h"
#include "serial/transport_limits.h"

namespace hvt {
namespace {

using Clock = std::chrono::steady_clock;

std::shared_ptr<SerialTransport> run_factory(const TransportFactory& factory, const SerialSettings& settings,
                                             std::wstring& error) {
  try {
    return factory(settings, error);
  } catch (const std::exception&) {
    error = L"Serial driver failed while opening the port.";
  } catch (...) {
    error = kUnexpectedDriverFailure;
  }
  return nullptr;
}

void count_errors(SerialStatus& status, std::uint32_t mask) {
  if (mask == 0) return;
  ++status.observations;
  status.error_mask |= mask;
  if (mask & (kCommRxOver | kCommOverrun)) ++status.overflow_or_overrun_observations;
  if (mask & kCommRxOver) ++status.rx_overflow_observations;
  if (mask & kCommOverrun) ++status.overrun_observations;
  if (mask & kCommFrame) ++status.frame_observations;
  if (mask & kCommParity) ++status.parity_observations;
  if (mask & kCommBreak) ++status.break_observations;
}

}  // namespace

void SerialPort::Workers::open(std::shared_ptr<State> state, std::shared_ptr<Attempt> attempt,
                               std::shared_ptr<PendingPortLease> lease, SerialSettings settings) noexcept {
  OpenedPort opened{std::move(lease), nullptr};
  std::wstring message;
  bool wanted = true;
  {
    const std::lock_guard lock(attempt->mutex);
    wanted = !attempt->cancelled && !attempt->timed_out;
  }
  if (wanted) opened.transport = run_factory(state->factory, settings, message);
  {
    const std::lock_guard lock(attempt->mutex);
    attempt->finished_at = Clock::now();
    const bool in_time = attempt->finished_at < attempt->deadline;
    if (opened.transport && !attempt->cancelled && !attempt->timed_out && in_time) {
      attempt->opened = std::exchange(opened, {});
    }
    attempt->error_text = std::move(message);
  }
  if (opened.transport) opened.transport->cancel();  // late: nobody waits for it any more
  opened.close();  // before the outcome is told, so that whoever hears of a failure can try again
  {
    const std::lock_guard lock(attempt->mutex);
    attempt->finished = true;
  }
  attempt->changed.notify_all();
}

// The opened port, or nothing and a message.
SerialPort::OpenedPort SerialPort::Workers::take_outcome(Attempt& attempt, int timeout_ms,
                                                         std::wstring& message) {
  std::unique_lock lock(attempt.mutex);
  attempt.changed.wait_until(lock, attempt.deadline, [&] { return attempt.finished || attempt.cancelled; });
  OpenedPort opened = std::exchange(attempt.opened, {});
  if (!attempt.cancelled && attempt.finished && attempt.finished_at < attempt.deadline) {
    message = std::move(attempt.error_text);
    if (!opened.transport && message.empty()) message = L"Could not open serial port.";
    return opened;
  }
  attempt.timed_out = true;
  lock.unlock();
  if (opened.transport) opened.transport->cancel();
  opened.close();
  message = connect_timeout_text(timeout_ms);
  return {};
}

// Makes the port the current connection and reports it, or reports the failure. Once the attempt is
// overtaken, neither.
std::shared_ptr<SerialPort::Connection> SerialPort::Workers::establish(
    State& state, const std::shared_ptr<Attempt>& attempt, OpenedPort opened, const ConnectCallback& callback,
    const std::wstring& message, std::uint64_t generation) {
  std::shared_ptr<Connection> connection;
  const DeliveryScope delivery(state);
  {
    const std::lock_guard lock(state.state_mutex);
    if (state.attempt == attempt) state.attempt.reset();
    if (state.shutting_down || state.generation != generation) return nullptr;
    if (opened.transport) {
      connection = std::make_shared<Connection>(std::move(opened));
      state.connection = connection;
      state.status = SerialStatus{};
      state.status.generation = generation;
      state.status.updated_at = Clock::now();
    }
  }
  if (callback) callback(connection != nullptr, message);
  return connection;
}

void SerialPort::Workers::connection(std::shared_ptr<State> state, std::shared_ptr<Attempt> attempt,
                                     ConnectCallback callback, std::uint64_t generation,
                                     int timeout_ms) noexcept {
  std::wstring message;
  OpenedPort opened = take_outcome(*attempt, timeout_ms, message);
  const auto connection = establish(*state, attempt, std::move(opened), callback, message, generation);
  callback = nullptr;  // what it holds should not live as long as the connection
  if (!connection) return;
  receive(*state, connection, generation);
  connection->finish_reading();
}

void SerialPort::Workers::receive(State& state, const std::shared_ptr<Connection>& connection,
                                  std::uint64_t generation) {
  std::vector<std::uint8_t> buffer;
  std::wstring error;
  while (state.is_current(generation)) {
    Clock::time_point arrived;
    {
      const TransportUse transport(*connection);
      if (!transport) return;
      // No fallback text: an empty message means "cancelled" here.
      if (!driver_call(error, {}, [&] { return transport->read(buffer, error); })) break;
      arrived = Clock::now();
    }
    if (read_is_current(*connection)) {
      const std::lock_guard lock(state.state_mutex);
      if (state.generation == generation) state.status.rx_bytes += buffer.size();
    }
    std::wstring poll_error;  // reported through the status
    poll_errors(state, *connection, generation, poll_error);
    if (buffer.empty()) continue;
    const DeliveryScope delivery(state);
    if (!state.is_current(generation)) return;
    if (read_is_current(*connection) && state.callbacks.received) state.callbacks.received(buffer, arrived);
  }
  report_lost(state, connection, generation, error);
}

bool SerialPort::Workers::read_is_current(Connection& connection) {
  const TransportUse transport(connection);
  return transport && transport->read_is_current();
}

bool SerialPort::Workers::poll_errors(State& state, Connection& connection, std::uint64_t generation,
                                      std::wstring& error) {
  if (!state.is_current(generation)) return fail(error, kConnectionClosed);
  CommErrorSnapshot snapshot;
  bool queried = false;
  {
    const TransportUse transport(connection);
    if (!transport) return fail(error, kConnectionClosed);
    queried = driver_call(error, L"Could not query serial communication status.",
                          [&] { return transport->query_errors(snapshot, error); });
  }
  SerialStatus copy;
  const DeliveryScope delivery(state);  // statuses are told in the order in which they came about
  {
    const std::lock_guard lock(state.state_mutex);
    if (state.shutting_down || state.generation != generation || state.connection.get() != &connection) {
      return queried;
    }
    SerialStatus& status = state.status;
    const bool changed = !queried || snapshot.mask != 0 || status.comm_status_available != snapshot.available;
    ++status.update_sequence;
    status.updated_at = Clock::now();
    status.comm_status_available = snapshot.available;
    status.last_error_mask = snapshot.mask;
    status.input_queued_bytes = snapshot.input_queued_bytes;
    status.connection_lost = false;
    status.query_failed = !queried;
    status.error_text = error;
    if (!queried) ++status.query_failures;
    count_errors(status, snapshot.mask);
    if (!changed) return queried;
    copy = status;
  }
  if (state.callbacks.status) state.callbacks.status(copy);
  return queried;
}

void SerialPort::Workers::report_lost(State& state, const std::shared_ptr<Connection>& connection,
                                      std::uint64_t generation, const std::wstring& message) {
  const DeliveryScope delivery(state);
  SerialStatus copy;
  {
    const std::lock_guard lock(state.state_mutex);
    const bool mine = state.connection == connection && state.generation == generation;
    if (state.shutting_down || connection->is_closing() || !mine) return;
    state.closing_connection = std::move(state.connection);
    ++state.status.update_sequence;
    ++state.status.disconnect_count;
    state.status.updated_at = Clock::now();
    state.status.last_error_mask = 0;
    state.status.connection_lost = true;
    state.status.error_text = message;
    copy = state.status;
  }
  connection->close();
  if (state.callbacks.status) state.callbacks.status(copy);
  if (state.callbacks.lost) state.callbacks.lost(message.empty() ? std::wstring(kConnectionClosed) : message);
}

}  // namespace hvt
