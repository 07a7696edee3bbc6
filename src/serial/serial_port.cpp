#include "serial/serial_port.h"

#include <system_error>
#include <utility>

#include "base/detached_thread.h"
#include "serial/driver_call.h"
#include "serial/port_list.h"
#include "serial/serial_port_state.h"
#include "serial/transport_limits.h"

namespace hvt {
namespace {

constexpr std::wstring_view kConnectFirst = L"Connect to a COM port first.";

}  // namespace

std::wstring connect_timeout_text(int timeout_ms) {
  return L"Serial connection exceeded " + std::to_wstring(timeout_ms) + L" ms.";
}

const SerialPort::DeliveryScope*& SerialPort::DeliveryScope::innermost() {
  thread_local const DeliveryScope* scope = nullptr;
  return scope;
}

std::shared_ptr<SerialTransport> SerialPort::Connection::acquire() {
  const std::lock_guard lock(mutex_);
  if (closing_) return nullptr;
  ++users_;
  return opened_.transport;
}

void SerialPort::Connection::release() {
  {
    const std::lock_guard lock(mutex_);
    --users_;
  }
  changed_.notify_all();
}

void SerialPort::Connection::close() {
  std::shared_ptr<SerialTransport> transport;
  {
    const std::lock_guard lock(mutex_);
    closing_ = true;
    transport = opened_.transport;
    ++users_;  // the cancelling is a use of its own: the handle stays until it is done
  }
  if (transport) transport->cancel();
  transport.reset();
  release();
}

void SerialPort::Connection::finish_reading() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return closing_ && users_ == 0; });
  OpenedPort last = std::move(opened_);
  lock.unlock();
  last.close();
  lock.lock();
  handle_closed_ = true;
  changed_.notify_all();
}

bool SerialPort::Connection::is_idle() {
  const std::lock_guard lock(mutex_);
  return handle_closed_;
}

bool SerialPort::Connection::wait_until_idle(std::chrono::milliseconds limit) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, limit, [&] { return handle_closed_; });
}

SerialPort::SerialPort(TransportFactory factory, Callbacks callbacks)
    : state_(std::make_shared<State>(factory ? std::move(factory) : open_system_port, std::move(callbacks))) {
}

SerialPort::~SerialPort() {
  {
    const DeliveryScope delivery(*state_);  // the callback in progress is the last one
    const std::lock_guard lock(state_->state_mutex);
    state_->shutting_down = true;
  }
  disconnect();
}

bool SerialPort::connect(const SerialSettings& settings, int timeout_ms, ConnectCallback callback) {
  if (!is_valid(settings) || timeout_ms < 1) return false;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
  auto attempt = std::make_shared<Attempt>(deadline);
  auto lease = std::make_shared<PendingPortLease>(normalize_port_key(settings.port));
  std::uint64_t generation = 0;
  {
    const DeliveryScope delivery(*state_);
    const std::lock_guard lock(state_->state_mutex);
    if (state_->closing_connection && state_->closing_connection->is_idle())
      state_->closing_connection.reset();
    if (state_->shutting_down || state_->connection || state_->attempt || state_->closing_connection)
      return false;
    if (!lease->try_reserve()) return false;
    generation = ++state_->generation;
    state_->attempt = attempt;
  }
  try {
    start_detached([state = state_, attempt, lease = std::move(lease), settings]() mutable {
      Workers::open(std::move(state), std::move(attempt), std::move(lease), settings);
    });
    start_detached([state = state_, attempt, callback = std::move(callback), generation,
                    timeout_ms]() mutable {
      Workers::connection(std::move(state), std::move(attempt), std::move(callback), generation, timeout_ms);
    });
  } catch (const std::system_error&) {  // no thread to be had: as if nothing had been started
    attempt->cancel();
    const std::lock_guard lock(state_->state_mutex);
    if (state_->attempt == attempt) state_->attempt.reset();
    return false;
  }
  return true;
}

void SerialPort::disconnect() {
  std::shared_ptr<Connection> ended;
  std::shared_ptr<Attempt> overtaken;
  bool may_wait = false;
  {
    const DeliveryScope delivery(*state_);
    may_wait = !delivery.nested();
    const std::lock_guard lock(state_->state_mutex);
    ++state_->generation;
    overtaken = std::move(state_->attempt);
    ended = std::move(state_->connection);
    if (ended) state_->closing_connection = ended;
  }
  if (overtaken) overtaken->cancel();
  if (!ended) return;
  ended->close();
  // From a callback the reader would wait for us as we for it.
  if (!may_wait || ended->reader_thread_id == std::this_thread::get_id()) return;
  if (!ended->wait_until_idle(kReleaseLimit)) return;
  const std::lock_guard lock(state_->state_mutex);
  if (state_->closing_connection == ended) state_->closing_connection.reset();
}

bool SerialPort::write(std::span<const std::uint8_t> data, std::wstring& error) {
  const auto connection = state_->current_connection();
  if (!connection) return fail(error, kConnectFirst);
  const TransportUse transport(*connection);
  if (!transport) return fail(error, kConnectionClosed);
  return driver_call(error, L"Serial write failed.", [&] { return transport->write(data, error); });
}

bool SerialPort::discard_input(std::wstring& error) {
  const DeliveryScope delivery(*state_);  // a chunk in delivery comes before, every later one is checked
  const auto connection = state_->current_connection();
  if (!connection) return fail(error, kConnectFirst);
  const TransportUse transport(*connection);
  if (!transport) return fail(error, kConnectionClosed);
  return driver_call(error, L"Could not discard serial input.",
                     [&] { return transport->discard_input(error); });
}

bool SerialPort::refresh_status(std::wstring& error) {
  std::shared_ptr<Connection> connection;
  std::uint64_t generation = 0;
  {
    const std::lock_guard lock(state_->state_mutex);
    connection = state_->connection;
    generation = state_->generation;
  }
  if (!connection) return fail(error, kConnectFirst);
  return Workers::poll_errors(*state_, *connection, generation, error);
}

void SerialPort::while_undisturbed(const std::function<void()>& function) {
  const DeliveryScope delivery(*state_);
  function();
}

}  // namespace hvt
