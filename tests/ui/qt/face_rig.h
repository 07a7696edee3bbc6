#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "ui/qt/main_window.h"

namespace hvt {

// Writes down what the window reports, and lays it out as the controller would.
class Recorder : public WindowEvents {
 public:
  void command(ControlId id) override { note("command", id); }
  void chosen(ControlId id) override { note("chosen", id); }
  void edited(ControlId id) override { note("edited", id); }
  void menu_chosen(MenuItem item) override { log.push_back("menu " + std::to_string(index_of(item))); }
  void dialog_link(DialogId id) override { log.push_back("link " + std::to_string(static_cast<int>(id))); }
  void appearance_changed() override { log.emplace_back("appearance"); }
  void resized(Size client) override { last_size = client; }
  void metrics_changed() override { log.emplace_back("metrics"); }
  void closing() override { log.emplace_back("closing"); }
  Size minimum_client_size(int) override { return least; }
  void message(unsigned number, std::uintptr_t first, std::intptr_t) override {
    if (on_message) on_message(number, first);
  }

  std::vector<std::string> take() { return std::exchange(log, {}); }

  std::vector<std::string> log;
  std::function<void(unsigned, std::uintptr_t)> on_message;
  Size last_size;
  Size least{600, 300};

 private:
  void note(const char* what, ControlId id) {
    log.push_back(std::string(what) + ' ' + std::string(control(id).name));
  }
};

// A window with every control in sight, as the rules want it for a person who is about to connect.
class Face : public testing::Test {
 protected:
  Face() {
    show_facts(usual_facts());
    const std::vector<std::wstring> entries{L"one", L"two", L"three"};
    for (const ControlRow& row : kControls) {
      if (row.kind == ControlKind::choice) window_.set_choices(row.id, entries, 0, L"");
    }
    window_.place(layout(window_.measure(), {800, 800}, {.transmit_expanded = true}));
    window_.set_client_size({800, 800});
    window_.show();
    recorder_.take();
  }

  static Facts usual_facts() {
    Facts facts;
    facts.has_ports = facts.transmit_expanded = facts.newer_release = true;
    return facts;
  }

  void show_facts(const Facts& facts) {
    states_ = rules(facts);
    apply_all();
    window_.set_menus(menu_rules(facts));
  }

  void activate() {
    window_.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window_));
  }

  void apply_all() {
    std::vector<ControlChange> changes;
    for (const ControlRow& row : kControls)
      changes.push_back({row.id, states_[index_of(row.id)]});
    window_.apply(changes);
  }

  template <typename Widget = QWidget>
  Widget* find(ControlId id) const {
    const std::string name(control(id).name);
    return window_.findChild<Widget*>(QString::fromStdString(name));
  }

  Recorder recorder_;
  QtMainWindow window_{recorder_};
  ControlStates states_;
};

}  // namespace hvt
