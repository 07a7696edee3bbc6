#include <QApplication>
#include <memory>

#include "app/app.h"
#include "ui/main_window.h"
#include "ui/qt/look.h"

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  hvt::look::prepare_application(application);
  hvt::App app({});
  const std::unique_ptr<hvt::MainWindow> window = hvt::create_main_window(app);
  app.attach(*window);
  const int code = QApplication::exec();
  app.closing();
  app.detach();
  return code;
}
