#include "ui/folderitemdelegate.h"

#include "ui/models/foldertreemodel.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>

namespace {
constexpr int kPadding = 6;  // inside the badge, left and right
constexpr int kMargin = 4;   // between the badge and the row's end, and the text
constexpr int kMinRowHeight = 22;
} // namespace

QRect FolderItemDelegate::badgeRect(const QRect& row, const QFontMetrics& metrics, const QString& text)
{
    const int height = metrics.height() + 2;
    const int width = std::max(height, metrics.horizontalAdvance(text) + 2 * kPadding);
    return QRect(row.right() - kMargin - width + 1, row.top() + (row.height() - height) / 2, width, height);
}

void FolderItemDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    const QVariant foreground = index.data(Qt::ForegroundRole);
    if (!foreground.isValid() || option->palette.color(QPalette::Base).lightness() >= 128)
        return;
    const QColor colour = foreground.value<QColor>();
    option->palette.setColor(QPalette::Text, colour.lighter(180));
}

void FolderItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const QString text = index.data(FolderTreeModel::CountTextRole).toString();
    if (text.isEmpty()) {
        QStyledItemDelegate::paint(painter, option, index);
        return;
    }
    QStyleOptionViewItem opt = option;
    initStyleOption(&opt, index);
    const QWidget* widget = option.widget;
    QStyle* style = widget ? widget->style() : QApplication::style();

    QFont small = opt.font;
    small.setPointSizeF(std::max(6.0, small.pointSizeF() * 0.85));
    const QFontMetrics metrics(small);
    const QRect badge = badgeRect(opt.rect, metrics, text);

    // The selection and hover panel spans the whole row; the name is laid out left of the badge.
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &opt, painter, widget);
    QStyleOptionViewItem name = opt;
    name.rect.setRight(badge.left() - kMargin);
    style->drawControl(QStyle::CE_ItemViewItem, &name, painter, widget);

    const bool selected = opt.state & QStyle::State_Selected;
    const QPalette::ColorGroup group = opt.state & QStyle::State_Enabled ? QPalette::Normal : QPalette::Disabled;
    QColor ink = opt.palette.color(group, selected ? QPalette::HighlightedText : QPalette::Text);
    QColor fill = ink;
    fill.setAlphaF(0.16f);
    if (index.data(FolderTreeModel::DueTodayCountRole).toLongLong() > 0 && !selected) {
        fill = QColor(191, 0, 0); // the due-today colour of the task rows
        ink = Qt::white;
    }
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    QPainterPath path;
    path.addRoundedRect(QRectF(badge), badge.height() / 2.0, badge.height() / 2.0);
    painter->fillPath(path, fill);
    painter->setFont(small);
    painter->setPen(ink);
    painter->drawText(badge, Qt::AlignCenter, text);
    painter->restore();
}

QSize FolderItemDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    QSize size = QStyledItemDelegate::sizeHint(option, index);
    size.setHeight(std::max(size.height() + 4, kMinRowHeight));
    const QString text = index.data(FolderTreeModel::CountTextRole).toString();
    if (!text.isEmpty())
        size.rwidth() += badgeRect(QRect(0, 0, 0, size.height()), option.fontMetrics, text).width() + 2 * kMargin;
    return size;
}
