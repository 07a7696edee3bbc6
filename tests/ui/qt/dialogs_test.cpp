// Risk: a dialog that shows stale text, cannot be left by keyboard or outlives the window, and the toolkit's
// own words in the wrong language.

#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollBar>
#include <QTextEdit>

#include "tests/ui/qt/face_rig.h"
#include "ui/qt/text_dialog.h"

namespace hvt {
namespace {

using testing::ElementsAre;

using Kind = DialogLine::Kind;

class Dialogs : public Face {
 protected:
  static TextDialog* open_dialog() {
    for (QWidget* const top : QApplication::topLevelWidgets()) {
      auto* const dialog = dynamic_cast<TextDialog*>(top);
      if (dialog != nullptr && dialog->isVisible()) return dialog;
    }
    return nullptr;
  }
  static QString text_of(const TextDialog& dialog) {
    return dialog.findChild<QTextEdit*>()->toPlainText().simplified();
  }
};

TEST_F(Dialogs, show_what_they_are_given_until_they_are_closed) {
  EXPECT_FALSE(window_.dialog_open(DialogId::about));
  window_.show_dialog(DialogId::about,
                      {L"About", {{Kind::heading, L"Name"}, {Kind::text, L"is this"}}, L"", L"Close"});
  TextDialog* const dialog = open_dialog();
  ASSERT_NE(dialog, nullptr);
  EXPECT_TRUE(window_.dialog_open(DialogId::about));
  EXPECT_FALSE(window_.dialog_open(DialogId::update));
  EXPECT_FALSE(dialog->isModal()) << "the window goes on working";
  EXPECT_EQ(text_of(*dialog), QStringLiteral("Name is this"));

  window_.show_dialog(DialogId::about, {L"정보", {{Kind::code, L"a\nb"}}, L"링크", L"닫기"});
  EXPECT_EQ(open_dialog(), dialog);
  EXPECT_EQ(dialog->windowTitle(), QStringLiteral("정보"));
  EXPECT_EQ(text_of(*dialog), QStringLiteral("a b"));
  for (QPushButton* const button : dialog->findChildren<QPushButton*>()) {
    EXPECT_TRUE(button->isVisible());
    if (button->text() == QStringLiteral("링크")) button->click();
  }
  EXPECT_THAT(recorder_.take(), ElementsAre("link 1"));

  QTest::keyClick(dialog, Qt::Key_Escape);
  EXPECT_FALSE(window_.dialog_open(DialogId::about));
  window_.show_dialog(DialogId::about, {L"정보", {{Kind::code, L"a\nb"}}, L"링크", L"닫기"});
  EXPECT_TRUE(window_.dialog_open(DialogId::about));
  window_.close();
  EXPECT_FALSE(window_.dialog_open(DialogId::about));
}

TEST_F(Dialogs, a_short_text_needs_no_scroll_bar) {
  const std::vector<DialogLine> kinds[]{
      {{Kind::heading, L"Name"}, {Kind::text, L"is this"}, {Kind::text, L"and that"}, {Kind::text, L"too"}},
      {{Kind::heading, L"이름"},
       {Kind::text, L"버전"},
       {Kind::text, L"터미널입니다."},
       {Kind::text, L"폴더"}},
      {{Kind::text, L"one"}, {Kind::code, L"02 30\n31 46"}, {Kind::text, L"두 번째"}, {Kind::text, L"셋"}},
  };
  for (const bool link : {false, true}) {
    for (const std::vector<DialogLine>& lines : kinds) {
      SCOPED_TRACE(QString::fromStdWString(lines.front().text).toStdString());
      window_.show_dialog(DialogId::about, {L"About", lines, link ? L"Link" : L"", L"Close"});
      TextDialog* const dialog = open_dialog();
      ASSERT_NE(dialog, nullptr);
      QCoreApplication::processEvents();
      EXPECT_GT(dialog->findChild<QTextEdit*>()->document()->size().height(), 80);
      EXPECT_EQ(dialog->findChild<QTextEdit*>()->verticalScrollBar()->maximum(), 0);
      dialog->close();
    }
  }
}

TEST_F(Dialogs, keep_their_place_and_lines_through_a_switch_of_theme) {
  std::vector<DialogLine> lines;
  for (int i = 0; i < 80; ++i)
    lines.push_back({i % 3 == 0 ? Kind::code : Kind::text, L"line " + std::to_wstring(i)});
  window_.show_dialog(DialogId::usage, {L"Usage", lines, L"", L"Close"});
  TextDialog* const dialog = open_dialog();
  ASSERT_NE(dialog, nullptr);
  QCoreApplication::processEvents();
  auto* const bar = dialog->findChild<QTextEdit*>()->verticalScrollBar();
  EXPECT_EQ(bar->value(), 0) << "it begins at its beginning";
  bar->setValue(bar->maximum() / 2);
  const int value = bar->value();
  const QString text = text_of(*dialog);
  ASSERT_GT(value, 0);
  window_.set_theme(build_theme_palette(true, window_.system_colors()));
  window_.set_theme(build_theme_palette(false, window_.system_colors()));
  EXPECT_EQ(bar->value(), value);
  EXPECT_EQ(text_of(*dialog), text);
}

TEST_F(Dialogs, the_toolkit_speaks_the_language_of_the_program) {
  const auto words = [this] {
    std::vector<std::string> seen;
    const std::unique_ptr<QMenu> menu(find<QLineEdit>(ControlId::packet_1)->createStandardContextMenu());
    for (const QAction* action : menu->actions()) {
      if (!action->isSeparator())
        seen.push_back(action->text().section(QLatin1Char('\t'), 0, 0).toStdString());
    }
    const QMessageBox box(QMessageBox::Information, {}, {}, QMessageBox::Ok);
    seen.push_back(box.button(QMessageBox::Ok)->text().remove(QLatin1Char('&')).toStdString());
    return seen;
  };
  const std::vector<std::string> english = words();
  EXPECT_EQ(english.back(), "OK");
  Facts facts = usual_facts();
  facts.language = Language::korean;
  show_facts(facts);
  for (const std::string& word : words())
    EXPECT_TRUE(std::any_of(word.begin(), word.end(), [](char c) { return c < 0; })) << word;
  show_facts(usual_facts());
  EXPECT_EQ(words(), english);
}

}  // namespace
}  // namespace hvt
