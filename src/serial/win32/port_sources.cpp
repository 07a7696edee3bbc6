#include "serial/win32/port_sources.h"

#include <windows.h>
// After windows.h, which it needs.
#include <setupapi.h>

#include <algorithm>
#include <array>
#include <memory>

#include "base/text.h"
#include "serial/port_list.h"

namespace hvt {
namespace {

constexpr wchar_t kSerialDevices[] = L"HARDWARE\\DEVICEMAP\\SERIALCOMM";

// The device setup class "Ports (COM & LPT)".
constexpr GUID kPortsClass{0x4D36E978, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};

// A key that is deleted while it is read answers every index with the same error.
constexpr DWORD kMostValues = 4'096;

struct KeyCloser {
  using pointer = HKEY;
  void operator()(HKEY key) const { RegCloseKey(key); }
};
using UniqueKey = std::unique_ptr<HKEY, KeyCloser>;

struct DeviceListCloser {
  using pointer = HDEVINFO;
  void operator()(HDEVINFO devices) const { SetupDiDestroyDeviceInfoList(devices); }
};
using UniqueDeviceList = std::unique_ptr<HDEVINFO, DeviceListCloser>;

bool is_com_name(std::wstring_view name) {
  return name.size() > 3 && name.starts_with(L"COM") &&
         std::ranges::all_of(name.substr(3), [](wchar_t c) { return c >= L'0' && c <= L'9'; });
}

std::vector<std::wstring> registered_texts() {
  std::vector<std::wstring> texts;
  HKEY opened = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kSerialDevices, 0, KEY_QUERY_VALUE, &opened) != ERROR_SUCCESS) {
    return texts;
  }
  const UniqueKey key(opened);
  for (DWORD index = 0; index < kMostValues; ++index) {
    std::array<wchar_t, 512> name{};
    std::array<wchar_t, 512> data{};  // the last unit is never written and ends the text
    DWORD name_length = DWORD{name.size()};
    DWORD data_bytes = DWORD{sizeof(data) - sizeof(wchar_t)};
    DWORD type = REG_NONE;
    const LSTATUS status = RegEnumValueW(key.get(), index, name.data(), &name_length, nullptr, &type,
                                         reinterpret_cast<BYTE*>(data.data()), &data_bytes);
    if (status == ERROR_NO_MORE_ITEMS) break;
    if (status == ERROR_SUCCESS && type == REG_SZ) texts.emplace_back(data.data());
  }
  return texts;
}

// The bare port name that a device was given, or nothing.
std::wstring port_of(HDEVINFO devices, SP_DEVINFO_DATA& device) {
  const HKEY opened = SetupDiOpenDevRegKey(devices, &device, DICS_FLAG_GLOBAL, 0, DIREG_DEV, KEY_QUERY_VALUE);
  if (opened == INVALID_HANDLE_VALUE) return {};
  const UniqueKey key(opened);
  std::array<wchar_t, 256> name{};
  DWORD bytes = DWORD{sizeof(name)};
  if (RegGetValueW(key.get(), nullptr, L"PortName", RRF_RT_REG_SZ, nullptr, name.data(), &bytes) !=
      ERROR_SUCCESS) {
    return {};
  }
  return normalize_port_key(name.data());
}

std::wstring text_property(HDEVINFO devices, SP_DEVINFO_DATA& device, DWORD property) {
  DWORD type = REG_NONE;
  DWORD bytes = 0;
  SetupDiGetDeviceRegistryPropertyW(devices, &device, property, &type, nullptr, 0, &bytes);
  if (bytes < 1 || bytes > 65'536 || bytes % sizeof(wchar_t) != 0 || type != REG_SZ) return {};
  std::vector<wchar_t> text(bytes / sizeof(wchar_t) + 1);  // one more: the stored text may lack its end
  if (!SetupDiGetDeviceRegistryPropertyW(devices, &device, property, &type,
                                         reinterpret_cast<BYTE*>(text.data()), bytes, &bytes) ||
      type != REG_SZ) {
    return {};
  }
  return text.data();
}

std::wstring device_text(HDEVINFO devices, SP_DEVINFO_DATA& device) {
  std::wstring text = text_property(devices, device, SPDRP_FRIENDLYNAME);
  return text.empty() ? text_property(devices, device, SPDRP_DEVICEDESC) : text;
}

}  // namespace

std::wstring normalize_port_key(std::wstring_view port) {
  std::wstring key = ascii_upper(port);
  if (key.starts_with(kDevicePrefix)) key.erase(0, kDevicePrefix.size());
  return key;
}

std::vector<std::wstring> ports_from_registry(const std::vector<std::wstring>& texts) {
  std::vector<std::wstring> ports;
  for (const std::wstring& text : texts) {
    std::wstring name = normalize_port_key(text);
    if (is_com_name(name)) ports.push_back(std::move(name));
  }
  sort_ports(ports);
  return ports;
}

std::vector<std::wstring> enumerate_ports() {
  return ports_from_registry(registered_texts());
}

std::vector<PortDescription> describe_ports(const std::vector<std::wstring>& ports) {
  std::vector<PortDescription> described;
  for (const std::wstring& port : ports)
    described.push_back({port, {}});

  const HDEVINFO listed = SetupDiGetClassDevsW(&kPortsClass, nullptr, nullptr, DIGCF_PRESENT);
  if (listed == INVALID_HANDLE_VALUE) return described;
  const UniqueDeviceList devices(listed);
  SP_DEVINFO_DATA device{};
  device.cbSize = sizeof(device);
  for (DWORD index = 0; SetupDiEnumDeviceInfo(devices.get(), index, &device); ++index) {
    const std::wstring port = port_of(devices.get(), device);
    const auto entry = std::ranges::find(described, port, &PortDescription::port);
    if (entry != described.end())
      entry->description = describe_device(port, device_text(devices.get(), device));
  }
  return described;
}

}  // namespace hvt
