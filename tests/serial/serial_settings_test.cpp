// A record outside the ranges must never reach a driver.

#include "serial/serial_settings.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace hvt
