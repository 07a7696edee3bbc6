#include "app/app.h"

#include <stdexcept>
#include <utility>

#include "base/text.h"
#include "transmit/number_fields.h"
#include "transmit/packet_text.h"

// The controller: single packets, repeat runs, and what becomes of them.

namespace hvt {

void App::send(std::size_t row) {
  if (!facts_.transmit_expanded) return;  // a stale key or click on a hidden row
  if (facts_.link != LinkState::connected) return show_error(TextId::connect_first);
  Bytes bytes;
  RepeatEngine::WaitOptions wait;
  try {
    bytes = encode_send_packet(window_->field_text(packet_field(row)), facts_.send_hex, facts_.auto_crlf);
    wait = read_wait_options();
  } catch (const std::runtime_error& error) {
    return show_error(message_of(error));
  }
  std::wstring error;
  const auto sink = [this](const RepeatEvent& event) { on_repeat(event); };
  if (!engine_.send_manual(bytes, wait, sink, {}, error)) show_error(error);
}

// Throws std::runtime_error with a message about the field.
RepeatEngine::WaitOptions App::read_wait_options() const {
  if (!facts_.wait_for_rx) return {};
  const auto label = text(TextId::rx_timeout, Language::english);
  return {true, parse_field_number(window_->field_text(ControlId::rx_timeout), 10, 99999999, label)};
}

void App::repeat() {
  if (!facts_.transmit_expanded) return;  // as above
  if (facts_.repeat != RepeatState::idle) return stop_repeat();
  if (facts_.link != LinkState::connected) return show_error(TextId::connect_first);
  // Packets that are on their way, and the wait for the last one's response, go before.
  if (engine_.activity() == RepeatEngine::Activity::manual) return;
  const TransmitPanel panel = read_transmit_panel();
  RepeatSettings settings;
  std::vector<Bytes> packets;
  try {
    settings = parse_repeat_settings(panel);
    packets = build_repeat_packets(panel);
  } catch (const std::runtime_error& error) {
    return show_error(message_of(error));
  }
  repeat_count_ = static_cast<std::uint32_t>(settings.repeat_count);
  std::wstring error;
  const auto sink = [this](const RepeatEvent& event) { on_repeat(event); };
  if (!engine_.start_repeat(std::move(packets), settings, sink, {}, error)) return show_error(error);
  facts_.repeat = RepeatState::running;
  update_controls();
}

void App::stop_repeat() {
  engine_.stop();
  facts_.repeat = RepeatState::stopping;
  update_controls();
}

TransmitPanel App::read_transmit_panel() const {
  TransmitPanel panel;
  for (std::size_t row = 0; row < kPacketRows; ++row)
    panel.packets[row] = window_->field_text(packet_field(row));
  panel.hex_mode = facts_.send_hex;
  panel.auto_crlf = facts_.auto_crlf;
  panel.repeat_count = window_->field_text(ControlId::repeat_count);
  panel.start_packet = window_->field_text(ControlId::start_packet);
  panel.end_packet = window_->field_text(ControlId::end_packet);
  panel.interval_ms = window_->field_text(ControlId::interval);
  panel.wait_for_rx = facts_.wait_for_rx;
  panel.rx_timeout_ms = window_->field_text(ControlId::rx_timeout);
  return panel;
}

bool App::direct_write(std::span<const std::uint8_t> bytes, std::wstring& error) {
  {
    const ResponseWaitSlot::Turn turn(*waits_);
    if (!mark_sent(bytes, Inbox::Write::direct)) {
      error = L"A transmission is already in progress.";
      return false;
    }
    cancel_waits(turn, std::chrono::steady_clock::now());  // no response is waited for behind this packet
  }
  const bool written = serial_.write(bytes, error);
  inbox_.end_sent(written ? Inbox::Written::yes : Inbox::Written::no);
  return written;
}

bool App::mark_sent(std::span<const std::uint8_t> bytes, Inbox::Write write) {
  const DisplayOptions options = sent_options_.with([](const DisplayOptions& now) { return now; });
  return inbox_.begin_sent(bytes, std::chrono::steady_clock::now(), options, write);
}

RepeatEngine::Link App::engine_link() {
  return {
      .write = [this](std::span<const std::uint8_t> bytes,
                      std::wstring& error) { return write_packet(bytes, error); },
      .disconnect = [this] { write_broke_ = true; },  // together with the message, which follows
  };
}

// The time of a write is taken when this returns, so that a success is noted afterwards, with the event
// `sent`.
bool App::write_packet(std::span<const std::uint8_t> bytes, std::wstring& error) {
  if (!place_marked_) {
    error = L"A transmission is already in progress.";
    return false;
  }
  if (serial_.write(bytes, error)) return true;
  inbox_.end_sent(Inbox::Written::no);
  place_marked_ = false;
  return false;
}

// Sending and timed_out come in a turn of the wait slot, so what is noted here stands in the order of the
// waits.
void App::on_repeat(const RepeatEvent& event) {
  switch (event.kind) {
    case RepeatEventKind::iteration: return inbox_.add_iteration(event.iteration, repeat_count_);
    case RepeatEventKind::sending: place_marked_ = mark_sent(event.bytes, Inbox::Write::queued); return;
    case RepeatEventKind::sent:  // once more when its response came
      if (std::exchange(place_marked_, false)) inbox_.end_sent(Inbox::Written::yes);
      return;
    case RepeatEventKind::timed_out: return inbox_.add_timeout();
    case RepeatEventKind::ended:
    case RepeatEventKind::stopped: return post_to_ui([this] { update_controls(); });
    case RepeatEventKind::failed: break;
  }
  const auto connection = std::exchange(write_broke_, false) ? Connection::broken : Connection::good;
  post_to_ui([this, attempt = attempt_.load(), message = event.message, connection] {
    run_failed(attempt, message, connection);
  });
}

// An error of a connection that has ended meanwhile is not told: how it ended is.
void App::run_failed(std::uint64_t attempt, const std::wstring& message, Connection connection) {
  if (attempt != attempt_ || facts_.link != LinkState::connected) return update_controls();
  if (connection == Connection::broken) disconnect();
  update_controls();
  report_error(message);
}

}  // namespace hvt
