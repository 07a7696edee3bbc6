#include "serial/posix/port_sources.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>

#include "base/text.h"
#include "serial/posix/user_ports.h"

namespace hvt {
namespace {

namespace fs = std::filesystem;

constexpr std::wstring_view kVirtualDevice = L"Virtual device";
constexpr std::string_view kVirtualPrefix = "ttyV";
constexpr std::string_view kBluetoothPrefix = "rfcomm";

std::wstring attribute(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  std::string text;
  if (!std::getline(stream, text)) return {};
  return utf8_to_utf16_lossy(text);
}

// The names in a folder; none when it cannot be read.
std::vector<std::string> names_in(const fs::path& folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
    names.push_back(entry->path().filename().string());
  return names;
}

bool is_node(const fs::path& path) {
  std::error_code error;
  return fs::is_character_file(path, error);
}

std::vector<std::wstring> console_ports(const fs::path& sysfs) {
  std::wistringstream active(attribute(sysfs / "console" / "active"));
  return {std::istream_iterator<std::wstring, wchar_t>(active), {}};
}

bool has_hardware(const fs::path& sysfs, const std::string& name) {
  if (name.starts_with(kBluetoothPrefix)) return true;
  std::error_code error;
  if (!fs::exists(sysfs / name / "device", error)) return false;
  // The drivers of built-in ports list more of them than there are: type 0 is an unoccupied one.
  return attribute(sysfs / name / "type") != L"0";
}

std::wstring first_word(const std::wstring& text) {
  return text.substr(0, text.find(L' '));
}

// Many products begin with their maker's name; nobody wants to read it twice.
std::wstring join(const std::wstring& maker, const std::wstring& product) {
  if (maker.empty() || product.empty()) return maker + product;
  const bool named = ascii_upper(product).starts_with(ascii_upper(first_word(maker)));
  return named ? product : maker + L" " + product;
}

// The interface tells the ports of one device from each other, unless it only repeats the product.
std::wstring with_interface(const std::wstring& text, const std::wstring& interface_text) {
  if (interface_text.empty() || ascii_upper(text).find(ascii_upper(interface_text)) != std::wstring::npos)
    return text;
  return text.empty() ? interface_text : text + L", " + interface_text;
}

// From the port's device upwards: first its interface, then the USB device with maker and product.
std::wstring usb_text(const fs::path& sysfs, const std::string& name) {
  std::error_code error;
  fs::path folder = fs::canonical(sysfs / name / "device", error);
  if (error) return {};
  std::wstring interface_text;
  for (; folder.has_relative_path(); folder = folder.parent_path()) {
    if (interface_text.empty()) interface_text = attribute(folder / "interface");
    if (!fs::exists(folder / "idVendor", error)) continue;
    return with_interface(join(attribute(folder / "manufacturer"), attribute(folder / "product")),
                          interface_text);
  }
  return {};
}

std::wstring device_text(const fs::path& sysfs, const std::string& name) {
  if (name.starts_with(kBluetoothPrefix)) return L"Bluetooth";
  return usb_text(sysfs, name);
}

void add_hardware(const PortFolders& folders, std::vector<FoundPort>& ports) {
  const auto consoles = console_ports(folders.sysfs);
  for (const std::string& name : names_in(folders.sysfs)) {
    const std::wstring port = utf8_to_utf16_lossy(name);
    if (!is_node(folders.dev / name) || !has_hardware(folders.sysfs, name) ||
        std::find(consoles.begin(), consoles.end(), port) != consoles.end())
      continue;
    ports.push_back({port, folders.dev / name, device_text(folders.sysfs, name)});
  }
}

void add_virtual(const PortFolders& folders, std::vector<FoundPort>& ports) {
  for (const std::string& name : names_in(folders.dev))
    if (name.starts_with(kVirtualPrefix) && is_node(folders.dev / name))
      ports.push_back({utf8_to_utf16_lossy(name), folders.dev / name, std::wstring(kVirtualDevice)});
  if (!folders.user_ports) return;
  for (const std::string& name : listed_user_ports(*folders.user_ports))
    ports.push_back({utf8_to_utf16_lossy(name), *folders.user_ports / name, std::wstring(kVirtualDevice)});
}

}  // namespace

PortFolders system_port_folders() {
  PortFolders folders;
  folders.user_ports = find_user_ports_folder();
  return folders;
}

std::vector<FoundPort> find_ports(const PortFolders& folders) {
  std::vector<FoundPort> found;
  add_hardware(folders, found);
  add_virtual(folders, found);
  std::vector<std::wstring> names;
  for (const FoundPort& port : found)
    names.push_back(port.name);
  sort_ports(names);
  std::vector<FoundPort> ports;
  for (const std::wstring& name : names)
    ports.push_back(*std::find_if(found.begin(), found.end(), [&](const auto& p) { return p.name == name; }));
  return ports;
}

fs::path port_path(std::wstring_view port, const PortFolders& folders) {
  const fs::path name = to_path(port);
  if (name.is_absolute()) return name;
  const fs::path node = folders.dev / name;
  std::error_code error;
  if (fs::exists(node, error) || !folders.user_ports || name.has_parent_path()) return node;
  const fs::path link = *folders.user_ports / name;
  return fs::is_symlink(link, error) ? link : node;
}

fs::path port_path(std::wstring_view port) {
  return port_path(port, system_port_folders());
}

std::vector<std::wstring> enumerate_ports() {
  std::vector<std::wstring> names;
  for (FoundPort& port : find_ports(system_port_folders()))
    names.push_back(std::move(port.name));
  return names;
}

std::vector<PortDescription> describe_ports(const std::vector<std::wstring>& ports) {
  const auto found = find_ports(system_port_folders());
  std::vector<PortDescription> descriptions;
  for (const std::wstring& name : ports) {
    const auto port = std::find_if(found.begin(), found.end(), [&](const auto& p) { return p.name == name; });
    descriptions.push_back({name, port == found.end() ? L"" : describe_device(name, port->device_text)});
  }
  return descriptions;
}

std::wstring normalize_port_key(std::wstring_view port) {
  constexpr std::wstring_view kDevices = L"/dev/";
  return std::wstring(port.starts_with(kDevices) ? port.substr(kDevices.size()) : port);
}

}  // namespace hvt
