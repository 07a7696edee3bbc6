#include <QTemporaryFile>
#include <optional>
#include <string>
#include <vector>

#include "app/run_application.h"
#include "base/text.h"
#include "self_test/self_test.h"
#include "ui/main_window.h"
#include "ui/qt/application.h"
#include "update/fetch.h"

namespace {

constexpr char kScreen[] =
    R"({"screens": [{"name": "self-test", "x": 0, "y": 0, "width": 1600, "height": 1200,)"
    R"( "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})";

class QtFace final : public hvt::Face {
 public:
  // The toolkit removes from the arguments what is meant for it.
  QtFace(int& argument_count, char** arguments) : argument_count_(argument_count), arguments_(arguments) {}

  void prepare(hvt::RunMode mode) override {
    // The display without a screen has room for 800 by 800 only, unless a file tells it otherwise.
    QTemporaryFile screen;
    if (mode == hvt::RunMode::self_test && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM") && screen.open()) {
      screen.write(kScreen);
      screen.close();
      qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + screen.fileName().toUtf8());
    }
    application_.emplace(argument_count_, arguments_);
  }
  std::unique_ptr<hvt::MainWindow> create_window(hvt::WindowEvents& events,
                                                 const hvt::StartupMark& mark) override {
    return hvt::create_main_window(events, mark);
  }
  int serve(hvt::MainWindow&) override { return application_->run(); }
  void show_fatal_error(const std::exception& error) override {
    if (!application_) application_.emplace(argument_count_, arguments_);
    hvt::show_fatal_error(error);
  }

 private:
  int& argument_count_;
  char** const arguments_;
  std::optional<hvt::Application> application_;
};

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::wstring> arguments;
  for (int i = 1; i < argc; ++i)
    arguments.push_back(hvt::utf8_to_utf16_lossy(argv[i]));
  QtFace face(argc, argv);
  return hvt::run_program(arguments, face, hvt::run_self_test, hvt::fetch_published_manifest);
}
