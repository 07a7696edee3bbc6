#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace hvt::fuzz {

// A property that does not hold ends the process, which the fuzzer reports with the input.
inline void require(bool holds) {
  if (!holds) std::abort();
}

inline std::string_view text_of(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// What the reader makes of the input, or nothing when it refuses it. An exception of another kind, like any
// that comes from elsewhere, ends the process.
template <typename Reader>
auto accepted(Reader reader, std::string_view input) -> std::optional<decltype(reader(input))> {
  try {
    return reader(input);
  } catch (const std::runtime_error&) {
    return std::nullopt;
  }
}

}  // namespace hvt::fuzz
