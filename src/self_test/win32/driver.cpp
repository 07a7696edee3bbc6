#include "self_test/driver.h"

#include <windows.h>

#include <commctrl.h>
#include <richedit.h>

#include <algorithm>
#include <atomic>
#include <iterator>
#include <utility>

#include "self_test/win32/picture.h"
#include "ui/win32/main_window.h"
#include "ui/win32/native_controls.h"
#include "ui/win32/sizing.h"

namespace hvt::self_test {
namespace {

constexpr UINT kPatience = 10'000;  // milliseconds

struct KeyRow {
  Key key;
  WPARAM native;
};
constexpr KeyRow kKeys[] = {
    {Key::enter, VK_RETURN},  {Key::escape, VK_ESCAPE},  {Key::tab, VK_TAB}, {Key::backspace, VK_BACK},
    {Key::home, VK_HOME},     {Key::end, VK_END},        {Key::up, VK_UP},   {Key::down, VK_DOWN},
    {Key::page_up, VK_PRIOR}, {Key::page_down, VK_NEXT},
};

// 0 from a window that has just gone.
LRESULT ask(HWND window, UINT message, WPARAM first = 0, LPARAM second = 0) {
  DWORD_PTR answer = 0;
  SetLastError(ERROR_SUCCESS);
  const bool answered =
      SendMessageTimeoutW(window, message, first, second, SMTO_NORMAL, kPatience, &answer) != 0;
  if (!answered && GetLastError() == ERROR_TIMEOUT) throw Unreachable("The window does not react.");
  return static_cast<LRESULT>(answer);
}

std::wstring text_of(HWND window) {
  const auto length = static_cast<std::size_t>(ask(window, WM_GETTEXTLENGTH));
  std::wstring text(length + 1, L'\0');
  const LRESULT copied = ask(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()));
  text.resize(static_cast<std::size_t>(copied));
  return text;
}

std::wstring class_of(HWND window) {
  wchar_t name[64];
  const int length = GetClassNameW(window, name, static_cast<int>(std::size(name)));
  return {name, static_cast<std::size_t>(length)};
}

std::wstring chosen_entry(HWND choice) {
  const LRESULT index = ask(choice, CB_GETCURSEL);
  if (index == CB_ERR) return {};
  const LRESULT length = ask(choice, CB_GETLBTEXTLEN, static_cast<WPARAM>(index));
  std::wstring text(static_cast<std::size_t>(std::max<LRESULT>(0, length)) + 1, L'\0');
  ask(choice, CB_GETLBTEXT, static_cast<WPARAM>(index), reinterpret_cast<LPARAM>(text.data()));
  text.pop_back();
  return text;
}

// Captions are stored with "&" doubled.
std::wstring caption_of(HWND button) {
  std::wstring text = text_of(button);
  for (std::size_t at = text.find(L"&&"); at != std::wstring::npos; at = text.find(L"&&", at + 1))
    text.erase(at, 1);
  return text;
}

void click_at(HWND target, POINT at, UINT press_message) {
  const LPARAM where = MAKELPARAM(at.x, at.y);
  PostMessageW(target, WM_MOUSEMOVE, 0, where);
  PostMessageW(target, press_message, MK_LBUTTON, where);
  PostMessageW(target, WM_LBUTTONUP, 0, where);
}

POINT middle_of(HWND window) {
  RECT client{};
  GetClientRect(window, &client);
  return {client.right / 2, client.bottom / 2};
}

constexpr const wchar_t* kSystemDialog = L"#32770";
constexpr const wchar_t* kOwnDialog = L"HalvetricSerialTest.Dialog";
constexpr const wchar_t* kMenu = L"HalvetricSerialTest.Menu";

struct Children {
  std::vector<HWND> windows;
  static BOOL CALLBACK add(HWND window, LPARAM self) {
    reinterpret_cast<Children*>(self)->windows.push_back(window);
    return TRUE;
  }
};

std::vector<HWND> visible_children(HWND parent, const wchar_t* window_class) {
  Children all;
  EnumChildWindows(parent, Children::add, reinterpret_cast<LPARAM>(&all));
  std::erase_if(all.windows,
                [&](HWND window) { return !IsWindowVisible(window) || class_of(window) != window_class; });
  return all.windows;
}

std::wstring rich_text(HWND view) {
  GETTEXTLENGTHEX question{GTL_PRECISE | GTL_NUMCHARS, 1200};
  const LRESULT length = ask(view, EM_GETTEXTLENGTHEX, reinterpret_cast<WPARAM>(&question));
  std::wstring text(static_cast<std::size_t>(std::max<LRESULT>(0, length)) + 1, L'\0');
  GETTEXTEX wanted{};
  wanted.cb = static_cast<DWORD>(text.size() * sizeof(wchar_t));
  wanted.codepage = 1200;
  const LRESULT copied =
      ask(view, EM_GETTEXTEX, reinterpret_cast<WPARAM>(&wanted), reinterpret_cast<LPARAM>(text.data()));
  text.resize(static_cast<std::size_t>(std::max<LRESULT>(0, copied)));
  std::ranges::replace(text, L'\r', L'\n');
  return text;
}

// The words of a box: those of its labels, or of the text it shows at length.
std::wstring words_of(HWND box) {
  constexpr int kText = 100;
  if (class_of(box) == kOwnDialog) return rich_text(GetDlgItem(box, kText));
  std::wstring words;
  for (const HWND part : visible_children(box, WC_STATICW))
    words += text_of(part);
  return words;
}

// Its first or its second button, by the ids the system gives them.
HWND button_of(HWND box, bool accept) {
  const auto buttons = visible_children(box, WC_BUTTONW);
  const std::vector<int> wanted = accept ? std::vector{IDOK, IDYES} : std::vector{IDCANCEL, IDNO};
  for (const int id : wanted) {
    const auto found = std::ranges::find(buttons, id, GetDlgCtrlID);
    if (found != buttons.end()) return *found;
  }
  return buttons.empty() ? nullptr : buttons.front();
}

// The field for a name of the system's file dialogs, by the ids it has in their several forms: an edit field,
// that of a save dialog, or one inside a box with a list.
HWND file_name_field(HWND dialog) {
  constexpr int kEdit = 1152;
  constexpr int kSaveEdit = 1001;
  constexpr int kList = 1148;
  for (const HWND edit : visible_children(dialog, WC_EDITW)) {
    const int own = GetDlgCtrlID(edit);
    const HWND above = GetParent(edit);
    if (own == kEdit || own == kSaveEdit || own == kList || GetDlgCtrlID(above) == kList ||
        GetDlgCtrlID(GetParent(above)) == kList)
      return edit;
  }
  return nullptr;
}

// The driver on Windows: input is posted to the controls, as the system does it, and read by sent messages.
// SendInput would go to the desktop that the person sees.
class Win32Driver final : public Driver {
 public:
  void watch(MainWindow& window) override {
    interface_thread_ = GetCurrentThreadId();
    window_ = dynamic_cast<Win32MainWindow&>(window).handle();
    dpi_ = USER_DEFAULT_SCREEN_DPI;
  }
  void forget() override { window_ = nullptr; }

