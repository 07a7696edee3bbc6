#pragma once

#include <QObject>
#include <QPointer>
#include <array>
#include <functional>

#include "ui/menus.h"
#include "ui/qt/bar_button.h"

class QAction;
class QKeyEvent;
class QMenu;
class QMouseEvent;

namespace hvt {

// The menus under the menu buttons of a window: opened by mouse and keyboard, walked like those of a menu
// bar.
//
// Promises  a menu opens on the press; with one open, the pointer or the arrow keys go to its neighbour.
//           However a menu closes, the keyboard is where it was before.
// Threads   the interface thread.
// Owns      the menus; the buttons belong to the window.
// Ends      with the window, its parent.
class WindowMenus final : public QObject {
 public:
  WindowMenus(QWidget& window, std::function<void(MenuItem)> chosen);

  // For each menu button of the table, before anything else.
  void add_button(ControlId id, BarButton& button);

  void set_states(const MenuStates& states);
  // Opens the menu of that button, its first entry marked.
  void open(ControlId id);
  // Gives the keyboard to the first menu button, until Escape or a choice.
  void take_keyboard();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  struct Menu {
    ControlId id = ControlId::menu_language;
    BarButton* button = nullptr;
    QMenu* menu = nullptr;
  };
  enum class Mark { none, first };

  void create_entries(Menu& menu);
  void show_menu(Menu& menu, Mark mark);
  void closed(Menu& menu);
  void leave();
  bool button_event(Menu& menu, QEvent& event);
  bool button_key(Menu& menu, QKeyEvent& event);
  bool menu_key(Menu& menu, QKeyEvent& event);
  bool menu_mouse(Menu& menu, QMouseEvent& event);
  Menu& neighbour(const Menu& menu, int step);

  static constexpr std::size_t kCount = 3;
  QWidget& window_;
  std::function<void(MenuItem)> chosen_;
  std::array<Menu, kCount> menus_;
  std::size_t count_ = 0;
  std::array<QAction*, kMenuItemCount> actions_{};
  QPointer<QWidget> home_;  // had the keyboard before the menu buttons took it
  bool switching_ = false;  // one menu closes because its neighbour opens
};

}  // namespace hvt
