#pragma once

#include <stdlib.h>

#include "ui/qt/application.h"

namespace hvt::bench {

// The one of this process, for all benchmarks with a window; without a display on the toolkit's offscreen
// platform. Main thread.
inline Application& application() {
  if (::getenv("DISPLAY") == nullptr) ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
  static int count = 1;
  static char name[] = "hvt_bench";
  static char* arguments[] = {name, nullptr};
  // Never deleted: at exit() the toolkit's own objects are gone before it would be.
  static Application& application = *new Application(count, arguments);
  return application;
}

}  // namespace hvt::bench
