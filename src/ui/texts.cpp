#include "ui/texts.h"

#include <array>
#include <cstdint>
#include <map>
#include <tuple>

#include "serial/serial_status.h"
#include "ui/controls.h"
#include "ui/text_pattern.h"

namespace hvt {
namespace {

struct TextRow {
  TextId id;
  TextPair pair;
};

constexpr TextRow row(TextId id, std::wstring_view english, std::wstring_view korean) {
  return {id, {english, korean}};
}
// Reads the same in both languages.
constexpr TextRow row(TextId id, std::wstring_view both) {
  return {id, {both, both}};
}

constexpr std::array<TextRow, kTextCount> kTexts{
    row(TextId::none, L""),
    row(TextId::language, L"Language", L"언어"),
    row(TextId::language_english, L"English"),
    row(TextId::language_korean, L"한국어"),
    row(TextId::theme, L"Theme", L"테마"),
    row(TextId::theme_light, L"Light", L"라이트"),
    row(TextId::theme_dark, L"Dark", L"다크"),
    row(TextId::theme_system, L"System", L"시스템 설정 따름"),
    row(TextId::help, L"Help", L"도움말"),
    row(TextId::usage, L"Usage", L"사용법"),
    row(TextId::check_updates, L"Check for updates", L"업데이트 확인"),
    row(TextId::about, L"About", L"정보"),
    row(TextId::homepage, L"Homepage", L"홈페이지"),
    row(TextId::update, L"Update", L"업데이트"),
    row(TextId::always_on_top_on, L"Always on top: On", L"항상 위: 켜짐"),
    row(TextId::always_on_top_off, L"Always on top: Off", L"항상 위: 꺼짐"),

    row(TextId::com_port, L"COM port", L"COM 포트"),
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
    row(TextId::font_size, L"Font Size", L"글자 크기"),
    row(TextId::points, L"pt"),
    row(TextId::clear, L"Clear", L"지우기"),
    row(TextId::follow, L"▼▼"),
    row(TextId::scroll_down, L"Scroll down", L"스크롤 내리기"),
    row(TextId::cut, L"Cut", L"잘라내기"),
    row(TextId::copy, L"Copy", L"복사"),
    row(TextId::paste, L"Paste", L"붙여넣기"),
    row(TextId::select_all, L"Select all", L"모두 선택"),

    row(TextId::record, L"Record", L"기록"),
    row(TextId::start_recording, L"Start Recording", L"기록 시작"),
    row(TextId::stop_recording, L"Stop Recording", L"기록 정지"),
    row(TextId::file_name, L"File name", L"파일 이름"),
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
    row(TextId::theme_not_applied, L"Could not change the theme.", L"테마를 바꿀 수 없습니다."),
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

    row(TextId::checking_updates, L"Checking for updates...", L"업데이트를 확인하는 중..."),
    row(TextId::update_newer, L"A new version is available.", L"새 버전이 있습니다."),
    row(TextId::update_latest, L"You are using the latest version.", L"최신 버전을 사용하고 있습니다."),
    row(TextId::update_ahead, L"Your version is newer than the published release.",
        L"사용 중인 버전이 공개된 버전보다 최신입니다."),
    row(TextId::update_failed, L"Unable to check for updates.", L"업데이트를 확인할 수 없습니다."),
    row(TextId::download_page, L"Open the download page", L"다운로드 페이지 열기"),
    row(TextId::no_link, L"Could not open the link.", L"링크를 열 수 없습니다."),
    row(TextId::close, L"Close", L"닫기"),
    row(TextId::about_program, L"A serial terminal for engineers who test devices over COM and tty ports.",
        L"COM 및 tty 포트로 장치를 시험하는 엔지니어를 위한 시리얼 터미널입니다."),

    row(TextId::connecting_to, L"Connecting to {}", L"{}에 연결 중"),
    row(TextId::connected_to, L"Connected to {}", L"{}에 연결됨"),
    row(TextId::connect_timed_out, L"Serial connection exceeded {} sec.",
        L"시리얼 연결 시간이 {}초를 초과했습니다."),
    row(TextId::repeat_separator, L"-------------------- Repeat {}/{} --------------------",
        L"-------------------- 반복 {}/{}회 --------------------"),
    row(TextId::line_count, L"Line Count : {}", L"줄 수 : {}"),
    row(TextId::packet_name, L"Packet {}", L"패킷 {}"),
    row(TextId::send_name, L"Send packet {}", L"패킷 {} 보내기"),
    row(TextId::current_version, L"Current version: {}", L"현재 버전: {}"),
    row(TextId::latest_version, L"Latest version: {}", L"최신 버전: {}"),
    row(TextId::release_date, L"Release date: {}", L"배포일: {}"),
    row(TextId::version, L"Version {}", L"버전 {}"),
    row(TextId::data_folder, L"Data folder: {}", L"데이터 폴더: {}"),
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

struct LineErrorRow {
  std::uint32_t bit;
  TextId name;
};
constexpr LineErrorRow kLineErrors[]{
    {kCommRxOver, TextId::line_error_overflow}, {kCommOverrun, TextId::line_error_overrun},
    {kCommParity, TextId::line_error_parity},   {kCommFrame, TextId::line_error_frame},
    {kCommBreak, TextId::line_error_break},
};

// Views must outlive every frame that shows them, so these few are kept.
std::wstring_view numbered(TextId pattern, std::size_t row, Language language) {
  static const auto kept = [] {
    std::map<std::tuple<TextId, std::size_t, Language>, std::wstring> texts;
    for (const TextId id : {TextId::packet_name, TextId::send_name}) {
      for (std::size_t i = 0; i < kPacketRows; ++i) {
        for (const Language each : {Language::english, Language::korean})
          texts[{id, i, each}] = filled_text(id, std::to_wstring(i + 1), each);
      }
    }
    return texts;
  }();
  return kept.at({pattern, row, language});
}

}  // namespace

std::wstring_view text(TextId id, Language language) {
  return kTexts[static_cast<std::size_t>(id)].pair.in(language);
}

std::wstring filled_text(TextId pattern, std::wstring_view value, Language language) {
  return fill(text(pattern, language), {value});
}

std::wstring_view packet_name(std::size_t row, Language language) {
  return numbered(TextId::packet_name, row, language);
}

std::wstring_view send_name(std::size_t row, Language language) {
  return numbered(TextId::send_name, row, language);
}

std::wstring connecting_to_text(std::wstring_view port, Language language) {
  return filled_text(TextId::connecting_to, port, language);
}

std::wstring connect_timed_out_text(int seconds, Language language) {
  return filled_text(TextId::connect_timed_out, std::to_wstring(seconds), language);
}

std::wstring repeat_separator_text(unsigned iteration, unsigned repeat_count, Language language) {
  return fill(text(TextId::repeat_separator, language),
              {std::to_wstring(iteration), std::to_wstring(repeat_count)});
}

std::wstring line_count_text(std::size_t lines, Language language) {
  return filled_text(TextId::line_count, std::to_wstring(lines), language);
}

std::wstring recording_to_text(std::wstring_view session, Language language) {
  return filled_text(TextId::recording_to, session, language);
}

std::wstring recording_saved_text(std::wstring_view session, Language language) {
  return filled_text(TextId::recording_saved, session, language);
}

std::wstring receive_loss_text(unsigned long long lost_bytes, Language language) {
  return filled_text(TextId::receive_loss, std::to_wstring(lost_bytes), language);
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
  return filled_text(TextId::line_error, names, language);
}

}  // namespace hvt