  void click(ControlId id) override { click_control(id, WM_LBUTTONDOWN); }
  void double_click(ControlId id) override {
    click_control(id, WM_LBUTTONDOWN);
    click_control(id, WM_LBUTTONDBLCLK);
  }
  void press(Key key) override {
    const HWND target = keyboard_owner();
    const WPARAM native = std::ranges::find(kKeys, key, &KeyRow::key)->native;
    const LPARAM scan = static_cast<LPARAM>(MapVirtualKeyW(static_cast<UINT>(native), MAPVK_VK_TO_VSC)) << 16;
    PostMessageW(target, WM_KEYDOWN, native, scan | 1);
    PostMessageW(target, WM_KEYUP, native, scan | static_cast<LPARAM>(0xC0000001));
  }
  void type(std::wstring_view text) override { type_into(keyboard_owner(), text); }
  void resize(Size client) override {
    const Size frame = frame_size(window());
    RECT rect{};
    GetWindowRect(window(), &rect);
    rect.right = rect.left + client.width + frame.width;
    rect.bottom = rect.top + client.height + frame.height;
    ask(window(), WM_SIZING, WMSZ_BOTTOMRIGHT, reinterpret_cast<LPARAM>(&rect));
    SetWindowPos(window(), nullptr, rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top,
                 SWP_NOZORDER | SWP_NOACTIVATE);
  }
  void set_scale(int percent) override {
    const Size before = client_size();
    const Size frame = frame_size(window());
    const int dpi = MulDiv(USER_DEFAULT_SCREEN_DPI, percent, 100);
    const int now = dpi_.exchange(dpi);
    RECT rect{};
    GetWindowRect(window(), &rect);
    rect.right = rect.left + MulDiv(before.width, dpi, now) + frame.width;
    rect.bottom = rect.top + MulDiv(before.height, dpi, now) + frame.height;
    ask(window(), WM_DPICHANGED, static_cast<WPARAM>(MAKELONG(dpi, dpi)), reinterpret_cast<LPARAM>(&rect));
  }
  void close() override { PostMessageW(window(), WM_SYSCOMMAND, SC_CLOSE, 0); }
  void answer_box(bool accept) override {
    const HWND box = front_box();
    const HWND button = box != nullptr ? button_of(box, accept) : nullptr;
    if (button != nullptr) click_at(button, middle_of(button), WM_LBUTTONDOWN);
  }
  void type_file_name(std::wstring_view name) override {
    const HWND field = name_field();
    click_at(field, middle_of(field), WM_LBUTTONDOWN);
    PostMessageW(field, EM_SETSEL, 0, -1);
    type_into(field, name);
  }
  void press_stale(ControlId id) override {
    const HWND target = control_window(id);
    const WORD code = control(id).kind == ControlKind::packet_edit ? WORD{0} : WORD{BN_CLICKED};
    if (control(id).kind == ControlKind::packet_edit)
      PostMessageW(target, WM_KEYDOWN, VK_RETURN, 1);
    else
      PostMessageW(window(), WM_COMMAND, static_cast<WPARAM>(MAKELONG(native_id(id), code)),
                   reinterpret_cast<LPARAM>(target));
  }

