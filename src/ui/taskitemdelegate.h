#pragma once

#include <QStyledItemDelegate>

#include <functional>

class TabViewController;

// Paints the cells of a task table that are more than text: the done box, the next-action flag and the
// status image centred, priority as five pips (as many filled as the value: 1 is the highest) and effort
// as a four-step meter. Text cells are drawn as usual, with the model's grey and struck-out font for
// done tasks. Colours come from the palette, so light and dark themes both read.
//
// Editors: a line edit for the name, the folder chooser for the context and the project. A click on a
// cell goes first to the click handler (the table's cell commands); when it takes the click, the view's
// own selection and editing do not see it.
class TaskItemDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    // `index`, the click position and the cell's rectangle in viewport coordinates; true when handled.
    using ClickHandler = std::function<bool(const QModelIndex& index, QPoint position, QRect cell, Qt::KeyboardModifiers modifiers)>;

    explicit TaskItemDelegate(TabViewController& views, QObject* parent = nullptr);

    void setClickHandler(ClickHandler handler) { m_click = std::move(handler); }

    // The number of pips of a slider cell.
    static int pipCount(const QString& columnIdentifier);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;
    void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option, const QModelIndex& index) const override;

protected:
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option, const QModelIndex& index) override;

private:
    void paintPips(QPainter* painter, const QStyleOptionViewItem& option, int value, int count) const;

    TabViewController& m_views;
    ClickHandler m_click;
};
