#include "update/version.h"

#include <charconv>
#include <cstddef>
#include <system_error>

namespace hvt {
namespace {

constexpr std::string_view kWhitespace = " \t\r\n\v\f";
constexpr std::size_t kFewestParts = 2;

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kWhitespace);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kWhitespace) - first + 1);
}

std::optional<std::int32_t> parse_component(std::string_view part) {
  std::string_view digits = trimmed(part);
  const bool negative = digits.starts_with('-');
  if (negative || digits.starts_with('+')) digits.remove_prefix(1);
  // The conversion would take a second sign.
  if (digits.empty() || digits.front() < '0' || digits.front() > '9') return std::nullopt;
  std::int32_t value = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stopped, error] = std::from_chars(digits.data(), end, value);
  if (error != std::errc() || stopped != end || (negative && value != 0)) return std::nullopt;
  return value;
}

}  // namespace

std::optional<Version> parse_version(std::string_view text) {
  Version version;
  std::size_t parts = 0;
  for (bool more = true; more; ++parts) {
    if (parts == version.components.size()) return std::nullopt;
    const std::size_t dot = text.find('.');
    const auto component = parse_component(text.substr(0, dot));
    if (!component) return std::nullopt;
    version.components[parts] = *component;
    more = dot != std::string_view::npos;
    if (more) text.remove_prefix(dot + 1);
  }
  if (parts < kFewestParts) return std::nullopt;
  return version;
}

std::wstring version_text(const Version& version) {
  std::wstring text;
  for (const std::int32_t component : version.components)
    text += (text.empty() ? L"" : L".") + std::to_wstring(component);
  return text;
}

Version program_version() {
  return parse_version(HVT_VERSION).value();
}

}  // namespace hvt
