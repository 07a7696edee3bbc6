#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "ui/controls.h"

namespace hvt {

// The entries of the menus, in the order in which each menu shows its own.
enum class MenuItem : std::uint8_t {
  english,
  korean,
  theme_light,
  theme_dark,
  theme_system,
  usage,
  check_updates,
  about,
  homepage,
};
inline constexpr std::size_t kMenuItemCount = static_cast<std::size_t>(MenuItem::homepage) + 1;

constexpr std::size_t index_of(MenuItem item) {
  return static_cast<std::size_t>(item);
}

struct MenuRow {
  MenuItem item;
  ControlId menu;  // the menu button that opens it
  bool exclusive;  // one of its menu's entries is marked as the present choice
};

extern const std::array<MenuRow, kMenuItemCount> kMenuItems;

struct MenuItemState {
  std::wstring_view caption;
  bool checked = false;  // exclusive rows
  friend bool operator==(const MenuItemState&, const MenuItemState&) = default;
};
using MenuStates = std::array<MenuItemState, kMenuItemCount>;

}  // namespace hvt
