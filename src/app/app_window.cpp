#include "app/app.h"

#include <utility>

#include "app/dialog_contents.h"
#include "base/text.h"
#include "ui/choices.h"

// The controller: menus, language, theme and dialogs.

namespace hvt {

void App::menu_chosen(MenuItem item) {
  switch (item) {
    case MenuItem::english: return choose_language(Language::english);
    case MenuItem::korean: return choose_language(Language::korean);
    case MenuItem::theme_light: return choose_theme(ThemeChoice::light);
    case MenuItem::theme_dark: return choose_theme(ThemeChoice::dark);
    case MenuItem::theme_system: return choose_theme(ThemeChoice::system);
    case MenuItem::usage: return show_dialog(DialogId::usage);
    case MenuItem::check_updates: return check_updates();
    case MenuItem::about: return show_dialog(DialogId::about);
    case MenuItem::homepage: return open_homepage();
  }
}

void App::choose_language(Language language) {
  if (facts_.language == language) return;
  facts_.language = language;
  update_controls();
  binding_.show_entries(*window_, language);
  show_ports();
  window_->receive_view().set_language(language);
  window_->set_status(status_.in(language), status_tone_);
  metrics_changed();
  fit_window(room());
  for (const DialogId id : {DialogId::usage, DialogId::about, DialogId::update})
    refresh_dialog(id);
  save_settings();
}

void App::choose_theme(ThemeChoice theme) {
  const ThemeChoice before = std::exchange(facts_.theme, theme);
  if (!apply_theme()) {
    facts_.theme = before;
    return;
  }
  update_controls();
  save_settings();
}

// False, after showing why, when everything keeps the colours it had.
bool App::apply_theme() {
  const bool dark = resolve_dark_theme(kThemeNames[static_cast<std::size_t>(facts_.theme)],
                                       window_->desktop_prefers_dark());
  const ThemePalette palette = build_theme_palette(dark, window_->system_colors());
  if (applying_theme_ || palette == theme_) return true;
  applying_theme_ = true;  // changing colours may itself be taken for a change of the desktop's
  bool applied = true;
  try {
    window_->set_theme(palette);
    theme_ = palette;
  } catch (const std::exception& error) {
    applied = false;
    report_error([reason = message_of(error)](Language language) {
      return std::wstring(text(TextId::theme_not_applied, language)) + L" " + reason;
    });
  }
  applying_theme_ = false;
  return applied;
}

void App::appearance_changed() {
  if (window_) apply_theme();
}

void App::toggle_always_on_top() {
  facts_.always_on_top = !facts_.always_on_top;
  window_->set_always_on_top(facts_.always_on_top);
  update_controls();
  save_settings();
}

void App::set_font_size() {
  window_->receive_view().set_font_points(
      font_points(window_->selected_choice(ControlId::font_size).value_or(0)));
  show_line_count();
}

DialogContent App::dialog_content(DialogId id) const {
  switch (id) {
    case DialogId::usage: return usage_dialog(facts_.language);
    case DialogId::about: return about_dialog(data_folder_, facts_.language);
    case DialogId::update: break;
  }
  return update_dialog(update_, facts_.language);
}

void App::show_dialog(DialogId id) {
  window_->show_dialog(id, dialog_content(id));
}

void App::refresh_dialog(DialogId id) {
  window_->change_dialog(id, dialog_content(id));
}

void App::dialog_link(DialogId) {
  open_homepage();
}

void App::open_homepage() {
  if (!window_->open_in_desktop(HVT_HOMEPAGE_URL)) show_error(TextId::no_link);
}

void App::start_update_check() {
  if (!services_.fetch_manifest) return;
  check_.emplace(services_.fetch_manifest,
                 [this](const UpdateResult& result) { post_to_ui([=, this] { update_checked(result); }); });
  check_->request_check();
}

void App::check_updates() {
  if (check_) {
    update_ = status_while_checking(update_);
    check_->request_check();
  }
  show_dialog(DialogId::update);
}

void App::update_checked(const UpdateResult& result) {
  const UpdateStatus status = status_after(result, program_version());
  if (!window_ || status == std::exchange(update_, status)) return;
  facts_.newer_release = status.badge;
  update_controls();
  refresh_dialog(DialogId::update);
}

}  // namespace hvt
