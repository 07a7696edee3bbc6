#include <exception>
#include <memory>

#include "app/app.h"
#include "app/folders.h"
#include "ui/main_window.h"
#include "ui/qt/application.h"

namespace {

int run(hvt::Application& application) {
  hvt::App app(hvt::data_folder());
  const std::unique_ptr<hvt::MainWindow> window = hvt::create_main_window(app);
  app.attach(*window);
  const int code = application.run();
  app.closing();
  app.detach();
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  hvt::Application application(argc, argv);
  try {
    return run(application);
  } catch (const std::exception& error) {
    hvt::show_fatal_error(error);
    return 1;
  }
}
