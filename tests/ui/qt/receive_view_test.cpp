// The risks of the receive view: text that moves under a reader's eyes, an end that is not in sight although
// it is followed, colours that are lost, and a copy that differs from what is shown.

#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QImage>
#include <QMenu>
#include <QPaintEvent>
#include <QScrollBar>
#include <QTest>
#include <QTimer>
#include <functional>
#include <string>
#include <vector>

#include "ui/qt/look.h"
#include "ui/qt/receive_view_widget.h"

namespace hvt {
namespace {

DisplayBatch batch_of(std::wstring_view text, ColorRole role = ColorRole::normal) {
  DisplayBatch batch;
  batch.add(text, role);
  return batch;
}

std::wstring line(int number) {
  return L"line " + std::to_wstring(number) + L" of many\r\n";
}

class View : public testing::Test {
 protected:
  View() {
    view_.setFont(look::fixed_font(QApplication::font()));
    view_.resize(500, 300);
    view_.show();
  }

  void append_lines(int count, bool follow) {
    view_.begin_update();
    for (int i = 0; i < count; ++i)
      view_.append(batch_of(line(next_line_++)));
    view_.end_update({.follow = follow});
  }

  bool at_tail() { return view_.verticalScrollBar()->value() == view_.verticalScrollBar()->maximum(); }

  QImage seen() { return view_.viewport()->grab().toImage(); }

  QPoint cell(int column, int row) const {
    const QFontMetrics font = view_.fontMetrics();
    return {4 + font.horizontalAdvance(QString(column, QLatin1Char('M'))) + 1,
            4 + row * (font.height() + 2) + 5};
  }

  bool shows(const QImage& image, Rgb color, int row) const {
    const int top = cell(0, row).y() - 4;
    for (int y = top; y < top + view_.fontMetrics().height(); ++y) {
      for (int x = 0; x < image.width(); ++x) {
        if (image.pixel(x, y) == qRgb(color.red, color.green, color.blue)) return true;
      }
    }
    return false;
  }

  ReceiveViewWidget view_{nullptr};
  int next_line_ = 0;
};

TEST_F(View, shows_the_end_when_it_follows_and_stays_when_it_does_not) {
  append_lines(500, true);
  EXPECT_TRUE(at_tail());
  EXPECT_EQ(view_.line_count(), 501U);
  append_lines(1, false);
  EXPECT_FALSE(at_tail());
  view_.go_to_tail();
  EXPECT_TRUE(at_tail());
  append_lines(1, false);
  append_lines(1, true);
  EXPECT_TRUE(at_tail());
  view_.resize(500, 200);
  EXPECT_TRUE(at_tail()) << "it follows, however high it is";

  view_.clear();
  EXPECT_TRUE(at_tail());
  EXPECT_EQ(view_.line_count(), 0U);
}

TEST_F(View, scrolls_and_paints_only_when_it_is_told_to) {
  append_lines(500, true);
  const QImage before = seen();
  const auto update = [&](ViewUpdate how) {
    view_.begin_update();
    view_.append(batch_of(line(next_line_++)));
    view_.end_update(how);
  };
  const int painted = view_.verticalScrollBar()->maximum();
  update({.follow = true, .scroll = false, .repaint = false});
  EXPECT_EQ(view_.verticalScrollBar()->maximum(), painted);
  update({.follow = true, .scroll = false, .repaint = true});
  EXPECT_FALSE(at_tail());
  update({.follow = true, .scroll = true, .repaint = false});
  EXPECT_FALSE(at_tail());
  update({.follow = true, .scroll = true, .repaint = true});
  EXPECT_TRUE(at_tail());
  EXPECT_NE(seen(), before);
}

// The rows above go away too, as when the history rolls over and the view is told to stay.
TEST_F(View, keeps_what_is_seen_and_selected_while_thousands_of_batches_come_and_the_head_goes) {
  append_lines(2000, true);
  view_.verticalScrollBar()->setValue(1900);
  // Selected backwards: the next key takes the upper end along.
  QTest::mouseClick(view_.viewport(), Qt::LeftButton, {}, cell(6, 5));
  QTest::mouseClick(view_.viewport(), Qt::LeftButton, Qt::ShiftModifier, cell(2, 3));
  const QImage before = seen();
  const QString selected = view_.selected_text();
  EXPECT_EQ(selected.count(QLatin1Char('\n')), 2);
  const int value = view_.verticalScrollBar()->value();
  const int page_in_range = view_.verticalScrollBar()->maximum() / view_.verticalScrollBar()->pageStep();
  for (int i = 0; i < 6000; ++i) {
    view_.begin_update();
    view_.append(batch_of(line(next_line_++)));
    if (i % 2 == 0) view_.trim_head(10);
    view_.end_update({.follow = false, .scroll = i % 3 == 0, .repaint = i % 4 == 0});
  }
  EXPECT_EQ(seen(), before);
  EXPECT_EQ(view_.selected_text(), selected);
  EXPECT_LT(view_.verticalScrollBar()->value(), value) << "rows above went away";
  EXPECT_GT(view_.verticalScrollBar()->maximum() / view_.verticalScrollBar()->pageStep(), page_in_range)
      << "the thumb shrinks";
  EXPECT_FALSE(at_tail());
  QTest::keyClick(&view_, Qt::Key_Up, Qt::ShiftModifier);
  EXPECT_EQ(view_.selected_text().count(QLatin1Char('\n')), 3);
  EXPECT_TRUE(view_.selected_text().endsWith(selected));
}

// What is painted where, while the rest of the screen stays as it is.
class PaintWatch : public QObject {
 public:
  explicit PaintWatch(QWidget* watched) { watched->installEventFilter(this); }
  QRect painted;

