#include "app/app.h"

#include <algorithm>
#include <utility>

#include "base/text.h"
#include "recording/local_time.h"
#include "recording/names.h"
#include "settings/send_preset.h"
#include "ui/choices.h"

// The controller: recordings, settings and packet files.

namespace hvt {

void App::start_or_stop_recording() {
  recorder_.active() ? stop_recording() : start_recording();
}

void App::start_recording() {
  if (facts_.link != LinkState::connected) return show_error(TextId::connect_first);
  RecordingConfig config = services_.recording;
  config.directory = data_folder_ / "recording";
  config.receive_format = facts_.receive_hex ? ReceiveFormat::hex : ReceiveFormat::ascii;
  config.serial = line_;
  config.filename = window_->field_text(ControlId::record_name);
  if (is_blank_name(config.filename))
    config.filename = automatic_name(local_time_now(), line_.port, config.receive_format);
  try {
    recorder_.start(config);
  } catch (const std::exception& error) {
    return report_error(message_of(error));
  }
  pump_->set_sink(&recorder_);
  keep_ticking();
  told_metadata_error_ = false;
  incomplete_ = {};
  facts_.record = RecordState::running;
  update_controls();
  if (facts_.high_speed) return show_status(TextId::high_speed_recording);
  show_status([session = recorder_.status().session_base](Language language) {
    return recording_to_text(session, language);
  });
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
  keep_ticking();
  const RecordingStatus status = recorder_.finish();
  facts_.record = RecordState::idle;
  update_controls();
  if (status.integrity == Integrity::incomplete) {
    incomplete_ = [error = status.log_error](Language language) {
      const std::wstring why = localized_message(error, language);
      return std::wstring(text(TextId::recording_incomplete, language)) + (why.empty() ? L"" : L": " + why);
    };
    report_error(incomplete_);
  } else if (status.integrity == Integrity::suspect) {
    report_error([mask = status.comm_error_mask, count = status.comm_error_observations](Language language) {
      return std::wstring(text(TextId::recording_suspect, language)) + L": " +
             line_error_text(mask, count, language);
    });
  } else if (!status.metadata_error.empty() && !told_metadata_error_) {
    report_error(status.metadata_error);
  } else if (facts_.link == LinkState::connected) {  // else the status says how the connection ended
    show_status([session = status.session_base](Language language) {
      return recording_saved_text(session, language);
    });
  }
  if (const auto then = std::exchange(after_recording_, {})) then();
}

// On the display's timer: what a person should know before the session ends.
void App::show_recording_state() {
  if (!recorder_.active() || told_metadata_error_) return;
  const std::wstring error = recorder_.status().metadata_error;
  if (error.empty()) return;
  told_metadata_error_ = true;
  report_error(error);
}

void App::open_recordings() {
  const std::filesystem::path folder = data_folder_ / "recording";
  std::error_code failed;
  std::filesystem::create_directories(folder, failed);
  if (failed || !window_->open_in_desktop(folder)) report_error(TextId::no_folder);
}

void App::baud_chosen() {
  const bool before =
      std::exchange(facts_.high_speed, is_high_speed(binding_.chosen_text(*window_, ControlId::baud)));
  update_controls();
  if (facts_.high_speed && !before) show_status(TextId::high_speed_recording);
}

// True when the file holds a window size. A file that cannot be read counts as none; it stays as it is until
// the next save.
bool App::load_settings(const StartupMark& mark) {
  LoadedSettings loaded;
  try {
    loaded = hvt::load_settings(settings_path(data_folder_));
  } catch (const std::exception&) {
    loaded = {};
  }
  mark("settings loaded");
  settings_ = loaded.settings;
  binding_.show(settings_, *window_, facts_);
  set_buffer_size();
  set_font_size();
  if (facts_.always_on_top) window_->set_always_on_top(true);
  facts_.high_speed = is_high_speed(binding_.chosen_text(*window_, ControlId::baud));
  return loaded.has_saved_window_size;
}

void App::place_window(bool as_saved) {
  // A file may hold any number, whose sum with another is none any more; no screen is larger than this.
  static constexpr std::int32_t kFarthest = 32'767;
  const auto possible = [](std::int32_t pixels) { return std::clamp(pixels, -kFarthest, kFarthest); };
  const Rect saved{possible(settings_.window_left), possible(settings_.window_top),
                   possible(settings_.window_width), possible(settings_.window_height)};
  if (as_saved) {
    window_->set_place({saved, settings_.window_state == L"Maximized"});
  } else {
    window_->set_client_size(first_client_size(metrics_));
  }
  fit_window(window_->largest_client_size());
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
    log_error(std::wstring(text(TextId::settings_not_saved, Language::english)) + L" " + message_of(error));
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
    report_error(message_of(error));
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
    report_error(message_of(error));
  }
}

}  // namespace hvt
