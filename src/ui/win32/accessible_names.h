#pragma once

#include <windows.h>

#include <oleacc.h>

#include <string_view>

#include "ui/win32/com.h"

namespace hvt {

// What screen readers call native controls whose own text does not say it.
//
// Threads   the interface thread, inside a COM apartment.
// Owns      nothing of the windows; forget() comes before a window goes.
class AccessibleNames {
 public:
  // Empty texts leave the system's own.
  void set(HWND control, std::wstring_view name, std::wstring_view description);
  void forget(HWND control);

 private:
  IAccPropServices* services();

  ComPointer<IAccPropServices> services_;
};

}  // namespace hvt
