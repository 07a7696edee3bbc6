#pragma once

#include <array>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ui/main_window.h"

namespace hvt::test {

// A receive view that keeps plain text.
class PlainReceiveView final : public ReceiveView {
 public:
  void begin_update() override {}
  void end_update(const ViewUpdate&) override {}
  std::size_t append(const DisplayBatch& batch) override {
    text_ += batch.text();
    return batch.characters();
  }
  void trim_head(std::size_t characters) override { text_.erase(0, characters); }
  void clear() override { text_.clear(); }
  void go_to_tail() override {}
  void on_navigated(std::function<void()>) override {}
  void set_appearance(Appearance) override {}
  std::size_t line_count() const override { return text_.empty() ? 0 : 1; }
  void set_language(Language) override {}

  const std::wstring& text() const { return text_; }

 private:
  std::wstring text_;
};

// A window without a screen: remembers what it was told and lets the test play the person.
//
// Threads   post() from any thread; everything else on the test's thread, which is the interface thread.
class RecordingWindow final : public MainWindow {
 public:
  explicit RecordingWindow(WindowEvents& events) : events_(events) {}

  void set_title(std::wstring_view) override {}
  void set_client_size(Size client) override { events_.resized(client); }
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
  ReceiveView& receive_view() override { return view_; }
  bool post(unsigned message) override {
    const std::lock_guard lock(mutex_);
    if (refuses_posts_) return false;
    posted_.push_back(message);
    return true;
  }
  void start_timer(std::uintptr_t id, unsigned) override { timer_ = id; }
  bool input_waiting() const override { return input_waits; }

  // The person.
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
  StatusTone tone() const { return status_.second; }
  const std::wstring& shown() const { return view_.text(); }
  std::size_t writes() const { return writes_; }
  const Placement& placement() const { return placement_; }

  bool input_waits = false;

 private:
  WindowEvents& events_;
  PlainReceiveView view_;
  ControlStates states_{};
  Placement placement_{};
  std::map<ControlId, std::wstring> fields_;
  std::map<ControlId, Choice> choices_;
  std::pair<std::wstring, StatusTone> status_;
  std::uintptr_t timer_ = 0;
  std::size_t writes_ = 0;
  std::mutex mutex_;
  std::vector<unsigned> posted_;
  bool refuses_posts_ = false;
};

}  // namespace hvt::test
