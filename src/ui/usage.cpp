#include "ui/usage.h"

namespace hvt {
namespace {

using Kind = DialogLine::Kind;

struct UsageRow {
  Kind kind;
  TextPair text;
};

constexpr UsageRow heading(std::wstring_view english, std::wstring_view korean) {
  return {Kind::heading, {english, korean}};
}
constexpr UsageRow paragraph(std::wstring_view english, std::wstring_view korean) {
  return {Kind::text, {english, korean}};
}
// Reads the same in both languages.
constexpr UsageRow code(std::wstring_view both) {
  return {Kind::code, {both, both}};
}

constexpr UsageRow kUsage[]{
    heading(L"Connecting", L"연결"),
    paragraph(
        L"Choose the port and the line settings, then press Connect. Refresh looks for ports again. While a "
        L"connection is being made a second click cancels it; while connected it disconnects, also when a "
        L"device holds up a write. An unplugged device ends the connection and the status line says so.",
        L"포트와 통신 설정을 고른 뒤 연결하기를 누르세요. 새로 고침은 포트를 다시 찾습니다. 연결 중에 다시 "
        L"누르면 취소하고, 연결된 뒤에 누르면 연결을 끊습니다. 장치가 송신을 막고 있어도 끊을 수 있습니다. "
        L"장치를 뽑으면 연결이 끝나고 상태 줄에 알려 줍니다."),

    heading(L"Received data", L"수신 데이터"),
    paragraph(
        L"ASCII shows text; control bytes and bytes from 0x80 appear as tokens, so that nothing on the line "
        L"stays unseen. Hex shows every byte as two digits. CR/LF Line Break begins a new line after every "
        L"LF; Hide CR/LF leaves their tokens out. Both change what is shown and recorded, nothing else.",
        L"ASCII는 텍스트로 표시하고, 제어 바이트와 0x80 이상의 바이트는 토큰으로 나타내므로 놓치는 바이트가 "
        L"없습니다. Hex는 모든 바이트를 두 자리로 표시합니다. CR/LF 줄바꿈은 LF마다 줄을 바꾸고, CR/LF "
        L"감추기는 해당 토큰을 표시하지 않습니다. 둘 다 화면과 기록의 형식만 바꿉니다."),
    code(L"<STX>001F3456<0xAB><CR><LF>\n02 30 30 31 46 33 34 35 36 AB 0D 0A"),
    paragraph(
        L"Scroll up, or select text, and the view stays where you are while data goes on arriving; ▼▼ "
        L"returns to "
        L"the newest data. Buffer Size says how much received data the view keeps; the oldest goes first. "
        L"When fast data fills the view the status line says so; a recording loses nothing.",
        L"위로 스크롤하거나 텍스트를 선택하면 데이터가 계속 들어와도 화면이 그 자리에 머뭅니다. ▼▼를 누르면 "
        L"최신 "
        L"데이터로 돌아갑니다. 버퍼 크기는 화면에 보관할 수신 데이터의 크기이며 오래된 것부터 지워집니다. "
        L"빠른 "
        L"데이터로 화면이 가득 차면 상태 줄에 알려 주며, 기록은 아무것도 잃지 않습니다."),

    heading(L"Packets, tokens and escapes", L"패킷, 토큰, 이스케이프"),
    paragraph(
        L"Check Transmit to unfold ten packets. In ASCII a packet may hold tokens in any letter case and "
        L"escapes; these three lines are the same bytes:",
        L"송신을 선택하면 패킷 열 개가 펼쳐집니다. ASCII 패킷에는 대소문자 구분 없는 토큰과 이스케이프를 쓸 "
        L"수 "
        L"있습니다. 다음 세 줄은 같은 바이트입니다."),
    code(L"<STX>OK<CR><LF>\n\\x02OK\\r\\n\n<0x02>OK\\x0D\\x0A"),
    code(L"NUL SOH STX ETX EOT ENQ ACK BEL BS TAB LF VT FF CR SO SI\n"
         L"DLE DC1 DC2 DC3 DC4 NAK SYN ETB CAN EM SUB ESC FS GS RS US DEL\n"
         L"\\\\  \\n  \\r  \\t  \\0  \\xNN  \\0xNN  <0xNN>"),
    paragraph(
        L"In Hex enter two hexadecimal digits per byte; spacing is added automatically. A packet holds up to "
        L"1500 bytes. Auto append CR/LF sends 0D 0A after each packet.",
        L"Hex에서는 바이트마다 16진수 두 자리를 입력하세요. 띄어쓰기는 자동으로 넣습니다. 패킷 하나는 최대 "
        L"1500바이트입니다. CR/LF 자동 추가는 각 패킷 뒤에 0D 0A를 보냅니다."),
    code(L"02434D44 -> 02 43 4D 44"),
    paragraph(
        L"Send, or Enter in a packet, queues the packet; quick clicks are sent one after another. Save and "
        L"Load send data file keep the ten packets in a file.",
        L"보내기를 누르거나 패킷에서 Enter를 누르면 패킷이 대기열에 들어가며, 빠르게 여러 번 눌러도 차례로 "
        L"보냅니다. 송신 데이터 파일 저장과 불러오기로 패킷 열 개를 파일에 보관할 수 있습니다."),

    heading(L"Repeat Send", L"반복 송신"),
    paragraph(
        L"Sends the packets of a range in turn, as often as Repeat count says, with Interval between two "
        L"packets. Every packet of the range must hold data. Stop ends the run at once.",
        L"지정한 범위의 패킷을 차례로, 반복 송신 횟수만큼 보내며 패킷 사이에 간격을 둡니다. 범위의 모든 "
        L"패킷에 "
        L"데이터가 있어야 합니다. 정지를 누르면 곧바로 멈춥니다."),

    heading(L"Response times", L"응답 시간"),
    paragraph(
        L"With Wait for RX until Timeout every packet waits for its answer, and the time from the end of the "
        L"write to the first received byte stands behind it. Check Display sent data to see the packets with "
        L"their times.",
        L"타임아웃까지 RX 대기를 선택하면 패킷마다 응답을 기다리고, 송신이 끝난 뒤 첫 바이트를 받을 때까지 "
        L"걸린 "
        L"시간을 뒤에 표시합니다. 송신 데이터 표시를 선택하면 패킷과 시간이 함께 보입니다."),
    code(L"[TX] READ<CR> [1.2 ms]\n[RX] 25.4<CR><LF>\n[TX] READ<CR> [TIMEOUT] [LATE]\n[RX] 25.4<CR><LF>"),
    paragraph(
        L"[TIMEOUT] means that nothing came within RX Timeout, [LATE] that the answer came after it.",
        L"[TIMEOUT]은 RX 타임아웃 안에 응답이 없었다는 뜻이고, [LATE]는 응답이 그 뒤에 왔다는 뜻입니다."),

    heading(L"Recording", L"기록"),
    paragraph(
        L"Start Recording writes what is received, as it is formatted for the view, into files in the "
        L"recording folder, in parts, with a .meta.json file that tells what happened: line settings, parts, "
        L"line errors and whether anything is missing. Open Folder shows them. With Display while recording "
        L"turned off a recording costs the least time; from 921600 baud it is off.",
        L"기록 시작을 누르면 수신한 데이터를 화면과 같은 형식으로 기록 폴더의 파일에 나누어 씁니다. "
        L".meta.json "
        L"파일에는 통신 설정, 기록 파일, 회선 오류, 빠진 데이터의 유무가 남습니다. 폴더 열기로 볼 수 "
        L"있습니다. 기록 "
        L"중 화면 표시를 끄면 기록에 드는 시간이 가장 적으며, 통신 속도 921600부터는 항상 꺼집니다."),
    paragraph(L"A recording that could not keep everything says \"Recording incomplete\" with the reason, "
              L"never less.",
              L"모든 데이터를 남기지 못한 기록은 \"기록이 완전하지 않음\"과 그 까닭을 반드시 알려 줍니다."),

    heading(L"Line errors", L"회선 오류"),
    paragraph(
        L"\"RX error\" in the status line names what the device driver reported and how often: framing and "
        L"parity errors point to wrong line settings or a bad cable, overruns to a computer or an adapter "
        L"that is too slow. The bytes shown around such an error may be wrong or missing.",
        L"상태 줄의 \"RX 오류\"는 장치 드라이버가 알려 온 오류와 횟수입니다. 프레이밍과 패리티 오류는 잘못된 "
        L"통신 "
        L"설정이나 불량 케이블을, 오버런은 느린 컴퓨터나 어댑터를 뜻합니다. 그런 오류 앞뒤의 바이트는 "
        L"틀리거나 "
        L"빠졌을 수 있습니다."),

    heading(L"Keyboard", L"키보드"),
    paragraph(
        L"Tab walks through the window in reading order. Alt with a letter does what the tips of the "
        L"controls "
        L"say, Alt with a digit leads to that packet, F10 to the menus, Escape out of a list, a menu or a "
        L"dialog. In the received text: arrows, Page Up, Page Down, Home and End move, with Shift they "
        L"select, "
        L"Ctrl+C copies, Ctrl+A selects all, Ctrl+End returns to the newest data.",
        L"Tab은 읽는 순서대로 창을 돌아다닙니다. Alt와 글자는 각 항목의 도움말에 적힌 동작을 하고, Alt와 "
        L"숫자는 그 "
        L"번호의 패킷으로, F10은 메뉴로 이동하며, Escape는 목록, 메뉴, 대화 상자를 닫습니다. 수신 화면에서는 "
        L"화살표, "
        L"Page Up, Page Down, Home, End로 움직이고 Shift와 함께 누르면 선택하며, Ctrl+C는 복사, Ctrl+A는 "
        L"모두 "
        L"선택, Ctrl+End는 최신 데이터로 이동합니다."),
};

}  // namespace

std::vector<DialogLine> usage_lines(Language language) {
  std::vector<DialogLine> lines;
  for (const UsageRow& row : kUsage)
    lines.push_back({row.kind, std::wstring(row.text.in(language))});
  return lines;
}

}  // namespace hvt
