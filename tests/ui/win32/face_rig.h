#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ui/win32/application.h"
#include "ui/win32/main_window.h"

namespace hvt::test {

// Writes down every event as one word and a name.
class RecordingEvents : public WindowEvents {
 public:
  std::vector<std::string> log;
  Size minimum{600, 440};

  std::vector<std::string> take() { return std::exchange(log, {}); }

  void command(ControlId id) override { note("command", id); }
  void chosen(ControlId id) override { note("chosen", id); }
  void edited(ControlId id) override { note("edited", id); }
  void resized(Size) override { log.emplace_back("resized"); }
  void metrics_changed() override { log.emplace_back("metrics"); }
  void closing() override { log.emplace_back("closing"); }
  Size minimum_client_size(int) override { return minimum; }
  void message(unsigned message, std::uintptr_t first, std::intptr_t) override {
    std::string entry{"message "};
    log.push_back(entry.append(std::to_string(message)).append(" ").append(std::to_string(first)));
  }

 private:
  void note(std::string event, ControlId id) { log.push_back(event.append(" ").append(control(id).name)); }
};

// A window as the program has it, not shown.
struct Face {
  InterfaceLibraries libraries;
  RecordingEvents events;
  Win32MainWindow window{events};

  HWND native(ControlId id) const { return GetDlgItem(window.handle(), native_id(id)); }
  // Every control visible, enabled, unchecked and with the caption "x".
  void apply_plain_states();
};

inline void Face::apply_plain_states() {
  std::vector<ControlChange> changes;
  for (const ControlRow& row : kControls)
    changes.push_back({row.id, {true, true, false, L"x"}});
  window.apply(changes);
}

}  // namespace hvt::test
