#pragma once

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "ui/main_window.h"

namespace hvt::test {

// A receive view that keeps plain text.
class PlainReceiveView final : public ReceiveView {
 public:
  void begin_update() override { ++open_updates_; }
  void end_update(const ViewUpdate& update) override {
    --open_updates_;
    updates_.push_back(update);
  }
  std::size_t append(const DisplayBatch& batch) override {
    text_ += batch.text();
    return batch.characters();
  }
  void trim_head(std::size_t characters) override { text_.erase(0, characters); }
  void remove(std::size_t first, std::size_t count) override { text_.erase(first, count); }
  void clear() override { text_.clear(); }
  void go_to_tail() override { ++went_to_tail_; }
  void on_navigated(std::function<void()> navigated) override { navigated_ = std::move(navigated); }
  std::size_t line_count() const override {
    if (text_.empty()) return 0;
    return 1 + static_cast<std::size_t>(std::count(text_.begin(), text_.end(), L'\n'));
  }
  void set_appearance(Appearance) override {}
  void set_font_points(int value) override { points = value; }
  void set_language(Language) override {}

  // The person.
  void navigate() { navigated_(); }

  const std::wstring& text() const { return text_; }
  const std::vector<ViewUpdate>& updates() const { return updates_; }
  bool updating() const { return open_updates_ > 0; }
  int went_to_tail() const { return went_to_tail_; }
  int points = 0;

 private:
  std::wstring text_;
  std::function<void()> navigated_;
  std::vector<ViewUpdate> updates_;
  int open_updates_ = 0;
  int went_to_tail_ = 0;
};

// A window without a screen: remembers what it was told and lets the test play the person.
//
// Threads   post() from any thread; everything else on the test's thread, which is the interface thread.
class RecordingWindow final : public MainWindow {
 public:
  explicit RecordingWindow(WindowEvents& events) : events_(events) {}

  void set_title(std::wstring_view) override {}
  void set_client_size(Size client) override { resize(client); }
  Size client_size() const override { return client_; }
  void show() override {}
  void apply(std::span<const ControlChange> changes) override {
    writes_ += changes.size();
    for (const ControlChange& change : changes)
      states_[index_of(change.id)] = change.state;
  }
  void place(const Placement& placement) override { placement_ = placement; }
  Metrics measure() const override { return {}; }
  std::wstring field_text(ControlId id) const override {
    const auto found = fields_.find(id);
    return found == fields_.end() ? std::wstring() : found->second;
  }
  void set_field_text(ControlId id, std::wstring_view text, std::size_t) override { fields_[id] = text; }
  std::size_t field_caret(ControlId id) const override { return field_text(id).size(); }
  void set_choices(ControlId id, std::span<const std::wstring> entries, std::optional<std::size_t> selected,
                   std::wstring_view placeholder) override {
    choices_[id] = {{entries.begin(), entries.end()}, selected, std::wstring(placeholder)};
  }
  std::optional<std::size_t> selected_choice(ControlId id) const override {
    const auto found = choices_.find(id);
    return found == choices_.end() ? std::nullopt : found->second.selected;
  }
  void set_status(std::wstring_view text, StatusTone tone) override { status_ = {std::wstring(text), tone}; }
  void set_counter(ControlId id, std::wstring_view text) override { counters_[id] = text; }
  void show_notice(std::wstring_view title, std::wstring_view text) override {
    notices_.push_back({std::wstring(title), std::wstring(text)});
  }
  void set_menus(const MenuStates& states) override { menus = states; }
  void show_dialog(DialogId id, const DialogContent& content) override { dialogs[id] = content; }
  void change_dialog(DialogId id, const DialogContent& content) override {
    if (dialogs.contains(id)) dialogs[id] = content;
  }
  bool desktop_prefers_dark() const override { return prefers_dark; }
  SystemColors system_colors() const override { return colors; }
  void set_theme(const ThemePalette& palette) override {
    if (refuses_theme) throw std::runtime_error("Could not create theme brushes.");
    themes.push_back(palette);
  }
  void set_always_on_top(bool value) override { on_top = value; }
  Size largest_client_size() const override { return screen; }
  PlainReceiveView& receive_view() override { return view_; }
  bool open_in_desktop(const std::filesystem::path& target) override {
    opened.push_back(target);
    return !refuses_to_open;
  }
  void set_place(const WindowPlace& place) override { place_ = place; }
  WindowPlace current_place() const override { return place_; }
  std::optional<std::filesystem::path> ask_file(const FileQuestion& question) override {
    asked.push_back(question);
    return chosen_file;
  }
  bool post(unsigned message) override {
    const std::lock_guard lock(mutex_);
    if (refuses_posts_) return false;
    posted_.push_back(message);
    return true;
  }
  void start_timer(std::uintptr_t id, std::chrono::milliseconds interval) override {
    timer_ = id;
    timer_interval = interval;
    ++timer_starts;
  }
  bool input_waiting() const override { return input_waits; }

