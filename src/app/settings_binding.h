#pragma once

#include <string>

#include "settings/app_settings.h"
#include "ui/main_window.h"
#include "ui/state_rules.h"

namespace hvt {

// Which fact or control each saved setting is, both ways.
//
// Promises  a saved text that is not an entry of its choice is shown as one more entry, and kept; what no
//           control shows is never changed by gather().
// Threads   the interface thread.
// Owns      the texts that were shown.
// Ends      with its owner.
class SettingsBinding {
 public:
  // Everything but the ports and the window's place.
  void show(const AppSettings& settings, MainWindow& window, Facts& facts);
  // The entries of the choices in a language; the selection stays.
  void show_entries(MainWindow& window, Language language) const;
  void gather(const MainWindow& window, const Facts& facts, AppSettings& settings) const;

  // The setting that the selected entry of a choice stands for, for example "115200" or "Odd".
  std::wstring chosen_text(const MainWindow& window, ControlId id) const;

 private:
  AppSettings shown_;
};

}  // namespace hvt
