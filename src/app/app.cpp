#include "app/app.h"

#include <algorithm>
#include <stdexcept>
#include <thread>
#include <utility>

#include "base/text.h"
#include "recording/local_time.h"
#include "recording/names.h"
#include "settings/send_preset.h"
#include "transmit/number_fields.h"
#include "transmit/packet_text.h"
#include "ui/choices.h"

namespace hvt {
namespace {

constexpr std::wstring_view kProductName = L"HalvetricSerialTest";
constexpr std::uintptr_t kDisplayTimer = 1;
constexpr unsigned kDisplayTimerMilliseconds = DisplayPump::kTick.count();

// What a transmit field or a packet has to say about itself, in the words of the exception.
std::wstring message_of(const std::exception& error) {
  return utf8_to_utf16_lossy(error.what());
}

}  // namespace

App::App(std::filesystem::path data_folder, TransportFactory factory, PortSource port_source,
         RecordingConfig recording)
    : data_folder_(std::move(data_folder)),
      port_source_(std::move(port_source)),
      recording_(std::move(recording)),
      inbox_([this] { wake_display(); }),
      recorder_([this] { post_to_ui([this] { recording_ended(); }); }),
      serial_(std::move(factory), serial_callbacks()),
      engine_(waits_, engine_link()) {}

App::~App() {
  closing();
  detach();
}

void App::attach(MainWindow& window) {
  window_ = &window;
  post_target_ = &window;
  pump_ = std::make_unique<DisplayPump>(inbox_, window.receive_view());
  window.receive_view().on_navigated([this] { pause_display(); });
  window.set_title(L"HalvetricSerialTest V" HVT_VERSION);
  const bool has_saved_size = load_settings();
  window.receive_view().set_language(facts_.language);
  ports_.start(port_source_(), settings_.port_name);
  show_ports();
  update_controls();
  show_status(words(TextId::status_ready));
  metrics_changed();
  place_window(has_saved_size);
  window.show();
  window.start_timer(kDisplayTimer, kDisplayTimerMilliseconds);
}

void App::detach() {
  post_target_ = nullptr;
  if (window_) window_->receive_view().on_navigated({});
  pump_.reset();
  window_ = nullptr;
}

// Events of the window

void App::command(ControlId id) {
  switch (id) {
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

Size App::minimum_client_size(int proposed_width) {
  return hvt::minimum_client_size(metrics_, proposed_width, {facts_.transmit_expanded});
}

void App::closing() {
  if (std::exchange(closed_, true)) return;
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
    if (window_ && !window_->input_waiting()) pump_display();  // else the timer pumps
  } else if (message == kTimerMessage && first == kDisplayTimer) {
    tasks_.run_all();  // a post may have been refused
    timer_suffices_ = false;
    pump_display();
    show_recording_state();
  }
}

void App::post_to_ui(TaskQueue::Task task) {
  tasks_.push(std::move(task));
  if (MainWindow* window = post_target_) window->post(kTaskMessage);
}

// Ports and connection

void App::refresh_ports() {
  ports_.refresh(port_source_());
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
    show_error(text(TextId::select_port_first, Language::english));
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
  if (!started) return show_error(text(TextId::cleanup_pending, Language::english));
  ports_.mark_used();
  line_ = *settings;
  facts_.link = LinkState::connecting;
  show_status(connecting_to_text(settings->port, facts_.language));
  update_controls();
}

void App::connect_ended(std::uint64_t attempt, bool connected, const std::wstring& message, int seconds) {
  if (attempt != attempt_) return;  // cancelled meanwhile
  facts_.link = connected ? LinkState::connected : LinkState::disconnected;
  update_controls();
  if (connected) {
    show_status(connected_to_text(ports_.chosen(), message, facts_.language));
  } else if (message == connect_timeout_text(seconds * 1000)) {
    show_error(connect_timed_out_text(seconds, facts_.language));
  } else {
    show_error(message);
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
  show_status(words(TextId::status_disconnected));
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
  show_error(message);
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
  if (status->query_failed) return show_error(status->error_text);
  const auto text = line_error_text(status->last_error_mask, status->observations, facts_.language);
  window_->set_status(text, StatusTone::error);
}

// Sending

void App::send(std::size_t row) {
  if (!facts_.transmit_expanded) return;  // a stale key or click on a hidden row
  if (facts_.link != LinkState::connected) return show_error(text(TextId::connect_first, Language::english));
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
  if (facts_.link != LinkState::connected) return show_error(text(TextId::connect_first, Language::english));
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
  show_error(message);
}

// Recording

void App::start_or_stop_recording() {
  recorder_.active() ? stop_recording() : start_recording();
}

void App::start_recording() {
  if (facts_.link != LinkState::connected) return show_error(text(TextId::connect_first, Language::english));
  RecordingConfig config = recording_;
  config.directory = data_folder_ / "recording";
  config.receive_format = facts_.receive_hex ? ReceiveFormat::hex : ReceiveFormat::ascii;
  config.serial = line_;
  config.filename = window_->field_text(ControlId::record_name);
  if (is_blank_name(config.filename))
    config.filename = automatic_name(local_time_now(), line_.port, config.receive_format);
  try {
    recorder_.start(config);
  } catch (const std::exception& error) {
    return show_error(message_of(error));
  }
  pump_->set_sink(&recorder_);
  told_metadata_error_ = false;
  facts_.record = RecordState::running;
  update_controls();
  if (facts_.high_speed) return show_status(words(TextId::high_speed_recording));
  show_status(recording_to_text(recorder_.status().session_base, facts_.language));
}

// What has arrived by now is still recorded; `then` runs when the files are closed.
void App::stop_recording(std::function<void()> then) {
  if (!recorder_.active()) {
    if (then) then();
    return;
  }
  after_recording_ = std::move(then);
  if (std::exchange(facts_.record, RecordState::draining) == RecordState::running) {
    recorder_.stop_at_mark();
    inbox_.add_mark(InboxEvent::Kind::stop_mark);
  }
  update_controls();
}

void App::recording_ended() {
  if (!recorder_.active()) return;
  pump_->set_sink(nullptr);
  const RecordingStatus status = recorder_.finish();
  facts_.record = RecordState::idle;
  update_controls();
  if (status.integrity == Integrity::incomplete) {
    std::wstring why = localized_message(status.log_error, facts_.language);
    if (!why.empty()) why.insert(0, L": ");
    show_error(std::wstring(words(TextId::recording_incomplete)) + why);
  } else if (status.integrity == Integrity::suspect) {
    const auto errors =
        line_error_text(status.comm_error_mask, status.comm_error_observations, facts_.language);
    show_error(std::wstring(words(TextId::recording_suspect)) + L": " + errors);
  } else if (!status.metadata_error.empty() && !told_metadata_error_) {
    show_error(status.metadata_error);
  } else if (facts_.link == LinkState::connected) {  // else the status says how the connection ended
    show_status(recording_saved_text(status.session_base, facts_.language));
  }
  if (const auto then = std::exchange(after_recording_, {})) then();
}

// On the display's timer: what a person should know before the session ends.
void App::show_recording_state() {
  if (!recorder_.active() || told_metadata_error_) return;
  const std::wstring error = recorder_.status().metadata_error;
  if (error.empty()) return;
  told_metadata_error_ = true;
  show_error(error);
}

void App::open_recordings() {
  const std::filesystem::path folder = data_folder_ / "recording";
  std::error_code failed;
  std::filesystem::create_directories(folder, failed);
  if (failed || !window_->open_in_desktop(folder)) show_error(text(TextId::no_folder, Language::english));
}

void App::baud_chosen() {
  const bool before =
      std::exchange(facts_.high_speed, is_high_speed(binding_.chosen_text(*window_, ControlId::baud)));
  update_controls();
  if (facts_.high_speed && !before) show_status(words(TextId::high_speed_recording));
}

// Settings and files

// True when the file holds a window size. A file that cannot be read counts as none; it stays as it is until
// the next save.
bool App::load_settings() {
  LoadedSettings loaded;
  try {
    loaded = hvt::load_settings(settings_path(data_folder_));
  } catch (const std::exception&) {
    loaded = {};
  }
  settings_ = loaded.settings;
  binding_.show(settings_, *window_, facts_);
  set_buffer_size();
  facts_.high_speed = is_high_speed(binding_.chosen_text(*window_, ControlId::baud));
  return loaded.has_saved_window_size;
}

void App::place_window(bool as_saved) {
  // A file may hold any number, whose sum with another is none any more; no screen is larger than this.
  static constexpr std::int32_t kFarthest = 32'767;
  const auto possible = [](std::int32_t pixels) { return std::clamp(pixels, -kFarthest, kFarthest); };
  const Rect saved{possible(settings_.window_left), possible(settings_.window_top),
                   possible(settings_.window_width), possible(settings_.window_height)};
  if (!as_saved) return window_->set_client_size(first_client_size(metrics_));
  window_->set_place({saved, settings_.window_state == L"Maximized"});
}

void App::gather_settings() {
  binding_.gather(*window_, facts_, settings_);
  if (!ports_.chosen().empty()) settings_.port_name = ports_.chosen();
}

void App::save_settings() {
  gather_settings();
  const WindowPlace place = window_->current_place();
  settings_.window_left = place.normal.x;
  settings_.window_top = place.normal.y;
  settings_.window_width = place.normal.width;
  settings_.window_height = place.normal.height;
  settings_.window_state = place.maximized ? L"Maximized" : L"Normal";
  try {
    hvt::save_settings(settings_path(data_folder_), settings_);
  } catch (const std::exception& error) {
    window_->show_notice(kProductName,
                         std::wstring(words(TextId::settings_not_saved)) + L"\n" + message_of(error));
  }
}

std::optional<std::filesystem::path> App::ask_packets_file(bool save) {
  FileQuestion question;
  question.save = save;
  question.title = words(save ? TextId::save_packets : TextId::load_packets);
  question.folder = send_preset_folder(data_folder_);
  std::filesystem::create_directories(question.folder);
  question.types = {{std::wstring(words(TextId::packets_file)), L"*.json"},
                    {std::wstring(words(TextId::all_files)), L"*.*"}};
  question.proposed_name = kProposedSendPresetName;
  question.extension = L"json";
  return window_->ask_file(question);
}

void App::save_packets() {
  try {
    const auto path = ask_packets_file(true);
    if (!path) return;
    gather_settings();
    save_send_preset_file(*path, settings_.send_items);
  } catch (const std::exception& error) {
    show_error(message_of(error));
  }
}

void App::load_packets() {
  try {
    const auto path = ask_packets_file(false);
    if (!path) return;
    const SendItems items = load_send_preset_file(*path);
    for (std::size_t row = 0; row < kPacketRows; ++row)
      window_->set_field_text(packet_field(row), items[row], 0);
    gather_settings();
  } catch (const std::exception& error) {
    show_error(message_of(error));
  }
}

// Receiving and the display

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

void App::pump_display() {
  if (!pump_) return;
  const DisplayPump::Result result = pump_->run(display_options(), facts_.language);
  timer_suffices_ = result.trickles;
  if (result.more) wake_display();
  if (result.shown) show_line_count();
  if (result.became_full) window_->set_status(words(TextId::display_full), StatusTone::error);
  if (result.lost_bytes == 0) return;
  lost_bytes_ += result.lost_bytes;
  recorder_.report_data_loss(receive_loss_text(lost_bytes_, Language::english));
  window_->set_status(receive_loss_text(lost_bytes_, facts_.language), StatusTone::error);
}

void App::clear_display(bool undisturbed) {
  const auto clear = [this] {
    {
      // A direct write in progress is waited for within the turn; it needs no turn to end.
      const ResponseWaitSlot::Turn turn(*waits_);
      recorder_.active() ? inbox_.add_mark(InboxEvent::Kind::clear_mark) : inbox_.clear();
      cancel_waits(turn, std::chrono::steady_clock::now());
    }
    if (pump_->full()) show_status(words(TextId::status_ready));  // what it said is over
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
  const Size least = minimum_client_size(client_.width);
  if (client_.height < least.height) {
    window_->set_client_size({client_.width, least.height});
  } else {
    relayout();
  }
}

void App::toggle(bool Facts::*fact) {
  facts_.*fact = !(facts_.*fact);
  update_controls();
}

// Showing

void App::update_controls() {
  if (engine_.activity() != RepeatEngine::Activity::repeat) facts_.repeat = RepeatState::idle;
  sent_options_.with([&](DisplayOptions& options) { options = display_options(); });
  if (pump_) pump_->show_new_text(facts_.record == RecordState::idle || shows_while_recording(facts_));
  const ControlStates states = rules(facts_);
  std::vector<ControlChange> changes;
  for (const ControlRow& row : kControls) {
    const std::size_t i = index_of(row.id);
    if (!shown_ || (*shown_)[i] != states[i]) changes.push_back({row.id, states[i]});
  }
  shown_ = states;
  if (!changes.empty()) window_->apply(changes);
}

void App::relayout() {
  if (!window_ || client_ == Size{}) return;
  window_->place(layout(metrics_, client_, {facts_.transmit_expanded}));
}

void App::show_status(std::wstring_view text) {
  window_->set_status(text, StatusTone::plain);
}

void App::show_error(std::wstring_view english) {
  window_->set_status(localized_message(english, facts_.language), StatusTone::error);
}

}  // namespace hvt
