#include "ui/menus.h"

namespace hvt {

constexpr std::array<MenuRow, kMenuItemCount> kMenuItems{{
    {MenuItem::english, ControlId::menu_language, true},
    {MenuItem::korean, ControlId::menu_language, true},
    {MenuItem::theme_light, ControlId::menu_theme, true},
    {MenuItem::theme_dark, ControlId::menu_theme, true},
    {MenuItem::theme_system, ControlId::menu_theme, true},
    {MenuItem::usage, ControlId::menu_help, false},
    {MenuItem::check_updates, ControlId::menu_help, false},
    {MenuItem::about, ControlId::menu_help, false},
    {MenuItem::homepage, ControlId::menu_help, false},
}};

namespace {

constexpr bool rows_stand_at_their_items() {
  for (std::size_t i = 0; i < kMenuItems.size(); ++i) {
    if (index_of(kMenuItems[i].item) != i) return false;
  }
  return true;
}
static_assert(rows_stand_at_their_items());

}  // namespace
}  // namespace hvt
