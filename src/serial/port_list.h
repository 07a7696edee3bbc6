#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace hvt {

// A listed port. Only `port` is ever connected to or stored; `description` is for reading.
struct PortDescription {
  std::wstring port;         // bare name
  std::wstring description;  // may be empty
};

// Sources, one per system. Both fail silently: no access, no ports; no device data, no descriptions.
std::vector<std::wstring> enumerate_ports();
std::vector<PortDescription> describe_ports(const std::vector<std::wstring>& ports);

// Both together. A program under test lists other ports.
using PortSource = std::function<std::vector<PortDescription>()>;
std::vector<PortDescription> list_system_ports();

// The key under which a port is reserved while it is open. On Windows upper-cased and without a leading
// "\\.\"; elsewhere names differ in case and a leading "/dev/" is removed.
std::wstring normalize_port_key(std::wstring_view port);

// "COM9 - CP210x", or the bare name without a description.
std::wstring port_label(const PortDescription& port);

// Sorts by the name's letters, then numerically ("COM2" before "COM10"), and drops duplicates.
void sort_ports(std::vector<std::wstring>& ports);

// Turns the device's own text into the short description, see the rules in port_list.cpp. Empty when the
// text says no more than the port's name.
std::wstring describe_device(std::wstring_view port, std::wstring_view device_text);

}  // namespace hvt