 private:
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == QEvent::Paint) painted |= static_cast<QPaintEvent*>(event)->rect();
    return false;
  }
};

TEST_F(View, paints_only_what_has_changed_and_everything_when_it_scrolls) {
  append_lines(5, true);
  QApplication::processEvents();
  PaintWatch watch(view_.viewport());
  append_lines(1, true);
  EXPECT_GE(watch.painted.top(), cell(0, 5).y() - 5);
  EXPECT_EQ(watch.painted.bottom(), view_.viewport()->rect().bottom());
  append_lines(500, true);
  QApplication::processEvents();
  watch.painted = {};
  append_lines(1, true);
  EXPECT_EQ(watch.painted, view_.viewport()->rect()) << "it scrolled";
  watch.painted = {};
  append_lines(50, false);
  append_lines(50, false);
  EXPECT_FALSE(watch.painted.contains(cell(0, 0))) << "the text came below";
}

TEST_F(View, keeps_what_is_seen_in_place_when_rows_above_it_are_removed) {
  append_lines(300, true);
  view_.verticalScrollBar()->setValue(200);
  const QImage before = seen();
  view_.begin_update();
  view_.remove(10 * 15, 20 * 16);  // the rows of two-digit lines are one longer
  view_.end_update({.follow = false});
  EXPECT_EQ(view_.verticalScrollBar()->value(), 180);
  EXPECT_EQ(seen(), before);
}

TEST_F(View, keeps_a_selection_on_its_text_when_text_before_it_is_removed) {
  view_.append(batch_of(L"first\r\nsent\r\nsecond word\r\n"));
  QTest::mouseDClick(view_.viewport(), Qt::LeftButton, {}, cell(8, 2));
  EXPECT_EQ(view_.selected_text(), QStringLiteral("word"));
  view_.remove(6, 5);
  EXPECT_EQ(view_.selected_text(), QStringLiteral("word"));
  view_.select_all();
  EXPECT_EQ(view_.selected_text(), QStringLiteral("first\nsecond word\n"));
}

