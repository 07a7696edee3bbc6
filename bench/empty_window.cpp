// What start_bench.cpp measures against: nothing but a window.
#include <QApplication>
#include <QWidget>
#include <fstream>

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QWidget window;
  window.resize(800, 800);
  window.show();
  const std::string folder = QApplication::applicationDirPath().toStdString();
  std::ofstream(folder + "/startup-profile.txt") << "window ready\n";
  return QApplication::exec();
}
