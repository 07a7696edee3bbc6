#pragma once

#include <QDialog>
#include <functional>

#include "ui/dialogs.h"

class QDialogButtonBox;
class QPushButton;
class QTextEdit;

namespace hvt {

// A window beside the main one that tells something at length: headings, paragraphs, lines of code, to be
// scrolled, selected and copied.
//
// Promises  shows the content set last, in the colours of the moment.
// Threads   the interface thread.
// Owns      its widgets.
// Ends      with its parent; closing it hides it, to be shown again.
class TextDialog final : public QDialog {
 public:
  TextDialog(QWidget* parent, std::function<void()> link_pressed);

  void set_content(const DialogContent& content);

 protected:
  void changeEvent(QEvent* event) override;

 private:
  void write_text();
  void take_colors();
  void fit_height();

  QTextEdit* const text_;
  QPushButton* const link_;
  QPushButton* const close_;
  DialogContent content_;
};

}  // namespace hvt
