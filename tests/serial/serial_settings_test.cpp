// Risk: a record outside the ranges reaches a driver, or a device replaces a setting and nobody is told.

#include "serial/serial_settings.h"

#include <gtest/gtest.h>

#include <string>

#include "serial/settings_difference.h"

namespace hvt {
namespace {

SerialSettings valid() {
  SerialSettings settings;
  settings.port = L"COM9";
  return settings;
}

TEST(SerialSettings, EveryCombinationWithinTheRangesIsValid) {
  SerialSettings settings = valid();
  for (settings.data_bits = 5; settings.data_bits <= 8; ++settings.data_bits)
    for (settings.parity = 0; settings.parity <= 4; ++settings.parity)
      for (settings.stop_bits = 0; settings.stop_bits <= 2; ++settings.stop_bits)
        EXPECT_TRUE(is_valid(settings)) << int{settings.data_bits} << settings.parity << settings.stop_bits;
}

TEST(SerialSettings, AnyFieldOutsideItsRangeMakesTheRecordInvalid) {
  struct Case {
    const char* name;
    void (*spoil)(SerialSettings&);
  };
  const Case cases[] = {
      {"no port", [](SerialSettings& s) { s.port.clear(); }},
      {"no baud", [](SerialSettings& s) { s.baud = 0; }},
      {"4 data bits", [](SerialSettings& s) { s.data_bits = 4; }},
      {"9 data bits", [](SerialSettings& s) { s.data_bits = 9; }},
      {"parity below", [](SerialSettings& s) { s.parity = -1; }},
      {"parity above", [](SerialSettings& s) { s.parity = 5; }},
      {"stop bits below", [](SerialSettings& s) { s.stop_bits = -1; }},
      {"stop bits above", [](SerialSettings& s) { s.stop_bits = 3; }},
  };
  for (const Case& c : cases) {
    SerialSettings settings = valid();
    c.spoil(settings);
    EXPECT_FALSE(is_valid(settings)) << c.name;
  }
  SerialSettings settings = valid();
  settings.baud = 0xFFFF'FFFF;
  EXPECT_TRUE(is_valid(settings)) << "any rate is the driver's to judge";
}

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
  const Case cases[] = {
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
  for (const Case& c : cases) {
    SerialSettings taken = asked;
    c.change(taken);
    EXPECT_EQ(settings_difference(asked, taken), c.notice) << c.name;
  }
}

}  // namespace
}  // namespace hvt
