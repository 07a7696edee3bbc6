#include <gtest/gtest.h>

#include "ui/qt/application.h"

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  testing::InitGoogleTest(&argc, argv);
  hvt::Application application(argc, argv);
  return RUN_ALL_TESTS();
}