TEST_F(View, tells_when_a_person_goes_elsewhere_and_only_then) {
  int navigated = 0;
  view_.on_navigated([&] { ++navigated; });
  QWidget* const port = view_.viewport();
  QScrollBar* const bar = view_.verticalScrollBar();
  const auto key = [&](Qt::Key which, Qt::KeyboardModifiers with = {}) {
    return [this, which, with] { QTest::keyClick(&view_, which, with); };
  };
  const auto wheel = [&](int turn) {
    return [port, turn] {
      QWheelEvent event({9, 9}, port->mapToGlobal(QPointF(9, 9)), {}, {0, turn}, Qt::NoButton, {},
                        Qt::NoScrollPhase, false);
      QApplication::sendEvent(port, &event);
    };
  };
  const auto click_last_line = [&] {
    const int rows = (port->height() - 8) / (view_.fontMetrics().height() + 2);
    QTest::mouseClick(port, Qt::LeftButton, {}, cell(0, rows - 1));
  };
  struct Case {
    const char* name;
    std::function<void()> act;
    bool elsewhere;
  };
  const std::vector<Case> cases{
      {"more text", [&] { append_lines(50, true); }, false},
      {"more text that is not followed", [&] { append_lines(50, false); }, false},
      {"another size", [&] { view_.resize(400, 310); }, false},
      {"the head goes", [&] { view_.trim_head(40); }, false},
      {"a click into the last line", click_last_line, false},
      {"a click into an older line", [&] { QTest::mouseClick(port, Qt::LeftButton, {}, cell(3, 2)); }, true},
      {"a word selected", [&] { QTest::mouseDClick(port, Qt::LeftButton, {}, cell(1, 2)); }, true},
      {"everything selected", key(Qt::Key_A, Qt::ControlModifier), true},
      {"the caret up", key(Qt::Key_Up), true},
      {"the caret back over a line break", key(Qt::Key_Left), true},
      {"the caret down at the end", key(Qt::Key_Down), false},
      {"a page up", key(Qt::Key_PageUp), true},
      {"to the start", key(Qt::Key_Home, Qt::ControlModifier), true},
      {"to the end, being there", key(Qt::Key_End, Qt::ControlModifier), false},
      {"a line up without the caret", key(Qt::Key_Up, Qt::ControlModifier), true},
      {"the wheel up", wheel(120), true},
      {"the wheel down at the end", wheel(-120), false},
      {"a press on the bar",
       [&] {
         QTest::mouseClick(bar, Qt::LeftButton, {}, {5, bar->height() / 2});
       },
       true},
      {"a press on its lower arrow",
       [&] {
         QTest::mouseClick(bar, Qt::LeftButton, {}, {5, bar->height() - 4});
       },
       true},
      {"a copy", key(Qt::Key_C, Qt::ControlModifier), false},
  };
  append_lines(300, true);
  for (const Case& one : cases) {
    view_.go_to_tail();
    navigated = 0;
    one.act();
    EXPECT_EQ(navigated > 0, one.elsewhere) << one.name;
  }
  view_.clear();
  append_lines(2, true);
  navigated = 0;
  wheel(120)();
  EXPECT_EQ(navigated, 0) << "there is nothing to scroll";
}

