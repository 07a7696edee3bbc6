#include "app/app.h"

#include <utility>

#include "ui/choices.h"

// The controller: what arrives, and the receive view.

namespace hvt {
namespace {

// Waking up costs more than what a tick has to do. Once nothing has moved for a second, which is longer than
// a repaint is ever held back, and nothing is recorded, the timer only guards against a post that was
// refused.
constexpr int kTicksBeforeRest = 20;
constexpr std::chrono::milliseconds kRestingTick{500};

}  // namespace

void App::on_receive(const std::vector<std::uint8_t>& bytes, std::chrono::steady_clock::time_point time) {
  // One step for the worker and for a clear: a timing never stands at the wrong packet, or alone.
  const ResponseWaitSlot::Turn turn(*waits_);
  inbox_.add_received(bytes, time, on_received(turn, time));
}

void App::wake_display() {
  if (timer_suffices_ || display_wake_.exchange(true)) return;
  MainWindow* const window = post_target_;
  if (!window || !window->post(kDisplayMessage)) display_wake_ = false;  // the next chunk tries again
}

void App::tick_display() {
  timer_suffices_ = false;
  pump_display();
  if (recorder_.active()) keep_ticking();  // a full disk may hold text back, and its errors are looked for
  if (!window_ || quiet_ticks_ == kTicksBeforeRest || ++quiet_ticks_ < kTicksBeforeRest) return;
  window_->start_timer(kDisplayTimer, kRestingTick);
}

void App::keep_ticking() {
  if (std::exchange(quiet_ticks_, 0) == kTicksBeforeRest && window_)
    window_->start_timer(kDisplayTimer, DisplayPump::kTick);
}

void App::pump_display() {
  if (!pump_) return;
  const DisplayPump::Result result = pump_->run(display_options(), facts_.language);
  timer_suffices_ = result.trickles;
  if (result.more || result.trickles || result.shown) keep_ticking();
  if (result.more) wake_display();
  if (result.shown) show_line_count();
  if (result.became_full) {  // which must not hide that a recording failed
    show_error([before = incomplete_](Language language) {
      const std::wstring failed = before.empty() ? L"" : before.in(language) + L" ";
      return failed + std::wstring(text(TextId::display_full, language));
    });
  }
  if (result.lost_bytes == 0) return;
  const bool first = std::exchange(lost_bytes_, lost_bytes_ + result.lost_bytes) == 0;
  recorder_.report_data_loss(receive_loss_text(lost_bytes_, Language::english));
  const StatusText lost = [bytes = lost_bytes_](Language language) {
    return receive_loss_text(bytes, language);
  };
  first ? report_error(lost) : show_error(lost);  // a line of the log for each time it begins
}

void App::clear_display(bool undisturbed) {
  const auto clear = [this] {
    {
      // A direct write in progress is waited for within the turn; it needs no turn to end.
      const ResponseWaitSlot::Turn turn(*waits_);
      recorder_.active() ? inbox_.add_mark(InboxEvent::Kind::clear_mark) : inbox_.clear();
      cancel_waits(turn, std::chrono::steady_clock::now());
    }
    if (pump_->full()) {  // what it said is over
      incomplete_.empty() ? show_status(TextId::status_ready) : show_error(incomplete_);
    }
    recorder_.active() ? pump_->clear_shown() : pump_->clear();
    lost_bytes_ = 0;
    facts_.paused = false;
    update_controls();
    show_line_count();
  };
  if (!undisturbed) return clear();
  serial_.while_undisturbed(clear);
}

void App::pause_display() {
  if (facts_.paused) return;
  pump_->pause();
  facts_.paused = true;
  update_controls();
}

void App::follow_display() {
  pump_->follow();
  facts_.paused = false;
  update_controls();
  pump_display();
  show_line_count();
}

void App::set_buffer_size() {
  keep_ticking();
  pump_->set_capacity(buffer_bytes(window_->selected_choice(ControlId::buffer_size).value_or(0)));
  show_line_count();
}

void App::show_line_count() {
  if (!window_) return;
  std::wstring text = line_count_text(window_->receive_view().line_count(), facts_.language);
  if (text == line_count_) return;
  line_count_ = std::move(text);
  window_->set_counter(ControlId::line_count, line_count_);
}

DisplayOptions App::display_options() const {
  return {.hex = facts_.receive_hex,
          .line_break = facts_.line_break,
          .hide_crlf = facts_.hide_crlf && !facts_.receive_hex,
          .labels = facts_.echo_sent && facts_.transmit_expanded,
          .timing = true};
}

void App::set_display_format(bool hex) {
  facts_.receive_hex = hex;
  update_controls();
  if (!hex || !is_high_speed(binding_.chosen_text(*window_, ControlId::baud)) ||
      std::exchange(told_about_high_speed_, true))
    return;
  window_->show_notice(kProductName, words(TextId::high_speed_hex));
}

void App::set_send_format(bool hex) {
  facts_.send_hex = hex;
  update_controls();
}

void App::fold_transmit() {
  if (facts_.repeat != RepeatState::idle) return;
  facts_.transmit_expanded = !facts_.transmit_expanded;
  update_controls();
  fit_window(room());
}

void App::toggle(bool Facts::*fact) {
  facts_.*fact = !(facts_.*fact);
  update_controls();
}

}  // namespace hvt
