#include "ui/qt/stay_on_top.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <QWidget>
#include <QWindow>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace hvt {
namespace {

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};

xcb_atom_t atom(xcb_connection_t* connection, std::string_view name) {
  const xcb_intern_atom_cookie_t asked =
      xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
  const std::unique_ptr<xcb_intern_atom_reply_t, Free> answer{
      xcb_intern_atom_reply(connection, asked, nullptr)};
  return answer ? answer->atom : xcb_atom_t{XCB_ATOM_NONE};
}

// What the extended window manager hints say a client does to a window that is mapped already.
void ask_window_manager(xcb_connection_t* connection, xcb_window_t window, bool on_top) {
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = window;
  message.type = atom(connection, "_NET_WM_STATE");
  message.data.data32[0] = on_top ? 1 : 0;  // add or remove
  message.data.data32[1] = atom(connection, "_NET_WM_STATE_ABOVE");
  message.data.data32[3] = 1;  // from an application
  const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
  constexpr std::uint32_t kMask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT;
  xcb_send_event(connection, 0, root, kMask, reinterpret_cast<const char*>(&message));
  xcb_flush(connection);
}

}  // namespace

void set_stays_on_top(QWidget& window, bool on_top) {
  const Qt::WindowFlags flags = window.windowFlags().setFlag(Qt::WindowStaysOnTopHint, on_top);
  if (flags == window.windowFlags()) return;
  // Not setWindowFlags(), which hides the window and makes another native one.
  window.overrideWindowFlags(flags);
  QWindow* const native = window.windowHandle();
  if (native == nullptr) return;
  native->setFlags(flags);
  const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  if (x11 != nullptr && native->isVisible())
    ask_window_manager(x11->connection(), static_cast<xcb_window_t>(window.winId()), on_top);
}

}  // namespace hvt
