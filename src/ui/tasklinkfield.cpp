#include "ui/tasklinkfield.h"

#include "capture/tasklinks.h"
#include "ui/icons.h"

#include <QApplication>
#include <QClipboard>
#include <QDragEnterEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

namespace {

constexpr int kLinkRole = Qt::UserRole;
constexpr int kPadding = 6;   // inside a token, left and right
constexpr int kMargin = 2;    // between tokens
constexpr int kIconSize = 16;

// A small picture of what the link opens, so a file, a page and a mail are told apart at a glance.
QIcon iconForLink(const QString& link)
{
    switch (linkKind(link)) {
    case LinkKind::File:
        return vyroIcon(QStringLiteral("file_edit.png"));
    case LinkKind::VyroItem:
        return vyroIcon(QStringLiteral("vyro"));
    case LinkKind::MailMessage:
    case LinkKind::MailAddress:
        return vyroIcon(QStringLiteral("context_mail.png"));
    default:
        return vyroIcon(QStringLiteral("file_web.png"));
    }
}

// A token: the label in a rounded box of the button colours, the highlight colours when selected, so
// both light and dark palettes read well.
class TokenDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        const QPalette& palette = option.palette;
        const bool selected = option.state & QStyle::State_Selected;
        const QRectF box = QRectF(option.rect).adjusted(kMargin + 0.5, kMargin + 0.5, -kMargin - 0.5, -kMargin - 0.5);
        const qreal radius = box.height() / 2;
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(QPen(palette.color(selected ? QPalette::Highlight : QPalette::Mid), 1));
        painter->setBrush(palette.brush(selected ? QPalette::Highlight : QPalette::Button));
        painter->drawRoundedRect(box, radius, radius);
        if (option.state & QStyle::State_HasFocus) {
            painter->setPen(QPen(palette.color(QPalette::Highlight), 1, Qt::DotLine));
            painter->setBrush(Qt::NoBrush);
            painter->drawRoundedRect(box.adjusted(-1, -1, 1, 1), radius + 1, radius + 1);
        }
        QRectF textBox = box.adjusted(kPadding, 0, -kPadding, 0);
        if (const QIcon icon = index.data(Qt::DecorationRole).value<QIcon>(); !icon.isNull()) {
            const QRectF iconBox(textBox.left(), box.center().y() - kIconSize / 2.0, kIconSize, kIconSize);
            icon.paint(painter, iconBox.toRect(), Qt::AlignCenter, selected ? QIcon::Selected : QIcon::Normal);
            textBox.setLeft(iconBox.right() + 4);
        }
        painter->setPen(palette.color(selected ? QPalette::HighlightedText : QPalette::ButtonText));
        const QString text = option.fontMetrics.elidedText(index.data().toString(), Qt::ElideMiddle, int(textBox.width()));
        painter->drawText(textBox, Qt::AlignVCenter | Qt::AlignLeft, text);
        painter->restore();
    }

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        const int icon = index.data(Qt::DecorationRole).isNull() ? 0 : kIconSize + 4;
        const int width = option.fontMetrics.horizontalAdvance(index.data().toString()) + icon + 2 * (kPadding + kMargin) + 2;
        return {qMin(width, 320), qMax(option.fontMetrics.height(), kIconSize) + 2 * kMargin + 6};
    }
};

} // namespace

TaskLinkField::TaskLinkField(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("detailLinks"));
    setAccessibleName(tr("Links"));
    setAcceptDrops(true);

    m_tokens = new QListWidget(this);
    m_tokens->setObjectName(QStringLiteral("detailLinkTokens"));
    m_tokens->setAccessibleName(tr("Links"));
    m_tokens->setViewMode(QListView::ListMode);
    m_tokens->setFlow(QListView::LeftToRight);
    m_tokens->setWrapping(true);
    m_tokens->setResizeMode(QListView::Adjust);
    m_tokens->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_tokens->setDragDropMode(QAbstractItemView::NoDragDrop);
    m_tokens->setAcceptDrops(false);
    m_tokens->setFrameShape(QFrame::NoFrame);
    m_tokens->setItemDelegate(new TokenDelegate(m_tokens));
    m_tokens->setContextMenuPolicy(Qt::CustomContextMenu);
    // Three rows of tokens before it scrolls.
    const int tokenHeight = qMax(m_tokens->fontMetrics().height(), kIconSize) + 2 * kMargin + 6;
    m_tokens->setFixedHeight(3 * tokenHeight + 2 * m_tokens->frameWidth() + 4);
    m_tokens->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_tokens->installEventFilter(this);
    connect(m_tokens, &QWidget::customContextMenuRequested, this, &TaskLinkField::showMenu);
    connect(m_tokens, &QListWidget::itemActivated, this,
            [this](QListWidgetItem* item) { Q_EMIT openRequested(item->data(kLinkRole).toString()); });

    m_input = new QLineEdit(this);
    m_input->setObjectName(QStringLiteral("detailLinkInput"));
    m_input->setAccessibleName(tr("New link"));
    m_input->setPlaceholderText(tr("Type a link, then Return"));
    m_input->setToolTip(tr("A web address, a path from \"/\" or any link; Return or a comma adds it"));
    m_input->setAcceptDrops(false);
    m_input->installEventFilter(this);
    connect(m_input, &QLineEdit::editingFinished, this, &TaskLinkField::commitTypedText);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    layout->addWidget(m_tokens);
    layout->addWidget(m_input);
    setFocusProxy(m_input);
}

