#include "ui/state_rules.h"

#include <cstddef>

#include "ui/tips.h"

namespace hvt {
namespace {

using Condition = bool (*)(const Facts&);

constexpr bool always(const Facts&) {
  return true;
}
constexpr bool never(const Facts&) {
  return false;
}
// An open port keeps the settings it was opened with, so they cannot be changed under it.
constexpr bool disconnected(const Facts& f) {
  return f.link == LinkState::disconnected;
}
constexpr bool port_selectable(const Facts& f) {
  return disconnected(f) && f.has_ports;
}
constexpr bool connected(const Facts& f) {
  return f.link == LinkState::connected;
}
constexpr bool receives_ascii(const Facts& f) {
  return !f.receive_hex;
}
constexpr bool receives_hex(const Facts& f) {
  return f.receive_hex;
}
constexpr bool breaks_lines(const Facts& f) {
  return f.line_break;
}
constexpr bool hides_crlf(const Facts& f) {
  return f.hide_crlf;
}
constexpr bool echoes_sent(const Facts& f) {
  return f.echo_sent;
}
constexpr bool expanded(const Facts& f) {
  return f.transmit_expanded;
}
// A repeat run keeps the packets and settings it was started with, so they cannot be changed under it.
constexpr bool no_repeat(const Facts& f) {
  return f.repeat == RepeatState::idle;
}
constexpr bool can_send(const Facts& f) {
  return connected(f) && no_repeat(f);
}
constexpr bool may_record(const Facts& f) {
  return f.record == RecordState::running || (f.record == RecordState::idle && connected(f));
}
constexpr bool records_nothing(const Facts& f) {
  return f.record == RecordState::idle;
}
constexpr bool no_high_speed(const Facts& f) {
  return !f.high_speed;
}
constexpr bool shows_recorded(const Facts& f) {
  return f.display_while_recording && !f.high_speed;
}
constexpr bool waits_for_rx(const Facts& f) {
  return f.wait_for_rx;
}
constexpr bool wait_settable(const Facts& f) {
  return f.transmit_expanded && no_repeat(f);
}
constexpr bool timeout_settable(const Facts& f) {
  return wait_settable(f) && f.wait_for_rx;
}
constexpr bool sends_ascii(const Facts& f) {
  return !f.send_hex;
}
constexpr bool sends_hex(const Facts& f) {
  return f.send_hex;
}
constexpr bool appends_crlf(const Facts& f) {
  return f.auto_crlf;
}

constexpr bool paused(const Facts& f) {
  return f.paused;
}
constexpr bool newer_release(const Facts& f) {
  return f.newer_release;
}

// A hidden control is disabled too, whatever `enabled` says.
struct Rule {
  TextId caption = TextId::none;
  Condition enabled = always;
  Condition visible = always;
  Condition checked = never;
  TextId name = TextId::none;
};

// The connection button is never disabled: its click connects, tells what is missing, cancels a running
// attempt or disconnects. Labels keep their strength too, so that the settings in use stay readable.
constexpr std::array<Rule, kControlCount> kRules = [] {
  std::array<Rule, kControlCount> rules;
  const auto set = [&rules](ControlId id, Rule rule) { rules[index_of(id)] = rule; };

  set(ControlId::menu_language, {.caption = TextId::language});
  set(ControlId::menu_theme, {.caption = TextId::theme});
  set(ControlId::menu_help, {.caption = TextId::help});
  set(ControlId::update_badge, {.caption = TextId::update, .visible = newer_release});
  set(ControlId::always_on_top, {});

  set(ControlId::port, {.enabled = port_selectable, .name = TextId::com_port});
  set(ControlId::refresh, {.caption = TextId::refresh});
  set(ControlId::connect, {.caption = TextId::connect});
  set(ControlId::timeout_label, {.caption = TextId::connection_timeout});
  set(ControlId::timeout, {.enabled = disconnected, .name = TextId::connection_timeout});
  set(ControlId::timeout_unit, {.caption = TextId::seconds});
  set(ControlId::baud_label, {.caption = TextId::baud});
  set(ControlId::baud, {.enabled = disconnected, .name = TextId::baud});
  set(ControlId::data_bits_label, {.caption = TextId::data_bit});
  set(ControlId::data_bits, {.enabled = disconnected, .name = TextId::data_bit});
  set(ControlId::stop_bits_label, {.caption = TextId::stop_bit});
  set(ControlId::stop_bits, {.enabled = disconnected, .name = TextId::stop_bit});
  set(ControlId::parity_label, {.caption = TextId::parity});
  set(ControlId::parity, {.enabled = disconnected, .name = TextId::parity});

  set(ControlId::receive_title, {.caption = TextId::receive});
  set(ControlId::receive_ascii, {.caption = TextId::ascii, .checked = receives_ascii});
  set(ControlId::receive_hex, {.caption = TextId::hex, .checked = receives_hex});
  set(ControlId::line_break, {.caption = TextId::line_break, .checked = breaks_lines});
  set(ControlId::hide_crlf, {.caption = TextId::hide_crlf, .enabled = receives_ascii, .checked = hides_crlf});
  set(ControlId::echo_sent, {.caption = TextId::echo_sent, .enabled = expanded, .checked = echoes_sent});
  set(ControlId::buffer_size_label, {.caption = TextId::buffer_size});
  set(ControlId::buffer_size, {.name = TextId::buffer_size});
  set(ControlId::font_size_label, {.caption = TextId::font_size});
  set(ControlId::font_size, {.name = TextId::font_size});
  set(ControlId::font_size_unit, {.caption = TextId::points});
  set(ControlId::follow, {.caption = TextId::follow, .enabled = paused, .name = TextId::scroll_down});
  set(ControlId::clear, {.caption = TextId::clear});
  set(ControlId::receive_view, {.name = TextId::receive});

  set(ControlId::record_title, {.caption = TextId::record});
  set(ControlId::record, {.enabled = may_record});
  set(ControlId::record_name,
      {.caption = TextId::auto_filename, .enabled = records_nothing, .name = TextId::file_name});
  set(ControlId::display_while_recording,
      {.caption = TextId::display_while_recording, .enabled = no_high_speed, .checked = shows_recorded});
  set(ControlId::open_folder, {.caption = TextId::open_folder});

  const auto set_in_panel = [&set](ControlId id, TextId caption, Condition enabled = always,
                                   Condition checked = never) {
    set(id, {.caption = caption, .enabled = enabled, .visible = expanded, .checked = checked});
  };
  set(ControlId::transmit, {.caption = TextId::transmit, .enabled = no_repeat, .checked = expanded});
  set_in_panel(ControlId::send_ascii, TextId::ascii, no_repeat, sends_ascii);
  set_in_panel(ControlId::send_hex, TextId::hex, no_repeat, sends_hex);
  set_in_panel(ControlId::auto_crlf, TextId::auto_crlf, no_repeat, appends_crlf);
  for (std::size_t row = 0; row < kPacketRows; ++row) {
    set_in_panel(packet_field(row), TextId::none, no_repeat);
    set_in_panel(send_button(row), TextId::send, can_send);
  }
  set_in_panel(ControlId::save_packets, TextId::save_packets);
  set_in_panel(ControlId::load_packets, TextId::load_packets, no_repeat);

  set(ControlId::repeat_title, {.caption = TextId::repeat});
  set_in_panel(ControlId::packet_number_label, TextId::packet_number);
  const auto set_field = [&set](ControlId id, TextId name) {
    set(id, {.enabled = no_repeat, .visible = expanded, .name = name});
  };
  set_field(ControlId::start_packet, TextId::packet_number);
  set_in_panel(ControlId::packet_range, TextId::packet_range);
  set_field(ControlId::end_packet, TextId::packet_number);
  set_in_panel(ControlId::repeat_count_label, TextId::repeat_count);
  set_field(ControlId::repeat_count, TextId::repeat_count);
  set(ControlId::wait_for_rx,
      {.caption = TextId::wait_for_rx, .enabled = wait_settable, .checked = waits_for_rx});
  set(ControlId::rx_timeout_label, {.caption = TextId::rx_timeout});
  set(ControlId::rx_timeout, {.enabled = timeout_settable, .name = TextId::rx_timeout});
  set(ControlId::rx_timeout_unit, {.caption = TextId::milliseconds});
  set_in_panel(ControlId::interval_label, TextId::interval);
  set_field(ControlId::interval, TextId::interval);
  set_in_panel(ControlId::interval_unit, TextId::milliseconds);
  set_in_panel(ControlId::repeat, TextId::none, connected);
  return rules;
}();

constexpr TextId link_caption(LinkState link) {
  switch (link) {
    case LinkState::connecting: return TextId::connecting;
    case LinkState::connected: return TextId::connected_caption;
    case LinkState::disconnected: break;
  }
  return TextId::connect;
}

constexpr TextId repeat_caption(RepeatState repeat) {
  switch (repeat) {
    case RepeatState::running: return TextId::stop;
    case RepeatState::stopping: return TextId::stopping;
    case RepeatState::idle: break;
  }
  return TextId::repeat_send;
}

}  // namespace

bool shows_while_recording(const Facts& facts) {
  return shows_recorded(facts);
}

ControlStates rules(const Facts& facts) {
  ControlStates states;
  for (std::size_t i = 0; i < kControlCount; ++i) {
    const Rule& rule = kRules[i];
    ControlState& state = states[i];
    state.visible = rule.visible(facts);
    state.enabled = state.visible && rule.enabled(facts);
    state.checked = rule.checked(facts);
    if (rule.caption != TextId::none) state.caption = text(rule.caption, facts.language);
    if (rule.name != TextId::none) state.name = text(rule.name, facts.language);
    state.tip = tip(static_cast<ControlId>(i), facts.language);
  }
  const auto set_caption = [&](ControlId id, TextId caption) {
    states[index_of(id)].caption = text(caption, facts.language);
  };
  set_caption(ControlId::always_on_top,
              facts.always_on_top ? TextId::always_on_top_on : TextId::always_on_top_off);
  set_caption(ControlId::connect, link_caption(facts.link));
  const bool records = facts.record != RecordState::idle;
  set_caption(ControlId::record, records ? TextId::stop_recording : TextId::start_recording);
  set_caption(ControlId::repeat, repeat_caption(facts.repeat));
  for (std::size_t row = 0; row < kPacketRows; ++row) {
    states[index_of(packet_field(row))].name = packet_name(row, facts.language);
    states[index_of(send_button(row))].name = send_name(row, facts.language);
  }
  return states;
}

MenuStates menu_rules(const Facts& facts) {
  MenuStates states;
  const auto set = [&](MenuItem item, TextId caption, bool checked = false) {
    states[index_of(item)] = {text(caption, facts.language), checked};
  };
  set(MenuItem::english, TextId::language_english, facts.language == Language::english);
  set(MenuItem::korean, TextId::language_korean, facts.language == Language::korean);
  set(MenuItem::theme_light, TextId::theme_light, facts.theme == ThemeChoice::light);
  set(MenuItem::theme_dark, TextId::theme_dark, facts.theme == ThemeChoice::dark);
  set(MenuItem::theme_system, TextId::theme_system, facts.theme == ThemeChoice::system);
  set(MenuItem::usage, TextId::usage);
  set(MenuItem::check_updates, TextId::check_updates);
  set(MenuItem::about, TextId::about);
  set(MenuItem::homepage, TextId::homepage);
  return states;
}

}  // namespace hvt
