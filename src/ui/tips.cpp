#include "ui/tips.h"

#include <array>

namespace hvt {
namespace {

constexpr std::array<TextPair, kControlCount> kTips = [] {
  std::array<TextPair, kControlCount> tips{};
  const auto set = [&tips](ControlId id, std::wstring_view english, std::wstring_view korean) {
    tips[index_of(id)] = {english, korean};
  };
  set(ControlId::menu_language, L"Language of the window (Alt+L)", L"창의 언어 (Alt+L)");
  set(ControlId::menu_theme, L"Light or dark appearance (Alt+T)", L"밝은 화면 또는 어두운 화면 (Alt+T)");
  set(ControlId::menu_help, L"Usage, updates and information (Alt+H)",
      L"사용법, 업데이트, 프로그램 정보 (Alt+H)");
  set(ControlId::update_badge, L"A newer release can be downloaded (Alt+U)",
      L"새 버전을 내려받을 수 있습니다 (Alt+U)");
  set(ControlId::always_on_top, L"Keep this window above all others (Alt+A)",
      L"이 창을 항상 다른 창 위에 둡니다 (Alt+A)");

  set(ControlId::port, L"The serial port to connect to (Alt+P)", L"연결할 시리얼 포트 (Alt+P)");
  set(ControlId::refresh, L"Look for serial ports again (Alt+R)", L"시리얼 포트를 다시 찾습니다 (Alt+R)");
  set(ControlId::connect, L"Connect; a click while connecting cancels, while connected disconnects (Alt+C)",
      L"연결합니다. 연결 중에 누르면 취소하고, 연결된 뒤에 누르면 연결을 끊습니다 (Alt+C)");
  set(ControlId::timeout, L"How long a connection attempt may take", L"연결을 시도하는 최대 시간");
  set(ControlId::baud, L"Speed of the line in bits per second (Alt+B)",
      L"초당 비트 수로 나타낸 통신 속도 (Alt+B)");
  set(ControlId::data_bits, L"Data bits of each character", L"한 문자의 데이터 비트 수");
  set(ControlId::stop_bits, L"Stop bits after each character", L"한 문자 뒤의 정지 비트 수");
  set(ControlId::parity, L"Parity bit of each character", L"한 문자의 패리티 비트");

  set(ControlId::receive_ascii, L"Show text, control bytes as tokens: <CR>, <0xAB>",
      L"텍스트로 표시하고 제어 바이트는 <CR>, <0xAB> 같은 토큰으로 나타냅니다");
  set(ControlId::receive_hex, L"Show every byte as two hexadecimal digits",
      L"모든 바이트를 16진수 두 자리로 표시합니다");
  set(ControlId::line_break, L"Begin a new line after every LF (ASCII only)",
      L"LF를 받을 때마다 줄을 바꿉니다 (ASCII 전용)");
  set(ControlId::hide_crlf, L"Leave out the <CR> and <LF> tokens (ASCII only)",
      L"<CR>과 <LF> 토큰을 표시하지 않습니다 (ASCII 전용)");
  set(ControlId::echo_sent, L"Show sent packets between the received data, with [TX] and [RX]",
      L"송신한 패킷을 수신 데이터 사이에 [TX], [RX]와 함께 표시합니다");
  set(ControlId::buffer_size, L"Received data that the view keeps; the oldest goes first",
      L"화면에 보관하는 수신 데이터의 크기. 오래된 것부터 지워집니다");
  set(ControlId::font_size, L"Size of the text in the receive view", L"수신 화면의 글자 크기");
  set(ControlId::follow, L"Follow latest received data", L"최신 수신 데이터 자동 추적");
  set(ControlId::clear, L"Empty the receive view; a recording goes on (Alt+E)",
      L"수신 화면을 비웁니다. 기록은 계속됩니다 (Alt+E)");

  set(ControlId::record, L"Write everything that arrives into files (Alt+D)",
      L"수신하는 모든 데이터를 파일에 기록합니다 (Alt+D)");
  set(ControlId::record_name, L"Name of the recording; empty for one made from the time and the port",
      L"기록 이름. 비워 두면 시각과 포트로 자동 생성합니다");
  set(ControlId::display_while_recording, L"Turned off, a recording costs the least time",
      L"끄면 기록에 드는 시간이 가장 적습니다");
  set(ControlId::open_folder, L"Open the folder with the recordings (Alt+O)", L"기록 폴더를 엽니다 (Alt+O)");

  set(ControlId::transmit, L"Unfold or fold the packets to send (Alt+M)",
      L"송신 패킷을 펼치거나 접습니다 (Alt+M)");
  set(ControlId::send_ascii, LR"(Packets are text with tokens and escapes: <CR>, \x0D)",
      LR"(패킷은 <CR>, \x0D 같은 토큰과 이스케이프를 쓰는 텍스트입니다)");
  set(ControlId::send_hex, L"Packets are bytes of two hexadecimal digits: 02 43 4D 44",
      L"패킷은 02 43 4D 44처럼 16진수 두 자리로 쓴 바이트입니다");
  set(ControlId::auto_crlf, L"Send CR and LF after every packet", L"모든 패킷 뒤에 CR과 LF를 보냅니다");
  for (std::size_t row = 0; row < kPacketRows; ++row)
    set(packet_field(row), L"Enter sends this packet; Alt and its number lead here",
        L"Enter를 누르면 이 패킷을 보냅니다. Alt와 번호를 누르면 이 칸으로 이동합니다");
  set(ControlId::save_packets, L"Save the ten packets in a file (Alt+V)",
      L"패킷 열 개를 파일에 저장합니다 (Alt+V)");
  set(ControlId::load_packets, L"Load ten packets from a file (Alt+I)",
      L"패킷 열 개를 파일에서 불러옵니다 (Alt+I)");

  set(ControlId::start_packet, L"First packet of a repeat run, 1 to 10", L"반복 송신의 시작 패킷, 1 ~ 10");
  set(ControlId::end_packet, L"Last packet of a repeat run, 1 to 10", L"반복 송신의 끝 패킷, 1 ~ 10");
  set(ControlId::repeat_count, L"How often the packets are sent, 1 to 9999",
      L"패킷을 반복하여 보내는 횟수, 1 ~ 9999");
  set(ControlId::wait_for_rx, L"After each packet wait for the answer and show how long it took",
      L"패킷을 보낼 때마다 응답을 기다리고 걸린 시간을 표시합니다");
  set(ControlId::rx_timeout, L"Longest wait for an answer, 10 to 99999999 ms",
      L"응답을 기다리는 최대 시간, 10 ~ 99999999 ms");
  set(ControlId::interval, L"Time between two packets, 0 to 99999999 ms",
      L"패킷 사이의 시간, 0 ~ 99999999 ms");
  set(ControlId::repeat, L"Send the packets in turn; a click during the run stops it (Alt+S)",
      L"패킷을 차례로 보냅니다. 송신 중에 누르면 정지합니다 (Alt+S)");
  return tips;
}();

}  // namespace

std::wstring_view tip(ControlId id, Language language) {
  return kTips[index_of(id)].in(language);
}

}  // namespace hvt
