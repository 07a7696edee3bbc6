#include "app/app.h"

#include <stdexcept>
#include <utility>

#include "base/text.h"
#include "transmit/number_fields.h"
#include "ui/choices.h"

// The controller: ports and connection.

namespace hvt {

void App::refresh_ports() {
  ports_.refresh(services_.port_source());
  show_ports();
  update_controls();
}

void App::show_ports() {
  const auto placeholder = words(ports_.empty() ? TextId::no_ports : TextId::select_port);
  window_->set_choices(ControlId::port, ports_.labels(), ports_.chosen_row(), placeholder);
  facts_.has_ports = !ports_.empty();
}

// Nothing, after showing why, when a field does not hold what it should.
std::optional<SerialSettings> App::read_settings() {
  if (ports_.chosen().empty()) {
    show_error(TextId::select_port_first);
    return std::nullopt;
  }
  SerialSettings settings;
  settings.port = ports_.chosen();
  try {
    const auto number = [&](ControlId id, int min, int max, const wchar_t* label) {
      return parse_field_number(binding_.chosen_text(*window_, id), min, max, label);
    };
    settings.baud = static_cast<std::uint32_t>(number(ControlId::baud, 1, 4'000'000, L"Baud"));
    settings.data_bits = static_cast<std::uint8_t>(number(ControlId::data_bits, 5, 8, L"Data bits"));
  } catch (const std::runtime_error& error) {
    show_error(message_of(error));
    return std::nullopt;
  }
  // Rows are the codes; a saved text that is no entry has a row, and so a code, that does not exist.
  const auto code = [&](ControlId id) {
    return static_cast<std::int32_t>(window_->selected_choice(id).value_or(0));
  };
  settings.stop_bits = code(ControlId::stop_bits);
  settings.parity = code(ControlId::parity);
  return settings;
}

void App::connect() {
  if (facts_.link != LinkState::disconnected) return;
  const auto settings = read_settings();
  if (!settings) return;
  const auto timeout = window_->selected_choice(ControlId::timeout).value_or(0);
  const int seconds = parse_field_number(kTimeoutSeconds[timeout], 1, 5, words(TextId::connection_timeout));
  const std::uint64_t attempt = connected_attempt_ = ++attempt_;
  const bool started =
      serial_.connect(*settings, seconds * 1000, [=, this](bool connected, const std::wstring& message) {
        post_to_ui([=, this] { connect_ended(attempt, connected, message, seconds); });
      });
  if (!started) return report_error(TextId::cleanup_pending);
  ports_.mark_used();
  line_ = *settings;
  incomplete_ = {};
  logged_line_errors_ = 0;
  logged_query_failure_ = false;
  facts_.link = LinkState::connecting;
  show_status([port = settings->port](Language language) { return connecting_to_text(port, language); });
  update_controls();
}

void App::connect_ended(std::uint64_t attempt, bool connected, const std::wstring& message, int seconds) {
  if (attempt != attempt_) return;  // cancelled meanwhile
  facts_.link = connected ? LinkState::connected : LinkState::disconnected;
  update_controls();
  if (connected) {
    show_status([port = ports_.chosen(), notice = message](Language language) {
      return connected_to_text(port, notice, language);
    });
  } else if (message == connect_timeout_text(seconds * 1000)) {
    report_error([=](Language language) { return connect_timed_out_text(seconds, language); });
  } else {
    report_error(message);
  }
}

void App::disconnect() {
  ++attempt_;
  engine_.stop();
  serial_.disconnect();  // ends a write in progress, so that the worker can be joined at once
  engine_.stop_and_join();
  cancel_waits(*waits_, std::chrono::steady_clock::now());  // the next connection answers nothing of this one
  if (facts_.link == LinkState::disconnected) return;
  facts_.link = LinkState::disconnected;
  if (!window_) return;
  recorder_.note_connection_end(closed_ ? L"application_closed" : L"disconnected");
  stop_recording();
  update_controls();
  show_status(TextId::status_disconnected);
}

SerialPort::Callbacks App::serial_callbacks() {
  return {
      .received = [this](const auto& bytes, auto time) { on_receive(bytes, time); },
      .status = [this](const SerialStatus& status) { on_status(status); },
      .lost =
          [this](const std::wstring& message) {
            const std::uint64_t attempt = connected_attempt_;
            post_to_ui([=, this] { connection_lost(attempt, message); });
          },
  };
}

void App::connection_lost(std::uint64_t attempt, const std::wstring& message) {
  if (attempt != attempt_) return;
  disconnect();
  report_error(message);
}

// A noisy line reports with every chunk: one task is under way at a time, it takes the latest.
void App::on_status(const SerialStatus& status) {
  if (status.last_error_mask != 0)
    recorder_.add_comm_error(status.last_error_mask, status.input_queued_bytes);
  if (status.connection_lost || (status.last_error_mask == 0 && !status.query_failed)) return;
  const bool waiting =
      new_status_.with([&](auto& latest) { return std::exchange(latest, status).has_value(); });
  if (!waiting) post_to_ui([this, attempt = attempt_.load()] { show_line_status(attempt); });
}

void App::show_line_status(std::uint64_t attempt) {
  const auto status = new_status_.with([](auto& latest) { return std::exchange(latest, std::nullopt); });
  if (attempt != attempt_ || !status) return;
  const StatusText line_error = [mask = status->last_error_mask, count = status->observations](
                                    Language language) { return line_error_text(mask, count, language); };
  if (status->query_failed) {
    if (!std::exchange(logged_query_failure_, true)) log_error(status->error_text);
    return show_error(status->error_text);
  }
  const bool known = (status->last_error_mask & ~logged_line_errors_) == 0;
  logged_line_errors_ |= status->last_error_mask;
  if (!known) return report_error(line_error);
  show_error(line_error);
}

}  // namespace hvt
