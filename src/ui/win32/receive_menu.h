#pragma once

#include <windows.h>

#include "ui/texts.h"

namespace hvt {

enum class ReceiveCommand : UINT { none, copy, select_all };

struct OfferedCommands {
  bool copy = false;
  bool select_all = false;
};

// Opens the receive view's menu at a place of the screen and answers when it is closed.
ReceiveCommand pick_receive_command(HWND owner, POINT where, Language language, OfferedCommands offered);

}  // namespace hvt