  // The person.
  void resize(Size client) {
    client_ = client;
    events_.resized(client);
  }
  void choose(ControlId id, std::size_t row) {
    choices_[id].selected = row;
    events_.chosen(id);
  }
  void type(ControlId id, std::wstring text) {
    fields_[id] = std::move(text);
    events_.edited(id);
  }

  // The message loop: delivers what is posted now.
  void deliver() {
    for (const unsigned message : take_posted())
      events_.message(message, 0, 0);
  }
  void tick() { events_.message(kTimerMessage, timer_, 0); }
  std::vector<unsigned> take_posted() {
    const std::lock_guard lock(mutex_);
    return std::exchange(posted_, {});
  }
  void refuse_posts(bool refuse) {
    const std::lock_guard lock(mutex_);
    refuses_posts_ = refuse;
  }

  struct Choice {
    std::vector<std::wstring> entries;
    std::optional<std::size_t> selected;
    std::wstring placeholder;
  };
  const Choice& choice(ControlId id) { return choices_[id]; }
  const ControlState& state(ControlId id) const { return states_[index_of(id)]; }
  const std::wstring& status() const { return status_.first; }
  const std::wstring& counter(ControlId id) { return counters_[id]; }
  const std::vector<std::pair<std::wstring, std::wstring>>& notices() const { return notices_; }
  StatusTone tone() const { return status_.second; }
  const std::wstring& shown() const { return view_.text(); }
  std::size_t writes() const { return writes_; }
  const Placement& placement() const { return placement_; }

  bool input_waits = false;
  std::chrono::milliseconds timer_interval{};  // of the latest start_timer()
  int timer_starts = 0;
  MenuStates menus;
  std::map<DialogId, DialogContent> dialogs;  // open ones
  bool prefers_dark = false;
  SystemColors colors{};
  bool refuses_theme = false;
  std::vector<ThemePalette> themes;  // as set, one after another
  bool on_top = false;
  Size screen{10'000, 10'000};
  std::vector<FileQuestion> asked;
  std::vector<std::filesystem::path> opened;
  bool refuses_to_open = false;
  std::optional<std::filesystem::path> chosen_file;  // what the person answers, nothing for a cancel

 private:
  WindowEvents& events_;
  Size client_;
  PlainReceiveView view_;
  ControlStates states_{};
  Placement placement_{};
  WindowPlace place_;
  std::map<ControlId, std::wstring> fields_;
  std::map<ControlId, Choice> choices_;
  std::map<ControlId, std::wstring> counters_;
  std::vector<std::pair<std::wstring, std::wstring>> notices_;
  std::pair<std::wstring, StatusTone> status_;
  std::uintptr_t timer_ = 0;
  std::size_t writes_ = 0;
  std::mutex mutex_;
  std::vector<unsigned> posted_;
  bool refuses_posts_ = false;
};

}  // namespace hvt::test
