#include "ui/qt/look.h"

#include <QFontDatabase>
#include <QIcon>
#include <QPainter>
#include <QProxyStyle>
#include <QStyleFactory>
#include <QStyleOption>

namespace hvt::look {
namespace {

constexpr QColor kWindow{244, 246, 249};
constexpr QColor kBase{255, 255, 255};
constexpr QColor kSecondBase{246, 250, 254};
constexpr QColor kButton{252, 253, 254};
constexpr QColor kText{31, 35, 40};
constexpr QColor kGrayText{105, 110, 115};  // about 5:1 on white: disabled, but still to be read
constexpr QColor kHighlight{38, 105, 178};
constexpr QColor kInactiveHighlight{190, 212, 238};

constexpr QColor kEdge{190, 198, 207};
constexpr QColor kButtonHover{236, 243, 251};
constexpr QColor kButtonPressed{214, 228, 244};
constexpr QColor kButtonDisabled{240, 242, 245};
constexpr QColor kScrollGroove{247, 249, 251};
constexpr QColor kScrollThumb{193, 201, 210};
constexpr QColor kScrollThumbHeld{154, 165, 177};
constexpr qreal kCornerRadius = 3.5;

// Entries of an open drop-down list.
constexpr int kEntryMargin = 4;
constexpr int kEntryHeightMore = 6;

// Fusion without its gradients, and with drop-down lists that open below their box.
class FlatStyle final : public QProxyStyle {
 public:
  FlatStyle() : QProxyStyle(QStyleFactory::create(QStringLiteral("Fusion"))) {}

  int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                QStyleHintReturn* returned) const override {
    if (hint == SH_ComboBox_Popup) return 0;
    return QProxyStyle::styleHint(hint, option, widget, returned);
  }

  int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override {
    if (metric == PM_FocusFrameHMargin) return kEntryMargin;
    return QProxyStyle::pixelMetric(metric, option, widget);
  }

  QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& contents,
                         const QWidget* widget) const override {
    const QSize size = QProxyStyle::sizeFromContents(type, option, contents, widget);
    return type == CT_ItemViewItem ? size + QSize(0, kEntryHeightMore) : size;
  }

  void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override {
    switch (element) {
      case PE_PanelButtonCommand: return draw_panel(*option, *painter, button_surface(option->state));
      case PE_PanelLineEdit: return draw_panel(*option, *painter, field_surface(*option));
      default: return QProxyStyle::drawPrimitive(element, option, painter, widget);
    }
  }

  void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                          const QWidget* widget) const override {
    const auto* const bar = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (control == CC_ScrollBar && bar != nullptr && bar->orientation == Qt::Vertical) {
      draw_scroll_bar(*bar, *painter, widget);
    } else {
      QProxyStyle::drawComplexControl(control, option, painter, widget);
    }
  }

 private:
  static QColor field_surface(const QStyleOption& field) {
    return field.state & State_Enabled ? field.palette.color(QPalette::Base) : kButtonDisabled;
  }
  static QColor button_surface(QStyle::State state) {
    if (!(state & State_Enabled)) return kButtonDisabled;
    if (state & (State_Sunken | State_On)) return kButtonPressed;
    return state & State_MouseOver ? kButtonHover : kButton;
  }

  // A rounded surface with a thin edge, which turns blue while it has the keyboard.
  static void draw_panel(const QStyleOption& option, QPainter& painter, const QColor& surface) {
    const bool enabled = option.state & State_Enabled;
    const bool focused = enabled && (option.state & State_HasFocus);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(focused ? kHighlight : enabled ? kEdge : kHairline, 1));
    painter.setBrush(surface);
    painter.drawRoundedRect(QRectF(option.rect).adjusted(0.5, 0.5, -0.5, -0.5), kCornerRadius, kCornerRadius);
    painter.restore();
  }

  void draw_scroll_bar(const QStyleOptionSlider& bar, QPainter& painter, const QWidget* widget) const {
    painter.save();
    painter.fillRect(bar.rect, kScrollGroove);
    painter.fillRect(bar.rect.left(), bar.rect.top(), 1, bar.rect.height(), kHairline);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    if (bar.maximum > bar.minimum) {
      const QRectF thumb = subControlRect(CC_ScrollBar, &bar, SC_ScrollBarSlider, widget);
      const bool held = bar.activeSubControls & SC_ScrollBarSlider;
      painter.setBrush(held ? kScrollThumbHeld : kScrollThumb);
      painter.drawRoundedRect(thumb.adjusted(4, 1, -3, -1), kCornerRadius, kCornerRadius);
    }
    painter.restore();
    draw_arrow(bar, painter, SC_ScrollBarSubLine, PE_IndicatorArrowUp, widget);
    draw_arrow(bar, painter, SC_ScrollBarAddLine, PE_IndicatorArrowDown, widget);
  }

  void draw_arrow(const QStyleOptionSlider& bar, QPainter& painter, SubControl part, PrimitiveElement arrow,
                  const QWidget* widget) const {
    QStyleOption option(bar);
    option.rect = subControlRect(CC_ScrollBar, &bar, part, widget).adjusted(4, 3, -3, -3);
    option.state.setFlag(State_Enabled, bar.maximum > bar.minimum);
    drawPrimitive(arrow, &option, &painter, widget);
  }
};

QPalette light_palette() {
  QPalette palette(kButton, kWindow);
  palette.setColor(QPalette::Window, kWindow);
  palette.setColor(QPalette::Base, kBase);
  palette.setColor(QPalette::AlternateBase, kSecondBase);
  palette.setColor(QPalette::Button, kButton);
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(role, kText);
    palette.setColor(QPalette::Disabled, role, kGrayText);
  }
  palette.setColor(QPalette::PlaceholderText, kGrayText);
  palette.setColor(QPalette::ToolTipBase, kBase);
  palette.setColor(QPalette::ToolTipText, kText);
  palette.setColor(QPalette::Highlight, kHighlight);
  palette.setColor(QPalette::HighlightedText, Qt::white);
  palette.setColor(QPalette::Inactive, QPalette::Highlight, kInactiveHighlight);
  palette.setColor(QPalette::Inactive, QPalette::HighlightedText, kText);
  palette.setColor(QPalette::Link, kHighlight);
  return palette;
}

}  // namespace

void prepare_application(QApplication& application) {
  application.setStyle(new FlatStyle);  // owned by the application
  QApplication::setPalette(light_palette());
  QApplication::setWindowIcon(QIcon(QStringLiteral(":/HalvetricSerialTest.png")));
}

QFont fixed_font(const QFont& interface_font) {
  QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  if (interface_font.pointSizeF() > 0) {
    font.setPointSizeF(interface_font.pointSizeF());
  } else {
    font.setPixelSize(interface_font.pixelSize());
  }
  font.setStyleHint(QFont::Monospace);
  font.setKerning(false);
  return font;
}

}  // namespace hvt::look
