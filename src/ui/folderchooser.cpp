#include "ui/folderchooser.h"

#include "lists/contextarraycontroller.h"
#include "lists/projectarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "model/context.h"
#include "model/project.h"

#include <QAbstractItemView>
#include <QCompleter>
#include <QKeyEvent>
#include <QLineEdit>

namespace {

Record* recordAt(const QComboBox& box, int index)
{
    return index < 0 ? nullptr : reinterpret_cast<Record*>(box.itemData(index).value<quintptr>());
}

} // namespace

FolderChooser::FolderChooser(TabViewController& views, Kind kind, QWidget* parent)
    : QComboBox(parent), m_views(views), m_kind(kind)
{
    setEditable(true);
    setInsertPolicy(QComboBox::NoInsert);
    setMaxVisibleItems(20);
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    setMinimumContentsLength(12);
    auto* completer = new QCompleter(model(), this);
    completer->setCaseSensitivity(Qt::CaseInsensitive);
    completer->setFilterMode(Qt::MatchContains);
    completer->setCompletionMode(QCompleter::PopupCompletion);
    setCompleter(completer);
    connect(this, &QComboBox::activated, this, [this](int index) {
        if (!m_filling)
            Q_EMIT folderChosen(recordAt(*this, index));
    });
    connect(completer, qOverload<const QString&>(&QCompleter::activated), this, [this](const QString&) { commitText(); });
    // Return while the completions are open but none is highlighted would only close the list, and
    // the typed text would be lost when the focus leaves: it chooses what the text names instead.
    completer->popup()->installEventFilter(this);
    reload();
}

QString FolderChooser::noneText()
{
    return QStringLiteral("(none)");
}

void FolderChooser::reload()
{
    Record* current = currentFolder();
    m_filling = true;
    clear();
    if (m_kind == Kind::Project) {
        addItem(noneText(), QVariant::fromValue<quintptr>(0));
        for (Project* p : m_views.projectController().arrangedObjects())
            addItem(p->pathName(), QVariant::fromValue(reinterpret_cast<quintptr>(static_cast<Record*>(p))));
    } else {
        for (Context* c : m_views.contextController().arrangedObjects())
            addItem(c->pathName(), QVariant::fromValue(reinterpret_cast<quintptr>(static_cast<Record*>(c))));
    }
    m_filling = false;
    setCurrentFolder(current);
}

int FolderChooser::indexOfFolder(Record* folder) const
{
    return findData(QVariant::fromValue(reinterpret_cast<quintptr>(folder)));
}

void FolderChooser::setCurrentFolder(Record* folder)
{
    m_filling = true;
    const int index = indexOfFolder(folder);
    setCurrentIndex(index);
    if (index < 0)
        setEditText(QString());
    m_filling = false;
}

Record* FolderChooser::currentFolder() const
{
    return recordAt(*this, currentIndex());
}

Record* FolderChooser::folderForText(const QString& text) const
{
    const QString wanted = text.trimmed();
    if (wanted.isEmpty() || wanted.compare(noneText(), Qt::CaseInsensitive) == 0)
        return nullptr;
    const int exact = findText(wanted, Qt::MatchFixedString);
    if (exact >= 0)
        return recordAt(*this, exact);
    const int partial = findText(wanted, Qt::MatchContains);
    return recordAt(*this, partial);
}

void FolderChooser::commitText()
{
    const QString text = currentText();
    Record* folder = folderForText(text);
    const bool none = m_kind == Kind::Project
                      && (text.trimmed().isEmpty() || text.trimmed().compare(noneText(), Qt::CaseInsensitive) == 0);
    if (!folder && !none) {
        setCurrentFolder(currentFolder()); // names nothing: back to what was shown
        return;
    }
    setCurrentFolder(folder);
    Q_EMIT folderChosen(folder);
}

void FolderChooser::showPopup()
{
    reload();
    QComboBox::showPopup();
}

void FolderChooser::focusInEvent(QFocusEvent* event)
{
    if (!completer()->popup()->isVisible())
        reload();
    QComboBox::focusInEvent(event);
}

bool FolderChooser::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == completer()->popup() && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if ((key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) && !completer()->popup()->currentIndex().isValid()) {
            completer()->popup()->hide();
            commitText();
            return true;
        }
    }
    return QComboBox::eventFilter(watched, event);
}

void FolderChooser::keyPressEvent(QKeyEvent* event)
{
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && !completer()->popup()->isVisible()) {
        commitText();
        event->accept();
        return;
    }
    QComboBox::keyPressEvent(event);
}
