#include "recording/names.h"

#include <algorithm>

namespace hvt {
namespace {

std::wstring wide_padded(std::uint64_t value, std::size_t width) {
  const std::string digits = padded(value, width);
  return {digits.begin(), digits.end()};
}

std::wstring wide_padded(int value, std::size_t width) {
  return wide_padded(static_cast<std::uint64_t>(value), width);
}

}  // namespace

std::string padded(std::uint64_t value, std::size_t width) {
  std::string digits = std::to_string(value);
  if (digits.size() < width) digits.insert(0, width - digits.size(), '0');
  return digits;
}

bool is_blank_name(std::wstring_view name) {
  return name.find_first_not_of(L" \t\r\n") == std::wstring_view::npos;
}

std::wstring sanitised_name(std::wstring_view name) {
  constexpr std::wstring_view kRefused = L"<>:\"/\\|?*";
  std::wstring clean(name);
  const auto refused = [&](wchar_t unit) { return unit < 32 || kRefused.find(unit) != kRefused.npos; };
  std::replace_if(clean.begin(), clean.end(), refused, L'_');
  return clean;
}

std::wstring automatic_name(const LocalTime& now, std::wstring_view prefix, ReceiveFormat format) {
  std::wstring name = wide_padded(now.year, 4) + wide_padded(now.month, 2) + wide_padded(now.day, 2) + L"_" +
                      wide_padded(now.hour, 2) + wide_padded(now.minute, 2) + wide_padded(now.second, 2);
  name += L"_" + sanitised_name(prefix);
  return name + (format == ReceiveFormat::hex ? L"_HEX" : L"_ASCII");
}

std::wstring session_base(std::wstring_view name, int attempt) {
  std::wstring base(name);
  return attempt == 0 ? base : base + L"_" + wide_padded(attempt, 2);
}

std::wstring metadata_name(std::wstring_view base) {
  return std::wstring(base) + L".meta.json";
}

std::wstring part_name(std::wstring_view base, std::uint64_t number) {
  return std::wstring(base) + L"_part" + wide_padded(number, 3) + L".log";
}

}  // namespace hvt
