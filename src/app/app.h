#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "app/display_pump.h"
#include "app/inbox.h"
#include "app/port_selection.h"
#include "app/recorder.h"
#include "app/settings_binding.h"
#include "app/status_text.h"
#include "app/task_queue.h"
#include "base/guarded.h"
#include "base/startup_mark.h"
#include "serial/serial_port.h"
#include "transmit/repeat_engine.h"
#include "ui/main_window.h"
#include "update/startup_update_check.h"
#include "update/update_status.h"

namespace hvt {

// What the controller is given; as it stands, it serves this system's serial ports and keeps no log.
struct AppServices {
  TransportFactory factory = {};  // empty: opens this system's ports
  PortSource port_source = list_system_ports;
  RecordingConfig recording = {};  // the limits of recordings; the rest is filled in at each start
  // Gets each serial or file error that is shown, in English. May be empty.
  std::function<void(std::wstring_view)> log_error = {};
  StartupUpdateCheck::Fetch fetch_manifest = {};  // empty: nothing is asked
};

// The controller of the one window: turns what a person does into calls on the connection and the display,
// and brings what worker threads produce back to the interface thread.
//
// Promises  workers never touch the window; every task posted runs in order, exactly once; at most one wake
//           of the display is under way; only controls whose state changed are written to; at rest hardly
//           anything wakes up.
// Threads   the interface thread, except post_to_ui(), on_receive() and direct_write().
// Owns      the connection, the transmission engine, the inbox, the display pump and the facts that the
//           controls show.
// Ends      with closing() or the destructor: connection ended, workers joined. The window outlives it or is
//           taken away before with detach().
class App final : public WindowEvents {
 public:
  // Settings and what else is kept stand below `data_folder`.
  explicit App(std::filesystem::path data_folder, AppServices services = {});
  ~App() override;

  // Loads the settings, fills the window's controls, gives it its place, shows it and starts the display
  // timer.
  void attach(MainWindow& window, const StartupMark& mark = ignore_mark);
  void detach();

  // Any thread: run the task on the interface thread.
  void post_to_ui(TaskQueue::Task task);

  void connect();
  void disconnect();
  void send(std::size_t row);
  // Starts a repeat run, or stops the one in progress.
  void repeat();
  // Any thread but the interface thread, which a stalled device would hold up: one write of prepared bytes,
  // shown as a sent packet. False with a message: a write is in progress, or the connection's error.
  bool direct_write(std::span<const std::uint8_t> bytes, std::wstring& error);
  // Transmission worker: a step of a run.
  void on_repeat(const RepeatEvent& event);
  // Connection thread: takes the bytes and what they are to the packet sent last, wakes the interface thread.
  void on_receive(const std::vector<std::uint8_t>& bytes, std::chrono::steady_clock::time_point time);
  // With `undisturbed` no received chunk is delivered in the middle of the clear.
  void clear_display(bool undisturbed);

  // WindowEvents
  void command(ControlId id) override;
  void chosen(ControlId id) override;
  void edited(ControlId id) override;
  void menu_chosen(MenuItem item) override;
  void dialog_link(DialogId id) override;
  void resized(Size client) override;
  void metrics_changed() override;
  void appearance_changed() override;
  void closing() override;
  Size minimum_client_size(int proposed_width) override;
  void message(unsigned message, std::uintptr_t first, std::intptr_t second) override;

 private:
  static constexpr std::uintptr_t kDisplayTimer = 1;

  SerialPort::Callbacks serial_callbacks();
  RepeatEngine::Link engine_link();
  void on_status(const SerialStatus& status);
  void show_line_status(std::uint64_t attempt);
  enum class Connection { good, broken };
  void run_failed(std::uint64_t attempt, const std::wstring& message, Connection connection);
  bool write_packet(std::span<const std::uint8_t> bytes, std::wstring& error);
  bool mark_sent(std::span<const std::uint8_t> bytes, Inbox::Write write);
  RepeatEngine::WaitOptions read_wait_options() const;
  TransmitPanel read_transmit_panel() const;
  void stop_repeat();

  void refresh_ports();
  void show_ports();
  std::optional<SerialSettings> read_settings();
  void connect_ended(std::uint64_t attempt, bool connected, const std::wstring& message, int seconds);
  void connection_lost(std::uint64_t attempt, const std::wstring& message);

