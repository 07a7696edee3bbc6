// Risks: a character of the text that the control would read as markup, a line break counted twice or not at
// all, a colour table that comes back from another appearance with other colours.

#include "display/rtf.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace hvt {
namespace {

using Runs = std::vector<DisplayRun>;

constexpr Rgb kGray{109, 109, 109};
constexpr auto kRx = ColorRole::rx_payload;
constexpr auto kTx = ColorRole::tx_payload;

DisplayBatch batch_of(const Runs& runs) {
  DisplayBatch batch;
  for (const DisplayRun& run : runs)
    batch.add(run.text, run.role);
  return batch;
}

const RtfFont kConsolas{.face = L"Consolas", .height_twips = 200};
const RoleColors kLight = role_colors(Appearance::light, kGray);
const RoleColors kDark = role_colors(Appearance::dark, kGray);

// What follows the head, which the test below spells out.
std::string body_of(const Runs& runs) {
  const std::string rtf = rtf_of(batch_of(runs), kConsolas, kLight);
  const std::string head = rtf_of({}, kConsolas, kLight);
  EXPECT_EQ(rtf.substr(0, head.size() - 1), head.substr(0, head.size() - 1));
  EXPECT_EQ(rtf.back(), '}');
  return rtf.substr(head.size() - 1, rtf.size() - head.size());
}

TEST(Rtf, TheWholeDocumentIsExactInBothAppearances) {
  const DisplayBatch batch =
      batch_of({{L"[RX] ", ColorRole::header}, {L"ab\r\n", kRx}, {L"[TIMEOUT]", ColorRole::timeout}});
  EXPECT_EQ(rtf_of(batch, kConsolas, kLight),
            "{\\rtf1\\ansi\\deff0\\uc1{\\fonttbl{\\f0\\fmodern Consolas;}}{\\colortbl ;"
            "\\red0\\green0\\blue0;\\red255\\green128\\blue0;\\red0\\green0\\blue255;"
            "\\red109\\green109\\blue109;\\red192\\green192\\blue192;\\red180\\green90\\blue0;"
            "\\red255\\green0\\blue0;}\\f0\\fs20\\b0\\i0\\ul0\\strike0 "
            "\\cf4 [RX] \\cf2 ab\\par \\cf7 [TIMEOUT]}");
  const RtfFont fancy{L"A{\uB9D1};", -165, true, true, true, true};
  EXPECT_EQ(rtf_of(batch_of({{L"x", ColorRole::normal}}), fancy, kDark),
            "{\\rtf1\\ansi\\deff0\\uc1{\\fonttbl{\\f0\\fmodern A\\{\\u-17967?\\};;}}{\\colortbl ;"
            "\\red212\\green212\\blue212;\\red206\\green145\\blue120;\\red86\\green156\\blue214;"
            "\\red166\\green166\\blue166;\\red133\\green133\\blue133;\\red215\\green186\\blue125;"
            "\\red244\\green71\\blue71;}\\f0\\fs-16\\b\\i\\ul\\strike \\cf1 x}");
}

TEST(Rtf, TextIsEscapedUnitByUnit) {
  struct Case {
    const char* name;
    Runs runs;
    std::string expected;
  };
  const Case cases[]{
      {"markup", {{L"{\\b}", kRx}}, "\\cf2 \\{\\\\b\\}"},
      {"tab", {{L"a\tb", kRx}}, "\\cf2 a\\tab b"},
      {"edges of the plain range", {{L" ~\x1F\x7F", kRx}}, "\\cf2  ~\\u31?\\u127?"},
      {"NUL", {{std::wstring_view(L"a\0b", 3), kRx}}, "\\cf2 a\\u0?b"},
      {"Korean", {{L"\uC548\uB155", kRx}}, "\\cf2 \\u-15032?\\u-20139?"},
      {"edges of the signed range", {{L"\x7FFF\x8000\xFFFF", kRx}}, "\\cf2 \\u32767?\\u-32768?\\u-1?"},
      {"surrogate pair", {{L"\xD83D\xDE00", kRx}}, "\\cf2 \\u-10179?\\u-8704?"},
      {"line breaks", {{L"a\r\nb\rc\nd\n\r", kRx}}, "\\cf2 a\\par b\\par c\\par d\\par \\par "},
      {"CR LF in two runs", {{L"a\r", kRx}, {L"\nb", kTx}}, "\\cf2 a\\par \\cf3 b"},
      {"a role outside the palette", {{L"x", static_cast<ColorRole>(7)}}, "\\cf1 x"},
      {"text behind a CR of another run", {{L"a\r", kRx}, {L"b\n", kTx}}, "\\cf2 a\\par \\cf3 b\\par "},
  };
  for (const Case& named : cases)
    EXPECT_EQ(body_of(named.runs), named.expected) << named.name;
}

std::wstring shown(const DisplayBatch& batch) {
  std::wstring result;
  for (const DisplayRun run : batch)
    result.append(run.text).append(L"|").append(std::to_wstring(static_cast<int>(run.role))).append(L" ");
  return result;
}

TEST(Rtf, LineBreaksBecomeParagraphMarksAndRolesKeepTheirPlaces) {
  struct Case {
    const char* name;
    Runs runs;
    std::wstring expected;
  };
  const Case cases[]{
      {"CR LF", {{L"a\r\nb", kRx}, {L"\r\n", kTx}, {L"c", kRx}}, L"a\rb|1 \r|2 c|1 "},
      {"lone CR and LF", {{L"a\rb\nc\n\nd\r\r\n", kRx}}, L"a\rb\rc\r\rd\r\r|1 "},
      {"CR LF in two runs", {{L"a\r", kRx}, {L"\nb", kTx}}, L"a\r|1 b|2 "},
      {"a run that was only the LF", {{L"a\r", kRx}, {L"\n", kTx}, {L"b", kRx}}, L"a\rb|1 "},
      {"nothing", {}, L""},
  };
  for (const Case& named : cases)
    EXPECT_EQ(shown(with_paragraph_marks(batch_of(named.runs))), named.expected) << named.name;
}

std::string recolored(std::string_view rtf, const RoleColors& from, const RoleColors& to) {
  return recolored_rtf(rtf, from, to).value_or("no table");
}

TEST(Rtf, RecolouringThereAndBackGivesTheOriginal) {
  const DisplayBatch batch = batch_of({{L"\\red0\\green0\\blue0; }", ColorRole::normal}, {L"b", kTx}});
  const std::string light = rtf_of(batch, kConsolas, kLight);
  const std::string dark = rtf_of(batch, kConsolas, kDark);
  EXPECT_EQ(recolored(light, kLight, kDark), dark);
  EXPECT_EQ(recolored(dark, kDark, kLight), light);
}

TEST(Rtf, OnlyEntriesOfTheOldPaletteChange) {
  struct Case {
    const char* name;
    std::string rtf;
    std::string expected;
  };
  const Case cases[]{
      {"no table", "{\\rtf1 x}", "no table"},
      {"a table without its end", "{\\rtf1{\\colortbl;\\red0\\green0\\blue0;", "no table"},
      {"cut in the word", "{\\rtf1{\\colortb", "no table"},
      {"an empty table", "{\\colortbl}", "{\\colortbl}"},
      {"other colours, and blanks and words beside one of ours",
       "{\\colortbl;\\red1\\green2\\blue3; \\ctint255\\red255\\green128\\blue0;}",
       "{\\colortbl;\\red1\\green2\\blue3; \\ctint255\\red206\\green145\\blue120;}"},
      {"a number that only begins like one of ours", "{\\colortbl;\\red0\\green0\\blue2555;}",
       "{\\colortbl;\\red0\\green0\\blue2555;}"},
      {"a last entry without its semicolon is none of ours", "{\\colortbl;\\red255\\green0\\blue0}",
       "{\\colortbl;\\red255\\green0\\blue0}"},
      {"the first table alone, and the text never",
       "{\\colortbl;\\red255\\green0\\blue0;}\\red255\\green0\\blue0;{\\colortbl;\\red255\\green0\\blue0;}",
       "{\\colortbl;\\red244\\green71\\blue71;}\\red255\\green0\\blue0;{\\colortbl;\\red255\\green0\\blue0;"
       "}"},
  };
  for (const Case& named : cases)
    EXPECT_EQ(recolored(named.rtf, kLight, kDark), named.expected) << named.name;

  // Roles that share a colour: the first one decides.
  const RoleColors shared = role_colors(Appearance::light, {192, 192, 192});
  EXPECT_EQ(recolored("{\\colortbl;\\red192\\green192\\blue192;}", shared, kDark),
            "{\\colortbl;\\red166\\green166\\blue166;}");
}

}  // namespace
}  // namespace hvt
