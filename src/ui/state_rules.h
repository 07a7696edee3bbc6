#pragma once

#include <array>
#include <string_view>

#include "ui/controls.h"
#include "ui/menus.h"
#include "ui/texts.h"

namespace hvt {

enum class LinkState { disconnected, connecting, connected };
// A session that drains still writes what it has taken.
enum class RecordState { idle, running, draining };
// Single packets change nothing: the next one may be queued at any time.
enum class RepeatState { idle, running, stopping };
enum class ThemeChoice { light, dark, system };

// Everything that decides what the controls look like.
struct Facts {
  Language language = Language::english;
  ThemeChoice theme = ThemeChoice::system;
  bool always_on_top = false;
  bool newer_release = false;  // one is known to be published
  LinkState link = LinkState::disconnected;
  bool has_ports = false;
  bool receive_hex = false;
  bool line_break = false;
  bool hide_crlf = false;  // saved ASCII preference, kept while Hex disables it
  bool echo_sent = true;   // saved preference, kept while the panel is folded
  bool transmit_expanded = false;
  bool send_hex = false;
  bool auto_crlf = false;
  bool wait_for_rx = true;
  RepeatState repeat = RepeatState::idle;
  RecordState record = RecordState::idle;
  bool display_while_recording = true;  // saved preference, kept while a high baud rate overrules it
  bool high_speed = false;              // such a rate is chosen
  bool paused = false;                  // the receive view stays where a person went
  friend bool operator==(const Facts&, const Facts&) = default;
};

struct ControlState {
  bool enabled = true;
  bool visible = true;
  bool checked = false;       // check and radio kinds
  std::wstring_view caption;  // static texts; choices, fields, counters and the status line carry their own
  std::wstring_view tip{};    // shown when the pointer rests on it, and read out; empty for none
  std::wstring_view name{};   // what it is called where the caption does not say it; empty for the caption
  friend bool operator==(const ControlState&, const ControlState&) = default;
};
using ControlStates = std::array<ControlState, kControlCount>;

// The view gets what is recorded too.
bool shows_while_recording(const Facts& facts);

// Pure: the same facts give the same states, whatever happened before.
ControlStates rules(const Facts& facts);
MenuStates menu_rules(const Facts& facts);

}  // namespace hvt