  bool load_settings(const StartupMark& mark);
  void place_window(bool as_saved);
  void gather_settings();
  void save_settings();
  void start_or_stop_recording();
  void start_recording();
  void stop_recording(std::function<void()> then = {});
  void recording_ended();
  void drain_recording();
  void show_recording_state();
  void open_recordings();
  void baud_chosen();
  void save_packets();
  void load_packets();
  std::optional<std::filesystem::path> ask_packets_file(bool save);

  DisplayOptions display_options() const;
  void wake_display();
  void pump_display();
  void tick_display();
  void keep_ticking();
  void pause_display();
  void follow_display();
  void show_line_count();
  void set_buffer_size();
  void set_display_format(bool hex);
  void set_send_format(bool hex);
  void fold_transmit();
  void toggle(bool Facts::*fact);

  // Writes the differences between the facts and what the window shows.
  void update_controls();
  void relayout();
  // Gives the window the size that its contents need now, as far as there is room.
  void fit_window(Size room);
  // What a person may use: the screen, or the window that reaches beyond it already.
  Size room() const;
  void set_status(StatusText text, StatusTone tone);
  void show_status(StatusText text) { set_status(std::move(text), StatusTone::plain); }
  void show_error(StatusText text) { set_status(std::move(text), StatusTone::error); }
  // An error of the line or of a file, which goes to the log as well.
  void report_error(const StatusText& text);
  void log_error(std::wstring_view english);

  void choose_language(Language language);
  void choose_theme(ThemeChoice theme);
  bool apply_theme();
  void toggle_always_on_top();
  void set_font_size();
  DialogContent dialog_content(DialogId id) const;
  void show_dialog(DialogId id);
  void refresh_dialog(DialogId id);
  void open_homepage();
  void start_update_check();
  void check_updates();
  void update_checked(const UpdateResult& result);
  std::wstring_view words(TextId id) const { return text(id, facts_.language); }

  const std::filesystem::path data_folder_;
  const AppServices services_;
  MainWindow* window_ = nullptr;
  std::unique_ptr<DisplayPump> pump_;
  Facts facts_;
  std::optional<ControlStates> shown_;
  std::optional<MenuStates> shown_menus_;
  ThemePalette theme_;  // as set last
  bool applying_theme_ = false;
  StatusText status_;  // as shown
  StatusTone status_tone_ = StatusTone::plain;
  UpdateStatus update_;
  std::optional<StartupUpdateCheck> check_;
  Metrics metrics_;
  Size client_;
  PortSelection ports_;
  AppSettings settings_;  // as loaded or gathered last
  SettingsBinding binding_;
  SerialSettings line_;  // of the latest connect()
  std::function<void()> after_recording_;
  bool told_metadata_error_ = false;  // in this session
  StatusText incomplete_;             // what was told of the last recording, if it is

  TaskQueue tasks_;
  std::atomic<bool> display_wake_{false};
  std::atomic<bool> timer_suffices_{false};  // until the next one, what arrives needs no wake
  int quiet_ticks_ = 0;                      // of the display's timer in a row; enough of them, and it rests
  std::atomic<MainWindow*> post_target_{nullptr};    // window_, for the worker threads
  Guarded<std::optional<SerialStatus>> new_status_;  // waits for the interface thread, the latest only
  // The latest connect() or disconnect(); what a worker reports for an older one is no longer of interest.
  std::atomic<std::uint64_t> attempt_{0};
  std::atomic<std::uint64_t> connected_attempt_{0};  // the latest connect()
  std::uint32_t logged_line_errors_ = 0;             // of this connection; a noisy line would fill the disk
  bool logged_query_failure_ = false;
  std::uint64_t lost_bytes_ = 0;
  std::wstring line_count_;             // as shown
  bool told_about_high_speed_ = false;  // once per run of the program
  bool closed_ = false;

  Inbox inbox_;
  Recorder recorder_;
  SerialPort serial_;
  Guarded<DisplayOptions> sent_options_;        // how a packet written now is shown; read by the worker
  bool write_broke_ = false;                    // worker: the run in progress ends because a write failed
  bool place_marked_ = false;                   // worker: the inbox has the place of the packet to be written
  std::atomic<std::uint32_t> repeat_count_{0};  // of the repeat run in progress
  const std::shared_ptr<ResponseWaitSlot> waits_ = std::make_shared<ResponseWaitSlot>();
  RepeatEngine engine_;
};

}  // namespace hvt