  Sight look(ControlId id) override {
    const HWND target = control_window(id);
    Sight sight;
    sight.visible = IsWindowVisible(target) != FALSE;
    sight.enabled = IsWindowEnabled(target) != FALSE;
    const ControlKind kind = control(id).kind;
    const bool has_mark = kind == ControlKind::check || kind == ControlKind::radio;
    sight.checked = has_mark && ask(target, BM_GETCHECK) == BST_CHECKED;
    if (kind == ControlKind::choice) {
      sight.text = chosen_entry(target);
    } else if (kind != ControlKind::receive_view) {
      sight.text = has_mark || kind == ControlKind::button ? caption_of(target) : text_of(target);
    }
    return sight;
  }
  Rect place(ControlId id) override {
    RECT rect{};
    GetWindowRect(control_window(id), &rect);
    MapWindowPoints(nullptr, window(), reinterpret_cast<POINT*>(&rect), 2);
    return {rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top};
  }
  Size client_size() override {
    RECT client{};
    GetClientRect(window(), &client);
    return {client.right, client.bottom};
  }
  std::wstring title() override { return text_of(window()); }
  bool has_keyboard(ControlId id) override { return gui_info().hwndFocus == control_window(id); }
  bool list_is_open(ControlId id) override { return ask(control_window(id), CB_GETDROPPEDSTATE) != FALSE; }
  bool menu_is_open() override {
    window();
    Children all;
    EnumThreadWindows(interface_thread_, Children::add, reinterpret_cast<LPARAM>(&all));
    return std::ranges::any_of(all.windows,
                               [](HWND other) { return IsWindowVisible(other) && class_of(other) == kMenu; });
  }
  std::wstring received() override { return rich_text(control_window(ControlId::receive_view)); }
  std::size_t first_visible_line() override {
    return static_cast<std::size_t>(ask(control_window(ControlId::receive_view), EM_GETFIRSTVISIBLELINE));
  }
  std::optional<Box> box() override {
    const HWND front = front_box();
    if (front == nullptr) return std::nullopt;
    const std::wstring title = text_of(front);
    if (const HWND field = file_name_field(front)) return Box{Box::Kind::file, title, text_of(field)};
    return Box{Box::Kind::notice, title, words_of(front)};
  }
  void take_picture(const std::filesystem::path& file) override {
    std::vector<HWND> windows{window()};
    for (const HWND front : boxes())
      windows.push_back(front);
    if (!save_picture(windows, file)) throw Unreachable("The picture could not be saved.");
  }

