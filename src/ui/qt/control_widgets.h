#pragma once

#include <QComboBox>
#include <QLabel>

#include "ui/controls.h"
#include "ui/main_window.h"

namespace hvt {

// A drop-down list that the wheel changes only while it has the keyboard: a scroll across the window must not
// pick another baud rate.
class ChoiceBox final : public QComboBox {
 public:
  explicit ChoiceBox(QWidget* parent);
  int widest_entry() const;   // pixels of text, the placeholder included
  void showPopup() override;  // wide enough for its entries, however narrow the box is

 protected:
  void wheelEvent(QWheelEvent* event) override;
};

// One line of text; what does not fit ends in an ellipsis and is shown whole as a tool tip.
class StatusLine final : public QLabel {
 public:
  explicit StatusLine(QWidget* parent);
  void show_text(const QString& text, StatusTone tone);

 protected:
  void paintEvent(QPaintEvent* event) override;
  bool event(QEvent* event) override;

 private:
  StatusTone tone_ = StatusTone::plain;
};

// Creates the widget of a row; `parent` owns it.
QWidget* create_control_widget(const ControlRow& row, QWidget* parent);

}  // namespace hvt
