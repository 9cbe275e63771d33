#include "store/undostack.h"

void UndoStack::beginUndoGrouping(const QString& actionName)
{
    if (m_depth == 0 && m_implicitOpen) {
        // An explicit group swallows changes already collected in this event.
        m_implicitOpen = false;
    }
    if (m_depth == 0 && m_open.entries.empty())
        m_open.actionName = actionName;
    else if (m_depth == 0 && !actionName.isEmpty())
        m_open.actionName = actionName;
    ++m_depth;
}

void UndoStack::endUndoGrouping()
{
    if (m_depth == 0)
        return;
    if (--m_depth > 0)
        return;
    if (!m_open.entries.empty() && m_state == State::Normal)
        m_undo.push_back(std::move(m_open));
    m_open = {};
}

void UndoStack::setActionName(const QString& name)
{
    if (m_depth > 0 || m_implicitOpen)
        m_open.actionName = name;
    else if (!m_undo.empty())
        m_undo.back().actionName = name;
}

void UndoStack::closeImplicitGroup()
{
    if (!m_implicitOpen)
        return;
    m_implicitOpen = false;
    if (!m_open.entries.empty())
        m_undo.push_back(std::move(m_open));
    m_open = {};
}

bool UndoStack::canUndo() const
{
    return !m_undo.empty() || !m_open.entries.empty();
}

QString UndoStack::undoActionName() const
{
    if (!m_open.entries.empty())
        return m_open.actionName;
    return m_undo.empty() ? QString() : m_undo.back().actionName;
}

QString UndoStack::redoActionName() const
{
    return m_redo.empty() ? QString() : m_redo.back().actionName;
}

void UndoStack::removeAllActions()
{
    m_undo.clear();
    m_redo.clear();
    m_open = {};
    m_depth = 0;
    m_implicitOpen = false;
}

void UndoStack::registerEntry(UndoEntry entry)
{
    if (!m_enabled)
        return;
    if (m_state == State::Normal) {
        m_redo.clear();
        if (m_depth == 0)
            m_implicitOpen = true;
    }
    m_open.entries.push_back(std::move(entry));
}

bool UndoStack::takeGroup(Direction direction, UndoGroup& group)
{
    if (direction == Direction::Undo) {
        // Undo first finishes whatever is being collected, as a menu command ends the current event.
        if (m_depth > 0) {
            m_depth = 1;
            endUndoGrouping();
        }
        closeImplicitGroup();
    }
    auto& stack = direction == Direction::Undo ? m_undo : m_redo;
    if (stack.empty())
        return false;
    group = std::move(stack.back());
    stack.pop_back();
    return true;
}

void UndoStack::beginReversing(Direction direction, const QString& actionName)
{
    m_state = direction == Direction::Undo ? State::Undoing : State::Redoing;
    m_open = {};
    m_open.actionName = actionName;
}

void UndoStack::endReversing()
{
    auto& target = m_state == State::Undoing ? m_redo : m_undo;
    if (!m_open.entries.empty())
        target.push_back(std::move(m_open));
    m_open = {};
    m_state = State::Normal;
}