TEST_F(View, moves_its_caret_like_a_text_field) {
  view_.append(batch_of(L"one two\r\nthree four five\r\n\r\nlast line here\r\n"));
  struct Case {
    const char* name;
    std::vector<std::pair<Qt::Key, Qt::KeyboardModifiers>> keys;
    const char* selected;  // from where the keys ended to the end of the row
  };
  const std::vector<Case> cases{
      {"start", {{Qt::Key_Home, Qt::ControlModifier}}, "one two"},
      {"down and right",
       {{Qt::Key_Home, Qt::ControlModifier}, {Qt::Key_Down, {}}, {Qt::Key_Right, {}}},
       "hree four five"},
      {"words", {{Qt::Key_Home, Qt::ControlModifier}, {Qt::Key_Right, Qt::ControlModifier}}, "two"},
      {"a word back over a line break",
       {{Qt::Key_Home, Qt::ControlModifier}, {Qt::Key_Down, {}}, {Qt::Key_Left, Qt::ControlModifier}},
       ""},
      {"the column is kept over a short row",
       {{Qt::Key_Home, Qt::ControlModifier},
        {Qt::Key_Down, {}},
        {Qt::Key_Right, Qt::ControlModifier},
        {Qt::Key_Down, {}},
        {Qt::Key_Down, {}}},
       "ine here"},
      {"end and home",
       {{Qt::Key_Home, Qt::ControlModifier}, {Qt::Key_End, {}}, {Qt::Key_Home, {}}},
       "one two"},
      {"page down",
       {{Qt::Key_Home, Qt::ControlModifier}, {Qt::Key_PageDown, {}}, {Qt::Key_Up, {}}},
       "last line here"},
  };
  for (const Case& one : cases) {
    for (const auto& [which, with] : one.keys)
      QTest::keyClick(&view_, which, with);
    EXPECT_TRUE(view_.selected_text().isEmpty()) << one.name;
    QTest::keyClick(&view_, Qt::Key_End, Qt::ShiftModifier);
    EXPECT_EQ(view_.selected_text().toStdString(), one.selected) << one.name;
  }
}

TEST_F(View, keeps_the_text_at_its_top_when_its_width_changes) {
  for (int i = 0; i < 400; ++i)
    view_.append(batch_of(std::wstring(150, static_cast<wchar_t>(L'a' + i % 26)) + L"\r\n"));
  view_.verticalScrollBar()->setValue(600);
  const auto top_text = [&] {
    QTest::mouseDClick(view_.viewport(), Qt::LeftButton, {}, cell(2, 0));
    QTest::mouseClick(view_.viewport(), Qt::LeftButton, {}, cell(2, 0));
    return view_.selected_text();
  };
  const QString top = top_text();
  EXPECT_EQ(top.size(), 150);
  view_.resize(320, 300);
  EXPECT_EQ(top_text(), top);
}

TEST_F(View, paints_each_role_in_its_colour_and_in_another_appearance_without_new_text) {
  const QColor disabled = QApplication::palette().color(QPalette::Disabled, QPalette::Text);
  const Rgb gray{static_cast<std::uint8_t>(disabled.red()), static_cast<std::uint8_t>(disabled.green()),
                 static_cast<std::uint8_t>(disabled.blue())};
  for (std::size_t role = 0; role < kColorRoleCount; ++role) {
    view_.append(batch_of(L"HHHHHHHH\r\n", static_cast<ColorRole>(role)));
  }
  for (const Appearance appearance : {Appearance::light, Appearance::dark}) {
    view_.set_appearance(appearance);
    const QImage image = seen();
    for (std::size_t role = 0; role < kColorRoleCount; ++role) {
      EXPECT_TRUE(
          shows(image, role_color(static_cast<ColorRole>(role), appearance, gray), static_cast<int>(role)))
          << "role " << role;
    }
  }
}

