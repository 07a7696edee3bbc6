#include "ui/qt/main_window.h"

#include <QAbstractButton>
#include <QButtonGroup>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QResizeEvent>
#include <QShortcut>
#include <QSignalBlocker>
#include <QTimer>
#include <algorithm>

#include "ui/qt/application.h"
#include "ui/qt/control_widgets.h"
#include "ui/qt/look.h"
#include "ui/qt/qt_text.h"
#include "ui/qt/text_dialog.h"

namespace hvt {
namespace {

// A message on its way from post() to the interface thread: all it carries is its type, which the toolkit
// hands over under its own lock.
constexpr unsigned kBeforeMessages = kTaskMessage - 1;
QEvent::Type event_type(unsigned message) {
  return static_cast<QEvent::Type>(QEvent::User + static_cast<int>(message - kBeforeMessages));
}

Size to_size(const QSize& size) {
  return {size.width(), size.height()};
}

}  // namespace

QtMainWindow::QtMainWindow(WindowEvents& events, const StartupMark& mark)
    : events_(events), menus_(*this, [this](MenuItem item) { events_.menu_chosen(item); }) {
  mark("control creation begin");
  create_widgets();
  group_radio_buttons();
  pair_labels();
  create_access_keys();
  tint_packet_rows();
  mark("controls created");
  apply_fonts();
  mark("fonts applied");
  static_cast<Application&>(*qApp).desktop().on_changed([this] {
    if (!closed_) events_.appearance_changed();
  });
  built_ = true;
}

QtMainWindow::~QtMainWindow() {
  closed_ = true;
  static_cast<Application&>(*qApp).desktop().on_changed({});
}

// Children are visited by the Tab key in the order of their creation, which is that of the table.
void QtMainWindow::create_widgets() {
  for (const ControlRow& row : kControls) {
    widgets_[index_of(row.id)] = create_control_widget(row, this);
    connect_events(row);
  }
  as<QPushButton>(ControlId::connect).setDefault(true);  // drawn as the one that acts on the line
}

void QtMainWindow::connect_events(const ControlRow& row) {
  const ControlId id = row.id;
  if (row.kind == ControlKind::menu_button) {
    menus_.add_button(id, as<BarButton>(id));
  } else if (is_push(row.kind)) {
    connect(&as<QAbstractButton>(id), &QAbstractButton::clicked, this, [this, id] { clicked(id); });
  } else if (row.kind == ControlKind::choice) {
    connect(&as<ChoiceBox>(id), &QComboBox::currentIndexChanged, this, [this, id] { events_.chosen(id); });
  } else if (row.kind == ControlKind::packet_edit) {
    connect(&as<QLineEdit>(id), &QLineEdit::textEdited, this, [this, id] { events_.edited(id); });
    connect(&as<QLineEdit>(id), &QLineEdit::returnPressed, this, [this, id] { events_.command(id); });
  }
}

void QtMainWindow::group_radio_buttons() {
  QButtonGroup* group = nullptr;
  for (const ControlRow& row : kControls) {
    if (row.kind != ControlKind::radio) {
      group = nullptr;
      continue;
    }
    if (group == nullptr) group = new QButtonGroup(this);
    group->addButton(&as<QAbstractButton>(row.id));
    groups_[index_of(row.id)] = group;
  }
}

// A screen reader tells which label belongs to which field.
void QtMainWindow::pair_labels() {
  for (std::size_t i = 1; i < kControlCount; ++i) {
    const bool pair =
        kControls[i - 1].kind == ControlKind::label &&
        (kControls[i].kind == ControlKind::choice || kControls[i].kind == ControlKind::number_edit);
    if (pair) as<QLabel>(kControls[i - 1].id).setBuddy(widgets_[i]);
  }
}

void QtMainWindow::create_access_keys() {
  for (const ControlRow& row : kControls) {
    if (row.access_key == 0) continue;
    const QKeySequence keys(QKeyCombination(Qt::ALT, static_cast<Qt::Key>(row.access_key)));
    connect(new QShortcut(keys, this), &QShortcut::activated, this, [this, id = row.id] { access(id); });
  }
  connect(new QShortcut(Qt::Key_F10, this), &QShortcut::activated, this, [this] { menus_.take_keyboard(); });
}

void QtMainWindow::apply_fonts() {
  const QFont fixed = look::fixed_font(font());
  QFont bold = font();
  bold.setBold(true);
  for (const ControlRow& row : kControls) {
    if (row.kind == ControlKind::packet_edit) widget(row.id).setFont(fixed);
    if (heads_group(row)) widget(row.id).setFont(bold);
  }
  as<ReceiveViewWidget>(ControlId::receive_view).refresh_font();
}

// What the controller shows

void QtMainWindow::set_title(std::wstring_view title) {
  setWindowTitle(to_qstring(title));
}

void QtMainWindow::show() {
  QWidget::show();
  if (focusWidget() == nullptr) focus_first();
}

// A window without a port to choose begins with the next control that can be used.
void QtMainWindow::focus_first() {
  for (std::size_t i = index_of(kFirstFocus); i < kControlCount; ++i) {
    QWidget& candidate = *widgets_[i];
    if (!candidate.isEnabled() || candidate.isHidden() || !(candidate.focusPolicy() & Qt::TabFocus)) continue;
    candidate.setFocus();
    return;
  }
}

void QtMainWindow::apply(std::span<const ControlChange> changes) {
  bool rows_changed = false;
  for (const auto& [id, state] : changes) {
    show_caption(id, state);
    widget(id).setEnabled(state.enabled);
    rows_changed |= is_packet_row(id) && widget(id).isHidden() == state.visible;
    widget(id).setVisible(state.visible);
    checked_[index_of(id)] = state.checked;
  }
  for (const ControlChange& change : changes)
    show_checked(change.id);
  if (rows_changed) update();  // the bands behind them
}

void QtMainWindow::show_caption(ControlId id, const ControlState& state) {
  const ControlKind kind = control(id).kind;
  if (kind == ControlKind::label || kind == ControlKind::title)
    as<QLabel>(id).setText(to_qstring(state.caption));
  if (is_push(kind)) as<QAbstractButton>(id).setText(literal_qstring(state.caption));
  if (kind == ControlKind::name_edit) as<QLineEdit>(id).setPlaceholderText(to_qstring(state.caption));
  widget(id).setToolTip(to_qstring(state.tip));
  widget(id).setAccessibleName(to_qstring(state.name));
}

void QtMainWindow::show_checked(ControlId id) {
  if (!has_mark(control(id).kind)) return;
  auto& button = as<QAbstractButton>(id);
  const QSignalBlocker quiet(button);
  // An exclusive group refuses to be without a checked button, even for the moment until the other one is
  // set.
  QButtonGroup* const group = groups_[index_of(id)];
  if (group != nullptr) group->setExclusive(false);
  button.setChecked(checked_[index_of(id)]);
  if (group != nullptr) group->setExclusive(true);
}

void QtMainWindow::place(const Placement& placement) {
  for (std::size_t i = 0; i < kControlCount; ++i) {
    const Rect& rect = placement[i];
    if (!rect.empty()) widgets_[i]->setGeometry(rect.x, rect.y, rect.width, rect.height);
  }
  require_minimum_size();
  if (placement_ == placement) return;
  placement_ = placement;
  update();
}

Metrics QtMainWindow::measure() const {
  Metrics metrics;
  metrics.text_height = fontMetrics().height();
  metrics.mono_height = widget(ControlId::packet_1).fontMetrics().height();
  for (const ControlRow& row : kControls) {
    const QFontMetrics font = widget(row.id).fontMetrics();
    int& width = metrics.text_width[index_of(row.id)];
    if (is_static_text(row.kind)) width = font.horizontalAdvance(as<QLabel>(row.id).text());
    if (is_push(row.kind))
      width = font.size(Qt::TextShowMnemonic, as<QAbstractButton>(row.id).text()).width();
    if (row.kind == ControlKind::choice) width = as<ChoiceBox>(row.id).widest_entry();
  }
  return metrics;
}

std::wstring QtMainWindow::field_text(ControlId id) const {
  return from_qstring(as<QLineEdit>(id).text());
}

void QtMainWindow::set_field_text(ControlId id, std::wstring_view text, std::size_t caret) {
  auto& field = as<QLineEdit>(id);
  const QSignalBlocker quiet(field);
  field.setText(to_qstring(text));
  field.setCursorPosition(static_cast<int>(std::min(caret, text.size())));
}

std::size_t QtMainWindow::field_caret(ControlId id) const {
  return static_cast<std::size_t>(as<QLineEdit>(id).cursorPosition());
}

void QtMainWindow::set_choices(ControlId id, std::span<const std::wstring> entries,
                               std::optional<std::size_t> selected, std::wstring_view placeholder) {
  auto& choice = as<ChoiceBox>(id);
  const QSignalBlocker quiet(choice);
  choice.clear();
  choice.setPlaceholderText(to_qstring(placeholder));
  for (const std::wstring& entry : entries)
    choice.addItem(to_qstring(entry));
  choice.setCurrentIndex(selected ? static_cast<int>(*selected) : -1);
  choice.update();
}

std::optional<std::size_t> QtMainWindow::selected_choice(ControlId id) const {
  const int index = as<ChoiceBox>(id).currentIndex();
  if (index < 0) return std::nullopt;
  return static_cast<std::size_t>(index);
}

// The marked entry of the language menu is the language of what the toolkit says too.
void QtMainWindow::set_menus(const MenuStates& states) {
  menus_.set_states(states);
  const bool korean = states[index_of(MenuItem::korean)].checked;
  toolkit_texts_.set_language(korean ? Language::korean : Language::english);
}

void QtMainWindow::set_status(std::wstring_view text, StatusTone tone) {
  as<StatusLine>(ControlId::status).show_text(to_qstring(text), tone);
}

void QtMainWindow::set_counter(ControlId id, std::wstring_view text) {
  as<QLabel>(id).setText(to_qstring(text));
}

ReceiveView& QtMainWindow::receive_view() {
  return as<ReceiveViewWidget>(ControlId::receive_view);
}

// What the controller hears

void QtMainWindow::clicked(ControlId id) {
  if (has_mark(control(id).kind)) {
    for (const ControlRow& row : kControls) {
      const bool same_group =
          groups_[index_of(id)] != nullptr && groups_[index_of(row.id)] == groups_[index_of(id)];
      if (row.id == id || same_group) show_checked(row.id);
    }
  }
  events_.command(id);
}

void QtMainWindow::access(ControlId id) {
  if (!widget(id).isVisible() || !widget(id).isEnabled()) return;
  if (control(id).kind == ControlKind::menu_button) {
    menus_.open(id);
  } else if (is_push(control(id).kind)) {
    as<QAbstractButton>(id).click();
  } else {
    widget(id).setFocus(Qt::ShortcutFocusReason);
  }
}

bool QtMainWindow::post(unsigned message) {
  if (closed_) return false;
  QCoreApplication::postEvent(this, new QEvent(event_type(message)));
  return true;
}

void QtMainWindow::start_timer(std::uintptr_t id, std::chrono::milliseconds interval) {
  if (closed_) return;
  std::unique_ptr<QTimer>& timer = timers_[id];
  if (!timer) {
    timer = std::make_unique<QTimer>();
    timer->setTimerType(Qt::PreciseTimer);
    connect(timer.get(), &QTimer::timeout, this, [this, id] { events_.message(kTimerMessage, id, 0); });
  }
  timer->start(interval);
}

bool QtMainWindow::event(QEvent* event) {
  const auto type = event->type();
  if (type != event_type(kTaskMessage) && type != event_type(kDisplayMessage)) return QWidget::event(event);
  if (!closed_) events_.message(kBeforeMessages + static_cast<unsigned>(type - QEvent::User), 0, 0);
  return true;
}

void QtMainWindow::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  const bool other_metrics = event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange;
  if (!built_ || !other_metrics) return;
  apply_fonts();
  events_.metrics_changed();
}

void QtMainWindow::resizeEvent(QResizeEvent*) {
  require_minimum_size();  // may resize again
  events_.resized(to_size(size()));
}

// How low the window may become depends on its width.
void QtMainWindow::require_minimum_size() {
  const Size least = events_.minimum_client_size(width());
  if (to_size(minimumSize()) != least) setMinimumSize(least.width, least.height);
}

void QtMainWindow::closeEvent(QCloseEvent* event) {
  event->accept();
  if (closed_.exchange(true)) return;
  for (auto& [id, timer] : timers_)
    timer->stop();
  for (TextDialog* const dialog : dialogs_) {
    if (dialog != nullptr) dialog->close();
  }
  events_.closing();
}

std::unique_ptr<MainWindow> create_main_window(WindowEvents& events, const StartupMark& mark) {
  return std::make_unique<QtMainWindow>(events, mark);
}

}  // namespace hvt
