#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace hvt {

// Every control of the main window, in tab order. The value is the row of kControls; native ids and object
// names derive from it.
enum class ControlId : std::uint8_t {
  menu_language,
  menu_theme,
  menu_help,
  update_badge,
  always_on_top,
  port,
  refresh,
  connect,
  timeout_label,
  timeout,
  timeout_unit,
  baud_label,
  baud,
  data_bits_label,
  data_bits,
  stop_bits_label,
  stop_bits,
  parity_label,
  parity,
  receive_title,
  receive_ascii,
  receive_hex,
  line_break,
  hide_crlf,
  echo_sent,
  buffer_size_label,
  buffer_size,
  font_size_label,
  font_size,
  font_size_unit,
  follow,
  line_count,
  clear,
  receive_view,
  record_title,
  record,
  record_name,
  display_while_recording,
  open_folder,
  transmit,
  send_ascii,
  send_hex,
  auto_crlf,
  packet_1,
  send_1,
  packet_2,
  send_2,
  packet_3,
  send_3,
  packet_4,
  send_4,
  packet_5,
  send_5,
  packet_6,
  send_6,
  packet_7,
  send_7,
  packet_8,
  send_8,
  packet_9,
  send_9,
  packet_10,
  send_10,
  save_packets,
  load_packets,
  repeat_title,
  packet_number_label,
  start_packet,
  packet_range,
  end_packet,
  repeat_count_label,
  repeat_count,
  wait_for_rx,
  rx_timeout_label,
  rx_timeout,
  rx_timeout_unit,
  interval_label,
  interval,
  interval_unit,
  repeat,
  status,
};
inline constexpr std::size_t kControlCount = static_cast<std::size_t>(ControlId::status) + 1;

constexpr std::size_t index_of(ControlId id) {
  return static_cast<std::size_t>(id);
}

enum class ControlKind : std::uint8_t {
  label,    // static text
  title,    // static text heading a group
  counter,  // static text that the program counts in, not a caption
  button,
  menu_button,  // flat; opens the menu whose entries kMenuItems names
  bar_button,   // flat, beside the menus
  badge,        // a small button that tells of something new
  check,
  radio,        // consecutive radio rows of one group exclude each other
  choice,       // drop-down list without an edit field
  packet_edit,  // one line in the fixed-width font, at most kMaxPacketCharacters, Enter sends it
  number_edit,  // one line, at most kMaxNumberCharacters
  name_edit,    // one line, at most kMaxNameCharacters; the caption is shown while it is empty
  receive_view,
  status,  // one line of text, read-only
};

enum class ControlGroup : std::uint8_t { menu, connection, receive, record, transmit, repeat, footer };

// One more than any number needs, so that a value too large can be typed, seen and refused.
inline constexpr std::size_t kMaxNumberCharacters = 10;
// Leaves room for what the program adds to a file's name.
inline constexpr std::size_t kMaxNameCharacters = 150;

struct ControlRow {
  ControlId id;
  ControlKind kind;
  ControlGroup group;
  std::string_view name;  // object name: for accessibility tools and tests, never shown
  char access_key = 0;    // with Alt: does what a click does, or takes the keyboard there; 0 for none
};

extern const std::array<ControlRow, kControlCount> kControls;
inline const ControlRow& control(ControlId id) {
  return kControls[index_of(id)];
}

// The control that Alt and this character (a letter in either case, a digit) stand for.
std::optional<ControlId> control_of_access_key(char32_t character);

// Has the keyboard when the window opens; the controls before it are the menus.
inline constexpr ControlId kFirstFocus = ControlId::port;

constexpr bool is_push(ControlKind kind) {
  return kind >= ControlKind::button && kind <= ControlKind::radio;
}
constexpr bool has_mark(ControlKind kind) {
  return kind == ControlKind::check || kind == ControlKind::radio;
}
constexpr bool is_static_text(ControlKind kind) {
  return kind == ControlKind::label || kind == ControlKind::title || kind == ControlKind::counter;
}

// Names a part of the window, so it is drawn bold.
constexpr bool heads_group(const ControlRow& row) {
  return row.kind == ControlKind::title || row.id == ControlId::transmit;
}

// Rows 0 to 9 of the transmit panel.
inline constexpr std::size_t kPacketRows = 10;
constexpr ControlId packet_field(std::size_t row) {
  return static_cast<ControlId>(index_of(ControlId::packet_1) + 2 * row);
}
constexpr ControlId send_button(std::size_t row) {
  return static_cast<ControlId>(index_of(ControlId::send_1) + 2 * row);
}
constexpr bool is_packet_row(ControlId id) {
  return id >= ControlId::packet_1 && id <= ControlId::send_10;
}
// Row of a packet field or a send button.
constexpr std::size_t packet_row(ControlId id) {
  return (index_of(id) - index_of(ControlId::packet_1)) / 2;
}

}  // namespace hvt
