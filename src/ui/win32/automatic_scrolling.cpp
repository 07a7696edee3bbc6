#include "ui/win32/automatic_scrolling.h"

#include "base/win32/wine.h"

namespace hvt {

void set_automatic_scrolling(const RichEdit& edit, AutomaticScrolling scrolling) {
  // Wine takes this option for the scroll bar itself: the bar goes and comes, and each time all text is laid
  // out again (2 s for 180,000 characters). There the option stays as it is; who changes text restores the
  // place anyway.
  static const bool option_is_scroll_bar = runs_on_wine();
  if (option_is_scroll_bar) return;
  if (scrolling == AutomaticScrolling::on) {
    edit.send(EM_SETOPTIONS, ECOOP_OR, ECO_AUTOVSCROLL);
  } else {
    edit.send(EM_SETOPTIONS, ECOOP_AND, static_cast<LPARAM>(~DWORD{ECO_AUTOVSCROLL}));
  }
}

}  // namespace hvt
