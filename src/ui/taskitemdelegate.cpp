#include "ui/taskitemdelegate.h"

#include "model/context.h"
#include "model/project.h"
#include "model/task.h"
#include "ui/folderchooser.h"
#include "ui/models/tasktablemodel.h"

#include <QApplication>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>

namespace {

QString identifierOf(const QModelIndex& index)
{
    return index.data(TaskTableModel::ColumnIdentifierRole).toString();
}

Task* taskOf(const QModelIndex& index)
{
    return static_cast<Task*>(index.data(TaskTableModel::TaskRole).value<void*>());
}

bool isIconColumn(const QString& id)
{
    return id == u"status" || id == u"nextaction";
}

} // namespace

TaskItemDelegate::TaskItemDelegate(TabViewController& views, QObject* parent) : QStyledItemDelegate(parent), m_views(views) {}

int TaskItemDelegate::pipCount(const QString& columnIdentifier)
{
    if (columnIdentifier == u"priority")
        return 5;
    if (columnIdentifier == u"effort")
        return 4;
    return 0;
}

void TaskItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const QString id = identifierOf(index);
    const int pips = pipCount(id);
    if (!pips && !isIconColumn(id) && id != u"done") {
        QStyledItemDelegate::paint(painter, option, index);
        return;
    }
    QStyleOptionViewItem opt = option;
    initStyleOption(&opt, index);
    // Background and selection as for any cell, without text or icon.
    opt.text.clear();
    opt.icon = QIcon();
    opt.features &= ~QStyleOptionViewItem::HasCheckIndicator;
    const QWidget* widget = option.widget;
    QStyle* style = widget ? widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &opt, painter, widget);

    if (pips) {
        paintPips(painter, option, index.data(TaskTableModel::ValueRole).toInt(), pips);
        return;
    }
    if (id == u"done") {
        QStyleOptionViewItem box = option;
        box.features |= QStyleOptionViewItem::HasCheckIndicator;
        box.checkState = index.data(TaskTableModel::ValueRole).toBool() ? Qt::Checked : Qt::Unchecked;
        const int side = style->pixelMetric(QStyle::PM_IndicatorWidth, &box, widget);
        box.rect = QRect(0, 0, side, side);
        box.rect.moveCenter(option.rect.center());
        // The styles draw the indicator from the state flags; checkState alone leaves the box empty.
        box.state |= QStyle::State_Enabled;
        box.state &= ~(QStyle::State_On | QStyle::State_Off | QStyle::State_NoChange);
        box.state |= box.checkState == Qt::Checked ? QStyle::State_On : QStyle::State_Off;
        style->drawPrimitive(QStyle::PE_IndicatorItemViewItemCheck, &box, painter, widget);
        return;
    }
    const QIcon icon = index.data(Qt::DecorationRole).value<QIcon>();
    if (icon.isNull())
        return;
    const int side = qMin(option.rect.height() - 4, 16);
    QRect target(0, 0, side, side);
    target.moveCenter(option.rect.center());
    icon.paint(painter, target, Qt::AlignCenter,
               option.state.testFlag(QStyle::State_Selected) ? QIcon::Selected : QIcon::Normal);
}

void TaskItemDelegate::paintPips(QPainter* painter, const QStyleOptionViewItem& option, int value, int count) const
{
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    const bool done = option.font.strikeOut();
    const QPalette::ColorGroup group = done ? QPalette::Disabled : QPalette::Normal;
    QColor filled = selected ? option.palette.color(group, QPalette::HighlightedText)
                             : option.palette.color(group, done ? QPalette::Text : QPalette::Highlight);
    QColor empty = selected ? option.palette.color(group, QPalette::HighlightedText) : option.palette.color(group, QPalette::Text);
    empty.setAlphaF(0.25f);

    // The cell split into `count` equal slots, as a click reads it; a pip sits centred in each.
    const QRectF cell = QRectF(option.rect).adjusted(2, 0, -2, 0);
    const double slot = cell.width() / count;
    const double side = qMin(slot - 2, qMin(8.0, option.rect.height() - 6.0));
    if (side <= 1)
        return;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing, true);
    painter->setPen(Qt::NoPen);
    // Effort fills up to its value (more pips, more work). Priority marks only its own slot, since 1 is
    // the most urgent: a fuller bar must not read as more important. The urgent two are coloured.
    const bool priority = count == 5;
    if (priority && !selected && !done && value >= 1 && value <= 2)
        filled = value == 1 ? QColor(0xda, 0x44, 0x53) : QColor(0xf6, 0x74, 0x00);
    for (int i = 0; i < count; ++i) {
        QRectF pip(0, 0, side, side);
        pip.moveCenter(QPointF(cell.left() + slot * (i + 0.5), cell.center().y()));
        const bool on = priority ? i + 1 == value : i < value;
        painter->setBrush(on ? filled : empty);
        painter->drawRoundedRect(pip, side / 4, side / 4);
    }
    painter->restore();
}

