#include "foundation/views/style/Style.h"

#include "foundation/views/style/ColorRoles.h"
#include "foundation/views/style/Icons.h"
#include "foundation/views/style/StylePainting.h"

#include <QAbstractItemView>
#include <QPainter>
#include <QStyleOption>
#include <QWidget>

#include <algorithm>

namespace {

constexpr int animationMilliseconds = 150;
constexpr int toolTipMilliseconds = 350; ///< Shorter than Qt's 700 ms.
constexpr int scrollBarWidth = 12;
constexpr int minHandleLength = 32;
constexpr int fieldPadding = 4;

bool isDestructive(const QWidget* widget)
{
    return widget != nullptr && widget->property(Style::destructiveProperty).toBool();
}

template <typename Option>
const Option& as(const QStyleOption* option)
{
    return *static_cast<const Option*>(option);
}

QRect scrollHandle(const QStyleOptionSlider& slider)
{
    const bool isHorizontal = slider.orientation == Qt::Horizontal;
    const int length = isHorizontal ? slider.rect.width() : slider.rect.height();
    const auto range = static_cast<double>(slider.maximum) - slider.minimum;
    int handle = length;
    if (range > 0) {
        handle = static_cast<int>(length * (slider.pageStep / (range + slider.pageStep)));
        handle = std::clamp(handle, std::min(minHandleLength, length), length);
    }
    const int start = QStyle::sliderPositionFromValue(
        slider.minimum, slider.maximum, slider.sliderPosition, length - handle, slider.upsideDown);
    return isHorizontal ? QRect(slider.rect.left() + start, slider.rect.top(), handle, slider.rect.height())
                        : QRect(slider.rect.left(), slider.rect.top() + start, slider.rect.width(), handle);
}

} // namespace

Style::Style()
    : QProxyStyle(QStringLiteral("fusion"))
{
}

