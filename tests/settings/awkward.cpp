#include "tests/settings/awkward.h"

#include <cstdint>
#include <limits>

namespace hvt::test {
namespace {

template <typename T, std::size_t N>
const T& one_of(std::mt19937& random, const T (&choices)[N]) {
  return choices[random() % N];
}

bool coin(std::mt19937& random) {
  return random() % 2 == 0;
}

std::int32_t any_integer(std::mt19937& random) {
  const std::int32_t kEdges[] = {0, -1, 1, std::numeric_limits<std::int32_t>::min(),
                                 std::numeric_limits<std::int32_t>::max()};
  return coin(random) ? one_of(random, kEdges) : static_cast<std::int32_t>(random());
}

}  // namespace

std::wstring awkward_text(std::mt19937& random) {
  const std::wstring kPieces[] = {
      L"\"",     L"\\",    L"/",      L"\\u0041",      L"\\n",          L"\x7F",         L"\x80",
      L"\x7FF",  L"\x800", L"\xD7FF", L"\xE000",       L"\xFEFF",       L"\xFFFD",       L"\xFFFF",
      L"\xAC00", L"<CR>",  L"a",      L"\xD800\xDC00", L"\xD83D\xDE00", L"\xDBFF\xDFFF", L"\x2028",
  };
  std::wstring text;
  for (auto left = random() % 40; left > 0; --left) {
    if (random() % 3 == 0) {
      text += static_cast<wchar_t>(random() % 0x20);
    } else {
      text += one_of(random, kPieces);
    }
  }
  return text;
}

AppSettings awkward_settings(std::mt19937& random) {
  AppSettings settings;
  for (auto* number :
       {&settings.window_left, &settings.window_top, &settings.window_width, &settings.window_height})
    *number = any_integer(random);
  settings.window_state = coin(random) ? L"Normal" : L"Maximized";
  settings.language = coin(random) ? L"English" : L"Korean";
  const std::wstring kThemes[] = {L"System", L"Light", L"Dark"};
  settings.theme = one_of(random, kThemes);
  settings.receive_font_size = 8 + static_cast<std::int32_t>(random() % 17);
  settings.receive_buffer_size_mb = 1 + static_cast<std::int32_t>(random() % 4);
  const std::int32_t kTimeouts[] = {1, 3, 5};
  settings.connection_timeout_seconds = one_of(random, kTimeouts);
  for (auto* text : {&settings.baud_rate, &settings.port_name, &settings.data_bits, &settings.stop_bits,
                     &settings.parity, &settings.repeat_count, &settings.packet_start, &settings.packet_end,
                     &settings.interval_milliseconds, &settings.response_timeout_milliseconds})
    *text = awkward_text(random);
  for (auto* flag :
       {&settings.receive_crlf_line_breaks, &settings.hide_receive_crlf, &settings.always_on_top,
        &settings.receive_hex, &settings.send_hex, &settings.auto_append_crlf, &settings.echo_sent,
        &settings.display_while_recording, &settings.transmit_enabled, &settings.wait_for_rx})
    *flag = coin(random);
  for (std::wstring& item : settings.send_items)
    item = awkward_text(random);
  return settings;
}

}  // namespace hvt::test
