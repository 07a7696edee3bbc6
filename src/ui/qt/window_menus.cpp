#include "ui/qt/window_menus.h"

#include <QActionGroup>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <utility>

#include "ui/qt/qt_text.h"

namespace hvt {

WindowMenus::WindowMenus(QWidget& window, std::function<void(MenuItem)> chosen)
    : QObject(&window), window_(window), chosen_(std::move(chosen)) {}

void WindowMenus::add_button(ControlId id, BarButton& button) {
  Menu& menu = menus_.at(count_++);
  menu = {id, &button, new QMenu(&button)};
  create_entries(menu);
  button.installEventFilter(this);
  menu.menu->installEventFilter(this);
  connect(menu.menu, &QMenu::aboutToHide, this, [this, &menu] { closed(menu); });
}

void WindowMenus::create_entries(Menu& menu) {
  auto* const group = new QActionGroup(menu.menu);
  for (const MenuRow& row : kMenuItems) {
    if (row.menu != menu.id) continue;
    QAction* const action = menu.menu->addAction(QString());
    actions_[index_of(row.item)] = action;
    if (row.exclusive) {
      action->setCheckable(true);
      group->addAction(action);
    }
    connect(action, &QAction::triggered, this, [this, item = row.item] { chosen_(item); });
  }
}

void WindowMenus::set_states(const MenuStates& states) {
  for (std::size_t i = 0; i < kMenuItemCount; ++i) {
    actions_[i]->setText(literal_qstring(states[i].caption));
    if (states[i].checked) actions_[i]->setChecked(true);  // its group unmarks the others
  }
}

// Opening and closing

void WindowMenus::open(ControlId id) {
  for (std::size_t i = 0; i < count_; ++i) {
    if (menus_[i].id == id) show_menu(menus_[i], Mark::first);
  }
}

void WindowMenus::show_menu(Menu& menu, Mark mark) {
  if (mark == Mark::first) menu.menu->setActiveAction(menu.menu->actions().constFirst());
  menu.button->set_open(true);
  menu.menu->popup(menu.button->mapToGlobal(QPoint(0, menu.button->height() + 1)));
}

void WindowMenus::closed(Menu& menu) {
  menu.button->set_open(false);
  if (!switching_) leave();
}

void WindowMenus::take_keyboard() {
  if (home_.isNull()) home_ = window_.focusWidget();
  menus_.front().button->setFocus(Qt::MenuBarFocusReason);
}

// Nothing to give back where the buttons were reached by the Tab key.
void WindowMenus::leave() {
  if (!home_.isNull()) std::exchange(home_, nullptr)->setFocus(Qt::OtherFocusReason);
}

WindowMenus::Menu& WindowMenus::neighbour(const Menu& menu, int step) {
  const auto at = static_cast<std::size_t>(&menu - menus_.data());
  return menus_[(at + count_ + static_cast<std::size_t>(step + static_cast<int>(count_))) % count_];
}

// Mouse and keyboard

bool WindowMenus::eventFilter(QObject* watched, QEvent* event) {
  for (std::size_t i = 0; i < count_; ++i) {
    Menu& menu = menus_[i];
    if (watched == menu.button) return button_event(menu, *event);
    if (watched != menu.menu) continue;
    switch (event->type()) {
      case QEvent::KeyPress: return menu_key(menu, static_cast<QKeyEvent&>(*event));
      case QEvent::MouseButtonPress:
      case QEvent::MouseMove: return menu_mouse(menu, static_cast<QMouseEvent&>(*event));
      default: return false;
    }
  }
  return false;
}

bool WindowMenus::button_event(Menu& menu, QEvent& event) {
  switch (event.type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
      if (static_cast<QMouseEvent&>(event).button() == Qt::LeftButton) show_menu(menu, Mark::none);
      return true;
    case QEvent::KeyPress: return button_key(menu, static_cast<QKeyEvent&>(event));
    default: return false;
  }
}

bool WindowMenus::button_key(Menu& menu, QKeyEvent& event) {
  switch (event.key()) {
    case Qt::Key_Down:
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter: show_menu(menu, Mark::first); return true;
    case Qt::Key_Left: neighbour(menu, -1).button->setFocus(Qt::MenuBarFocusReason); return true;
    case Qt::Key_Right: neighbour(menu, 1).button->setFocus(Qt::MenuBarFocusReason); return true;
    case Qt::Key_Escape: leave(); return true;
    default: return false;
  }
}

bool WindowMenus::menu_key(Menu& menu, QKeyEvent& event) {
  if (event.key() != Qt::Key_Left && event.key() != Qt::Key_Right) return false;
  Menu& next = neighbour(menu, event.key() == Qt::Key_Left ? -1 : 1);
  switching_ = true;
  menu.menu->close();
  switching_ = false;
  if (menu.button->hasFocus()) next.button->setFocus(Qt::MenuBarFocusReason);
  show_menu(next, Mark::first);
  return true;
}

// While a menu is open it gets what the mouse does elsewhere too.
bool WindowMenus::menu_mouse(Menu& menu, QMouseEvent& event) {
  const QPoint at = event.globalPosition().toPoint();
  for (std::size_t i = 0; i < count_; ++i) {
    Menu& under = menus_[i];
    if (!under.button->rect().contains(under.button->mapFromGlobal(at))) continue;
    if (&under == &menu && event.type() == QEvent::MouseMove) return false;
    // The press would otherwise reach the button too and open the menu again.
    menu.menu->setAttribute(Qt::WA_NoMouseReplay);
    switching_ = &under != &menu;
    menu.menu->close();
    switching_ = false;
    if (&under != &menu) show_menu(under, Mark::none);
    return true;
  }
  return false;
}

}  // namespace hvt
