#include "ui/qt/main_window.h"

#include <QAbstractButton>
#include <QButtonGroup>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QDesktopServices>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPainter>
#include <QResizeEvent>
#include <QScreen>
#include <QSignalBlocker>
#include <QTimer>
#include <QUrl>
#include <algorithm>

#include "ui/qt/control_widgets.h"
#include "ui/qt/look.h"
#include "ui/qt/qt_text.h"

namespace hvt {
namespace {

// A message on its way from post() to the interface thread.
class PostedMessage final : public QEvent {
 public:
  static constexpr auto kType = static_cast<QEvent::Type>(QEvent::User + 1);
  explicit PostedMessage(unsigned number) : QEvent(kType), message(number) {}
  const unsigned message;
};

constexpr bool is_static_text(ControlKind kind) {
  return kind == ControlKind::label || kind == ControlKind::title || kind == ControlKind::counter;
}
constexpr bool is_push(ControlKind kind) {
  return kind == ControlKind::button || kind == ControlKind::check || kind == ControlKind::radio;
}
constexpr bool keeps_checked(ControlKind kind) {
  return kind == ControlKind::check || kind == ControlKind::radio;
}

Size client_size(const QSize& size) {
  return {size.width(), size.height()};
}

// The pattern for any file asks for a full stop in the name here, which not every file has.
QString name_filter(const FileQuestion::Type& type) {
  const std::wstring pattern = type.pattern == L"*.*" ? L"*" : type.pattern;
  return to_qstring(type.name + L" (" + pattern + L")");
}

// "&" would otherwise mark a shortcut letter.
QString literal(std::wstring_view caption) {
  return to_qstring(caption).replace(QLatin1Char('&'), QLatin1StringView("&&"));
}

}  // namespace

QtMainWindow::QtMainWindow(WindowEvents& events, const StartupMark& mark) : events_(events) {
  mark("control creation begin");
  create_widgets();
  group_radio_buttons();
  pair_labels();
  tint_packet_rows();
  mark("controls created");
  apply_fonts();
  mark("fonts applied");
  built_ = true;
}

QtMainWindow::~QtMainWindow() {
  closed_ = true;
}

// Children are visited by the Tab key in the order of their creation, which is that of the table.
void QtMainWindow::create_widgets() {
  for (const ControlRow& row : kControls) {
    widgets_[index_of(row.id)] = create_control_widget(row, this);
    connect_events(row);
  }
}

void QtMainWindow::connect_events(const ControlRow& row) {
  const ControlId id = row.id;
  if (is_push(row.kind)) {
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

// What has no caption of its own is announced by the label before it.
void QtMainWindow::pair_labels() {
  for (std::size_t i = 1; i < kControlCount; ++i) {
    const bool pair =
        kControls[i - 1].kind == ControlKind::label &&
        (kControls[i].kind == ControlKind::choice || kControls[i].kind == ControlKind::number_edit);
    if (pair) as<QLabel>(kControls[i - 1].id).setBuddy(widgets_[i]);
  }
}

void QtMainWindow::tint_packet_rows() {
  for (const ControlRow& row : kControls) {
    if (row.kind != ControlKind::packet_edit || packet_row(row.id) % 2 == 0) continue;
    QPalette palette = widget(row.id).palette();
    palette.setColor(QPalette::Base, palette.color(QPalette::AlternateBase));
    widget(row.id).setPalette(palette);
  }
}

void QtMainWindow::apply_fonts() {
  const QFont fixed = look::fixed_font(font());
  QFont bold = font();
  bold.setBold(true);
  for (const ControlRow& row : kControls) {
    const bool in_fixed = row.kind == ControlKind::packet_edit || row.kind == ControlKind::receive_view;
    if (in_fixed) widget(row.id).setFont(fixed);
    if (heads_group(row)) widget(row.id).setFont(bold);
  }
}

// What the controller shows

void QtMainWindow::set_title(std::wstring_view title) {
  setWindowTitle(to_qstring(title));
}

void QtMainWindow::set_client_size(Size client) {
  const QSize frame = frameGeometry().size() - size();
  const QSize before = size();
  resize(QSize(client.width, client.height).boundedTo(screen()->availableSize() - frame));
  if (isVisible() && size() == before) events_.resized(client_size(before));  // no resize event comes
}

void QtMainWindow::set_place(const WindowPlace& place) {
  const QRect wanted(place.normal.x, place.normal.y, place.normal.width, place.normal.height);
  const QScreen* const where = QGuiApplication::screenAt(wanted.center());
  const QRect free = (where != nullptr ? where : screen())->availableGeometry();
  QRect rect(wanted.topLeft(), wanted.size().boundedTo(free.size()));
  rect.moveTo(std::clamp(rect.x(), free.left(), free.right() + 1 - rect.width()),
              std::clamp(rect.y(), free.top(), free.bottom() + 1 - rect.height()));
  setGeometry(rect);
  if (place.maximized) setWindowState(windowState() | Qt::WindowMaximized);
}

WindowPlace QtMainWindow::current_place() const {
  const QRect rect = isMaximized() ? normalGeometry() : geometry();
  return {{rect.x(), rect.y(), rect.width(), rect.height()}, isMaximized()};
}

void QtMainWindow::apply(std::span<const ControlChange> changes) {
  for (const auto& [id, state] : changes) {
    if (control(id).kind != ControlKind::counter) set_caption(id, state.caption);  // it has set_counter()
    widget(id).setToolTip(to_qstring(state.tip));
    if (!state.tip.empty()) widget(id).setAccessibleName(to_qstring(state.tip));
    widget(id).setEnabled(state.enabled);
    widget(id).setVisible(state.visible);
    checked_[index_of(id)] = state.checked;
  }
  for (const ControlChange& change : changes)
    show_checked(change.id);
  update();
}

void QtMainWindow::set_caption(ControlId id, std::wstring_view caption) {
  const ControlKind kind = control(id).kind;
  if (is_static_text(kind)) as<QLabel>(id).setText(to_qstring(caption));
  if (is_push(kind)) as<QAbstractButton>(id).setText(literal(caption));
  if (id == ControlId::receive_title) widget(ControlId::receive_view).setAccessibleName(to_qstring(caption));
  if (kind == ControlKind::name_edit) {
    as<QLineEdit>(id).setPlaceholderText(to_qstring(caption));
    widget(id).setAccessibleName(to_qstring(caption));
  }
  if (id == ControlId::packet_number_label)  // of two fields; the second one follows another label
    widget(ControlId::end_packet).setAccessibleName(to_qstring(caption));
  if (kind == ControlKind::button && is_packet_row(id)) {
    const QString number = QString::number(packet_row(id) + 1);
    widget(id).setAccessibleName(to_qstring(caption) + QLatin1Char(' ') + number);
  }
}

void QtMainWindow::show_checked(ControlId id) {
  if (!keeps_checked(control(id).kind)) return;
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
  placement_ = placement;
  for (std::size_t i = 0; i < kControlCount; ++i) {
    const Rect& rect = placement[i];
    if (!rect.empty()) widgets_[i]->setGeometry(rect.x, rect.y, rect.width, rect.height);
  }
  require_minimum_size();
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

void QtMainWindow::set_status(std::wstring_view text, StatusTone tone) {
  auto& line = as<StatusLine>(ControlId::status);
  QPalette colors = palette();
  if (tone == StatusTone::error) colors.setColor(QPalette::WindowText, look::kErrorText);
  line.setPalette(colors);
  line.setText(to_qstring(text));
}

void QtMainWindow::set_counter(ControlId id, std::wstring_view text) {
  as<QLabel>(id).setText(to_qstring(text));
}

// Not exec(), which would hold up whoever asks; but nobody would wait for a box over a window that closes.
void QtMainWindow::show_notice(std::wstring_view title, std::wstring_view text) {
  if (closed_) {
    QMessageBox::warning(nullptr, to_qstring(title), to_qstring(text));
    return;
  }
  auto* const box =
      new QMessageBox(QMessageBox::Information, to_qstring(title), to_qstring(text), QMessageBox::Ok, this);
  box->setTextFormat(Qt::PlainText);
  box->setAttribute(Qt::WA_DeleteOnClose);
  box->open();
}

ReceiveView& QtMainWindow::receive_view() {
  return as<ReceiveViewWidget>(ControlId::receive_view);
}

std::optional<std::filesystem::path> QtMainWindow::ask_file(const FileQuestion& question) {
  QFileDialog dialog(this, to_qstring(question.title), QString::fromStdString(question.folder.string()));
  dialog.setAcceptMode(question.save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
  dialog.setFileMode(question.save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
  dialog.setOption(QFileDialog::HideNameFilterDetails);  // the names have their pattern already
  QStringList filters;
  for (const FileQuestion::Type& type : question.types)
    filters << name_filter(type);
  dialog.setNameFilters(filters);
  if (question.save) {
    dialog.setDefaultSuffix(to_qstring(question.extension));
    dialog.selectFile(to_qstring(question.proposed_name));
  }
  if (dialog.exec() != QDialog::Accepted) return std::nullopt;
  return std::filesystem::path(dialog.selectedFiles().front().toStdString());
}

bool QtMainWindow::open_in_desktop(const std::filesystem::path& target) {
  return QDesktopServices::openUrl(QUrl::fromUserInput(QString::fromStdString(target.string())));
}

// What the controller hears

void QtMainWindow::clicked(ControlId id) {
  if (keeps_checked(control(id).kind)) {
    for (const ControlRow& row : kControls) {
      const bool same_group =
          groups_[index_of(id)] != nullptr && groups_[index_of(row.id)] == groups_[index_of(id)];
      if (row.id == id || same_group) show_checked(row.id);
    }
  }
  events_.command(id);
}

bool QtMainWindow::post(unsigned message) {
  if (closed_) return false;
  QCoreApplication::postEvent(this, new PostedMessage(message));
  return true;
}

void QtMainWindow::start_timer(std::uintptr_t id, unsigned milliseconds) {
  if (closed_) return;
  auto timer = std::make_unique<QTimer>();
  timer->setTimerType(Qt::PreciseTimer);
  connect(timer.get(), &QTimer::timeout, this, [this, id] { events_.message(kTimerMessage, id, 0); });
  timer->start(static_cast<int>(milliseconds));
  timers_[id] = std::move(timer);
}

bool QtMainWindow::event(QEvent* event) {
  if (event->type() != PostedMessage::kType) return QWidget::event(event);
  if (!closed_) events_.message(static_cast<PostedMessage*>(event)->message, 0, 0);
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
  events_.resized(client_size(size()));
}

// How low the window may become depends on its width.
void QtMainWindow::require_minimum_size() {
  const Size least = events_.minimum_client_size(width());
  if (client_size(minimumSize()) != least) setMinimumSize(least.width, least.height);
}

void QtMainWindow::closeEvent(QCloseEvent* event) {
  event->accept();
  if (closed_.exchange(true)) return;
  for (auto& [id, timer] : timers_)
    timer->stop();
  events_.closing();
}

// Surfaces behind the controls

void QtMainWindow::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  int header_bottom = 0;
  for (const ControlRow& row : kControls) {
    const Rect& rect = placement_[index_of(row.id)];
    if (row.group == ControlGroup::connection) header_bottom = std::max(header_bottom, rect.bottom());
  }
  const QRect header(0, 0, width(), header_bottom + 4);
  painter.fillRect(header, look::kHeaderBand);
  painter.fillRect(0, header.bottom(), width(), 1, look::kHairline);
  for (std::size_t row = 1; row < kPacketRows; row += 2) {
    const Rect& field = placement_[index_of(packet_field(row))];
    if (!widget(packet_field(row)).isVisible()) continue;
    painter.fillRect(0, field.y - 2, width(), field.height + 4, look::kSecondRow);
  }
  const Rect& status = placement_[index_of(ControlId::status)];
  painter.fillRect(0, status.y, width(), 1, look::kHairline);
}

std::unique_ptr<MainWindow> create_main_window(WindowEvents& events, const StartupMark& mark) {
  return std::make_unique<QtMainWindow>(events, mark);
}

}  // namespace hvt
