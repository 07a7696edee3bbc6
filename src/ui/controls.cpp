#include "ui/controls.h"

namespace hvt {
namespace {

using enum ControlGroup;
using Kind = ControlKind;
using Id = ControlId;

}  // namespace

constexpr std::array<ControlRow, kControlCount> kControls{{
    {Id::menu_language, Kind::menu_button, menu, "menu_language", 'L'},
    {Id::menu_theme, Kind::menu_button, menu, "menu_theme", 'T'},
    {Id::menu_help, Kind::menu_button, menu, "menu_help", 'H'},
    {Id::update_badge, Kind::badge, menu, "update_badge", 'U'},
    {Id::always_on_top, Kind::bar_button, menu, "always_on_top", 'A'},

    {Id::port, Kind::choice, connection, "port", 'P'},
    {Id::refresh, Kind::button, connection, "refresh", 'R'},
    {Id::connect, Kind::button, connection, "connect", 'C'},
    {Id::timeout_label, Kind::label, connection, "timeout_label"},
    {Id::timeout, Kind::choice, connection, "timeout"},
    {Id::timeout_unit, Kind::label, connection, "timeout_unit"},
    {Id::baud_label, Kind::label, connection, "baud_label"},
    {Id::baud, Kind::choice, connection, "baud", 'B'},
    {Id::data_bits_label, Kind::label, connection, "data_bits_label"},
    {Id::data_bits, Kind::choice, connection, "data_bits"},
    {Id::stop_bits_label, Kind::label, connection, "stop_bits_label"},
    {Id::stop_bits, Kind::choice, connection, "stop_bits"},
    {Id::parity_label, Kind::label, connection, "parity_label"},
    {Id::parity, Kind::choice, connection, "parity"},

    {Id::receive_title, Kind::title, receive, "receive_title"},
    {Id::receive_ascii, Kind::radio, receive, "receive_ascii"},
    {Id::receive_hex, Kind::radio, receive, "receive_hex"},
    {Id::line_break, Kind::check, receive, "line_break"},
    {Id::hide_crlf, Kind::check, receive, "hide_crlf"},
    {Id::echo_sent, Kind::check, receive, "echo_sent"},
    {Id::buffer_size_label, Kind::label, receive, "buffer_size_label"},
    {Id::buffer_size, Kind::choice, receive, "buffer_size"},
    {Id::font_size_label, Kind::label, receive, "font_size_label"},
    {Id::font_size, Kind::choice, receive, "font_size"},
    {Id::font_size_unit, Kind::label, receive, "font_size_unit"},
    {Id::follow, Kind::button, receive, "follow", 'F'},
    {Id::line_count, Kind::counter, receive, "line_count"},
    {Id::clear, Kind::button, receive, "clear", 'E'},
    {Id::receive_view, Kind::receive_view, receive, "receive_view", 'W'},

    {Id::record_title, Kind::title, record, "record_title"},
    {Id::record, Kind::button, record, "record", 'D'},
    {Id::record_name, Kind::name_edit, record, "record_name"},
    {Id::display_while_recording, Kind::check, record, "display_while_recording"},
    {Id::open_folder, Kind::button, record, "open_folder", 'O'},

    {Id::transmit, Kind::check, transmit, "transmit", 'M'},
    {Id::send_ascii, Kind::radio, transmit, "send_ascii"},
    {Id::send_hex, Kind::radio, transmit, "send_hex"},
    {Id::auto_crlf, Kind::check, transmit, "auto_crlf"},
    {Id::packet_1, Kind::packet_edit, transmit, "packet_1", '1'},
    {Id::send_1, Kind::button, transmit, "send_1"},
    {Id::packet_2, Kind::packet_edit, transmit, "packet_2", '2'},
    {Id::send_2, Kind::button, transmit, "send_2"},
    {Id::packet_3, Kind::packet_edit, transmit, "packet_3", '3'},
    {Id::send_3, Kind::button, transmit, "send_3"},
    {Id::packet_4, Kind::packet_edit, transmit, "packet_4", '4'},
    {Id::send_4, Kind::button, transmit, "send_4"},
    {Id::packet_5, Kind::packet_edit, transmit, "packet_5", '5'},
    {Id::send_5, Kind::button, transmit, "send_5"},
    {Id::packet_6, Kind::packet_edit, transmit, "packet_6", '6'},
    {Id::send_6, Kind::button, transmit, "send_6"},
    {Id::packet_7, Kind::packet_edit, transmit, "packet_7", '7'},
    {Id::send_7, Kind::button, transmit, "send_7"},
    {Id::packet_8, Kind::packet_edit, transmit, "packet_8", '8'},
    {Id::send_8, Kind::button, transmit, "send_8"},
    {Id::packet_9, Kind::packet_edit, transmit, "packet_9", '9'},
    {Id::send_9, Kind::button, transmit, "send_9"},
    {Id::packet_10, Kind::packet_edit, transmit, "packet_10", '0'},
    {Id::send_10, Kind::button, transmit, "send_10"},
    {Id::save_packets, Kind::button, transmit, "save_packets", 'V'},
    {Id::load_packets, Kind::button, transmit, "load_packets", 'I'},

    {Id::repeat_title, Kind::title, repeat, "repeat_title"},
    {Id::packet_number_label, Kind::label, repeat, "packet_number_label"},
    {Id::start_packet, Kind::number_edit, repeat, "start_packet"},
    {Id::packet_range, Kind::label, repeat, "packet_range"},
    {Id::end_packet, Kind::number_edit, repeat, "end_packet"},
    {Id::repeat_count_label, Kind::label, repeat, "repeat_count_label"},
    {Id::repeat_count, Kind::number_edit, repeat, "repeat_count"},
    {Id::wait_for_rx, Kind::check, repeat, "wait_for_rx"},
    {Id::rx_timeout_label, Kind::label, repeat, "rx_timeout_label"},
    {Id::rx_timeout, Kind::number_edit, repeat, "rx_timeout"},
    {Id::rx_timeout_unit, Kind::label, repeat, "rx_timeout_unit"},
    {Id::interval_label, Kind::label, repeat, "interval_label"},
    {Id::interval, Kind::number_edit, repeat, "interval"},
    {Id::interval_unit, Kind::label, repeat, "interval_unit"},
    {Id::repeat, Kind::button, repeat, "repeat", 'S'},

    {Id::status, Kind::status, footer, "status"},
}};

namespace {

constexpr bool rows_stand_at_their_ids() {
  for (std::size_t i = 0; i < kControls.size(); ++i) {
    if (index_of(kControls[i].id) != i) return false;
  }
  return true;
}

// packet_field() and send_button() count on rows of two.
constexpr bool packet_rows_are_pairs() {
  for (std::size_t i = index_of(Id::packet_1); i <= index_of(Id::send_10); ++i) {
    const bool field = (i - index_of(Id::packet_1)) % 2 == 0;
    if (kControls[i].kind != (field ? Kind::packet_edit : Kind::button)) return false;
  }
  return packet_field(kPacketRows - 1) == Id::packet_10 && send_button(kPacketRows - 1) == Id::send_10;
}

constexpr bool names_and_keys_are_unique() {
  for (std::size_t i = 0; i < kControls.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      if (kControls[i].name == kControls[j].name) return false;
      if (kControls[i].access_key != 0 && kControls[i].access_key == kControls[j].access_key) return false;
    }
  }
  return true;
}

static_assert(rows_stand_at_their_ids());
static_assert(packet_rows_are_pairs());
static_assert(names_and_keys_are_unique());

}  // namespace

std::optional<ControlId> control_of_access_key(char32_t character) {
  const bool small = character >= U'a' && character <= U'z';
  const char32_t key = small ? character - U'a' + U'A' : character;
  if (key == 0) return {};
  for (const ControlRow& row : kControls) {
    if (static_cast<char32_t>(row.access_key) == key) return row.id;
  }
  return {};
}

}  // namespace hvt
