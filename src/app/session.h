#pragma once

#include <filesystem>
#include <memory>

#include "app/app.h"
#include "app/face.h"

namespace hvt {

// The program in its window: one controller, one window, shown when the constructor returns.
//
// Promises  the window goes before the controller, also after a failure, and is not used any more then.
// Threads   the interface thread.
// Owns      controller and window.
// Ends      with the destructor, which stops a recording and disconnects; serve() has done that already.
class Session {
 public:
  // Throws what the window's creation throws. The face outlives the session.
  Session(Face& face, std::filesystem::path data_folder, AppServices services,
          const StartupMark& mark = ignore_mark);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Serves events until the window closes, ends what the controller runs, and returns the exit code.
  int serve();

  App& app() { return app_; }
  MainWindow& window() { return *window_; }

 private:
  Face& face_;
  App app_;
  std::unique_ptr<MainWindow> window_;
};

}  // namespace hvt
