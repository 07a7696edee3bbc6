#pragma once

#include <QWidget>
#include <array>
#include <atomic>
#include <bitset>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include "ui/main_window.h"
#include "ui/qt/receive_view_widget.h"
#include "ui/qt/toolkit_texts.h"
#include "ui/qt/window_menus.h"

class QButtonGroup;
class QTimer;

namespace hvt {

class TextDialog;

// The main window in Qt: the widgets of kControls, placed where it is told.
//
// Promises  check boxes and radio buttons show what apply() said last: a click is reported and then undone
// until
//           the controller agrees. Lengths are device-independent pixels (96 DPI); the toolkit scales them
//           itself.
// Threads   the interface thread, except post().
// Owns      the widgets and the timers; the events belong to the caller and must outlive the window.
// Ends      by closing: closing() is raised, timers stop, posted messages are dropped. The object lives on.
class QtMainWindow final : public QWidget, public MainWindow {
 public:
  explicit QtMainWindow(WindowEvents& events, const StartupMark& mark = ignore_mark);
  ~QtMainWindow() override;

  void set_title(std::wstring_view title) override;
  void set_client_size(Size client) override;
  void show() override;
  void set_place(const WindowPlace& place) override;
  WindowPlace current_place() const override;
  void apply(std::span<const ControlChange> changes) override;
  void place(const Placement& placement) override;
  Metrics measure() const override;

  std::wstring field_text(ControlId id) const override;
  void set_field_text(ControlId id, std::wstring_view text, std::size_t caret) override;
  std::size_t field_caret(ControlId id) const override;

  void set_choices(ControlId id, std::span<const std::wstring> entries, std::optional<std::size_t> selected,
                   std::wstring_view placeholder) override;
  std::optional<std::size_t> selected_choice(ControlId id) const override;

  void set_menus(const MenuStates& states) override;
  void set_status(std::wstring_view text, StatusTone tone) override;
  void set_counter(ControlId id, std::wstring_view text) override;
  void show_notice(std::wstring_view title, std::wstring_view text) override;
  void show_dialog(DialogId id, const DialogContent& content) override;
  void change_dialog(DialogId id, const DialogContent& content) override;
  bool dialog_open(DialogId id) const;
  ReceiveView& receive_view() override;

  bool desktop_prefers_dark() const override;
  SystemColors system_colors() const override;
  void set_theme(const ThemePalette& palette) override;
  void set_always_on_top(bool on_top) override;
  Size client_size() const override;
  Size largest_client_size() const override;

  std::optional<std::filesystem::path> ask_file(const FileQuestion& question) override;
  bool open_in_desktop(const std::filesystem::path& target) override;

  bool post(unsigned message) override;
  void start_timer(std::uintptr_t id, std::chrono::milliseconds interval) override;
  // False: Qt hands out posted messages in rounds and serves input and timers between two rounds, so a
  // message that posts itself again never holds them up.
  bool input_waiting() const override { return false; }

 protected:
  bool event(QEvent* event) override;
  void changeEvent(QEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  void create_widgets();
  void connect_events(const ControlRow& row);
  void group_radio_buttons();
  void pair_labels();
  void create_access_keys();
  void tint_packet_rows();
  void show_record_sign();
  void apply_fonts();
  void show_caption(ControlId id, const ControlState& state);
  void clicked(ControlId id);
  void access(ControlId id);
  void show_checked(ControlId id);
  void focus_first();
  void require_minimum_size();

  QWidget& widget(ControlId id) const { return *widgets_[index_of(id)]; }
  template <typename Widget>
  Widget& as(ControlId id) const {
    return static_cast<Widget&>(widget(id));
  }

  static constexpr std::size_t kDialogCount = static_cast<std::size_t>(DialogId::update) + 1;

  WindowEvents& events_;
  std::array<QWidget*, kControlCount> widgets_{};      // children of this window
  std::array<QButtonGroup*, kControlCount> groups_{};  // of the radio buttons
  std::bitset<kControlCount> checked_;                 // as apply() said
  Placement placement_{};
  WindowMenus menus_;
  std::array<TextDialog*, kDialogCount> dialogs_{};  // children of this window, created when first shown
  ToolkitTexts toolkit_texts_;
  std::optional<ThemePalette> theme_;
  std::map<std::uintptr_t, std::unique_ptr<QTimer>> timers_;
  std::atomic<bool> closed_ = false;
  bool built_ = false;  // before that, nothing is reported
};

}  // namespace hvt
