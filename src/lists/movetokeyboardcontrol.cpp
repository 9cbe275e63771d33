#include "lists/movetokeyboardcontrol.h"

#include "lists/movetocontextsheetcontroller.h"
#include "model/context.h"
#include "model/project.h"

namespace {
const QString kNone = QStringLiteral("(none)");
}

bool MoveToKeyboardControl::keyDown(const KeyPress& key)
{
    const bool handled = handle(key);
    m_text = currentFolderText();
    return handled;
}

bool MoveToKeyboardControl::handle(const KeyPress& key)
{
    // Stepping failures (an empty folder list) change nothing, and a key has nothing to report them to.
    switch (key.key) {
    case Qt::Key_Backspace:
    case Qt::Key_Delete:
        if (!m_sheet.removeCurrentTask())
            m_sheet.moveDone();
        return true;
    case Qt::Key_Right:
        static_cast<void>(stepNext());
        return true;
    case Qt::Key_Left:
        static_cast<void>(stepPrevious());
        return true;
    case Qt::Key_Tab:
        m_sheet.host().selectNextKeyView();
        return true;
    case Qt::Key_Down:
    case Qt::Key_Up:
        if (!m_sheet.setNextTaskFromController(key.key == Qt::Key_Down))
            m_sheet.moveDone();
        return true;
    case Qt::Key_Space:
        if (key.shift())
            m_sheet.toggleCompleted();
        else
            m_sheet.toggleFlagged();
        return true;
    case Qt::Key_Enter:
        m_sheet.moveDone();
        return true;
    case Qt::Key_Return:
        return false;
    default:
        if (key.text.isEmpty())
            return false;
        chooseWithNameBeginningWith(QString(key.character()));
        return true;
    }
}

Status MoveToContextKeyboardControl::stepPrevious()
{
    return moveToContextSheetController().setPreviousTaskContext();
}

Status MoveToContextKeyboardControl::stepNext()
{
    return moveToContextSheetController().setNextTaskContext();
}

bool MoveToContextKeyboardControl::chooseWithNameBeginningWith(const QString& text)
{
    return moveToContextSheetController().setTaskContextWithNameBeginningWith(text);
}

QString MoveToContextKeyboardControl::currentFolderText() const
{
    const Context* c = moveToContextSheetController().context();
    return c ? c->name() : kNone;
}

Status MoveToProjectKeyboardControl::stepPrevious()
{
    return moveToContextSheetController().setPreviousTaskProject();
}

Status MoveToProjectKeyboardControl::stepNext()
{
    return moveToContextSheetController().setNextTaskProject();
}

bool MoveToProjectKeyboardControl::chooseWithNameBeginningWith(const QString& text)
{
    return moveToContextSheetController().setTaskProjectWithNameBeginningWith(text);
}

QString MoveToProjectKeyboardControl::currentFolderText() const
{
    const Project* p = moveToContextSheetController().project();
    return p ? p->pathName() : kNone;
}
