#pragma once

#include <QApplication>
#include <exception>

#include "ui/qt/desktop_appearance.h"

namespace hvt {

// The toolkit's application object, with the look of this program.
//
// Promises  an exception out of an event ends the event loop, which throws it again; no event comes in
//           between.
// Threads   the interface thread.
// Ends      after every window.
class Application final : public QApplication {
 public:
  // What the arguments refer to must outlive the object.
  Application(int& argument_count, char** arguments);

  // Serves events until the last window closes and returns the exit code. Throws what an event threw.
  int run();

  bool notify(QObject* receiver, QEvent* event) override;

  DesktopAppearance& desktop() { return desktop_; }

 private:
  DesktopAppearance desktop_;
  std::exception_ptr failure_;  // what ended the event loop
};

// The message box that tells why the program ends.
void show_fatal_error(const std::exception& error);

}  // namespace hvt
