#include "display/palette.h"

#include <array>
#include <cstddef>

namespace hvt {
namespace {

struct RoleColors {
  Rgb light;
  Rgb dark;
};

// Index = role. The light header stands for the system's gray text, which the caller knows.
constexpr std::array<RoleColors, kColorRoleCount> kRoleColors{{
    {{0, 0, 0}, {212, 212, 212}},        // normal
    {{255, 128, 0}, {206, 145, 120}},    // rx_payload
    {{0, 0, 255}, {86, 156, 214}},       // tx_payload
    {{}, {166, 166, 166}},               // header
    {{192, 192, 192}, {133, 133, 133}},  // control
    {{180, 90, 0}, {215, 186, 125}},     // late
    {{255, 0, 0}, {244, 71, 71}},        // timeout
}};

}  // namespace

Rgb role_color(ColorRole role, Appearance appearance, Rgb system_gray_text) {
  if (role == ColorRole::header && appearance == Appearance::light) return system_gray_text;
  const auto index = static_cast<std::size_t>(role);
  const RoleColors& colors = kRoleColors[index < kRoleColors.size() ? index : 0];
  return appearance == Appearance::light ? colors.light : colors.dark;
}

}  // namespace hvt
