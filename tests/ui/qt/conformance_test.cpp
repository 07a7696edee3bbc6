// Risk: a control that the table or the rules name is missing, of another kind, in another place of the tab
// order, or shows something else than the rules say.

#include <QAccessible>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <map>

#include "tests/ui/qt/face_rig.h"
#include "transmit/packet_text.h"
#include "ui/qt/bar_button.h"
#include "ui/qt/qt_text.h"

namespace hvt {
namespace {

template <typename Widget>
bool is_a(const QWidget* widget) {
  return dynamic_cast<const Widget*>(widget) != nullptr;
}

bool is_edit(const QWidget* widget, std::size_t most) {
  const auto* const edit = dynamic_cast<const QLineEdit*>(widget);
  return edit != nullptr && edit->maxLength() == static_cast<int>(most);
}

bool is_of_kind(const QWidget* widget, ControlKind kind) {
  switch (kind) {
    case ControlKind::label:
    case ControlKind::title:
    case ControlKind::counter:
    case ControlKind::status: return is_a<QLabel>(widget);
    case ControlKind::button: return is_a<QPushButton>(widget) && !is_a<BarButton>(widget);
    case ControlKind::menu_button:
    case ControlKind::bar_button:
    case ControlKind::badge: return is_a<BarButton>(widget);
    case ControlKind::check: return is_a<QCheckBox>(widget);
    case ControlKind::radio: return is_a<QRadioButton>(widget);
    case ControlKind::choice:
      return is_a<QComboBox>(widget) && !static_cast<const QComboBox*>(widget)->isEditable();
    case ControlKind::packet_edit: return is_edit(widget, kMaxPacketCharacters);
    case ControlKind::number_edit: return is_edit(widget, kMaxNumberCharacters);
    case ControlKind::name_edit: return is_edit(widget, kMaxNameCharacters);
    case ControlKind::receive_view: return is_a<ReceiveViewWidget>(widget);
  }
  return false;
}

// What is written on it, or in it while it is empty.
QString shown_caption(const QWidget* widget) {
  if (const auto* const label = dynamic_cast<const QLabel*>(widget)) return label->text();
  if (const auto* const edit = dynamic_cast<const QLineEdit*>(widget)) return edit->placeholderText();
  if (const auto* const button = dynamic_cast<const QAbstractButton*>(widget)) return button->text();
  return {};
}

std::map<std::string, Facts> cases(const Facts& usual) {
  std::map<std::string, Facts> all;
  all["ready"] = usual;
  all["nothing yet"] = {};
  Facts& connected = all["connected, Korean, dark"] = usual;
  connected.language = Language::korean;
  connected.theme = ThemeChoice::dark;
  connected.link = LinkState::connected;
  connected.receive_hex = connected.always_on_top = connected.paused = true;
  Facts& busy = all["repeats and records"] = connected;
  busy.repeat = RepeatState::running;
  busy.record = RecordState::running;
  busy.high_speed = true;
  Facts& folded = all["folded, connecting"] = usual;
  folded.link = LinkState::connecting;
  folded.transmit_expanded = folded.wait_for_rx = false;
  return all;
}

TEST_F(Face, shows_every_control_of_the_table_as_the_rules_say) {
  for (const auto& [name, facts] : cases(usual_facts())) {
    show_facts(facts);
    for (const ControlRow& row : kControls) {
      SCOPED_TRACE(name + ": " + std::string(row.name));
      const ControlState& state = states_[index_of(row.id)];
      QWidget* const widget = find(row.id);
      ASSERT_TRUE(is_of_kind(widget, row.kind));
      EXPECT_EQ(widget->isEnabled(), state.enabled);
      EXPECT_EQ(widget->isVisible(), state.visible);
      EXPECT_EQ(widget->toolTip(), to_qstring(state.tip));
      const bool marked = has_mark(row.kind) && static_cast<QAbstractButton*>(widget)->isChecked();
      EXPECT_EQ(marked, state.checked);
      if (row.kind == ControlKind::counter || row.kind == ControlKind::status) continue;
      EXPECT_EQ(shown_caption(widget), to_qstring(state.caption));
    }
  }
}

// A screen reader says the name, then the tip.
TEST_F(Face, calls_every_control_by_its_name) {
  show_facts(cases(usual_facts()).at("connected, Korean, dark"));
  for (const ControlRow& row : kControls) {
    const ControlState& state = states_[index_of(row.id)];
    const std::wstring_view name = state.name.empty() ? state.caption : state.name;
    if (!state.visible || row.kind == ControlKind::counter || row.kind == ControlKind::status) continue;
    QAccessibleInterface* const spoken = QAccessible::queryAccessibleInterface(find(row.id));
    ASSERT_NE(spoken, nullptr) << row.name;
    EXPECT_FALSE(name.empty()) << row.name;
    EXPECT_EQ(spoken->text(QAccessible::Name), to_qstring(name)) << row.name;
    EXPECT_EQ(spoken->text(QAccessible::Description), to_qstring(state.tip)) << row.name;
  }
}

TEST_F(Face, tells_which_label_belongs_to_which_list_or_number) {
  for (const auto& [label, field] : std::map<ControlId, ControlId>{
           {ControlId::timeout_label, ControlId::timeout},
           {ControlId::baud_label, ControlId::baud},
           {ControlId::packet_number_label, ControlId::start_packet},
           {ControlId::packet_range, ControlId::end_packet},
           {ControlId::interval_label, ControlId::interval},
       }) {
    EXPECT_EQ(find<QLabel>(label)->buddy(), find(field)) << control(label).name;
  }
  EXPECT_EQ(find<QLabel>(ControlId::interval_unit)->buddy(), nullptr) << "a button follows it";
}

TEST_F(Face, is_walked_by_the_tab_key_in_table_order) {
  std::vector<std::string> walked;
  for (QWidget* widget = window_.nextInFocusChain(); widget != &window_;
       widget = widget->nextInFocusChain()) {
    const bool stop = widget->parentWidget() == &window_ && (widget->focusPolicy() & Qt::TabFocus);
    if (stop) walked.push_back(widget->objectName().toStdString());
  }
  std::vector<std::string> expected;
  for (const ControlRow& row : kControls) {
    if (!is_static_text(row.kind) && row.kind != ControlKind::status) expected.emplace_back(row.name);
  }
  EXPECT_EQ(walked, expected);
}

// Each name in the language and font in use, at every scale that a desktop offers: scales multiply all of it.
TEST_F(Face, has_room_for_every_caption) {
  for (const Language language : {Language::english, Language::korean}) {
    Facts facts = usual_facts();
    facts.language = language;
    show_facts(facts);
    for (const int width : {600, 699, 700, 739, 740, 800, 1600}) {
      window_.place(layout(window_.measure(), {width, 940}, {.transmit_expanded = true}));
      for (const ControlRow& row : kControls) {
        const QWidget* const widget = find(row.id);
        const bool fixed = row.kind != ControlKind::name_edit && row.kind != ControlKind::status;
        if (!fixed || shown_caption(widget).isEmpty()) continue;
        EXPECT_GE(widget->width(), widget->fontMetrics().horizontalAdvance(shown_caption(widget)))
            << row.name << " at " << width;
        EXPECT_GE(widget->height(), widget->fontMetrics().height()) << row.name;
      }
    }
  }
}

}  // namespace
}  // namespace hvt
