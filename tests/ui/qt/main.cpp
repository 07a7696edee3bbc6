#include <gtest/gtest.h>

#include <QApplication>

#include "ui/qt/look.h"

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  testing::InitGoogleTest(&argc, argv);
  QApplication application(argc, argv);
  hvt::look::prepare_application(application);
  return RUN_ALL_TESTS();
}