QSize TaskItemDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const QString id = identifierOf(index);
    if (const int pips = pipCount(id))
        return {pips * 10 + 4, option.fontMetrics.height() + 4};
    if (isIconColumn(id) || id == u"done")
        return {20, option.fontMetrics.height() + 4};
    return QStyledItemDelegate::sizeHint(option, index);
}

QWidget* TaskItemDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const QString id = identifierOf(index);
    if (id == u"context" || id == u"project") {
        auto* chooser = new FolderChooser(m_views, id == u"context" ? FolderChooser::Kind::Context : FolderChooser::Kind::Project, parent);
        chooser->setObjectName(QStringLiteral("taskFolderEditor"));
        chooser->setAccessibleName(id == u"context" ? QStringLiteral("Context") : QStringLiteral("Project"));
        chooser->setFrame(false);
        connect(chooser, &FolderChooser::folderChosen, this, [this, chooser](Record*) {
            auto* self = const_cast<TaskItemDelegate*>(this);
            Q_EMIT self->commitData(chooser);
            Q_EMIT self->closeEditor(chooser, QAbstractItemDelegate::SubmitModelCache);
        });
        return chooser;
    }
    if (id != u"name")
        return nullptr;
    auto* edit = new QLineEdit(parent);
    edit->setObjectName(QStringLiteral("taskNameEditor"));
    edit->setAccessibleName(QStringLiteral("Task name"));
    edit->setFrame(false);
    Q_UNUSED(option);
    return edit;
}

void TaskItemDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const
{
    if (auto* chooser = qobject_cast<FolderChooser*>(editor)) {
        Task* task = taskOf(index);
        if (!task)
            return;
        chooser->setCurrentFolder(chooser->kind() == FolderChooser::Kind::Context ? static_cast<Record*>(task->parentContext())
                                                                                  : static_cast<Record*>(task->parentProject()));
        return;
    }
    if (auto* edit = qobject_cast<QLineEdit*>(editor)) {
        edit->setText(index.data(Qt::EditRole).toString());
        edit->selectAll();
    }
}

void TaskItemDelegate::setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const
{
    if (auto* chooser = qobject_cast<FolderChooser*>(editor)) {
        Task* task = taskOf(index);
        Record* now = chooser->kind() == FolderChooser::Kind::Context ? static_cast<Record*>(task ? task->parentContext() : nullptr)
                                                                      : static_cast<Record*>(task ? task->parentProject() : nullptr);
        if (task && chooser->currentFolder() != now)
            model->setData(index, QVariant::fromValue(static_cast<void*>(chooser->currentFolder())), Qt::EditRole);
        return;
    }
    if (auto* edit = qobject_cast<QLineEdit*>(editor))
        model->setData(index, edit->text(), Qt::EditRole);
}

void TaskItemDelegate::updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option, const QModelIndex&) const
{
    QRect r = option.rect;
    // The chooser needs room for its text and arrow: at least its own minimum width, over the cell.
    r.setWidth(qMax(r.width(), editor->minimumSizeHint().width()));
    r.setHeight(qMax(r.height(), editor->sizeHint().height()));
    r.moveTop(option.rect.center().y() - r.height() / 2);
    editor->setGeometry(r);
}

bool TaskItemDelegate::editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option, const QModelIndex& index)
{
    if (event->type() == QEvent::MouseButtonRelease && m_click) {
        auto* mouse = static_cast<QMouseEvent*>(event);
        if (mouse->button() == Qt::LeftButton && option.rect.contains(mouse->position().toPoint())
            && m_click(index, mouse->position().toPoint(), option.rect, mouse->modifiers()))
            return true;
    }
    if (event->type() == QEvent::MouseButtonDblClick) {
        // A double click on a command cell must not toggle twice through the view's editing.
        const QString id = identifierOf(index);
        if (id == u"done" || pipCount(id) || isIconColumn(id))
            return true;
    }
    return QStyledItemDelegate::editorEvent(event, model, option, index);
}
