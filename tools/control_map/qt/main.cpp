// Prints "name x y width height" for every visible control of the main window, relative to its client area.
//   hvt-control-map DATA_FOLDER [expanded]
// The window is the program's own with the settings of the data folder, in which it leaves its own;
// "expanded" opens or folds the Transmit panel. Scripts that drive the real program with the mouse read this:
// widgets are not windows of their own.

#include <QWidget>
#include <cstdio>
#include <string_view>

#include "app/app.h"
#include "ui/qt/application.h"

int main(int argc, char** argv) {
  hvt::Application application(argc, argv);
  if (argc < 2) return 2;
  hvt::App app(argv[1], {.port_source = [] { return std::vector<hvt::PortDescription>(); }});
  const auto window = hvt::create_main_window(app);
  app.attach(*window);
  if (argc > 2 && std::string_view(argv[2]) == "expanded") app.command(hvt::ControlId::transmit);
  QApplication::processEvents();
  for (const hvt::ControlRow& row : hvt::kControls) {
    const auto name = QString::fromUtf8(row.name.data(), static_cast<qsizetype>(row.name.size()));
    for (const QWidget* top : QApplication::topLevelWidgets()) {
      const auto* const widget = top->findChild<QWidget*>(name);
      if (!widget || !widget->isVisible()) continue;
      const QPoint at = widget->mapTo(top, QPoint(0, 0));
      std::printf("%s %d %d %d %d\n", name.toUtf8().constData(), at.x(), at.y(), widget->width(),
                  widget->height());
    }
  }
  app.closing();
  app.detach();
}
