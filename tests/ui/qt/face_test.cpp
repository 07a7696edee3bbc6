// The risks of a face: a control of the table that is missing or of the wrong kind, an event that the program
// caused itself, a user's action that is lost or told twice, a message or timer that outlives the window.

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QWheelEvent>
#include <chrono>
#include <thread>

#include "tests/ui/qt/face_rig.h"
#include "transmit/packet_text.h"
#include "ui/qt/qt_text.h"

namespace hvt {
namespace {

using namespace std::chrono_literals;

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(Face, shows_captions_states_and_measures_them) {
  window_.apply(std::vector<ControlChange>{{ControlId::clear, {.enabled = false, .caption = L"Wide & wider"}},
                                           {ControlId::baud_label, {.visible = false, .caption = L"Rate"}}});
  EXPECT_FALSE(find(ControlId::clear)->isEnabled());
  EXPECT_FALSE(find(ControlId::baud_label)->isVisible());
  const Metrics metrics = window_.measure();
  const QFontMetrics font = find(ControlId::clear)->fontMetrics();
  EXPECT_EQ(metrics.text_width[index_of(ControlId::clear)],
            font.horizontalAdvance(QStringLiteral("Wide & wider")));
  EXPECT_EQ(metrics.text_width[index_of(ControlId::parity)], font.horizontalAdvance(QStringLiteral("three")));
}

TEST_F(Face, raises_no_event_for_what_the_program_changes) {
  for (ControlState& state : states_) {
    state.checked = !state.checked;
    state.enabled = !state.enabled;
  }
  apply_all();
  for (ControlState& state : states_)
    state.checked = state.enabled = true;
  apply_all();
  for (const ControlRow& row : kControls) {
    if (row.kind == ControlKind::choice) {
      window_.set_choices(row.id, std::vector<std::wstring>{L"a", L"b"}, 1, L"");
      window_.set_choices(row.id, {}, std::nullopt, L"nothing");
      EXPECT_FALSE(window_.selected_choice(row.id).has_value());
    }
    if (row.kind == ControlKind::packet_edit) window_.set_field_text(row.id, L"41 42", 2);
  }
  window_.set_status(L"said", StatusTone::error);
  window_.place(layout(window_.measure(), {820, 810}, {.transmit_expanded = true}));
  QCoreApplication::processEvents();
  EXPECT_THAT(recorder_.take(), IsEmpty());
}

TEST_F(Face, raises_one_event_for_each_thing_a_person_does) {
  struct Case {
    const char* event;
    std::function<void()> act;
  };
  activate();
  const auto click = [this](ControlId id) {
    return [this, id] { QTest::mouseClick(find(id), Qt::LeftButton, {}, {10, 10}); };
  };
  const auto key = [this](ControlId id, Qt::Key which) {
    return [this, id, which] {
      find(id)->setFocus();
      QTest::keyClick(find(id), which);
    };
  };
  const std::vector<Case> cases{
      {"command refresh", click(ControlId::refresh)},
      {"command hide_crlf", click(ControlId::hide_crlf)},
      {"command receive_hex", click(ControlId::receive_hex)},
      {"command send_hex", key(ControlId::send_hex, Qt::Key_Space)},
      {"command transmit", key(ControlId::transmit, Qt::Key_Space)},
      {"command receive_hex", key(ControlId::receive_ascii, Qt::Key_Right)},
      {"chosen baud", key(ControlId::baud, Qt::Key_Down)},
      {"chosen port", key(ControlId::port, Qt::Key_End)},
      {"edited packet_3", key(ControlId::packet_3, Qt::Key_A)},
      {"command packet_10", key(ControlId::packet_10, Qt::Key_Return)},
  };
  for (const Case& one : cases) {
    one.act();
    EXPECT_THAT(recorder_.take(), ElementsAre(one.event)) << one.event;
  }
}

// A wheel that passes over a list on its way through the window must not change a line setting.
TEST_F(Face, turns_a_list_by_the_wheel_only_where_the_keyboard_is) {
  activate();
  auto* const baud = find<QComboBox>(ControlId::baud);
  for (const ControlId focused : {ControlId::packet_1, ControlId::baud}) {
    find(focused)->setFocus();
    const QPoint at = baud->rect().center();
    QWheelEvent turn(at, baud->mapToGlobal(at), {}, {0, -120}, Qt::NoButton, Qt::NoModifier,
                     Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(baud, &turn);
    EXPECT_EQ(baud->currentIndex(), focused == ControlId::baud ? 1 : 0) << control(focused).name;
  }
}

TEST_F(Face, checks_only_what_the_controller_agreed_to) {
  auto* const ascii = find<QRadioButton>(ControlId::receive_ascii);
  auto* const hex = find<QRadioButton>(ControlId::receive_hex);
  auto* const check = find<QCheckBox>(ControlId::line_break);
  QTest::mouseClick(hex, Qt::LeftButton, {}, {10, 10});
  QTest::mouseClick(check, Qt::LeftButton, {}, {10, 10});
  EXPECT_TRUE(ascii->isChecked());
  EXPECT_FALSE(hex->isChecked());
  EXPECT_FALSE(check->isChecked());

  window_.apply(
      std::vector<ControlChange>{{ControlId::receive_ascii, {.checked = false, .caption = L"ASCII"}},
                                 {ControlId::receive_hex, {.checked = true, .caption = L"Hex"}}});
  EXPECT_FALSE(ascii->isChecked());
  EXPECT_TRUE(hex->isChecked());
  EXPECT_TRUE(find<QRadioButton>(ControlId::send_ascii)->isChecked()) << "the other group";
}

TEST_F(Face, keeps_every_utf16_unit_of_a_packet_and_its_caret) {
  const std::wstring text = L"a\xD55C\xD83D\xDE00z";
  window_.set_field_text(ControlId::packet_2, text, 4);
  EXPECT_EQ(window_.field_text(ControlId::packet_2), text);
  EXPECT_EQ(window_.field_caret(ControlId::packet_2), 4U);
}

TEST_F(Face, grows_to_the_minimum_its_width_asks_for) {
  recorder_.least = {640, 700};
  window_.set_client_size({610, 400});
  EXPECT_EQ(recorder_.last_size, (Size{640, 700}));
}

TEST_F(Face, delivers_posted_messages_on_the_interface_thread_until_it_closes) {
  std::vector<unsigned> seen;
  const auto here = std::this_thread::get_id();
  recorder_.on_message = [&](unsigned message, std::uintptr_t) {
    EXPECT_EQ(std::this_thread::get_id(), here);
    seen.push_back(message);
  };
  std::thread([&] { EXPECT_TRUE(window_.post(kDisplayMessage)); }).join();
  EXPECT_THAT(seen, IsEmpty()) << "not on the worker's thread";
  QCoreApplication::processEvents();
  EXPECT_THAT(seen, ElementsAre(kDisplayMessage));

  EXPECT_TRUE(window_.post(kTaskMessage));
  window_.close();
  QCloseEvent again;
  QApplication::sendEvent(&window_, &again);
  EXPECT_FALSE(window_.post(kTaskMessage));
  QCoreApplication::processEvents();
  EXPECT_THAT(seen, ElementsAre(kDisplayMessage));
  EXPECT_THAT(recorder_.take(), ElementsAre("closing"));
}

TEST_F(Face, serves_timers_while_a_message_keeps_posting_itself) {
  constexpr int kTooMany = 5'000'000;
  int rounds = 0;
  bool timer_came = false;
  recorder_.on_message = [&](unsigned message, std::uintptr_t id) {
    if (message == kTimerMessage) {
      EXPECT_EQ(id, 1U);
      timer_came = true;
    } else if (!timer_came && ++rounds < kTooMany) {
      window_.post(message);
    }
  };
  window_.start_timer(1, 1h);
  window_.start_timer(1, 5ms);
  window_.post(kDisplayMessage);
  while (!timer_came && rounds < kTooMany)
    QCoreApplication::processEvents();
  EXPECT_TRUE(timer_came);
}

}  // namespace
}  // namespace hvt
