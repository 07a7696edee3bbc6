#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace hvt {

// The number of a release, compared component by component from the front.
struct Version {
  std::array<std::int32_t, 4> components{};  // major, minor, build, revision

  friend auto operator<=>(const Version&, const Version&) = default;
};

// Two to four decimal numbers between dots; what is left out is 0. Each may stand in white space and carry
// one sign, "-" only before a zero. Nothing for any other text.
std::optional<Version> parse_version(std::string_view text);

// Always all four: "1.0.7.0".
std::wstring version_text(const Version& version);

// This program's own.
Version program_version();

}  // namespace hvt
