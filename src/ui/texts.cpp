#include "ui/texts.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <optional>
#include <span>
#include <vector>

#include "serial/serial_status.h"
#include "serial/transport_limits.h"

namespace hvt {
namespace {

struct Pair {
  std::wstring_view english;
  std::wstring_view korean;

  constexpr std::wstring_view in(Language language) const {
    return language == Language::korean ? korean : english;
  }
};

struct TextRow {
  TextId id;
  Pair pair;
};

constexpr TextRow row(TextId id, std::wstring_view english, std::wstring_view korean) {
  return {id, {english, korean}};
}
// Reads the same in both languages.
constexpr TextRow row(TextId id, std::wstring_view both) {
  return {id, {both, both}};
}

// "{}" stands for the value of a text that has one.
constexpr std::wstring_view kSlot = L"{}";

constexpr std::array<TextRow, kTextCount> kTexts{
    row(TextId::none, L""),
    row(TextId::refresh, L"Refresh", L"새로 고침"),
    row(TextId::connect, L"Connect", L"연결하기"),
    row(TextId::connecting, L"Connecting…", L"연결 중…"),
    row(TextId::connected_caption, L"Connected", L"연결됨"),
    row(TextId::connection_timeout, L"Connection Timeout", L"연결 타임아웃"),
    row(TextId::seconds, L"sec"),
    row(TextId::baud, L"Baud", L"통신 속도"),
    row(TextId::data_bit, L"Data bit", L"데이터 비트"),
    row(TextId::stop_bit, L"Stop bit", L"정지 비트"),
    row(TextId::parity, L"Parity", L"패리티"),
    row(TextId::parity_none, L"None", L"없음"),
    row(TextId::parity_odd, L"Odd", L"홀수"),
    row(TextId::parity_even, L"Even", L"짝수"),
    row(TextId::parity_mark, L"Mark", L"마크"),
    row(TextId::parity_space, L"Space", L"스페이스"),

    row(TextId::receive, L"Receive", L"수신"),
    row(TextId::ascii, L"ASCII"),
    row(TextId::hex, L"Hex"),
    row(TextId::line_break, L"CR/LF Line Break", L"CR/LF 줄바꿈"),
    row(TextId::hide_crlf, L"Hide CR/LF", L"CR/LF 감추기"),
    row(TextId::echo_sent, L"Display sent data", L"송신 데이터 표시"),
    row(TextId::buffer_size, L"Buffer Size", L"버퍼 크기"),
    row(TextId::clear, L"Clear", L"지우기"),
    row(TextId::follow, L"▼▼"),
    row(TextId::follow_tip, L"Follow latest received data", L"최신 수신 데이터 따라가기"),
    row(TextId::copy, L"Copy", L"복사"),
    row(TextId::select_all, L"Select all", L"모두 선택"),

    row(TextId::record, L"Record", L"기록"),
    row(TextId::start_recording, L"Start Recording", L"기록 시작"),
    row(TextId::stop_recording, L"Stop Recording", L"기록 정지"),
    row(TextId::auto_filename, L"Auto Filename", L"파일명 자동 생성"),
    row(TextId::display_while_recording, L"Display while recording", L"기록 중 화면 표시"),
    row(TextId::open_folder, L"Open Folder", L"폴더 열기"),
    row(TextId::no_folder, L"Could not open the folder.", L"폴더를 열 수 없습니다."),
    row(TextId::recording_incomplete, L"Recording incomplete", L"기록이 완전하지 않음"),
    row(TextId::recording_suspect, L"Recording data loss possible", L"기록 데이터 손실 가능"),
    row(TextId::high_speed_recording,
        L"At 921600 baud or higher, Display while recording is turned off to protect recording integrity. "
        L"Recording and Hex mode remain available.",
        L"통신 속도가 921600 이상이면 기록 무결성을 위해 기록 중 화면 표시가 꺼집니다. "
        L"기록과 Hex 모드는 계속 사용할 수 있습니다."),

    row(TextId::transmit, L"Transmit", L"송신"),
    row(TextId::auto_crlf, L"Auto append CR/LF", L"CR/LF 자동 추가"),
    row(TextId::send, L"Send", L"보내기"),
    row(TextId::save_packets, L"Save send data file", L"송신 데이터 파일 저장"),
    row(TextId::load_packets, L"Load send data file", L"송신 데이터 파일 불러오기"),
    row(TextId::packets_file, L"Serial send preset (*.json)", L"시리얼 송신 프리셋 (*.json)"),
    row(TextId::all_files, L"All files (*.*)", L"모든 파일 (*.*)"),
    row(TextId::settings_not_saved, L"Could not save settings.", L"설정을 저장할 수 없습니다."),
    row(TextId::no_file_dialog, L"Could not open the file dialog.", L"파일 대화 상자를 열 수 없습니다."),

    row(TextId::repeat, L"Repeat", L"반복 송신"),
    row(TextId::packet_number, L"Packet number", L"패킷 번호"),
    row(TextId::packet_range, L"~"),
    row(TextId::repeat_count, L"Repeat count", L"반복 송신 횟수"),
    row(TextId::wait_for_rx, L"Wait for RX until Timeout", L"타임아웃까지 RX 대기"),
    row(TextId::rx_timeout, L"RX Timeout", L"RX 타임아웃"),
    row(TextId::interval, L"Interval", L"간격"),
    row(TextId::milliseconds, L"ms"),
    row(TextId::repeat_send, L"Repeat Send", L"반복 송신"),
    row(TextId::stop, L"Stop", L"정지"),
    row(TextId::stopping, L"Stopping...", L"정지 중..."),

    row(TextId::select_port, L"Select a COM port", L"COM 포트 선택"),
    row(TextId::no_ports, L"No COM ports available", L"사용 가능한 COM 포트 없음"),
    row(TextId::status_ready, L"Ready", L"준비됨"),
    row(TextId::status_disconnected, L"Disconnected", L"연결 해제됨"),
    row(TextId::select_port_first, L"Select a COM port first.", L"먼저 COM 포트를 선택하세요."),
    row(TextId::connect_first, L"Connect to a COM port first.", L"먼저 COM 포트에 연결하세요."),
    row(TextId::cleanup_pending,
        L"The previous connection attempt is still being cleaned up. Retry later or select another port.",
        L"이전 연결 시도를 아직 정리하고 있습니다. 잠시 후 다시 시도하거나 다른 포트를 선택하세요."),
    row(TextId::display_full,
        L"Receive display is full. Screen updates were paused; recording and serial reception continue. "
        L"Clear the display to resume screen updates.",
        L"수신 표시가 가득 차 화면 갱신을 중지했습니다. 기록과 시리얼 수신은 계속됩니다. "
        L"화면을 다시 갱신하려면 지우기를 누르세요."),
    row(TextId::high_speed_hex,
        L"High-speed live Hex display is throttled to keep serial reception responsive. For reliable "
        L"high-volume capture, use Record with Display while recording turned off.",
        L"고속 실시간 Hex 표시는 시리얼 수신이 느려지지 않도록 제한됩니다. 대량의 데이터를 확실하게 "
        L"저장하려면 기록 중 화면 표시를 끄고 기록을 사용하세요."),

    row(TextId::connecting_to, L"Connecting to {}", L"{}에 연결 중"),
    row(TextId::connected_to, L"Connected to {}", L"{}에 연결됨"),
    row(TextId::connect_timed_out, L"Serial connection exceeded {} sec.",
        L"시리얼 연결 시간이 {}초를 초과했습니다."),
    row(TextId::repeat_separator, L"-------------------- Repeat {}/{} --------------------",
        L"-------------------- 반복 {}/{}회 --------------------"),
    row(TextId::line_count, L"Line Count : {}", L"줄 수 : {}"),
    row(TextId::recording_to, L"Recording to {}", L"기록 중: {}"),
    row(TextId::recording_saved, L"Recording saved: {}", L"기록 저장됨: {}"),
    row(TextId::receive_loss, L"Received bytes not shown because the program was stalled: {}",
        L"프로그램이 응답하지 않는 동안 표시하지 못한 수신 바이트: {}"),
    row(TextId::line_error, L"RX error: {}", L"RX 오류: {}"),
    row(TextId::line_error_overflow, L"buffer overflow", L"버퍼 오버플로"),
    row(TextId::line_error_overrun, L"overrun", L"오버런"),
    row(TextId::line_error_parity, L"parity", L"패리티"),
    row(TextId::line_error_frame, L"framing", L"프레이밍"),
    row(TextId::line_error_break, L"break", L"브레이크"),
};

constexpr bool texts_stand_at_their_ids() {
  for (std::size_t i = 0; i < kTexts.size(); ++i) {
    if (static_cast<std::size_t>(kTexts[i].id) != i) return false;
  }
  return true;
}
static_assert(texts_stand_at_their_ids());

// What the layers below say in English; they know no language. A message that the window also shows by itself
// is in kTexts.
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

struct LineErrorRow {
  std::uint32_t bit;
  TextId name;
};
constexpr LineErrorRow kLineErrors[]{
    {kCommRxOver, TextId::line_error_overflow}, {kCommOverrun, TextId::line_error_overrun},
    {kCommParity, TextId::line_error_parity},   {kCommFrame, TextId::line_error_frame},
    {kCommBreak, TextId::line_error_break},
};

using Values = std::vector<std::wstring_view>;

// As many values as the pattern has slots; what a value holds is never taken for a slot.
std::wstring fill(std::wstring_view pattern, const Values& values) {
  std::wstring filled;
  for (const std::wstring_view value : values) {
    const std::size_t slot = pattern.find(kSlot);
    filled.append(pattern.substr(0, slot)).append(value);
    pattern.remove_prefix(slot + kSlot.size());
  }
  return filled.append(pattern);
}

std::wstring fill(TextId pattern, std::wstring_view value, Language language) {
  return fill(text(pattern, language), {value});
}

// The values inside `message`, each as short as possible, when it has the form of `pattern`.
std::optional<Values> match(std::wstring_view message, std::wstring_view pattern) {
  Values values;
  std::size_t slot = pattern.find(kSlot);
  if (!message.starts_with(pattern.substr(0, slot))) return std::nullopt;
  while (slot != std::wstring_view::npos) {
    message.remove_prefix(slot);
    pattern.remove_prefix(slot + kSlot.size());
    slot = pattern.find(kSlot);
    const std::wstring_view behind = pattern.substr(0, slot);
    const bool is_last = slot == std::wstring_view::npos;
    if (is_last && !message.ends_with(behind)) return std::nullopt;
    const std::size_t end = is_last ? message.size() - behind.size() : message.find(behind);
    if (end == std::wstring_view::npos) return std::nullopt;
    values.push_back(message.substr(0, end));
    message.remove_prefix(end);
  }
  return values;
}

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

std::wstring_view text(TextId id, Language language) {
  return kTexts[static_cast<std::size_t>(id)].pair.in(language);
}

std::wstring connecting_to_text(std::wstring_view port, Language language) {
  return fill(TextId::connecting_to, port, language);
}

std::wstring connected_to_text(std::wstring_view port, std::wstring_view notice, Language language) {
  std::wstring result = fill(TextId::connected_to, port, language);
  if (!notice.empty()) result.append(L". ").append(localized_message(notice, language));
  return result;
}

std::wstring connect_timed_out_text(int seconds, Language language) {
  return fill(TextId::connect_timed_out, std::to_wstring(seconds), language);
}

std::wstring repeat_separator_text(unsigned iteration, unsigned repeat_count, Language language) {
  return fill(text(TextId::repeat_separator, language),
              {std::to_wstring(iteration), std::to_wstring(repeat_count)});
}

std::wstring line_count_text(std::size_t lines, Language language) {
  return fill(TextId::line_count, std::to_wstring(lines), language);
}

std::wstring recording_to_text(std::wstring_view session, Language language) {
  return fill(TextId::recording_to, session, language);
}

std::wstring recording_saved_text(std::wstring_view session, Language language) {
  return fill(TextId::recording_saved, session, language);
}

std::wstring receive_loss_text(unsigned long long lost_bytes, Language language) {
  return fill(TextId::receive_loss, std::to_wstring(lost_bytes), language);
}

std::wstring line_error_text(unsigned mask, unsigned long long count, Language language) {
  std::wstring names;
  for (const LineErrorRow& error : kLineErrors) {
    if ((mask & error.bit) == 0) continue;
    if (!names.empty()) names += L", ";
    names += text(error.name, language);
  }
  if (names.empty()) return {};
  if (count > 1) names.append(L" (").append(std::to_wstring(count)).append(L")");
  return fill(TextId::line_error, names, language);
}

std::wstring localized_message(std::wstring_view english, Language language) {
  if (language == Language::english) return std::wstring{english};
  if (const Pair* const message = find_english(kMessages, english)) return std::wstring{message->korean};
  const auto shared = std::ranges::find(kTexts, english, [](const TextRow& r) { return r.pair.english; });
  if (shared != kTexts.end()) return std::wstring{shared->pair.korean};
  for (const auto korean_form : {korean_field_message, korean_settings_notice, korean_pattern_message}) {
    if (auto korean = korean_form(english)) return *std::move(korean);
  }
  return std::wstring{english};
}

}  // namespace hvt
