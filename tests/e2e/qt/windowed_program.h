#pragma once

#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <filesystem>
#include <string>
#include <vector>

#include "app/app.h"
#include "ui/qt/main_window.h"

namespace hvt::test {

// One run of the program with its real window, which the test clicks as a person does.
//
// Promises  opens real serial ports; the list of ports is the test's.
// Threads   the interface thread.
// Ends      as a person ends it: the window closes, then it is gone.
struct WindowedProgram {
  WindowedProgram(const std::filesystem::path& folder, PortSource ports, RecordingConfig recording = {})
      : app(folder, {.port_source = std::move(ports), .recording = std::move(recording)}), window(app) {
    app.attach(window);
  }
  ~WindowedProgram() {
    app.closing();
    app.detach();
  }

  template <typename Widget = QWidget>
  Widget& find(ControlId id) {
    return *window.findChild<Widget*>(QString::fromStdString(std::string(control(id).name)));
  }
  // Where a person would click: on the indicator of a check box, in the middle of a button.
  void click(ControlId id) {
    QWidget& widget = find(id);
    const bool has_indicator =
        control(id).kind == ControlKind::check || control(id).kind == ControlKind::radio;
    const QPoint at(has_indicator ? 8 : widget.width() / 2, widget.height() / 2);
    QTest::mouseClick(&widget, Qt::LeftButton, {}, at);
  }
  void type(ControlId id, const QString& text) { QTest::keyClicks(&find(id), text); }
  QString caption(ControlId id) { return find<QPushButton>(id).text(); }
  QString status() { return find<QLabel>(ControlId::status).text(); }

  App app;
  QtMainWindow window;
};

}  // namespace hvt::test
