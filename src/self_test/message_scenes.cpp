#include <array>

#include "self_test/scenes.h"

// Scenes: what is refused, and what is said about it, in both languages.

namespace hvt::self_test {
namespace {

using Id = ControlId;

struct Refusal {
  ControlId field;
  std::wstring_view typed;
  std::wstring_view english;
  std::wstring_view korean;
};

constexpr Refusal kAsciiPackets[]{
    {Id::packet_1, L"", L"The send data is empty.", L"송신 데이터가 비어 있습니다."},
    {Id::packet_1, L"\\", L"Enter a backslash as \\\\.", L"백슬래시는 \\\\로 입력하세요."},
    {Id::packet_1, L"\\x1", L"\\xNN requires exactly two hexadecimal digits.",
     L"\\xNN에는 정확히 두 자리 16진수가 필요합니다."},
    {Id::packet_1, L"\\0x1", L"\\0xNN requires exactly two hexadecimal digits.",
     L"\\0xNN에는 정확히 두 자리 16진수가 필요합니다."},
    {Id::packet_1, L"\\7", L"Unsupported escape character.", L"지원하지 않는 이스케이프 문자입니다."},
    {Id::packet_1, L"\u00E9",
     L"ASCII mode accepts ASCII only. Use \\xNN, \\0xNN or <0xNN> for bytes 0x80-0xFF.",
     L"ASCII 모드에는 ASCII 문자만 입력할 수 있습니다. 0x80-0xFF 바이트는 \\xNN, \\0xNN 또는 <0xNN>으로 "
     L"입력하세요."},
};
constexpr Refusal kHexPackets[]{
    {Id::packet_1, L"0x02", L"Hex mode accepts only 0-9, A-F and whitespace.",
     L"Hex 모드에는 0-9, A-F와 공백만 입력할 수 있습니다."},
    {Id::packet_1, L"A", L"Enter Hex data in pairs of two digits.", L"Hex 데이터는 두 자리씩 입력하세요."},
};
// In the order in which they are looked at: each stays wrong while the one before it is put right.
constexpr Refusal kRepeatFields[]{
    {Id::repeat_count, L"", L"Enter repeat count (1-9999).", L"값을 입력하세요: 반복 송신 횟수 (1-9999)."},
    {Id::repeat_count, L"10000", L"Invalid repeat count (1-9999).",
     L"값이 올바르지 않습니다: 반복 송신 횟수 (1-9999)."},
    {Id::repeat_count, L"0", L"Out-of-range repeat count (1-9999).",
     L"값이 허용 범위를 벗어났습니다: 반복 송신 횟수 (1-9999)."},
    {Id::start_packet, L"11", L"Invalid start packet (1-10).",
     L"값이 올바르지 않습니다: 시작 패킷 번호 (1-10)."},
    {Id::end_packet, L"x", L"Invalid end packet (1-10).", L"값이 올바르지 않습니다: 끝 패킷 번호 (1-10)."},
    {Id::interval, L"", L"Enter interval (0-99999999 ms).", L"값을 입력하세요: 간격 (0-99999999 ms)."},
    {Id::rx_timeout, L"9", L"Out-of-range RX timeout (10-99999999 ms).",
     L"값이 허용 범위를 벗어났습니다: RX 타임아웃 (10-99999999 ms)."},
};

struct Spoken {
  const wchar_t* language;
  std::wstring_view Refusal::*text;
};
constexpr Spoken kLanguages[]{{L"English", &Refusal::english}, {L"Korean", &Refusal::korean}};

AppSettings settings_in(const wchar_t* language) {
  AppSettings settings = sending_settings();
  settings.language = language;
  return settings;
}

void refuse_packets(Person& person, std::span<const Refusal> refusals, const Spoken& spoken) {
  for (const Refusal& refusal : refusals) {
    person.fill(refusal.field, refusal.typed);
    person.press_in(refusal.field, Key::enter);
    person.sees_status(refusal.*spoken.text);
  }
}

void refuse_repeat_fields(Person& person, const Spoken& spoken) {
  constexpr std::wstring_view kGood = L"1";
  for (const Refusal& refusal : kRepeatFields) {
    person.fill(refusal.field, refusal.typed);
    person.click(Id::repeat);
    person.sees_status(refusal.*spoken.text);
    person.fill(refusal.field, refusal.field == Id::rx_timeout ? L"1000" : kGood);
  }
}

void says_what_is_wrong(Person& person, const Spoken& spoken) {
  const bool english = spoken.text == &Refusal::english;
  AppSettings settings = settings_in(spoken.language);
  settings.send_items[1] = L"x";
  settings.wait_for_rx = true;
  person.start(settings);
  person.press_in(packet_field(0), Key::enter);
  person.sees_status(english ? L"Connect to a COM port first." : L"먼저 COM 포트에 연결하세요.");
  person.connect();
  refuse_packets(person, kAsciiPackets, spoken);
  person.click(Id::send_hex);
  person.sees_checked(Id::send_hex, true);
  refuse_packets(person, kHexPackets, spoken);
  person.click(Id::send_ascii);
  person.sees_checked(Id::send_ascii, true);
  refuse_repeat_fields(person, spoken);

  person.fill(Id::start_packet, L"3");
  person.fill(Id::end_packet, L"2");
  person.click(Id::repeat);
  person.sees_status(english ? L"Start packet must not exceed end packet."
                             : L"시작 패킷 번호는 끝 패킷 번호보다 클 수 없습니다.");
  person.fill(Id::end_packet, L"3");
  person.click(Id::repeat);
  person.sees_status(english ? kAsciiPackets[0].english : kAsciiPackets[0].korean);  // packet 3 is empty
  person.fill(Id::rx_timeout, L"5");
  person.click(send_button(1));
  person.sees_status(english ? L"RX Timeout: value is outside the allowed range."
                             : L"RX 타임아웃: 허용 범위를 벗어난 값입니다.");
  person.fill(Id::rx_timeout, L"");
  person.click(send_button(1));
  person.sees_status(english ? L"RX Timeout: enter a valid number."
                             : L"RX 타임아웃: 올바른 숫자를 입력하세요.");
  person.device_gets("");
  person.sees_received(L"");
}

void says_what_is_wrong_in_english(Person& person) {
  says_what_is_wrong(person, kLanguages[0]);
}

void says_what_is_wrong_in_korean(Person& person) {
  says_what_is_wrong(person, kLanguages[1]);
}

void measures_the_length_of_packets(Person& person) {
  AppSettings settings = sending_settings();
  settings.send_items[0] = std::wstring(1500, L'x');
  settings.send_items[1] = std::wstring(1501, L'x');
  person.start(settings);
  person.connect();
  person.click(send_button(1));
  person.sees_status(L"Send data exceeds 1500 bytes.");
  person.click(send_button(0));
  person.device_gets(std::string(1500, 'x'));
  person.set_checked(Id::auto_crlf, true);
  person.click(send_button(0));
  person.sees_status(L"Send data including automatic CR/LF exceeds 1500 bytes.");
}

// A wrong repeat field is no matter of a single packet.
void sends_beside_wrong_repeat_fields(Person& person) {
  AppSettings settings = sending_settings();
  settings.send_items[0] = L"single";
  settings.repeat_count = L"many";
  settings.interval_milliseconds = L"";
  person.start(settings);
  person.connect();
  person.click(send_button(0));
  person.device_gets("single");
}

constexpr Scene kScenes[]{
    {"says_what_is_wrong_in_english", says_what_is_wrong_in_english},
    {"says_what_is_wrong_in_korean", says_what_is_wrong_in_korean},
    {"measures_the_length_of_packets", measures_the_length_of_packets},
    {"sends_beside_wrong_repeat_fields", sends_beside_wrong_repeat_fields},
};

}  // namespace

std::span<const Scene> message_scenes() {
  return kScenes;
}

}  // namespace hvt::self_test
