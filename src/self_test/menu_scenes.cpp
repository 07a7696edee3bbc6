#include "self_test/scenes.h"

// Scenes: menus, languages, themes and dialogs.

namespace hvt::self_test {
namespace {

using Id = ControlId;

struct Caption {
  ControlId id;
  std::wstring_view english;
  std::wstring_view korean;
};
constexpr Caption kCaptions[]{
    {Id::menu_theme, L"Theme", L"테마"},
    {Id::menu_help, L"Help", L"도움말"},
    {Id::refresh, L"Refresh", L"새로 고침"},
    {Id::connect, L"Connected", L"연결됨"},
    {Id::timeout_label, L"Connection Timeout", L"연결 타임아웃"},
    {Id::parity, L"Odd", L"홀수"},
    {Id::receive_title, L"Receive", L"수신"},
    {Id::line_break, L"CR/LF Line Break", L"CR/LF 줄바꿈"},
    {Id::echo_sent, L"Display sent data", L"송신 데이터 표시"},
    {Id::clear, L"Clear", L"지우기"},
    {Id::record, L"Start Recording", L"기록 시작"},
    {Id::transmit, L"Transmit", L"송신"},
    {Id::save_packets, L"Save send data file", L"송신 데이터 파일 저장"},
    {Id::repeat_title, L"Repeat", L"반복 송신"},
    {Id::wait_for_rx, L"Wait for RX until Timeout", L"타임아웃까지 RX 대기"},
    {Id::status, L"Connected to SIM2", L"SIM2에 연결됨"},
};

void speaks_both_languages(Person& person) {
  AppSettings settings = sending_settings();
  settings.parity = L"Odd";
  settings.send_items[4] = L"kept";
  person.start(settings);
  person.connect();
  person.device().say("shown");
  person.sees_received(L"[RX] shown");
  for (const auto& [item, text] :
       {std::pair{MenuItem::korean, &Caption::korean}, std::pair{MenuItem::english, &Caption::english},
        std::pair{MenuItem::korean, &Caption::korean}}) {
    person.choose_menu(item);
    for (const Caption& caption : kCaptions)
      person.sees_text(caption.id, caption.*text);
  }
  person.sees_text(packet_field(4), L"kept");
  person.sees_text(Id::baud, L"115200");
  person.sees_received(L"[RX] shown");
  person.disconnect();
  person.close();
  person.start();
  person.sees_text(Id::connect, L"연결하기");
}

void changes_its_theme(Person& person) {
  AppSettings settings = sending_settings();
  settings.send_items[0] = L"ask";
  person.start(settings);
  person.connect();
  person.device().answer("<answer>");
  person.click(send_button(0));
  person.sees_received(L"[TX] ask\n[RX] <answer>");
  for (const MenuItem item : {MenuItem::theme_dark, MenuItem::theme_system, MenuItem::theme_dark}) {
    person.choose_menu(item);
    person.settle();
    person.sees_received(L"[TX] ask\n[RX] <answer>");
    person.sees_text(Id::connect, L"Connected");
  }
  person.close();
  person.sees(
      L"the saved theme", [&] { return load_settings(settings_path(person.folder())).settings.theme; },
      L"Dark");
  person.start();
  person.settle();
}

void enlarges_the_text(Person& person) {
  AppSettings settings = sending_settings();
  settings.transmit_enabled = false;
  settings.receive_font_size = 8;
  person.start(settings);
  person.connect();
  person.device().say(std::string(600, 'x'));
  person.sees_received(std::wstring(600, L'x'));
  const auto lines = [&] { return person.driver().look(Id::line_count).text; };
  const std::wstring small = lines();
  person.choose(Id::font_size, L"24");
  person.sees_true(L"the text takes more lines", [&] { return lines() != small; });
  person.choose(Id::font_size, L"8");
  person.sees(L"line count", lines, small);
}

void stays_on_top(Person& person) {
  person.start(sending_settings());
  person.sees_text(Id::always_on_top, L"Always on top: Off");
  person.click(Id::always_on_top);
  person.sees_text(Id::always_on_top, L"Always on top: On");
  person.close();
  person.start();
  person.sees_text(Id::always_on_top, L"Always on top: On");
  person.click(Id::always_on_top);
  person.sees_text(Id::always_on_top, L"Always on top: Off");
}

void tells_about_itself(Person& person) {
  person.start(sending_settings());
  const auto opens = [&](MenuItem item, std::wstring_view title, std::wstring_view words) {
    person.choose_menu(item);
    person.sees_box(title, words);
  };
  opens(MenuItem::about, L"About", L"1.0.7");
  opens(MenuItem::usage, L"Usage", L"<STX>001F3456<0xAB><CR><LF>");
  person.choose_menu(MenuItem::korean);
  opens(MenuItem::about, L"정보", L"1.0.7");
  opens(MenuItem::usage, L"사용법", L"<STX>001F3456<0xAB><CR><LF>");
  person.settle();
}

constexpr Scene kScenes[]{
    {"speaks_both_languages", speaks_both_languages}, {"changes_its_theme", changes_its_theme},
    {"enlarges_the_text", enlarges_the_text},         {"stays_on_top", stays_on_top},
    {"tells_about_itself", tells_about_itself},
};

}  // namespace

std::span<const Scene> menu_scenes() {
  return kScenes;
}

}  // namespace hvt::self_test
