#include "ui/state_rules.h"

#include <cstddef>

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
constexpr bool sends_ascii(const Facts& f) {
  return !f.send_hex;
}
constexpr bool sends_hex(const Facts& f) {
  return f.send_hex;
}
constexpr bool appends_crlf(const Facts& f) {
  return f.auto_crlf;
}

// A hidden control is disabled too, whatever `enabled` says.
struct Rule {
  TextId caption = TextId::none;
  Condition enabled = always;
  Condition visible = always;
  Condition checked = never;
};

// The connection button is never disabled: its click connects, tells what is missing, cancels a running
// attempt or disconnects. Labels keep their strength too, so that the settings in use stay readable.
constexpr std::array<Rule, kControlCount> kRules = [] {
  std::array<Rule, kControlCount> rules;
  const auto set = [&rules](ControlId id, Rule rule) { rules[index_of(id)] = rule; };

  set(ControlId::port, {.enabled = port_selectable});
  set(ControlId::refresh, {.caption = TextId::refresh});
  set(ControlId::connect, {.caption = TextId::connect});
  set(ControlId::timeout_label, {.caption = TextId::connection_timeout});
  set(ControlId::timeout, {.enabled = disconnected});
  set(ControlId::timeout_unit, {.caption = TextId::seconds});
  set(ControlId::baud_label, {.caption = TextId::baud});
  set(ControlId::baud, {.enabled = disconnected});
  set(ControlId::data_bits_label, {.caption = TextId::data_bit});
  set(ControlId::data_bits, {.enabled = disconnected});
  set(ControlId::stop_bits_label, {.caption = TextId::stop_bit});
  set(ControlId::stop_bits, {.enabled = disconnected});
  set(ControlId::parity_label, {.caption = TextId::parity});
  set(ControlId::parity, {.enabled = disconnected});

  set(ControlId::receive_title, {.caption = TextId::receive});
  set(ControlId::receive_ascii, {.caption = TextId::ascii, .checked = receives_ascii});
  set(ControlId::receive_hex, {.caption = TextId::hex, .checked = receives_hex});
  set(ControlId::line_break, {.caption = TextId::line_break, .checked = breaks_lines});
  set(ControlId::hide_crlf, {.caption = TextId::hide_crlf, .enabled = receives_ascii, .checked = hides_crlf});
  set(ControlId::echo_sent, {.caption = TextId::echo_sent, .enabled = expanded, .checked = echoes_sent});
  set(ControlId::clear, {.caption = TextId::clear});

  set(ControlId::transmit, {.caption = TextId::transmit, .checked = expanded});
  set(ControlId::send_ascii, {.caption = TextId::ascii, .visible = expanded, .checked = sends_ascii});
  set(ControlId::send_hex, {.caption = TextId::hex, .visible = expanded, .checked = sends_hex});
  set(ControlId::auto_crlf, {.caption = TextId::auto_crlf, .visible = expanded, .checked = appends_crlf});
  for (std::size_t row = 0; packet_field(row) < ControlId::status; ++row) {
    set(packet_field(row), {.visible = expanded});
    set(send_button(row), {.caption = TextId::send, .enabled = connected, .visible = expanded});
  }
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

}  // namespace

ControlStates rules(const Facts& facts) {
  ControlStates states;
  for (std::size_t i = 0; i < kControlCount; ++i) {
    const Rule& rule = kRules[i];
    ControlState& state = states[i];
    state.visible = rule.visible(facts);
    state.enabled = state.visible && rule.enabled(facts);
    state.checked = rule.checked(facts);
    if (rule.caption != TextId::none) state.caption = text(rule.caption, facts.language);
  }
  states[index_of(ControlId::connect)].caption = text(link_caption(facts.link), facts.language);
  return states;
}

}  // namespace hvt
