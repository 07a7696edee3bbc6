// The notice about settings that a device replaced. The risks: a replaced setting that is not told, an alarm
// without a difference, a strange answer of a driver that breaks the text.

#include "serial/settings_difference.h"

#include <gtest/gtest.h>

namespace hvt::test {
namespace {

TEST(SettingsDifference, TellsEveryReplacedSettingAndNothingElse) {
  SerialSettings asked;
  asked.port = L"COM9";
  asked.baud = 123456;
  asked.data_bits = 7;
  asked.parity = kParityEven;
  asked.stop_bits = kStopBitsTwo;
  struct Case {
    const char* name;
    void (*change)(SerialSettings&);
    std::wstring notice;
  };
  const std::vector<Case> cases{
      {"nothing", [](SerialSettings&) {}, L""},
      {"what no driver answers",
       [](SerialSettings& taken) { taken.port = L"x", taken.dtr = taken.rts = false; }, L""},
      {"baud", [](SerialSettings& taken) { taken.baud = 38400; },
       L"The device set 38400 baud instead of 123456."},
      {"data bits", [](SerialSettings& taken) { taken.data_bits = 8; },
       L"The device set 8 data bits instead of 7."},
      {"parity", [](SerialSettings& taken) { taken.parity = kParityNone; },
       L"The device set no parity instead of even."},
      {"stop bits", [](SerialSettings& taken) { taken.stop_bits = kStopBitsOneAndHalf; },
       L"The device set 1.5 stop bits instead of 2."},
      {"several",
       [](SerialSettings& taken) { taken.baud = 9600, taken.data_bits = 8, taken.parity = kParitySpace; },
       L"The device set 9600 baud instead of 123456, 8 data bits instead of 7, space parity instead of "
       L"even."},
      {"odd answers", [](SerialSettings& taken) { taken.parity = 77, taken.stop_bits = -1; },
       L"The device set unknown (77) parity instead of even, unknown (-1) stop bits instead of 2."},
  };
  for (const Case& test : cases) {
    SerialSettings taken = asked;
    test.change(taken);
    EXPECT_EQ(settings_difference(asked, taken), test.notice) << test.name;
  }
}

}  // namespace
}  // namespace hvt::test
