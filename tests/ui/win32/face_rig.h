#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ui/layout.h"
#include "ui/state_rules.h"
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
  void menu_chosen(MenuItem item) override { log.push_back("menu " + std::to_string(index_of(item))); }
  void dialog_link(DialogId id) override {
    log.push_back("link " + std::to_string(static_cast<std::size_t>(id)));
  }
  void appearance_changed() override { log.emplace_back("appearance"); }
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

  // Handles what waits in the thread's queue as the loop does; true when the loop would end.
  bool pump();
  // What a person presses: the message goes to the window with the keyboard, as the system sends it.
  void press(WPARAM key);
  void press_access_key(wchar_t character);
  // Applies what the rules say.
  void apply_facts(const Facts& facts);
  // And puts the controls into place in a client area of this size.
  void show_facts(const Facts& facts, Size client);

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

inline bool Face::pump() {
  MSG message{};
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    if (message.message == WM_QUIT) return true;
    if (window.takes(message)) continue;
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  return false;
}

inline void Face::press(WPARAM key) {
  PostMessageW(GetFocus(), WM_KEYDOWN, key, 1);
  pump();
}

inline void Face::press_access_key(wchar_t character) {
  constexpr LPARAM kAltIsDown = 1 << 29;
  PostMessageW(GetFocus(), WM_SYSCHAR, character, kAltIsDown);
  pump();
}

inline void Face::apply_facts(const Facts& facts) {
  const ControlStates states = rules(facts);
  std::vector<ControlChange> changes;
  for (const ControlRow& row : kControls)
    changes.push_back({row.id, states[index_of(row.id)]});
  window.apply(changes);
  window.set_menus(menu_rules(facts));
}

inline void Face::show_facts(const Facts& facts, Size client) {
  apply_facts(facts);
  window.set_client_size(client);
  window.place(layout(window.measure(), client, {facts.transmit_expanded}));
  window.show();
  pump();
  events.take();
}

// The colour of a place of a window that is on the screen.
inline COLORREF pixel(HWND window, int x, int y) {
  UpdateWindow(window);
  const HDC dc = GetWindowDC(window);
  const COLORREF color = GetPixel(dc, x, y);
  ReleaseDC(window, dc);
  return color;
}

inline std::wstring class_of(HWND window) {
  wchar_t name[64]{};
  GetClassNameW(window, name, 64);
  return name;
}

}  // namespace hvt::test
