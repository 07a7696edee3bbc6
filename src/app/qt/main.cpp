#include <exception>
#include <memory>

#include "app/app.h"
#include "app/folders.h"
#include "ui/main_window.h"
#include "ui/qt/application.h"

namespace {

// The window goes before the app, also after a failure, and the app must not use it any more then.
struct DetachAtEnd {
  ~DetachAtEnd() { app.detach(); }
  hvt::App& app;
};

int run(hvt::Application& application) {
  hvt::App app(hvt::data_folder());
  const std::unique_ptr<hvt::MainWindow> window = hvt::create_main_window(app);
  const DetachAtEnd detach_at_end{app};
  app.attach(*window);
  const int code = application.run();
  app.closing();
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
