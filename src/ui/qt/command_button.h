#pragma once

#include <QPushButton>

namespace hvt {

// A push button that Enter presses too, as Space does.
class CommandButton : public QPushButton {
 public:
  explicit CommandButton(QWidget* parent) : QPushButton(parent) {}

 protected:
  void keyPressEvent(QKeyEvent* event) override;
};

}  // namespace hvt
