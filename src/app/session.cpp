#include "app/session.h"

#include <utility>

namespace hvt {

Session::Session(Face& face, std::filesystem::path data_folder, AppServices services, const StartupMark& mark)
    : face_(face),
      app_(std::move(data_folder), std::move(services)),
      window_(face.create_window(app_, mark)) {
  try {
    app_.attach(*window_, mark);
  } catch (...) {
    app_.detach();
    throw;
  }
}

Session::~Session() {
  app_.closing();
  app_.detach();
}

int Session::serve() {
  const int code = face_.serve(*window_);
  app_.closing();
  return code;
}

}  // namespace hvt
