// Risk: a text is missing in one language, a value gets lost on the way into a sentence, a message of the
// layers below reaches a Korean user in English, or the system's own text is mistaken for one of ours.
#include "ui/texts.h"
#include "ui/messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "serial/echo_transport.h"
#include "serial/serial_settings.h"
#include "serial/serial_status.h"
#include "serial/settings_difference.h"
#include "serial/transport_limits.h"
#include "transmit/number_fields.h"
#include "transmit/packet_text.h"
#include "transmit/repeat_settings.h"

namespace hvt {
namespace {

constexpr Language kLanguages[]{Language::english, Language::korean};

bool has_hangul(std::wstring_view text) {
  return std::ranges::any_of(text, [](wchar_t c) { return c >= 0xAC00 && c <= 0xD7A3; });
}

bool contains(std::wstring_view text, std::wstring_view part) {
  return text.find(part) != std::wstring_view::npos;
}

std::wstring wide(const char* ascii) {
  return {ascii, ascii + std::char_traits<char>::length(ascii)};
}

std::string narrow(std::wstring_view ascii) {
  return {ascii.begin(), ascii.end()};
}

TEST(Texts, EveryTextExistsInItsLanguage) {
  for (std::size_t i = 1; i < kTextCount; ++i) {
    const auto id = static_cast<TextId>(i);
    const std::wstring_view english = text(id, Language::english);
    const std::wstring_view korean = text(id, Language::korean);
    EXPECT_FALSE(english.empty() || korean.empty()) << "text " << i;
    // A language is offered under its own name.
    EXPECT_EQ(has_hangul(english), id == TextId::language_korean) << "text " << i;
    EXPECT_TRUE(english == korean || has_hangul(korean)) << "text " << i;
    EXPECT_EQ(contains(english, L"{}"), contains(korean, L"{}")) << "text " << i;
  }
}

TEST(Texts, ConnectingEndsWithOneEllipsisCharacter) {
  for (const Language language : kLanguages)
    EXPECT_EQ(text(TextId::connecting, language).back(), 0x2026);
}

TEST(Texts, ValuesStandInTheirSentence) {
  EXPECT_EQ(connecting_to_text(L"COM9", Language::english), L"Connecting to COM9");
  EXPECT_EQ(connect_timed_out_text(3, Language::english), L"Serial connection exceeded 3 sec.");
  EXPECT_EQ(connected_to_text(L"COM9", L"", Language::english), L"Connected to COM9");
  for (const Language language : kLanguages) {
    const std::wstring sentences[]{
        connecting_to_text(L"ttyUSB7", language), connected_to_text(L"ttyUSB7", L"notice", language),
        connect_timed_out_text(98765, language), receive_loss_text(18'446'744'073'709'551'615u, language),
        line_error_text(kCommFrame, 12, language)};
    const std::wstring_view values[]{L"ttyUSB7", L"notice", L"98765", L"18446744073709551615", L"(12)"};
    for (std::size_t i = 0; i < std::size(values); ++i) {
      EXPECT_TRUE(contains(sentences[i], values[i])) << i;
      EXPECT_FALSE(contains(sentences[i], L"{}")) << i;
    }
  }
  // A name that looks like the slot itself is a name.
  EXPECT_EQ(connecting_to_text(L"a{}b", Language::english), L"Connecting to a{}b");
}

TEST(Texts, LineErrorsNameEveryKindAndCountRepeats) {
  EXPECT_EQ(line_error_text(kCommOverrun, 1, Language::english), L"RX error: overrun");
  EXPECT_EQ(line_error_text(kCommOverrun, 2, Language::english), L"RX error: overrun (2)");
  for (const Language language : kLanguages) {
    EXPECT_EQ(line_error_text(0, 5, language), L"");
    std::wstring all = line_error_text(0x1F, 1, language);
    EXPECT_EQ(std::ranges::count(all, L','), 4);
    for (unsigned bit = 1; bit <= 0x10; bit <<= 1) {
      const std::wstring one = line_error_text(bit, 1, language);
      EXPECT_TRUE(contains(all, one.substr(one.find(L": ") + 2))) << bit;
    }
  }
}

// Run the layers below into each of their refusals and see that what they say has a Korean form.
TEST(LocalizedMessage, KnowsWhatTheTransmitLayerSays) {
  const auto panel = [](auto change) {
    TransmitPanel p;
    p.repeat_count = p.start_packet = p.end_packet = L"1";
    p.interval_ms = p.rx_timeout_ms = L"100";
    change(p);
    return [p] { parse_repeat_settings(p); };
  };
  const std::function<void()> refusals[]{
      [] { encode_send_packet(L"\\", false, false); },
      [] { encode_send_packet(L"\\x1", false, false); },
      [] { encode_send_packet(L"\\0x1", false, false); },
      [] { encode_send_packet(L"\\7", false, false); },
      [] { encode_send_packet(L"\u00E9", false, false); },
      [] { encode_send_packet(L"0x02", true, false); },
      [] { encode_send_packet(L"A", true, false); },
      [] { encode_send_packet(L"", false, true); },
      [] { encode_send_packet(std::wstring(1499, L'a'), false, true); },
      [] { encode_send_packet(std::wstring(1501, L'a'), false, false); },
      [] { parse_field_number(L"x", 1, 4'000'000, L"Baud"); },
      [] { parse_field_number(L"9", 5, 8, L"Data bits"); },
      panel([](TransmitPanel& p) { p.repeat_count = L""; }),
      panel([](TransmitPanel& p) { p.repeat_count = L"0"; }),
      panel([](TransmitPanel& p) { p.start_packet = L"11"; }),
      panel([](TransmitPanel& p) { p.end_packet = L"x"; }),
      panel([](TransmitPanel& p) { p.interval_ms = L"-1"; }),
      panel([](TransmitPanel& p) { p.rx_timeout_ms = L"9"; }),
      panel([](TransmitPanel& p) { p.start_packet = L"2"; }),
  };
  for (std::size_t i = 0; i < std::size(refusals); ++i) {
    try {
      refusals[i]();
      ADD_FAILURE() << "refusal " << i << " did not happen";
    } catch (const std::runtime_error& e) {
      EXPECT_TRUE(has_hangul(localized_message(wide(e.what()), Language::korean))) << e.what();
      EXPECT_EQ(localized_message(wide(e.what()), Language::english), wide(e.what()));
    }
  }
}

TEST(LocalizedMessage, KnowsWhatTheTransportsSay) {
  EchoTransport echo;
  echo.cancel();
  std::wstring simulated;
  ASSERT_FALSE(echo.write(std::array<std::uint8_t, 1>{}, simulated));
  for (const std::wstring_view message :
       {kWriteTimedOut, kWriteStuck, kConnectionClosed, std::wstring_view{simulated}}) {
    EXPECT_TRUE(has_hangul(localized_message(message, Language::korean)));
  }
}

// Letters of the English sentence would be left where a part of it has no Korean form.
bool is_all_korean(std::wstring_view text) {
  const auto is_latin = [](wchar_t c) { return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z'); };
  return has_hangul(text) && std::ranges::none_of(text, is_latin);
}

TEST(LocalizedMessage, KnowsEverySettingThatADeviceMayReplace) {
  const SerialSettings asked{L"COM9", 123'456, 7, kParityEven, kStopBitsOne, true, true};
  std::vector<SerialSettings> answers(2, asked);
  answers[0].baud = 38'400;
  answers[1].data_bits = 8;
  for (std::int32_t code = -1; code <= 5; ++code) {
    answers.push_back(asked);
    (code == kParityEven ? answers.back().stop_bits : answers.back().parity) = code;
    answers.push_back({L"COM9", 9600, 5, code, code, true, true});
  }
  for (const SerialSettings& taken : answers) {
    const std::wstring notice = settings_difference(asked, taken);
    ASSERT_FALSE(notice.empty());
    EXPECT_TRUE(is_all_korean(localized_message(notice, Language::korean))) << narrow(notice);
    const std::wstring connected = connected_to_text(L"9", notice, Language::korean);
    EXPECT_TRUE(is_all_korean(connected)) << narrow(notice);
    EXPECT_EQ(connected_to_text(L"9", notice, Language::english), L"Connected to 9. " + notice);
  }
  EXPECT_EQ(localized_message(settings_difference(asked, answers[0]), Language::korean),
            L"장치가 설정을 바꾸었습니다: 통신 속도 38400 (요청: 123456).");
}

TEST(LocalizedMessage, KeepsTheFieldsRangeAndTakesACaptionThatIsKoreanAlready) {
  EXPECT_TRUE(contains(localized_message(L"Invalid interval (0-99999999 ms).", Language::korean),
                       L"(0-99999999 ms)"));
  const std::wstring from_english = localized_message(L"RX Timeout: enter a valid number.", Language::korean);
  const std::wstring caption = from_english.substr(0, from_english.find(L':'));
  EXPECT_TRUE(has_hangul(caption));
  EXPECT_EQ(localized_message(caption + L": enter a valid number.", Language::korean), from_english);
}

TEST(LocalizedMessage, LeavesOtherTextsAlone) {
  for (const std::wstring_view message :
       {L"", L".", L"Invalid handle.", L"Invalid .", L"Enter .", L"Access is denied.",
        L"Serial connection closed", L"No such file or directory", L": enter a valid number.",
        L"The device set.", L"The device set off an alarm.", L"The device set 1 baud instead of 2, 3 cats.",
        L"There is no more space.", L"Could not open it", L"액세스가 거부되었습니다."}) {
    EXPECT_EQ(localized_message(message, Language::korean), message);
  }
}

}  // namespace
}  // namespace hvt
