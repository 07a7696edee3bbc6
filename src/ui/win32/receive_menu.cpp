#include "ui/win32/receive_menu.h"

#include <string>

namespace hvt {

ReceiveCommand pick_receive_command(HWND owner, POINT where, Language language, OfferedCommands offered) {
  const HMENU menu = CreatePopupMenu();
  const auto add = [&](ReceiveCommand command, TextId caption, bool enabled) {
    AppendMenuW(menu, enabled ? MF_STRING : MF_STRING | MF_GRAYED, static_cast<UINT_PTR>(command),
                std::wstring{text(caption, language)}.c_str());
  };
  add(ReceiveCommand::copy, TextId::copy, offered.copy);
  add(ReceiveCommand::select_all, TextId::select_all, offered.select_all);
  const BOOL picked =
      TrackPopupMenu(menu, TPM_RETURNCMD | TPM_RIGHTBUTTON, where.x, where.y, 0, owner, nullptr);
  DestroyMenu(menu);
  return static_cast<ReceiveCommand>(picked);
}

}  // namespace hvt
