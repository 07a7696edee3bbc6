#include "ui/qt/command_button.h"

#include <QKeyEvent>

namespace hvt {

void CommandButton::keyPressEvent(QKeyEvent* event) {
  const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
  if (enter && !event->isAutoRepeat()) {
    click();
  } else {
    QPushButton::keyPressEvent(event);
  }
}

}  // namespace hvt
