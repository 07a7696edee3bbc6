// Risk: something that only the mouse reaches, a menu that takes the keyboard away for good, an access key
// that types a letter or acts on what cannot be seen.

#include <QLineEdit>
#include <QMenu>

#include "tests/ui/qt/face_rig.h"
#include "ui/qt/bar_button.h"

namespace hvt {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Keyboard : public Face {
 protected:
  Keyboard() { activate(); }
  ~Keyboard() override {
    while (QWidget* const popup = QApplication::activePopupWidget())
      popup->close();
  }

  void press(Qt::Key key, Qt::KeyboardModifiers with = Qt::NoModifier) {
    QWidget* const popup = QApplication::activePopupWidget();
    QWidget* const focus = window_.focusWidget();
    QTest::keyClick(popup != nullptr ? popup : focus != nullptr ? focus : &window_, key, with);
  }

  // Entries of the open menu; "*" marks the present choice, "<" where the keyboard is.
  static std::vector<std::string> open_menu() {
    std::vector<std::string> entries;
    const auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    if (menu == nullptr) return entries;
    for (const QAction* action : menu->actions()) {
      std::string text = action->text().toStdString();
      if (action->isChecked()) text.append("*");
      if (action == menu->activeAction()) text.append(" <");
      entries.push_back(text);
    }
    return entries;
  }

