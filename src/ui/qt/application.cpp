#include "ui/qt/application.h"

#include <QMessageBox>
#include <QPalette>
#include <cstdlib>
#include <utility>

#include "ui/qt/accessible_controls.h"
#include "ui/qt/look.h"
#include "ui/qt/qt_text.h"
#include "ui/texts.h"

namespace hvt {

namespace {

// Before the program's own colours take the place of the desktop's.
bool desktop_is_dark() {
  const QPalette palette = QApplication::palette();
  return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

}  // namespace

Application::Application(int& argument_count, char** arguments)
    : QApplication(argument_count, arguments), desktop_(desktop_is_dark()) {
  look::prepare_application(*this);
  install_accessible_controls();
  desktop_.ask_session();
}

// An event may fail before the loop begins: showing a window delivers some.
int Application::run() {
  const int code = failure_ ? EXIT_FAILURE : exec();
  if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
  return code;
}

// The toolkit calls us and must not see our exceptions.
bool Application::notify(QObject* receiver, QEvent* event) {
  if (failure_) return false;
  try {
    return QApplication::notify(receiver, event);
  } catch (...) {
    failure_ = std::current_exception();
    exit(EXIT_FAILURE);
    return false;
  }
}

void show_fatal_error(const std::exception& error) {
  QMessageBox::critical(nullptr, to_qstring(kProductName), QString::fromUtf8(error.what()));
}

}  // namespace hvt
