#include "ui/win32/edit_menu.h"

#include <windowsx.h>

#include <utility>
#include <vector>

namespace hvt {
namespace {

struct Row {
  EditCommand command;
  TextId caption;
  bool only_editable;
};
constexpr Row kRows[]{
    {EditCommand::cut, TextId::cut, true},
    {EditCommand::copy, TextId::copy, false},
    {EditCommand::paste, TextId::paste, true},
    {EditCommand::select_all, TextId::select_all, false},
};

bool offered(EditCommand command, const EditMenu& menu) {
  switch (command) {
    case EditCommand::cut:
    case EditCommand::copy: return menu.has_selection;
    case EditCommand::paste: return IsClipboardFormatAvailable(CF_UNICODETEXT) != FALSE;
    case EditCommand::select_all: break;
  }
  return menu.has_text;
}

void perform(HWND edit, EditCommand command) {
  switch (command) {
    case EditCommand::cut: SendMessageW(edit, WM_CUT, 0, 0); break;
    case EditCommand::copy: SendMessageW(edit, WM_COPY, 0, 0); break;
    case EditCommand::paste: SendMessageW(edit, WM_PASTE, 0, 0); break;
    case EditCommand::select_all: SendMessageW(edit, EM_SETSEL, 0, -1); break;
  }
}

}  // namespace

void open_edit_menu(PopupMenu& popup, HWND field, POINT where, Language language, const EditMenu& menu,
                    HFONT font, std::function<void(EditCommand)> chosen) {
  PopupOffer offer;
  std::vector<EditCommand> commands;
  for (const Row& row : kRows) {
    if (row.only_editable && !menu.editable) continue;
    offer.entries.push_back(
        {std::wstring{text(row.caption, language)}, offered(row.command, menu), false, false});
    commands.push_back(row.command);
  }
  offer.anchor = {where.x, where.y, where.x + 1, where.y};
  offer.font = font;
  offer.chosen = [commands, chosen = std::move(chosen)](std::size_t index) { chosen(commands[index]); };
  popup.open(GetAncestor(field, GA_ROOT), std::move(offer), PopupMenu::Highlight::none);
}

void open_field_menu(PopupMenu& popup, HWND edit, LPARAM where, Language language, HFONT font) {
  SetFocus(edit);
  DWORD begin = 0;
  DWORD end = 0;
  SendMessageW(edit, EM_GETSEL, reinterpret_cast<WPARAM>(&begin), reinterpret_cast<LPARAM>(&end));
  RECT client{};
  GetClientRect(edit, &client);
  const EditMenu menu{true, begin != end, GetWindowTextLengthW(edit) > 0};
  open_edit_menu(popup, edit, context_place(where, edit, {0, client.bottom}), language, menu, font,
                 [edit](EditCommand command) { perform(edit, command); });
}

POINT context_place(LPARAM where, HWND window, POINT keyboard_place) {
  const POINT point{GET_X_LPARAM(where), GET_Y_LPARAM(where)};
  if (point.x != -1 || point.y != -1) return point;
  ClientToScreen(window, &keyboard_place);
  return keyboard_place;
}

}  // namespace hvt
