// The order of the ports and the short descriptions made from whatever text a device brings along.

#include "serial/port_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "base/text.h"

namespace hvt {
namespace {

using Names = std::vector<std::wstring>;

std::string shown(const std::wstring& text) {
  return utf16_to_utf8(text);
}

TEST(PortList, SortsByLettersThenByNumberAndDropsDuplicates) {
  const Names sorted{L"COM1",  L"COM2",   L"COM10",   L"rfcomm0",  L"ttyACM0",
                     L"ttyS4", L"ttyUSB", L"ttyUSB2", L"ttyUSB10", L"ttyUSB10b"};
  Names ports = sorted;
  ports.insert(ports.end(), {L"COM2", L"ttyUSB10"});
  std::minstd_rand random(1);
  for (int round = 0; round < 100; ++round) {
    std::shuffle(ports.begin(), ports.end(), random);
    Names names = ports;
    sort_ports(names);
    ASSERT_EQ(names, sorted);
  }
}

TEST(PortList, DescriptionsSayWhatTheNameDoesNot) {
  struct Case {
    const wchar_t* port;
    const wchar_t* text;
    const wchar_t* description;
  };
  const Case cases[] = {
      {L"COM3", L"", L""},
      {L"COM3", L" \t\r\n ", L""},
      {L"COM4", L"COM4", L""},
      {L"COM4", L"(COM4)", L""},
      {L"COM4", L" com4 (COM4)", L""},
      {L"ttyUSB0", L"TTYusb0", L""},
      {L"COM3", L"  Two\t \x01 words\x7F\x85 (com3)  ", L"Two words"},
      {L"COM3", L"Other (COM13)", L"Other (COM13)"},
      {L"COM3", L"Named (COM3) twice", L"Named (COM3) twice"},
      {L"COM3",
       L"Kept\x3000\x2028"
       L"apart",
       L"Kept apart"},
      {L"COM5", L"Standard Serial over Bluetooth link (COM5)", L"Bluetooth Serial"},
      {L"COM5", L"CP210x BLUEtooth", L"Bluetooth Serial"},
      {L"COM11", L"USB-SERIAL CH340 (COM11)", L"CH340"},
      {L"COM6", L"Silicon Labs CP210x USB to UART Bridge (COM6)", L"CP210x USB to UART Bridge"},
      {L"COM6", L"Maker ch341 thing", L"ch341 thing"},
      {L"COM6", L"CH341 beside CH340", L"CH340"},
      {L"COM6", L"CH340 before CP2102N", L"CP2102N"},
      {L"ttyACM0", L"Arduino Uno", L"Arduino Uno"},
      {L"COM7", L"직렬 포트 (COM7)", L"직렬 포트"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(describe_device(c.port, c.text), c.description) << shown(c.port) << ": " << shown(c.text);
}

}  // namespace
}  // namespace hvt
