#pragma once

#include <windows.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ui/win32/look.h"

namespace hvt {

struct PopupEntry {
  std::wstring caption;
  bool enabled = true;
  bool exclusive = false;  // one of several of which one is checked
  bool checked = false;
};

// What a menu offers and where.
struct PopupOffer {
  std::vector<PopupEntry> entries;
  RECT anchor{};          // screen pixels: the menu opens below it, or above where there is no room
  HWND button = nullptr;  // a press on it closes the menu; none for a context menu
  HFONT font = nullptr;
  std::function<void(std::size_t)> chosen;  // the menu is closed by then
  std::function<void(int)> sideways;        // Left (-1) and Right (1); none for a menu on its own
};

// A drop-down or context menu in the window's colours. The keyboard stays where it is: the message loop hands
// its keys to the menu while one is open. Each entry is a native button, so that it can be read and pressed
// from outside.
//
// Promises  one menu at a time; opening another closes the first. No exception of a callback may leave it.
// Threads   the interface thread.
// Owns      the menu's window, as long as it is open.
// Ends      with a choice, Escape, a press elsewhere, close(), or the owner's window.
class PopupMenu {
 public:
  enum class Highlight { none, first };

  explicit PopupMenu(const Look& look) : look_(look) {}
  ~PopupMenu() { close(); }
  PopupMenu(const PopupMenu&) = delete;
  PopupMenu& operator=(const PopupMenu&) = delete;

  // Told whenever a menu opens (true) or closes.
  void on_change(std::function<void(bool)> changed) { changed_ = std::move(changed); }
  void open(HWND owner, PopupOffer offer, Highlight highlight);
  void close();
  HWND window() const { return window_; }
  // The button that opened it; null while closed.
  HWND button() const { return window_ == nullptr ? nullptr : offer_.button; }

  // A message that the loop took from the queue; true when it goes no further.
  bool takes(const MSG& message);

 private:
  static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM first, LPARAM second);
  static LRESULT CALLBACK entry_procedure(HWND entry, UINT message, WPARAM first, LPARAM second,
                                          UINT_PTR index, DWORD_PTR menu);
  void create_entries();
  void place();
  bool take_key(WPARAM key);
  void take_character(wchar_t character);
  void move_highlight(int step, std::size_t from);
  void highlight(std::size_t index);
  void choose(std::size_t index);

  const Look& look_;
  std::function<void(bool)> changed_;
  PopupOffer offer_;
  HWND window_ = nullptr;
  std::vector<HWND> entries_;
  std::optional<std::size_t> lit_;
  POINT pointer_{};  // where it was when the menu opened: only a move highlights
};

}  // namespace hvt
