#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace hvt {

// The same in every language.
inline constexpr std::wstring_view kProductName = L"HalvetricSerialTest";

enum class Language { english, korean };

struct TextPair {
  std::wstring_view english;
  std::wstring_view korean;

  constexpr std::wstring_view in(Language language) const {
    return language == Language::korean ? korean : english;
  }
};

// Every text that a person can see exists once, as an English/Korean pair (texts.cpp).
enum class TextId {
  none,
  language,
  language_english,
  language_korean,
  theme,
  theme_light,
  theme_dark,
  theme_system,
  help,
  usage,
  check_updates,
  about,
  homepage,
  update,
  always_on_top_on,
  always_on_top_off,
  com_port,
  refresh,
  connect,
  connecting,
  connected_caption,
  connection_timeout,
  seconds,
  baud,
  data_bit,
  stop_bit,
  parity,
  parity_none,
  parity_odd,
  parity_even,
  parity_mark,
  parity_space,
  receive,
  ascii,
  hex,
  line_break,
  hide_crlf,
  echo_sent,
  buffer_size,
  font_size,
  points,
  clear,
  follow,
  scroll_down,
  cut,
  copy,
  paste,
  select_all,
  record,
  start_recording,
  stop_recording,
  file_name,
  auto_filename,
  display_while_recording,
  open_folder,
  no_folder,
  recording_incomplete,
  recording_suspect,
  high_speed_recording,
  transmit,
  auto_crlf,
  send,
  save_packets,
  load_packets,
  packets_file,
  all_files,
  settings_not_saved,
  theme_not_applied,
  no_file_dialog,
  repeat,
  packet_number,
  packet_range,
  repeat_count,
  wait_for_rx,
  rx_timeout,
  interval,
  milliseconds,
  repeat_send,
  stop,
  stopping,
  select_port,
  no_ports,
  status_ready,
  status_disconnected,
  select_port_first,
  connect_first,
  cleanup_pending,
  display_full,
  high_speed_hex,
  checking_updates,
  update_newer,
  update_latest,
  update_ahead,
  update_failed,
  download_page,
  no_link,
  close,
  about_program,
  // With a value inside: the functions below fill them in.
  connecting_to,
  connected_to,
  connect_timed_out,
  repeat_separator,
  line_count,
  packet_name,
  send_name,
  current_version,
  latest_version,
  release_date,
  version,
  data_folder,
  recording_to,
  recording_saved,
  receive_loss,
  line_error,
  line_error_overflow,
  line_error_overrun,
  line_error_parity,
  line_error_frame,
  line_error_break,
};
inline constexpr std::size_t kTextCount = static_cast<std::size_t>(TextId::line_error_break) + 1;

std::wstring_view text(TextId id, Language language);

// Texts with a value inside; the word order differs by language.
std::wstring connecting_to_text(std::wstring_view port, Language language);
std::wstring connect_timed_out_text(int seconds, Language language);
// The line between the iterations of a repeat run.
std::wstring repeat_separator_text(unsigned iteration, unsigned repeat_count, Language language);
// A pattern with one value, filled in.
std::wstring filled_text(TextId pattern, std::wstring_view value, Language language);
// What a packet field and a send button are called, by row from 0; lasts as long as the program.
std::wstring_view packet_name(std::size_t row, Language language);
std::wstring_view send_name(std::size_t row, Language language);
// Display lines of the receive view.
std::wstring line_count_text(std::size_t lines, Language language);
// A recording session has begun; it has ended with nothing known to be missing.
std::wstring recording_to_text(std::wstring_view session, Language language);
std::wstring recording_saved_text(std::wstring_view session, Language language);
// Received bytes that were dropped unseen while the program was stalled.
std::wstring receive_loss_text(unsigned long long lost_bytes, Language language);
// Short status line for communication error bits (serial/serial_status.h) and how often they were seen, for
// example "RX error: overrun (2)". A count of 1 is not shown; a mask without any of them gives an empty text.
std::wstring line_error_text(unsigned mask, unsigned long long count, Language language);

}  // namespace hvt
