#pragma once

#include <QStyledItemDelegate>

// Draws a folder row as the style does, with the folder's counter as a rounded badge at the right end
// (FolderTreeModel::CountTextRole; none when empty). The badge takes the row's text colour, faintly
// filled, so it reads in light and dark palettes; a folder with tasks due today gets the due-today
// accent instead.
class FolderItemDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    // The badge's rectangle for `text` in a row of `row`'s height, right-aligned in it.
    static QRect badgeRect(const QRect& row, const QFontMetrics& metrics, const QString& text);

protected:
    // The model's text colours are chosen against a light background; on a dark one they are lightened.
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;
};