TEST_F(View, copies_what_is_selected_with_its_line_breaks) {
  view_.append(batch_of(L"first <0xAB>\r\n", ColorRole::rx_payload));
  view_.append(batch_of(L"second\r\n", ColorRole::tx_payload));
  view_.append(batch_of(std::wstring(300, L'w') + L" \xD55C\xD83D\xDE00", ColorRole::timeout));
  const QString last = QString(300, QLatin1Char('w')) + QString::fromUtf8(" 한😀");
  QWidget* const port = view_.viewport();
  const auto key = [&](Qt::Key which, Qt::KeyboardModifiers with) { QTest::keyClick(&view_, which, with); };

  struct Case {
    const char* name;
    std::function<void()> select;
    QString copied;
  };
  const std::vector<Case> cases{
      {"everything", [&] { key(Qt::Key_A, Qt::ControlModifier); },
       QStringLiteral("first <0xAB>\nsecond\n") + last},
      {"a drag over a line break",
       [&] {
         QTest::mousePress(port, Qt::LeftButton, {}, cell(6, 0));
         QMouseEvent move(QEvent::MouseMove, cell(3, 1), port->mapToGlobal(cell(3, 1)), Qt::NoButton,
                          Qt::LeftButton, Qt::NoModifier);
         QApplication::sendEvent(port, &move);
         QTest::mouseRelease(port, Qt::LeftButton, {}, cell(3, 1));
       },
       QStringLiteral("<0xAB>\nsec")},
      {"a word", [&] { QTest::mouseDClick(port, Qt::LeftButton, {}, cell(8, 0)); }, QStringLiteral("0xAB")},
      {"a whole line by the third click",
       [&] {
         QTest::mouseDClick(port, Qt::LeftButton, {}, cell(2, 1));
         QTest::mouseClick(port, Qt::LeftButton, {}, cell(2, 1));
       },
       QStringLiteral("second")},
      {"by keys from a click",
       [&] {
         QTest::mouseClick(port, Qt::LeftButton, {}, cell(0, 1));
         key(Qt::Key_End, Qt::ShiftModifier);
         key(Qt::Key_Left, Qt::ShiftModifier);
         key(Qt::Key_Up, Qt::ShiftModifier);
       },
       QStringLiteral(" <0xAB>\n")},
      {"to the end, a pair counting as one",
       [&] {
         key(Qt::Key_A, Qt::ControlModifier);
         key(Qt::Key_Left, Qt::ShiftModifier);
       },
       QStringLiteral("first <0xAB>\nsecond\n") + last.chopped(2)},
  };
  for (const Case& one : cases) {
    one.select();
    QApplication::clipboard()->clear();
    key(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QApplication::clipboard()->text().toStdString(), one.copied.toStdString()) << one.name;
  }
}

TEST_F(View, offers_copy_and_select_all_in_its_menu_in_either_language) {
  // Opens the menu, notes its entries ("-" marks a disabled one) and picks the one of that number, if any.
  const auto menu = [&](qsizetype pick) {
    QStringList entries;
    QTimer::singleShot(0, &view_, [&] {
      auto* const open = qobject_cast<QMenu*>(QApplication::activePopupWidget());
      ASSERT_NE(open, nullptr);
      for (const QAction* action : open->actions())
        entries << (action->isEnabled() ? QString() : QStringLiteral("-")) + action->text();
      if (pick >= 0) open->actions().at(pick)->trigger();
      open->close();
    });
    QContextMenuEvent event(QContextMenuEvent::Keyboard, {5, 5}, view_.mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(view_.viewport(), &event);
    return entries.join(QLatin1Char(' ')).toStdString();
  };
  QApplication::clipboard()->clear();
  EXPECT_EQ(menu(-1), "-Copy -Select all");
  view_.append(batch_of(L"text"));
  EXPECT_EQ(menu(1), "-Copy Select all");
  view_.set_language(Language::korean);
  EXPECT_EQ(menu(0), "복사 모두 선택");
  EXPECT_EQ(QApplication::clipboard()->text().toStdString(), "text");
}

TEST_F(View, keeps_the_selected_text_selected_while_text_comes_and_goes) {
  append_lines(100, true);
  view_.verticalScrollBar()->setValue(50);
  QTest::mouseDClick(view_.viewport(), Qt::LeftButton, {}, cell(5, 3));
  EXPECT_EQ(view_.selected_text(), QStringLiteral("53"));
  append_lines(5000, false);
  view_.trim_head(100);
  EXPECT_EQ(view_.selected_text(), QStringLiteral("53"));
  view_.trim_head(1'000'000);
  append_lines(5000, false);
  EXPECT_TRUE(view_.selected_text().isEmpty()) << "it went with the head";
}

}  // namespace
}  // namespace hvt
