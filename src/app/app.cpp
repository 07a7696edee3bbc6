#include "app/app.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "transmit/packet_text.h"

namespace hvt {

App::App(std::filesystem::path data_folder, AppServices services)
    : data_folder_(std::move(data_folder)),
      services_(std::move(services)),
      inbox_([this] { wake_display(); }),
      recorder_([this] { post_to_ui([this] { recording_ended(); }); }),
      serial_(services_.factory, serial_callbacks()),
      engine_(waits_, engine_link()) {}

App::~App() {
  closing();
  detach();
}

void App::attach(MainWindow& window, const StartupMark& mark) {
  window_ = &window;
  post_target_ = &window;
  pump_ = std::make_unique<DisplayPump>(inbox_, window.receive_view());
  window.receive_view().on_navigated([this] { pause_display(); });
  window.set_title(L"HalvetricSerialTest V" HVT_VERSION);
  const bool has_saved_size = load_settings(mark);
  show_status(TextId::status_ready);  // a theme that fails tells so after it
  apply_theme();
  mark("settings applied");
  window.receive_view().set_language(facts_.language);
  update_controls();
  mark("language applied");
  ports_.start(services_.port_source(), settings_.port_name);
  show_ports();
  mark("ports enumerated");
  update_controls();
  metrics_changed();
  place_window(has_saved_size);
  window.show();
  window.start_timer(kDisplayTimer, DisplayPump::kTick);
  start_update_check();
}

void App::detach() {
  post_target_ = nullptr;
  if (window_) window_->receive_view().on_navigated({});
  pump_.reset();
  window_ = nullptr;
}

// Events of the window

void App::command(ControlId id) {
  if (!(*shown_)[index_of(id)].visible) return;  // a click that was on its way when the panel was folded
  switch (id) {
    case ControlId::update_badge: return show_dialog(DialogId::update);
    case ControlId::always_on_top: return toggle_always_on_top();
    case ControlId::refresh: return refresh_ports();
    case ControlId::connect: return facts_.link == LinkState::disconnected ? connect() : disconnect();
    case ControlId::receive_ascii: return set_display_format(false);
    case ControlId::receive_hex: return set_display_format(true);
    case ControlId::line_break: return toggle(&Facts::line_break);
    case ControlId::hide_crlf: return toggle(&Facts::hide_crlf);
    case ControlId::echo_sent: return toggle(&Facts::echo_sent);
    case ControlId::clear: return clear_display(true);
    case ControlId::follow: return follow_display();
    case ControlId::transmit: return fold_transmit();
    case ControlId::send_ascii: return set_send_format(false);
    case ControlId::send_hex: return set_send_format(true);
    case ControlId::auto_crlf: return toggle(&Facts::auto_crlf);
    case ControlId::wait_for_rx: return toggle(&Facts::wait_for_rx);
    case ControlId::repeat: return repeat();
    case ControlId::record: return start_or_stop_recording();
    case ControlId::display_while_recording: return toggle(&Facts::display_while_recording);
    case ControlId::open_folder: return open_recordings();
    case ControlId::save_packets: return save_packets();
    case ControlId::load_packets: return load_packets();
    default:
      if (is_packet_row(id)) send(packet_row(id));
  }
}

void App::chosen(ControlId id) {
  if (id == ControlId::baud) return baud_chosen();
  if (id == ControlId::buffer_size) return set_buffer_size(), save_settings();
  if (id == ControlId::font_size) return set_font_size(), save_settings();
  if (id != ControlId::port) return;  // the line settings are read when connecting
  if (const auto row = window_->selected_choice(id)) ports_.choose(*row);
}

// Hex input is spaced out while it is typed.
void App::edited(ControlId id) {
  if (!is_packet_row(id) || !facts_.send_hex) return;
  const HexReformat spaced = reformat_hex_input(window_->field_text(id), window_->field_caret(id));
  if (spaced.changed) window_->set_field_text(id, spaced.text, spaced.caret);
}

void App::resized(Size client) {
  client_ = client;
  relayout();
  show_line_count();
}

void App::metrics_changed() {
  if (!window_) return;
  metrics_ = window_->measure();
  relayout();
  show_line_count();
}

// A screen with less room than the contents need limits the window, not the contents.
Size App::minimum_client_size(int proposed_width) {
  const Size least = hvt::minimum_client_size(metrics_, proposed_width, {facts_.transmit_expanded});
  if (!window_) return least;
  const Size largest = window_->largest_client_size();
  return {std::min(least.width, largest.width), std::min(least.height, largest.height)};
}

void App::closing() {
  if (std::exchange(closed_, true)) return;
  check_.reset();
  disconnect();
  if (!window_) return;
  drain_recording();
  save_settings();
}

// The window must not go before its recording is whole.
void App::drain_recording() {
  constexpr std::chrono::milliseconds kLook{1};
  stop_recording();
  while (recorder_.active()) {
    pump_display();
    tasks_.run_all();
    std::this_thread::sleep_for(kLook);
  }
}

void App::message(unsigned message, std::uintptr_t first, std::intptr_t) {
  if (message == kTaskMessage) {
    tasks_.run_all();
  } else if (message == kDisplayMessage) {
    display_wake_ = false;
    keep_ticking();
    if (window_ && !window_->input_waiting()) pump_display();  // else the timer pumps
  } else if (message == kTimerMessage && first == kDisplayTimer) {
    tasks_.run_all();  // a post may have been refused
    tick_display();
    show_recording_state();
  }
}

void App::post_to_ui(TaskQueue::Task task) {
  tasks_.push(std::move(task));
  if (MainWindow* window = post_target_) window->post(kTaskMessage);
}

// Showing

void App::update_controls() {
  if (engine_.activity() != RepeatEngine::Activity::repeat) facts_.repeat = RepeatState::idle;
  sent_options_.with([&](DisplayOptions& options) { options = display_options(); });
  if (pump_) pump_->show_sink_text(shows_while_recording(facts_));
  const ControlStates states = rules(facts_);
  std::vector<ControlChange> changes;
  for (const ControlRow& row : kControls) {
    const std::size_t i = index_of(row.id);
    if (!shown_ || (*shown_)[i] != states[i]) changes.push_back({row.id, states[i]});
  }
  shown_ = states;
  if (!changes.empty()) window_->apply(changes);
  const MenuStates menus = menu_rules(facts_);
  if (std::exchange(shown_menus_, menus) != menus) window_->set_menus(menus);
}

void App::relayout() {
  if (!window_ || client_ == Size{}) return;
  window_->place(layout(metrics_, client_, {facts_.transmit_expanded}));
}

void App::fit_window(Size room) {
  const Size client = window_->client_size();
  const Size fitting = fit_client_size(metrics_, client, {facts_.transmit_expanded}, room);
  const bool may_change = client != Size{} && !window_->current_place().maximized;
  if (fitting != client && may_change) {
    window_->set_client_size(fitting);
  } else {
    relayout();
  }
}

Size App::room() const {
  const Size screen = window_->largest_client_size();
  const Size client = window_->client_size();
  return {std::max(screen.width, client.width), std::max(screen.height, client.height)};
}

void App::set_status(StatusText text, StatusTone tone) {
  window_->set_status(text.in(facts_.language), tone);
  status_ = std::move(text);
  status_tone_ = tone;
}

void App::report_error(const StatusText& text) {
  log_error(text.in(Language::english));
  show_error(text);
}

void App::log_error(std::wstring_view english) {
  if (services_.log_error) services_.log_error(english);
}

}  // namespace hvt