  std::string focus() const {
    const QWidget* const widget = window_.focusWidget();
    return widget == nullptr ? "" : widget->objectName().toStdString();
  }
};

TEST_F(Keyboard, begins_where_a_person_begins) {
  EXPECT_EQ(focus(), "port");

  Recorder recorder;
  QtMainWindow without_ports{recorder};
  std::vector<ControlChange> changes;
  Facts facts;
  const ControlStates states = rules(facts);
  for (const ControlRow& row : kControls)
    changes.push_back({row.id, states[index_of(row.id)]});
  without_ports.apply(changes);
  without_ports.show();
  EXPECT_EQ(without_ports.focusWidget()->objectName(), QStringLiteral("refresh"));
}

TEST_F(Keyboard, access_keys_do_what_a_click_does_or_go_there) {
  struct Case {
    Qt::Key key;
    std::vector<std::string> events;
    const char* focus;
  };
  const Case cases[]{
      {Qt::Key_R, {"command refresh"}, "packet_1"},
      {Qt::Key_C, {"command connect"}, "packet_1"},
      {Qt::Key_M, {"command transmit"}, "packet_1"},
      {Qt::Key_A, {"command always_on_top"}, "packet_1"},
      {Qt::Key_U, {"command update_badge"}, "packet_1"},
      {Qt::Key_F, {}, "packet_1"},  // nothing to follow: disabled
      {Qt::Key_S, {}, "packet_1"},  // not connected: disabled
      {Qt::Key_B, {}, "baud"},
      {Qt::Key_W, {}, "receive_view"},
      {Qt::Key_0, {}, "packet_10"},
  };
  for (const Case& one : cases) {
    find(ControlId::packet_1)->setFocus();
    press(one.key, Qt::AltModifier);
    EXPECT_EQ(recorder_.take(), one.events) << one.focus;
    EXPECT_EQ(focus(), one.focus);
  }
  EXPECT_TRUE(window_.field_text(ControlId::packet_1).empty()) << "no letter is typed";

  Facts folded = usual_facts();
  folded.transmit_expanded = folded.newer_release = false;
  show_facts(folded);
  find(ControlId::port)->setFocus();
  press(Qt::Key_3, Qt::AltModifier);
  press(Qt::Key_U, Qt::AltModifier);
  EXPECT_EQ(focus(), "port") << "a folded panel cannot be reached";
  EXPECT_THAT(recorder_.take(), IsEmpty());
}

TEST_F(Keyboard, enter_presses_a_button_and_escape_nothing) {
  find(ControlId::refresh)->setFocus();
  press(Qt::Key_Return);
  press(Qt::Key_Space);
  EXPECT_THAT(recorder_.take(), ElementsAre("command refresh", "command refresh"));
  find(ControlId::packet_2)->setFocus();
  press(Qt::Key_Escape);
  find(ControlId::connect)->setFocus();
  press(Qt::Key_Escape);
  EXPECT_THAT(recorder_.take(), IsEmpty());
  EXPECT_TRUE(window_.isVisible());
}

TEST_F(Keyboard, walks_the_menus_and_gets_the_keyboard_back) {
  find(ControlId::packet_1)->setFocus();
  press(Qt::Key_F10);
  EXPECT_EQ(focus(), "menu_language");
  EXPECT_THAT(open_menu(), IsEmpty());
  press(Qt::Key_Down);
  EXPECT_THAT(open_menu(), ElementsAre("English* <", "한국어"));
  press(Qt::Key_Right);
  EXPECT_THAT(open_menu(), ElementsAre("Light <", "Dark", "System*"));
  press(Qt::Key_Right);
  press(Qt::Key_Right);
  press(Qt::Key_Left);
  EXPECT_THAT(open_menu(), ElementsAre("Usage <", "Check for updates", "About", "Homepage"));
  press(Qt::Key_Escape);
  EXPECT_THAT(open_menu(), IsEmpty());
  EXPECT_EQ(focus(), "packet_1");
  EXPECT_THAT(recorder_.take(), IsEmpty());

  for (const Qt::Key opener : {Qt::Key_Return, Qt::Key_Space}) {
    press(Qt::Key_F10);
    press(Qt::Key_Right);
    press(opener);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_THAT(recorder_.take(), ElementsAre("menu 3"));
    EXPECT_EQ(focus(), "packet_1") << "after a choice too";
  }

  press(Qt::Key_F10);
  press(Qt::Key_Escape);
  EXPECT_EQ(focus(), "packet_1") << "without a menu opened";
  press(Qt::Key_H, Qt::AltModifier);
  EXPECT_THAT(open_menu(), ElementsAre("Usage <", "Check for updates", "About", "Homepage"));
  press(Qt::Key_Escape);
  EXPECT_EQ(focus(), "packet_1");
}

TEST_F(Keyboard, the_mouse_opens_switches_and_closes_menus) {
  find(ControlId::packet_1)->setFocus();
  const auto centre = [this](ControlId id) { return find(id)->mapToGlobal(find(id)->rect().center()); };
  const auto over_menu = [&](ControlId id, auto act) {
    QWidget* const popup = QApplication::activePopupWidget();
    ASSERT_NE(popup, nullptr);
    act(popup, popup->mapFromGlobal(centre(id)));
  };
  const auto move = [](QWidget* popup, QPoint at) { QTest::mouseMove(popup, at); };
  const auto click = [](QWidget* popup, QPoint at) { QTest::mouseClick(popup, Qt::LeftButton, {}, at); };

  QTest::mousePress(find(ControlId::menu_help), Qt::LeftButton);
  EXPECT_THAT(open_menu(), ElementsAre("Usage", "Check for updates", "About", "Homepage"));
  over_menu(ControlId::menu_theme, move);
  EXPECT_THAT(open_menu(), ElementsAre("Light", "Dark", "System*"));
  over_menu(ControlId::menu_theme, click);
  EXPECT_THAT(open_menu(), IsEmpty()) << "a second press closes";

  QTest::mousePress(find(ControlId::menu_language), Qt::LeftButton);
  auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
  ASSERT_NE(menu, nullptr);
  QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(menu->actions().at(1)).center());
  EXPECT_THAT(recorder_.take(), ElementsAre("menu 1"));
  EXPECT_EQ(focus(), "packet_1");
}

TEST_F(Keyboard, a_double_click_sends_twice) {
  Facts facts = usual_facts();
  facts.link = LinkState::connected;
  show_facts(facts);
  QWidget* const send = find(ControlId::send_2);
  QTest::mouseClick(send, Qt::LeftButton);
  QTest::mouseDClick(send, Qt::LeftButton);
  QTest::mouseRelease(send, Qt::LeftButton);
  EXPECT_THAT(recorder_.take(), ElementsAre("command send_2", "command send_2"));
}

}  // namespace
}  // namespace hvt
