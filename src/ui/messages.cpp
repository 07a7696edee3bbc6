#include "ui/messages.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <span>

#include "serial/transport_limits.h"
#include "ui/text_pattern.h"

namespace hvt {
namespace {

using Pair = TextPair;
using Values = PatternValues;

// What the layers below say in English; they know no language. A message that the window also shows by itself
// has a TextId.
constexpr Pair kMessages[]{
    // Connection
    {L"Could not open serial port.", L"시리얼 포트를 열 수 없습니다."},
    {L"Serial driver failed while opening the port.",
     L"포트를 여는 중 시리얼 드라이버에 오류가 발생했습니다."},
    {L"Unexpected serial driver failure.", L"시리얼 드라이버에 예기치 않은 오류가 발생했습니다."},
    {kConnectionClosed, L"시리얼 연결이 종료되었습니다."},
    {L"Serial write failed.", L"시리얼 송신에 실패했습니다."},
    {kWriteTimedOut, L"시리얼 송신이 500 ms를 초과했습니다."},
    {kWriteStuck, L"시리얼 송신이 진행되지 않았습니다."},
    {L"Could not discard serial input.", L"시리얼 수신 데이터를 비울 수 없습니다."},
    {L"Could not query serial communication status.", L"시리얼 통신 상태를 조회할 수 없습니다."},
    {L"The serial device was removed.", L"시리얼 장치가 제거되었습니다."},
    {L"1.5 stop bits are only possible with 5 data bits.",
     L"정지 비트 1.5는 데이터 비트가 5일 때만 사용할 수 있습니다."},
    {L"Simulated write failure", L"모의 송신 실패"},

    // Packets
    {LR"(Enter a backslash as \\.)", LR"(백슬래시는 \\로 입력하세요.)"},
    {LR"(\xNN requires exactly two hexadecimal digits.)", LR"(\xNN에는 정확히 두 자리 16진수가 필요합니다.)"},
    {LR"(\0xNN requires exactly two hexadecimal digits.)",
     LR"(\0xNN에는 정확히 두 자리 16진수가 필요합니다.)"},
    {L"Unsupported escape character.", L"지원하지 않는 이스케이프 문자입니다."},
    {LR"(ASCII mode accepts ASCII only. Use \xNN, \0xNN or <0xNN> for bytes 0x80-0xFF.)",
     LR"(ASCII 모드에는 ASCII 문자만 입력할 수 있습니다. 0x80-0xFF 바이트는 \xNN, \0xNN 또는 <0xNN>으로 입력하세요.)"},
    {L"Hex mode accepts only 0-9, A-F and whitespace.",
     L"Hex 모드에는 0-9, A-F와 공백만 입력할 수 있습니다."},
    {L"Enter Hex data in pairs of two digits.", L"Hex 데이터는 두 자리씩 입력하세요."},
    {L"The send data is empty.", L"송신 데이터가 비어 있습니다."},
    {L"Send data including automatic CR/LF exceeds 1500 bytes.",
     L"자동 CR/LF를 포함한 송신 데이터가 1500바이트를 초과합니다."},
    {L"Send data exceeds 1500 bytes.", L"송신 데이터가 1500바이트를 초과합니다."},
    {L"Start packet must not exceed end packet.", L"시작 패킷 번호는 끝 패킷 번호보다 클 수 없습니다."},
    {L"Invalid Unicode text.", L"잘못된 유니코드 텍스트입니다."},
    {L"Invalid UTF-8 text.", L"잘못된 UTF-8 텍스트입니다."},
    {L"Text is too long.", L"텍스트가 너무 깁니다."},

    // Files
    {L"Could not open the data file.", L"데이터 파일을 열 수 없습니다."},
    {L"Data file exceeds the 16 MiB limit.", L"데이터 파일이 16 MiB 제한을 초과합니다."},
    {L"Could not read the data file.", L"데이터 파일을 읽을 수 없습니다."},
    {L"Could not create the data file.", L"데이터 파일을 만들 수 없습니다."},
    {L"Could not save the data file.", L"데이터 파일을 저장할 수 없습니다."},
    {L"Invalid JSON document.", L"JSON 문서가 올바르지 않습니다."},
    {L"Invalid UTF-8 in JSON.", L"JSON의 UTF-8이 올바르지 않습니다."},
    {L"Incomplete UTF-8 in JSON.", L"JSON의 UTF-8이 도중에 끝납니다."},
    {L"Invalid UTF-8 continuation.", L"UTF-8 연속 바이트가 올바르지 않습니다."},
    {L"Invalid Unicode scalar in JSON.", L"JSON의 유니코드 값이 올바르지 않습니다."},
    {L"JSON nesting limit exceeded.", L"JSON 중첩 한도를 초과했습니다."},
    {L"Expected a JSON object.", L"JSON 객체가 필요합니다."},
    {L"Expected a JSON integer.", L"JSON 정수가 필요합니다."},
    {L"Invalid or out-of-range JSON integer.", L"JSON 정수가 올바르지 않거나 범위를 벗어났습니다."},
    {L"Expected an array of send strings.", L"송신 문자열 배열이 필요합니다."},
    {L"Expected a send string.", L"송신 문자열이 필요합니다."},

    // Recording
    {L"Cannot allocate a unique recording filename.", L"겹치지 않는 기록 파일 이름을 만들 수 없습니다."},
    {L"Cannot allocate recording buffer.", L"기록 버퍼를 할당할 수 없습니다."},
    {L"Cannot allocate recording file descriptor.", L"기록 파일 디스크립터를 할당할 수 없습니다."},
    {L"Cannot allocate recording stream.", L"기록 스트림을 할당할 수 없습니다."},
    {L"Cannot close recording metadata.", L"기록 메타데이터 파일을 닫을 수 없습니다."},
    {L"Cannot encode recording metadata as UTF8.", L"기록 메타데이터를 UTF-8로 변환할 수 없습니다."},
    {L"Cannot write recording metadata.", L"기록 메타데이터를 쓸 수 없습니다."},
    {L"Recording buffer full. Recording stopped.", L"기록 버퍼가 가득 차 기록을 중지했습니다."},
    {L"Recording directory and filename must not be empty.", L"기록 폴더와 파일 이름은 비워 둘 수 없습니다."},
    {L"Recording limits and flush interval must be positive.", L"기록 한도와 저장 간격은 0보다 커야 합니다."},
    {L"Recording metadata temporary file already exists.", L"기록 메타데이터 임시 파일이 이미 있습니다."},
    {L"The next recording part already exists; recording stopped to protect it.",
     L"다음 기록 파일이 이미 있어 보호하기 위해 기록을 중지했습니다."},
    {L"Unexpected failure starting recording.", L"기록을 시작하는 중 예기치 않은 오류가 발생했습니다."},
    {L"Unexpected recording close failure.", L"기록 파일을 닫는 중 예기치 않은 오류가 발생했습니다."},
    {L"Unexpected recording metadata failure.", L"기록 메타데이터에 예기치 않은 오류가 발생했습니다."},
    {L"Unexpected recording writer failure.", L"기록 중 예기치 않은 오류가 발생했습니다."},

    // Transmission
    {L"A transmission is already in progress.", L"이미 송신 중입니다."},
    {L"Invalid repeat settings or packet data.", L"반복 송신 설정 또는 패킷 데이터가 올바르지 않습니다."},
    {L"Invalid manual transmission settings or packet data.",
     L"수동 송신 설정 또는 패킷 데이터가 올바르지 않습니다."},
    {L"Repeat transmission is already running.", L"이미 반복 송신 중입니다."},
    {L"Manual transmission is stopping.", L"수동 송신을 정지하는 중입니다."},
    {L"The manual transmission queue is full. Wait for queued packets to send.",
     L"수동 송신 대기열이 가득 찼습니다. 대기 중인 패킷이 송신될 때까지 기다리세요."},
    {L"The previous transmission is still completing.", L"이전 송신을 아직 마무리하고 있습니다."},
    {L"Could not start the transmission worker.", L"송신 작업을 시작할 수 없습니다."},
    {L"Could not queue the manual transmission.", L"수동 송신을 대기열에 넣을 수 없습니다."},
    {L"Repeat transmission failed.", L"반복 송신에 실패했습니다."},
    {L"Manual transmission failed.", L"수동 송신에 실패했습니다."},
};

// Messages about a field, and the fields. A message is taken for one of these only when its value is a field:
// the system has texts of its own that begin with "Invalid".
constexpr Pair kFieldMessages[]{
    {L"{}: enter a valid number.", L"{}: 올바른 숫자를 입력하세요."},
    {L"{}: value is outside the allowed range.", L"{}: 허용 범위를 벗어난 값입니다."},
    {L"Enter {}.", L"값을 입력하세요: {}."},
    {L"Invalid {}.", L"값이 올바르지 않습니다: {}."},
    {L"Out-of-range {}.", L"값이 허용 범위를 벗어났습니다: {}."},
};
constexpr Pair kFields[]{
    {L"Baud", L"통신 속도"},
    {L"Data bits", L"데이터 비트"},
    {L"Connection Timeout", L"연결 타임아웃"},
    {L"Font Size", L"글자 크기"},
    {L"RX Timeout", L"RX 타임아웃"},
    {L"repeat count (1-9999)", L"반복 송신 횟수 (1-9999)"},
    {L"start packet (1-10)", L"시작 패킷 번호 (1-10)"},
    {L"end packet (1-10)", L"끝 패킷 번호 (1-10)"},
    {L"interval (0-99999999 ms)", L"간격 (0-99999999 ms)"},
    {L"RX timeout (10-99999999 ms)", L"RX 타임아웃 (10-99999999 ms)"},
};

// Messages about a port or a file; names, numbers and the system's own words inside stay as they are.
constexpr Pair kPatternMessages[]{
    {L"Cannot create recording directory ({}).", L"기록 폴더를 만들 수 없습니다({})."},
    {L"Cannot create recording file ({}).", L"기록 파일을 만들 수 없습니다({})."},
    {L"Cannot create recording metadata ({}).", L"기록 메타데이터를 만들 수 없습니다({})."},
    {L"Cannot write recording file ({}).", L"기록 파일을 쓸 수 없습니다({})."},
    {L"Cannot flush recording file ({}).", L"기록 파일을 디스크에 저장할 수 없습니다({})."},
    {L"Cannot close recording file ({}).", L"기록 파일을 닫을 수 없습니다({})."},
    {L"Cannot publish recording metadata ({}).", L"기록 메타데이터를 갱신할 수 없습니다({})."},
    {L"{} is in use by another program.", L"{} 포트를 다른 프로그램에서 사용 중입니다."},
    {L"{} is not a serial device.", L"시리얼 장치가 아닙니다: {}"},
    {L"{} refused the line settings: {}", L"{} 포트가 통신 설정을 거부했습니다: {}"},
    {L"There is no port {}.", L"{} 포트가 없습니다."},
    {L"There is no device behind {}.", L"{} 포트에 연결된 장치가 없습니다."},
    {L"Could not open {}: {}", L"{} 포트를 열 수 없습니다: {}"},
    {L"No permission to open {}: join the group {} and log in again.",
     L"{} 포트를 열 권한이 없습니다. {} 그룹에 사용자를 추가한 후 다시 로그인하세요."},
    {L"No permission to open {} (group {}): ask the administrator for access.",
     L"{} 포트를 열 권한이 없습니다(그룹 {}). 관리자에게 접근 권한을 요청하세요."},
};

// The notice that a device replaced settings: a list of changes, each with two values.
constexpr Pair kSettingsNotice{L"The device set {}.", L"장치가 설정을 바꾸었습니다: {}."};
constexpr std::wstring_view kKoreanChange = L"{} {} (요청: {})";
struct SettingRow {
  std::wstring_view english;
  TextId setting;
};
constexpr SettingRow kSettingChanges[]{
    {L"{} baud instead of {}", TextId::baud},
    {L"{} data bits instead of {}", TextId::data_bit},
    {L"{} parity instead of {}", TextId::parity},
    {L"{} stop bits instead of {}", TextId::stop_bit},
};
constexpr SettingRow kSettingValues[]{
    {L"no", TextId::parity_none},   {L"odd", TextId::parity_odd},     {L"even", TextId::parity_even},
    {L"mark", TextId::parity_mark}, {L"space", TextId::parity_space},
};
constexpr Pair kUnknownValue{L"unknown ({})", L"알 수 없음({})"};

const Pair* find_english(std::span<const Pair> pairs, std::wstring_view english) {
  const auto found = std::ranges::find(pairs, english, &Pair::english);
  return found == pairs.end() ? nullptr : &*found;
}

// A field's name as the message has it: in English, or in Korean already when it is the shown caption.
const Pair* find_field(std::wstring_view name) {
  const auto found =
      std::ranges::find_if(kFields, [name](const Pair& f) { return f.english == name || f.korean == name; });
  return found == std::end(kFields) ? nullptr : &*found;
}

std::optional<std::wstring> korean_field_message(std::wstring_view english) {
  for (const Pair& message : kFieldMessages) {
    const auto values = match(english, message.english);
    const Pair* const field = values ? find_field(values->front()) : nullptr;
    if (field) return fill(message.korean, {field->korean});
  }
  return std::nullopt;
}

std::optional<std::wstring> korean_pattern_message(std::wstring_view english) {
  for (const Pair& message : kPatternMessages) {
    if (const auto values = match(english, message.english)) return fill(message.korean, *values);
  }
  return std::nullopt;
}

// A number is the same in both languages.
std::wstring korean_setting_value(std::wstring_view english) {
  const auto known = std::ranges::find(kSettingValues, english, &SettingRow::english);
  if (known != std::end(kSettingValues)) return std::wstring{text(known->setting, Language::korean)};
  const auto code = match(english, kUnknownValue.english);
  return code ? fill(kUnknownValue.korean, *code) : std::wstring{english};
}

std::optional<std::wstring> korean_setting_change(std::wstring_view english) {
  for (const SettingRow& change : kSettingChanges) {
    const auto values = match(english, change.english);
    if (!values) continue;
    const std::wstring taken = korean_setting_value(values->front());
    const std::wstring asked = korean_setting_value(values->back());
    return fill(kKoreanChange, {text(change.setting, Language::korean), taken, asked});
  }
  return std::nullopt;
}

std::optional<std::wstring> korean_settings_notice(std::wstring_view english) {
  constexpr std::wstring_view kSeparator = L", ";
  const auto list = match(english, kSettingsNotice.english);
  if (!list) return std::nullopt;
  std::wstring_view rest = list->front();
  std::wstring changes;
  while (true) {
    const std::size_t end = rest.find(kSeparator);
    const auto change = korean_setting_change(rest.substr(0, end));
    if (!change) return std::nullopt;
    changes += *change;
    if (end == std::wstring_view::npos) return fill(kSettingsNotice.korean, {changes});
    changes += kSeparator;
    rest.remove_prefix(end + kSeparator.size());
  }
}

}  // namespace

std::wstring localized_message(std::wstring_view english, Language language) {
  if (language == Language::english) return std::wstring{english};
  if (const Pair* const message = find_english(kMessages, english)) return std::wstring{message->korean};
  for (std::size_t i = 0; i < kTextCount; ++i) {
    const auto id = static_cast<TextId>(i);
    if (text(id, Language::english) == english) return std::wstring{text(id, language)};
  }
  for (const auto korean_form : {korean_field_message, korean_settings_notice, korean_pattern_message}) {
    if (auto korean = korean_form(english)) return *std::move(korean);
  }
  return std::wstring{english};
}

std::wstring connected_to_text(std::wstring_view port, std::wstring_view notice, Language language) {
  std::wstring result = fill(text(TextId::connected_to, language), {port});
  if (!notice.empty()) result.append(L". ").append(localized_message(notice, language));
  return result;
}

}  // namespace hvt
