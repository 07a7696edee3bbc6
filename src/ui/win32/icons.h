#pragma once

#include <windows.h>

#include <memory>
#include <type_traits>

namespace hvt {

// The program's icon, from the executable's resources, in the two sizes that a window shows at one DPI value.
// The window uses them without owning them: the old set lives until the window has the new one.
class WindowIcons {
 public:
  WindowIcons() = default;
  explicit WindowIcons(int dpi);

  // Without an icon in the resources the window keeps the system's.
  void show_on(HWND window) const;

 private:
  struct DestroyIt {
    using pointer = HICON;
    void operator()(HICON icon) const { DestroyIcon(icon); }
  };
  using UniqueIcon = std::unique_ptr<std::remove_pointer_t<HICON>, DestroyIt>;

  static UniqueIcon load(int width_metric, int height_metric, int dpi);

  UniqueIcon large_;
  UniqueIcon small_;
};

}  // namespace hvt