int Style::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const
{
    switch (metric) {
    case PM_SplitterWidth:
        return 1; // Qt widens the area that can be grabbed.
    case PM_ScrollBarExtent:
        return scrollBarWidth;
    case PM_ScrollBarSliderMin:
        return minHandleLength;
    case PM_ScrollView_ScrollBarSpacing:
        return 0;
    case PM_SmallIconSize:
    case PM_ButtonIconSize:
    case PM_ToolBarIconSize:
    case PM_IndicatorWidth:
    case PM_IndicatorHeight:
    case PM_ExclusiveIndicatorWidth:
    case PM_ExclusiveIndicatorHeight:
        return 16;
    case PM_HeaderMargin:
        return 8;
    case PM_HeaderMarkSize:
        return 10;
    case PM_ToolBarFrameWidth:
        return 0;
    case PM_ToolBarItemMargin:
        return 4;
    case PM_ToolBarItemSpacing:
        return 2;
    case PM_TabBarTabHSpace:
        return 24;
    case PM_TabBarTabVSpace:
        return 12;
    case PM_LayoutHorizontalSpacing:
    case PM_LayoutVerticalSpacing:
        return 8;
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

int Style::styleHint(
    StyleHint hint, const QStyleOption* option, const QWidget* widget, QStyleHintReturn* returned) const
{
    switch (hint) {
    case SH_Widget_Animate:
        return animated_ ? 1 : 0;
    case SH_Widget_Animation_Duration:
        return animated_ ? animationMilliseconds : 0;
    case SH_EtchDisabledText:
        return 0;
    case SH_DialogButtonBox_ButtonsHaveIcons:
        return 0;
    case SH_ToolTip_WakeUpDelay:
        return toolTipMilliseconds;
    case SH_ItemView_ShowDecorationSelected:
        return 1;
    case SH_ItemView_ActivateItemOnSingleClick:
        return 0;
    case SH_ScrollView_FrameOnlyAroundContents:
        return 0;
    case SH_FormLayoutFieldGrowthPolicy:
        return 2; // All fields that can grow do so.
    case SH_FormLayoutLabelAlignment:
        return static_cast<int>(Qt::AlignRight | Qt::AlignTrailing);
    default:
        return QProxyStyle::styleHint(hint, option, widget, returned);
    }
}

void Style::drawPrimitive(
    PrimitiveElement element, const QStyleOption* option, QPainter* painter, const QWidget* widget) const
{
    switch (element) {
    case PE_PanelButtonCommand:
        paintPushButton(*painter, as<QStyleOptionButton>(option), isDestructive(widget));
        return;
    case PE_FrameDefaultButton:
        return;
    case PE_PanelButtonTool:
        paintToolButton(*painter, *option);
        return;
    case PE_PanelLineEdit:
        if (as<QStyleOptionFrame>(option).lineWidth > 0) {
            paintField(*painter, *option);
        }
        return;
    case PE_FrameLineEdit:
        paintField(*painter, *option);
        return;
    case PE_IndicatorCheckBox:
        paintCheckMark(*painter, *option, false);
        return;
    case PE_IndicatorItemViewItemCheck:
        paintCheckMark(*painter, *option, false);
        return;
    case PE_IndicatorRadioButton:
        paintCheckMark(*painter, *option, true);
        return;
    case PE_FrameFocusRect:
        paintFocusRing(*painter, option->rect, option->palette, 3);
        return;
    case PE_PanelItemViewItem:
        paintItemBackground(*painter, as<QStyleOptionViewItem>(option));
        return;
    case PE_PanelItemViewRow:
        return; // Each item paints its own part.
    case PE_IndicatorHeaderArrow: {
        const auto& header = as<QStyleOptionHeader>(option);
        QRect box(0, 0, 10, 10);
        const bool isColumn = header.orientation == Qt::Horizontal && widget != nullptr;
        box.moveCenter({option->rect.center().x(), isColumn ? widget->height() / 2 : option->rect.center().y()});
        painter->save();
        painter->translate(QRectF(box).center());
        painter->rotate(header.sortIndicator == QStyleOptionHeader::SortUp ? 180 : 0);
        painter->translate(-QRectF(box).center());
        paintSymbol(*painter, Symbol::chevronDown, box, symbolColor(option->palette));
        painter->restore();
        return;
    }
    case PE_Frame:
        painter->save();
        painter->setPen(hairline(option->palette));
        painter->setBrush(Qt::NoBrush);
        painter->drawRect(option->rect.adjusted(0, 0, -1, -1));
        painter->restore();
        return;
    case PE_IndicatorToolBarSeparator:
        if (option->state.testFlag(State_Horizontal)) {
            paintHairline(*painter, {option->rect.center().x(), option->rect.top() + 6, 1, option->rect.height() - 12},
                option->palette);
        }
        return;
    case PE_FrameTabBarBase:
        paintHairline(*painter, {option->rect.left(), option->rect.bottom(), option->rect.width(), 1}, option->palette);
        return;
    case PE_FrameGroupBox:
        paintGroup(*painter, *option);
        return;
    case PE_FrameTabWidget:
    case PE_FrameStatusBarItem:
        return;
    default:
        QProxyStyle::drawPrimitive(element, option, painter, widget);
    }
}

void Style::drawControl(
    ControlElement element, const QStyleOption* option, QPainter* painter, const QWidget* widget) const
{
    switch (element) {
    case CE_PushButtonLabel: {
        QStyleOptionButton button = as<QStyleOptionButton>(option);
        button.palette.setColor(QPalette::ButtonText, pushButtonText(button, isDestructive(widget)));
        QProxyStyle::drawControl(element, &button, painter, widget);
        return;
    }
    case CE_HeaderSection:
        paintHeaderSection(*painter, as<QStyleOptionHeader>(option));
        return;
    case CE_HeaderEmptyArea:
        painter->fillRect(option->rect, option->palette.color(QPalette::Base));
        paintHairline(*painter, {option->rect.left(), option->rect.bottom(), option->rect.width(), 1}, option->palette);
        return;
    case CE_HeaderLabel: {
        QStyleOptionHeaderV2 header;
        header.QStyleOptionHeader::operator=(as<QStyleOptionHeader>(option));
        header.palette.setColor(QPalette::ButtonText, secondaryText(option->palette));
        QProxyStyle::drawControl(element, &header, painter, widget);
        return;
    }
    case CE_ToolButtonLabel: {
        const auto& button = as<QStyleOptionToolButton>(option);
        if (button.toolButtonStyle == Qt::ToolButtonTextBesideIcon && !button.text.isEmpty()
            && !button.features.testFlag(QStyleOptionToolButton::Arrow)) {
            paintToolButtonLabel(*painter, button);
            return;
        }
        QProxyStyle::drawControl(element, option, painter, widget);
        return;
    }
    case CE_MenuItem: {
        // Fusion draws the icon of a selected item like any other, so the background has to suit its colour.
        QStyleOptionMenuItem item = as<QStyleOptionMenuItem>(option);
        const QColor text = item.palette.color(QPalette::Active, QPalette::Text);
        item.palette.setColor(QPalette::Highlight, mixed(text, item.palette.color(QPalette::Base), 0.12));
        item.palette.setColor(QPalette::HighlightedText, text);
        QProxyStyle::drawControl(element, &item, painter, widget);
        return;
    }
    case CE_Splitter:
        painter->fillRect(option->rect, hairline(option->palette));
        return;
    case CE_ToolBar:
        return;
    case CE_ProgressBar:
        paintProgress(*painter, as<QStyleOptionProgressBar>(option));
        return;
    case CE_TabBarTabShape:
        paintTab(*painter, as<QStyleOptionTab>(option));
        return;
    default:
        QProxyStyle::drawControl(element, option, painter, widget);
    }
}

void Style::drawComplexControl(
    ComplexControl control, const QStyleOptionComplex* option, QPainter* painter, const QWidget* widget) const
{
    switch (control) {
    case CC_ScrollBar: {
        const auto& slider = as<QStyleOptionSlider>(option);
        paintScrollBar(*painter, slider, scrollHandle(slider));
        return;
    }
    case CC_ComboBox:
        paintComboBox(
            *painter, as<QStyleOptionComboBox>(option), subControlRect(control, option, SC_ComboBoxArrow, widget));
        return;
    case CC_SpinBox:
        paintSpinBox(*painter, as<QStyleOptionSpinBox>(option), subControlRect(control, option, SC_SpinBoxUp, widget),
            subControlRect(control, option, SC_SpinBoxDown, widget));
        return;
    default:
        QProxyStyle::drawComplexControl(control, option, painter, widget);
    }
}

QRect Style::subControlRect(
    ComplexControl control, const QStyleOptionComplex* option, SubControl subControl, const QWidget* widget) const
{
    if (control != CC_ScrollBar) {
        return QProxyStyle::subControlRect(control, option, subControl, widget);
    }
    const auto& slider = as<QStyleOptionSlider>(option);
    const QRect handle = scrollHandle(slider);
    const QRect all = slider.rect;
    const bool isHorizontal = slider.orientation == Qt::Horizontal;
    switch (subControl) {
    case SC_ScrollBarSlider:
        return handle;
    case SC_ScrollBarGroove:
        return all;
    case SC_ScrollBarSubPage:
        return isHorizontal ? QRect(all.topLeft(), QPoint(handle.left() - 1, all.bottom()))
                            : QRect(all.topLeft(), QPoint(all.right(), handle.top() - 1));
    case SC_ScrollBarAddPage:
        return isHorizontal ? QRect(QPoint(handle.right() + 1, all.top()), all.bottomRight())
                            : QRect(QPoint(all.left(), handle.bottom() + 1), all.bottomRight());
    default:
        return {};
    }
}

QRect Style::subElementRect(SubElement element, const QStyleOption* option, const QWidget* widget) const
{
    const QRect rect = QProxyStyle::subElementRect(element, option, widget);
    return element == SE_LineEditContents ? rect.adjusted(fieldPadding, 0, -fieldPadding, 0) : rect;
}

QSize Style::sizeFromContents(
    ContentsType type, const QStyleOption* option, const QSize& size, const QWidget* widget) const
{
    QSize result = QProxyStyle::sizeFromContents(type, option, size, widget);
    switch (type) {
    case CT_PushButton:
        return {std::max(result.width() + 16, 72), std::max(result.height(), 30)};
    case CT_LineEdit:
        return {result.width() + 2 * fieldPadding, std::max(result.height(), 30)};

    case CT_ComboBox:
    case CT_SpinBox:
        return {result.width(), std::max(result.height(), 30)};
    case CT_MenuItem: {
        const bool isSeparator = as<QStyleOptionMenuItem>(option).menuItemType == QStyleOptionMenuItem::Separator;
        return isSeparator ? result : QSize(result.width() + 16, std::max(result.height() + 4, 28));
    }
    case CT_ToolButton: {
        const bool isLabelled = as<QStyleOptionToolButton>(option).toolButtonStyle == Qt::ToolButtonTextBesideIcon;
        return {result.width() + (isLabelled ? 8 : 2), std::max(result.height(), 28)};
    }
    case CT_HeaderSection:
        return {result.width(), std::max(result.height(), 26)};
    case CT_ProgressBar:
        return {result.width(), 6};
    default:
        return result;
    }
}

QIcon Style::standardIcon(StandardPixmap pixmap, const QStyleOption* option, const QWidget* widget) const
{
    switch (pixmap) {
    case SP_LineEditClearButton:
        return symbolIcon(Symbol::close);
    case SP_MessageBoxInformation:
        return symbolIcon(Symbol::info, SymbolTint::notice);
    case SP_MessageBoxWarning:
        return symbolIcon(Symbol::warning, SymbolTint::warning);
    case SP_MessageBoxCritical:
        return symbolIcon(Symbol::error, SymbolTint::danger);
    case SP_ToolBarHorizontalExtensionButton:
    case SP_ToolBarVerticalExtensionButton:
        return symbolIcon(Symbol::more);
    default:
        return QProxyStyle::standardIcon(pixmap, option, widget);
    }
}