 private:
  // Whoever has a hand in the window must be on its desktop.
  HWND window() const {
    const HDESK desktop = GetThreadDesktop(interface_thread_);
    if (GetThreadDesktop(GetCurrentThreadId()) != desktop && !SetThreadDesktop(desktop))
      throw Unreachable("The window's desktop cannot be entered.");
    const HWND window = window_;
    if (window == nullptr) throw Unreachable("The window is not there.");
    return window;
  }
  HWND control_window(ControlId id) const {
    const HWND target = GetDlgItem(window(), native_id(id));
    if (target == nullptr) throw Unreachable("A control is missing.");
    return target;
  }
  void click_control(ControlId id, UINT press_message) {
    constexpr int kOnTheMark = 8;
    const HWND target = control_window(id);
    POINT at = middle_of(target);
    if (control(id).kind == ControlKind::check || control(id).kind == ControlKind::radio) at.x = kOnTheMark;
    if (control(id).kind == ControlKind::choice) at.y = std::min<LONG>(at.y, kOnTheMark);
    click_at(target, at, press_message);
  }
  GUITHREADINFO gui_info() const {
    GUITHREADINFO info{};
    info.cbSize = sizeof info;
    GetGUIThreadInfo(interface_thread_, &info);
    return info;
  }
  HWND keyboard_owner() const {
    const HWND owner = window();
    const HWND focus = gui_info().hwndFocus;
    return focus != nullptr ? focus : owner;
  }
  static void type_into(HWND target, std::wstring_view text) {
    for (const wchar_t unit : text)
      PostMessageW(target, WM_CHAR, unit, 1);
  }

  // Top-level windows of the interface thread in front of the main window, the rearmost first.
  std::vector<HWND> boxes() const {
    const HWND main = window();
    Children all;
    EnumThreadWindows(interface_thread_, Children::add, reinterpret_cast<LPARAM>(&all));
    std::erase_if(all.windows, [main](HWND other) {
      const std::wstring kind = class_of(other);
      return other == main || !IsWindowVisible(other) || (kind != kSystemDialog && kind != kOwnDialog);
    });
    std::ranges::reverse(all.windows);
    return all.windows;
  }
  // The one that can be used: a box disables those behind it.
  HWND front_box() const {
    const auto all = boxes();
    const auto usable = std::find_if(all.rbegin(), all.rend(), IsWindowEnabled);
    return usable == all.rend() ? nullptr : *usable;
  }
  HWND name_field() const {
    const HWND front = front_box();
    const HWND field = front != nullptr ? file_name_field(front) : nullptr;
    if (field == nullptr) throw Unreachable("The file dialog has no field for a name.");
    return field;
  }

  std::atomic<HWND> window_{nullptr};
  std::atomic<DWORD> interface_thread_{0};
  std::atomic<int> dpi_ = USER_DEFAULT_SCREEN_DPI;
};

}  // namespace

std::unique_ptr<Driver> create_driver() {
  return std::make_unique<Win32Driver>();
}

}  // namespace hvt::self_test
