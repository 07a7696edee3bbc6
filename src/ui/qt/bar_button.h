#pragma once

#include "ui/controls.h"
#include "ui/qt/command_button.h"

namespace hvt {

// A button in the strip of the menus: flat, or, as a badge, small and coloured. A menu button stays pressed
// while its menu is open.
class BarButton final : public CommandButton {
 public:
  BarButton(ControlKind kind, QWidget* parent);

  void set_open(bool open);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QColor surface() const;

  const ControlKind kind_;
  bool open_ = false;
};

}  // namespace hvt
