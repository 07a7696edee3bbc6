#include "ui/qt/accessible_controls.h"

#include <QAccessibleWidget>

#include "ui/qt/accessible_receive_view.h"
#include "ui/qt/control_widgets.h"

namespace hvt {
namespace {

// A drop-down list: its name, its present entry as its value, and a way to open it.
class AccessibleChoice final : public QAccessibleWidget {
 public:
  explicit AccessibleChoice(ChoiceBox& box) : QAccessibleWidget(&box, QAccessible::ComboBox), box_(box) {}

  QString text(QAccessible::Text what) const override {
    return what == QAccessible::Value ? box_.currentText() : QAccessibleWidget::text(what);
  }
  QAccessible::State state() const override {
    QAccessible::State state = QAccessibleWidget::state();
    state.expandable = true;
    state.hasPopup = true;
    return state;
  }
  QStringList actionNames() const override {
    return QStringList{showMenuAction()} + QAccessibleWidget::actionNames();
  }
  void doAction(const QString& action) override {
    if (action == showMenuAction()) return box_.showPopup();
    QAccessibleWidget::doAction(action);
  }

 private:
  ChoiceBox& box_;
};

// The toolkit owns what this returns.
QAccessibleInterface* create(const QString&, QObject* object) {
  if (auto* const view = dynamic_cast<ReceiveViewWidget*>(object)) return new AccessibleReceiveView(*view);
  if (auto* const box = dynamic_cast<ChoiceBox*>(object)) return new AccessibleChoice(*box);
  return nullptr;
}

}  // namespace

void install_accessible_controls() {
  QAccessible::installFactory(create);
}

}  // namespace hvt
