#pragma once

#include <cstdint>

#include "display/display_batch.h"

namespace hvt {

struct Rgb {
  std::uint8_t red = 0;
  std::uint8_t green = 0;
  std::uint8_t blue = 0;
  friend bool operator==(const Rgb&, const Rgb&) = default;
};

enum class Appearance { light, dark };

// Behind the receive view's text in the dark appearance; in the light one it is the system's window colour.
inline constexpr Rgb kDarkSurface{30, 30, 30};

// The receive view's colour of a role. The light header colour is the system's gray text, so the caller
// passes it in. A role outside the table gives the normal colour.
Rgb role_color(ColorRole role, Appearance appearance, Rgb system_gray_text);

}  // namespace hvt