void TaskLinkField::setLinks(const std::optional<QStringList>& links)
{
    if (links && *links == this->links() && m_input->placeholderText() != tr("Multiple values"))
        return;
    m_tokens->clear();
    for (const QString& link : links.value_or(QStringList())) {
        auto* item = new QListWidgetItem(linkLabel(link).isEmpty() ? link : linkLabel(link), m_tokens);
        item->setData(kLinkRole, link);
        item->setToolTip(link);
        item->setIcon(iconForLink(link));
    }
    m_input->setPlaceholderText(links ? tr("Type a link, then Return") : tr("Multiple values"));
}

QStringList TaskLinkField::links() const
{
    QStringList out;
    for (int i = 0; i < m_tokens->count(); ++i)
        out << m_tokens->item(i)->data(kLinkRole).toString();
    return out;
}

QStringList TaskLinkField::selectedLinks() const
{
    QStringList out;
    for (int i = 0; i < m_tokens->count(); ++i)
        if (m_tokens->item(i)->isSelected())
            out << m_tokens->item(i)->data(kLinkRole).toString();
    return out;
}

void TaskLinkField::selectLink(const QString& link)
{
    for (int i = 0; i < m_tokens->count(); ++i) {
        QListWidgetItem* item = m_tokens->item(i);
        const bool match = item->data(kLinkRole).toString() == link;
        item->setSelected(match);
        if (match)
            m_tokens->setCurrentItem(item, QItemSelectionModel::Select);
    }
}

void TaskLinkField::commitTypedText()
{
    const QString typed = m_input->text().trimmed();
    if (typed.isEmpty())
        return;
    m_input->clear();
    const QString link = linkFromTypedText(typed);
    const QStringList current = links();
    if (link.isEmpty() || current.contains(link))
        return;
    Q_EMIT linksEdited(current + QStringList{link});
}

void TaskLinkField::fillMenu(QMenu& menu, const QString& link)
{
    menu.clear();
    QAction* open = menu.addAction(linkOpenTitle(link), this, [this, link] { Q_EMIT openRequested(link); });
    open->setObjectName(QStringLiteral("linkOpen"));
    const QString reveal = linkRevealTitle(link);
    if (!reveal.isEmpty())
        menu.addAction(reveal, this, [this, link] { Q_EMIT revealRequested(link); })->setObjectName(QStringLiteral("linkReveal"));
    menu.addAction(tr("Copy as link"), this, [link] { QApplication::clipboard()->setMimeData(mimeDataForLinks({link})); })
        ->setObjectName(QStringLiteral("linkCopy"));
}

void TaskLinkField::showMenu(const QPoint& position)
{
    QListWidgetItem* item = m_tokens->itemAt(position);
    if (!item)
        item = m_tokens->currentItem();
    if (!item)
        return;
    const QString link = item->data(kLinkRole).toString();
    QMenu menu(this);
    menu.setObjectName(QStringLiteral("linkMenu"));
    menu.setAccessibleName(tr("Link actions"));
    fillMenu(menu, link);
    menu.exec(m_tokens->viewport()->mapToGlobal(m_tokens->visualItemRect(item).bottomLeft()));
}

void TaskLinkField::paste()
{
    offer(QApplication::clipboard()->mimeData());
}

void TaskLinkField::copySelection() const
{
    const QStringList links = selectedLinks();
    if (!links.isEmpty())
        QApplication::clipboard()->setMimeData(mimeDataForLinks(links));
}

void TaskLinkField::removeSelection()
{
    const QStringList selected = selectedLinks();
    if (selected.isEmpty())
        return;
    QStringList remaining = links();
    for (const QString& link : selected)
        remaining.removeAll(link);
    Q_EMIT linksEdited(remaining);
}

bool TaskLinkField::offer(const QMimeData* data)
{
    if (!data)
        return false;
    const QStringList links = linksFromMimeData(*data);
    if (links.isEmpty())
        return false;
    Q_EMIT linksOffered(links);
    return true;
}

bool TaskLinkField::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress && event->type() != QEvent::ShortcutOverride)
        return QWidget::eventFilter(watched, event);
    auto* key = static_cast<QKeyEvent*>(event);
    const bool press = event->type() == QEvent::KeyPress;
    if (watched == m_tokens) {
        const bool handled = key->matches(QKeySequence::Copy) || key->matches(QKeySequence::Paste) || key->key() == Qt::Key_Delete
            || key->key() == Qt::Key_Backspace;
        if (!handled)
            return QWidget::eventFilter(watched, event);
        // Claimed ahead of the window's shortcuts (the task tables have Copy, Paste and Delete too).
        event->accept();
        if (press) {
            if (key->matches(QKeySequence::Copy))
                copySelection();
            else if (key->matches(QKeySequence::Paste))
                paste();
            else
                removeSelection();
        }
        return true;
    }
    if (watched == m_input && press) {
        if (key->key() == Qt::Key_Comma) {
            commitTypedText();
            return true;
        }
        // Links on the clipboard become tokens; other text is pasted as text.
        if (key->matches(QKeySequence::Paste) && offer(QApplication::clipboard()->mimeData()))
            return true;
        if (key->key() == Qt::Key_Backspace && m_input->text().isEmpty() && m_tokens->count() > 0) {
            m_tokens->setFocus(Qt::ShortcutFocusReason);
            m_tokens->setCurrentRow(m_tokens->count() - 1, QItemSelectionModel::ClearAndSelect);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void TaskLinkField::dragEnterEvent(QDragEnterEvent* event)
{
    if (!linksFromMimeData(*event->mimeData()).isEmpty())
        event->acceptProposedAction();
}

void TaskLinkField::dragMoveEvent(QDragMoveEvent* event)
{
    event->acceptProposedAction();
}

void TaskLinkField::dropEvent(QDropEvent* event)
{
    if (offer(event->mimeData()))
        event->acceptProposedAction();
}
