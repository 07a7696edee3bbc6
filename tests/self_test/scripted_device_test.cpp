#include "self_test/scripted_device.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

// Risk: scenes fail or hang because the device they talk to does something else than they say.

namespace hvt::self_test {
namespace {

using namespace std::chrono_literals;

// What arrives until the device has been silent for once.
std::string read_all(ScriptedDevice& device) {
  std::string all;
  std::vector<std::uint8_t> piece;
  std::wstring error;
  while (device.read(piece, error) && !piece.empty())
    all.append(piece.begin(), piece.end()) += '|';
  return all;
}

bool write(ScriptedDevice& device, std::string_view text, std::wstring& error) {
  const std::vector<std::uint8_t> bytes(text.begin(), text.end());
  return device.write(bytes, error);
}

TEST(ScriptedDevice, SaysPieceByPieceInOrderWhateverTheDelays) {
  ScriptedDevice device;
  device.say("a", 10ms);
  device.say("b");
  std::wstring error;
  device.answer("c");
  EXPECT_TRUE(write(device, "question", error));
  EXPECT_EQ(read_all(device), "a|b|c|");
  device.answer(std::nullopt);
  EXPECT_TRUE(write(device, "!", error));
  EXPECT_EQ(read_all(device), "");
  EXPECT_EQ(device.received(), "question!");
}

TEST(ScriptedDevice, ABlockedWriteEndsAsTheSceneSays) {
  const struct {
    const char* name;
    void (*end)(ScriptedDevice&);
    bool written;
    std::wstring_view error;
  } kCases[] = {
      {"accepts", [](ScriptedDevice& d) { d.set_writing(ScriptedDevice::Writing::accepts); }, true, L""},
      {"fails", [](ScriptedDevice& d) { d.set_writing(ScriptedDevice::Writing::fails); }, false,
       L"Simulated write failure"},
      {"unplugged", [](ScriptedDevice& d) { d.unplug(L"gone"); }, false, L"gone"},
      {"cancelled", [](ScriptedDevice& d) { d.cancel(); }, false, L""},
  };
  for (const auto& c : kCases) {
    ScriptedDevice device;
    device.set_writing(ScriptedDevice::Writing::blocks);
    std::wstring error;
    bool written = false;
    std::thread writer([&] { written = write(device, "x", error); });
    while (!device.write_is_blocked())
      std::this_thread::yield();
    c.end(device);
    writer.join();
    EXPECT_EQ(written, c.written) << c.name;
    EXPECT_EQ(error, c.error) << c.name;
    EXPECT_EQ(device.received(), c.written ? "x" : "") << c.name;
  }
}

TEST(ScriptedDevice, AReadEndsWhenTheDeviceGoes) {
  for (const bool unplugged : {true, false}) {
    ScriptedDevice device;
    unplugged ? device.unplug(L"gone") : device.cancel();
    std::vector<std::uint8_t> piece;
    std::wstring error;
    EXPECT_FALSE(device.read(piece, error));
    EXPECT_EQ(error, unplugged ? L"gone" : L"");
  }
}

}  // namespace
}  // namespace hvt::self_test
