// The port list out of the registry. The risks: a driver's odd text listed as a port, an order that changes,
// one port under two names.

#include "serial/win32/port_sources.h"

#include <gtest/gtest.h>

#include "serial/port_list.h"

namespace hvt::test {
namespace {

using Names = std::vector<std::wstring>;

TEST(PortSources, ListWhatIsAComNameSortedAndOnce) {
  struct Case {
    const char* name;
    Names texts;
    Names ports;
  };
  const std::vector<Case> cases{
      {"nothing", {}, {}},
      {"two drivers, one port", {L"COM10", L"COM2", L"COM1", L"COM2"}, {L"COM1", L"COM2", L"COM10"}},
      {"device path and lower case", {L"\\\\.\\COM7", L"com3", L"COM7"}, {L"COM3", L"COM7"}},
      {"shorter names first",
       {L"COM100", L"COM99", L"COM9", L"COM256"},
       {L"COM9", L"COM99", L"COM100", L"COM256"}},
      {"no ports",
       {L"COM", L"COMX", L"COM1X", L"COM 1", L"LPT1", L"\\Device\\Serial0", L"", L"XCOM1", L"COM-1"},
       {}},
      {"digits are the ten ASCII ones", {L"COM\u0661", L"COM\uFF11"}, {}},
  };
  for (const Case& test : cases)
    EXPECT_EQ(ports_from_registry(test.texts), test.ports) << test.name;
}

TEST(PortSources, OnePortHasOneKey) {
  for (const wchar_t* name : {L"com3", L"COM3", L"\\\\.\\COM3", L"\\\\.\\com3", L"cOm3"}) {
    EXPECT_EQ(normalize_port_key(name), L"COM3");
  }
  EXPECT_EQ(normalize_port_key(L"\\\\.\\"), L"");
  EXPECT_EQ(normalize_port_key(L""), L"");
}

// What a machine has is its own affair; what holds on every machine is checked.
TEST(PortSources, TheMachinesOwnListIsSoundAndDescribedPortByPort) {
  const Names ports = enumerate_ports();
  EXPECT_EQ(ports_from_registry(ports), ports);
  const std::vector<PortDescription> described = describe_ports(ports);
  Names names;
  for (const PortDescription& port : described)
    names.push_back(port.port);
  EXPECT_EQ(names, ports);
}

}  // namespace
}  // namespace hvt::test
