#include "self_test/scenes.h"

// Scenes: the receive view.

namespace hvt::self_test {
namespace {

using Id = ControlId;

// Only receiving: the panel is folded, so that nothing is labelled.
AppSettings receiving_settings() {
  AppSettings settings = sending_settings();
  settings.transmit_enabled = false;
  return settings;
}

std::string numbered_lines(int first, int count) {
  std::string lines;
  for (int i = first; i < first + count; ++i)
    lines += "line " + std::to_string(i) + "\r\n";
  return lines;
}

void shows_every_format(Person& person) {
  struct Format {
    bool hex;
    bool line_break;
    bool hide;
    const wchar_t* expected;
  };
  constexpr Format kFormats[]{
      {false, false, false, L"A<CR><LF>B<NUL><DEL><0xFF>"},
      {false, true, false, L"A<CR><LF>\nB<NUL><DEL><0xFF>"},
      {false, true, true, L"A\nB<NUL><DEL><0xFF>"},
      {false, false, true, L"AB<NUL><DEL><0xFF>"},
      {true, true, true, L"41 0D 0A 42 00 7F FF"},
  };
  person.start(receiving_settings());
  person.connect();
  for (const Format& format : kFormats) {
    person.click(format.hex ? Id::receive_hex : Id::receive_ascii);
    person.sees_checked(Id::receive_hex, format.hex);
    person.set_checked(Id::line_break, format.line_break);
    if (!format.hex) person.set_checked(Id::hide_crlf, format.hide);
    person.click(Id::clear);
    person.settle();
    person.sees_received(L"");
    person.device().say(std::string("A\r\nB\0\x7F\xFF", 7));
    person.sees_received(format.expected);
  }
  person.sees_enabled(Id::hide_crlf, false);
  person.sees_checked(Id::hide_crlf, true);
  person.click(Id::receive_ascii);
  person.sees_enabled(Id::hide_crlf, true);
}

void stays_where_a_person_reads(Person& person) {
  AppSettings settings = receiving_settings();
  settings.receive_crlf_line_breaks = true;
  settings.hide_receive_crlf = true;
  person.start(settings);
  person.connect();
  person.device().say(numbered_lines(1, 200));
  person.sees_text(Id::line_count, L"Line Count : 201");
  const std::size_t tail = person.driver().first_visible_line();
  person.sees_enabled(Id::follow, false);
  person.press_in(Id::receive_view, Key::page_up);
  person.press_in(Id::receive_view, Key::page_up);
  person.sees_enabled(Id::follow, true);
  person.sees_true(L"the view went up", [&] { return person.driver().first_visible_line() < tail; });
  person.settle();
  const auto top = [&] { return std::to_wstring(person.driver().first_visible_line()); };
  const std::wstring read = top();
  person.device().say(numbered_lines(201, 100));
  person.sees_text(Id::line_count, L"Line Count : 301");
  person.sees(L"first visible line", top, read);
  person.click(Id::follow);
  person.sees_enabled(Id::follow, false);
  person.sees_true(L"the end is visible", [&] { return person.driver().first_visible_line() >= tail + 100; });
}

void clears(Person& person) {
  AppSettings settings = receiving_settings();
  settings.receive_crlf_line_breaks = true;
  person.start(settings);
  person.sees_text(Id::line_count, L"Line Count : 0");
  person.connect();
  person.device().say(numbered_lines(1, 50));
  person.sees_text(Id::line_count, L"Line Count : 51");
  person.press_in(Id::receive_view, Key::page_up);
  person.sees_enabled(Id::follow, true);
  person.click(Id::clear);
  person.sees_received(L"");
  person.sees_text(Id::line_count, L"Line Count : 0");
  person.sees_enabled(Id::follow, false);
  person.device().say("anew");
  person.sees_received(L"anew");
  person.sees_text(Id::line_count, L"Line Count : 1");
}

void labels_while_sent_data_is_shown(Person& person) {
  AppSettings settings = sending_settings();
  settings.send_items[0] = L"ask";
  person.start(settings);
  person.connect();
  person.device().answer("answer");
  person.click(send_button(0));
  person.sees_received(L"[TX] ask\n[RX] answer");
  person.set_checked(Id::echo_sent, false);
  person.click(send_button(0));
  person.sees_received(L"[TX] ask\n[RX] answeranswer");
  person.set_checked(Id::echo_sent, true);
  person.click(send_button(0));
  person.sees_received(L"[TX] ask\n[RX] answeranswer\n[TX] ask\n[RX] answer");
}

void keeps_the_newest_of_a_small_buffer(Person& person) {
  AppSettings settings = receiving_settings();
  settings.hide_receive_crlf = true;
  settings.receive_buffer_size_mb = 2;
  person.start(settings);
  person.sees_text(Id::buffer_size, L"2MB");
  person.connect();
  // Three pieces of half a mebibyte, of which next to nothing is shown: CR is hidden, and counts all the
  // same.
  constexpr std::size_t kPiece = std::size_t{512} << 10;
  for (const char name : {'a', 'b', 'c'})
    person.device().say(std::string(1, name) + std::string(kPiece - 1, '\r'));
  person.sees_received(L"abc");
  person.choose(Id::buffer_size, L"1MB");
  person.sees_received(L"bc");
  person.device().say("d");
  person.sees_received(L"cd");
}

void warns_of_high_speed_hex(Person& person) {
  AppSettings settings = receiving_settings();
  person.start(settings);
  person.choose(Id::baud, L"921600");
  person.sees_enabled(Id::display_while_recording, false);
  person.sees_checked(Id::display_while_recording, false);
  person.click(Id::receive_hex);
  person.answer_notice(
      L"High-speed live Hex display is throttled to keep serial reception responsive. For reliable "
      L"high-volume "
      L"capture, use Record with Display while recording turned off.");
  person.sees_checked(Id::receive_hex, true);
  person.click(Id::receive_ascii);
  person.sees_checked(Id::receive_ascii, true);
  person.click(Id::receive_hex);
  person.sees_checked(Id::receive_hex, true);
  person.settle();  // told once only
  person.choose(Id::baud, L"115200");
  person.sees_enabled(Id::display_while_recording, true);
  person.sees_checked(Id::display_while_recording, true);
}

constexpr Scene kScenes[]{
    {"shows_every_format", shows_every_format},
    {"stays_where_a_person_reads", stays_where_a_person_reads},
    {"clears", clears},
    {"labels_while_sent_data_is_shown", labels_while_sent_data_is_shown},
    {"keeps_the_newest_of_a_small_buffer", keeps_the_newest_of_a_small_buffer},
    {"warns_of_high_speed_hex", warns_of_high_speed_hex},
};

}  // namespace

std::span<const Scene> receive_scenes() {
  return kScenes;
}

}  // namespace hvt::self_test
