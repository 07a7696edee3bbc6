#include "serial/settings_difference.h"

#include <array>
#include <string_view>

namespace hvt {
namespace {

constexpr std::array<std::wstring_view, 5> kParityNames{L"no", L"odd", L"even", L"mark", L"space"};
constexpr std::array<std::wstring_view, 3> kStopBitNames{L"1", L"1.5", L"2"};

// A device may answer with a code of its own.
template <std::size_t Size>
std::wstring name_of(const std::array<std::wstring_view, Size>& names, std::int32_t code) {
  const auto index = static_cast<std::size_t>(code);
  return index < Size ? std::wstring(names[index]) : L"unknown (" + std::to_wstring(code) + L")";
}

void add(std::wstring& list, const std::wstring& taken, std::wstring_view unit, const std::wstring& asked) {
  if (taken == asked) return;
  if (!list.empty()) list += L", ";
  list.append(taken).append(L" ").append(unit).append(L" instead of ").append(asked);
}

}  // namespace

std::wstring settings_difference(const SerialSettings& asked, const SerialSettings& taken) {
  std::wstring list;
  add(list, std::to_wstring(taken.baud), L"baud", std::to_wstring(asked.baud));
  add(list, std::to_wstring(taken.data_bits), L"data bits", std::to_wstring(asked.data_bits));
  add(list, name_of(kParityNames, taken.parity), L"parity", name_of(kParityNames, asked.parity));
  add(list, name_of(kStopBitNames, taken.stop_bits), L"stop bits", name_of(kStopBitNames, asked.stop_bits));
  return list.empty() ? L"" : L"The device set " + list + L".";
}

}  // namespace hvt
