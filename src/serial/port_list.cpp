#include "serial/port_list.h"

#include <algorithm>
#include <array>
#include <tuple>

#include "base/text.h"

namespace hvt {
namespace {

// Chip families by which engineers know their adapters; what stands before one is the maker's name.
constexpr std::array<std::wstring_view, 3> kKnownChips{L"CP210", L"CH340", L"CH341"};

bool is_digit(wchar_t c) {
  return c >= L'0' && c <= L'9';
}

// White-space and control characters of Unicode, the line and paragraph separators among them.
bool is_blank(wchar_t c) {
  return c <= 0x20 || (c >= 0x7F && c <= 0xA0) || c == 0x1680 || (c >= 0x2000 && c <= 0x200A) ||
         c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F || c == 0x3000;
}

// Every run of blanks becomes one space, with none at the start or end.
std::wstring collapse(std::wstring_view text) {
  std::wstring result;
  bool gap = false;
  for (const wchar_t c : text) {
    if (is_blank(c)) {
      gap = !result.empty();
      continue;
    }
    if (gap) result += L' ';
    gap = false;
    result += c;
  }
  return result;
}

// What orders names: the letters before the number, the number's length, the number, then whatever follows.
auto sort_key(std::wstring_view name) {
  const auto digits = std::find_if(name.begin(), name.end(), is_digit);
  const auto rest = std::find_if_not(digits, name.end(), is_digit);
  return std::tuple(std::wstring_view(name.begin(), digits), rest - digits, std::wstring_view(digits, rest),
                    std::wstring_view(rest, name.end()));
}

}  // namespace

std::vector<PortDescription> list_system_ports() {
  return describe_ports(enumerate_ports());
}

std::wstring port_label(const PortDescription& port) {
  return port.description.empty() ? port.port : port.port + L" - " + port.description;
}

void sort_ports(std::vector<std::wstring>& ports) {
  std::sort(ports.begin(), ports.end(), [](const std::wstring& left, const std::wstring& right) {
    return sort_key(left) < sort_key(right);
  });
  ports.erase(std::unique(ports.begin(), ports.end()), ports.end());
}

// A friendly name usually ends with the port's own name ("USB-SERIAL CH340 (COM11)"), which the label shows
// anyway; Bluetooth links have long names that all mean the same; of a known chip the family says most.
std::wstring describe_device(std::wstring_view port, std::wstring_view device_text) {
  const std::wstring name = ascii_upper(port);
  std::wstring text = collapse(device_text);
  const std::wstring suffix = L"(" + name + L")";
  if (ascii_upper(text).ends_with(suffix)) text = collapse(text.substr(0, text.size() - suffix.size()));

  const std::wstring upper = ascii_upper(text);
  if (upper == name) return {};
  if (upper.find(L"BLUETOOTH") != std::wstring::npos) return L"Bluetooth Serial";
  for (const std::wstring_view chip : kKnownChips)
    if (const auto at = upper.find(chip); at != std::wstring::npos) return text.substr(at);
  return text;
}

}  // namespace hvt
