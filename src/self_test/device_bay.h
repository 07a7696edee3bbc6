#pragma once

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "self_test/scripted_device.h"
#include "serial/port_list.h"
#include "serial/serial_transport.h"

namespace hvt::self_test {

// The ports of a run of the self-test, all in memory.
inline constexpr std::wstring_view kEchoPort = L"ECHO1";  // sends back what it is sent
inline constexpr std::wstring_view kScriptedPort =
    L"SIM2";                                              // a ScriptedDevice, a new one for each connection
inline constexpr std::wstring_view kBusyPort = L"BUSY3";  // in use by somebody else
inline constexpr std::wstring_view kStubbornPort = L"SLOW4";  // its driver opens when it is told to

// Lists the ports and opens them, in place of the system.
//
// Promises  the scripted device opened last can be had, with the settings it was opened with.
// Threads   any; only the open of kStubbornPort waits.
// Owns      the current scripted device, together with the connection.
// Ends      with its owner, after the program under test; let_open() lets a waiting open go.
class DeviceBay {
 public:
  std::vector<PortDescription> list() const;
  // Which ports are plugged in; all of them before the first call.
  void plug_in(std::vector<PortDescription> ports);

  std::shared_ptr<SerialTransport> open(const SerialSettings& settings, std::wstring& error);

  // Null while none was opened since the last call of forget_device().
  std::shared_ptr<ScriptedDevice> device() const;
  void forget_device();
  // As at the beginning.
  void reset();
  std::optional<SerialSettings> opened_with() const;

  // Lets the waiting open of kStubbornPort go, and every later one until reset().
  void let_open();

 private:
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<PortDescription> ports_ = all_ports();
  std::shared_ptr<ScriptedDevice> device_;
  std::optional<SerialSettings> opened_with_;
  bool held_ = true;

  static std::vector<PortDescription> all_ports();
};

}  // namespace hvt::self_test
