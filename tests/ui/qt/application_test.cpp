// Risk: a failure inside an event ends the program without a word, or the program goes on half broken.

#include "ui/qt/application.h"

#include <gtest/gtest.h>

#include <QMessageBox>
#include <QTimer>
#include <QWidget>
#include <stdexcept>
#include <string>

namespace hvt {
namespace {

Application& application() {
  return static_cast<Application&>(*qApp);
}

// Fails on every event of its own.
class FailingWidget final : public QWidget {
 public:
  int failures = 0;

  void fail_soon() { QCoreApplication::postEvent(this, new QEvent(QEvent::User)); }

 protected:
  bool event(QEvent* event) override {
    if (event->type() != QEvent::User) return QWidget::event(event);
    throw std::runtime_error("failure " + std::to_string(++failures));
  }
};

std::string failure_of_run() {
  try {
    application().run();
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "none";
}

TEST(Application, AFailureInAnEventEndsTheLoopAndNoEventFollows) {
  FailingWidget widget;
  widget.fail_soon();
  widget.fail_soon();
  EXPECT_EQ(failure_of_run(), "failure 1");
  EXPECT_EQ(widget.failures, 1);

  widget.fail_soon();
  QCoreApplication::sendPostedEvents(&widget);  // before the loop begins
  EXPECT_EQ(failure_of_run(), "failure 2");

  QTimer::singleShot(0, qApp, [] { QCoreApplication::exit(7); });
  EXPECT_EQ(application().run(), 7) << "the next loop is as new";
}

TEST(Application, AFatalErrorIsShownInTheProgramsName) {
  std::string shown = "nothing";
  QTimer::singleShot(0, qApp, [&] {
    auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    ASSERT_NE(box, nullptr);
    shown = box->windowTitle().toStdString() + ": " + box->text().toStdString();
    box->close();
  });
  show_fatal_error(std::runtime_error("No more memory."));
  EXPECT_EQ(shown, "HalvetricSerialTest: No more memory.");
}

TEST(Application, ItsWindowsShowTheProgramsIcon) {
  const QWidget widget;
  EXPECT_EQ(widget.windowIcon().pixmap(256).size(), QSize(256, 256));
}

}  // namespace
}  // namespace hvt
