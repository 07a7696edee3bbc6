#pragma once

namespace hvt {

// Device pixels of the window's client area.
struct Size {
  int width = 0;
  int height = 0;
  friend bool operator==(const Size&, const Size&) = default;
};

struct Rect {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  bool empty() const { return width <= 0 || height <= 0; }
  int right() const { return x + width; }
  int bottom() const { return y + height; }
  friend bool operator==(const Rect&, const Rect&) = default;
};

}  // namespace hvt
