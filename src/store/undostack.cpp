#include "store/undostack.h"

#include <algorithm>

void UndoStack::beginUndoGrouping(const QString& actionName)
{
    if (m_depth == 0 && m_implicitOpen) {
        // An explicit group swallows changes already collected in this event.
        m_implicitOpen = false;
    }
    if (m_depth == 0 && (m_open.entries.empty() || !actionName.isEmpty()))
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
        pushUndoGroup(std::move(m_open));
    m_open = {};
    changed();
}

void UndoStack::setActionName(const QString& name)
{
    if (m_depth > 0 || m_implicitOpen)
        m_open.actionName = name;
    else if (!m_undo.empty())
        m_undo.back().actionName = name;
    changed();
}

void UndoStack::closeImplicitGroup()
{
    if (!m_implicitOpen)
        return;
    m_implicitOpen = false;
    if (!m_open.entries.empty())
        pushUndoGroup(std::move(m_open));
    m_open = {};
    changed();
}

void UndoStack::trim(std::vector<UndoGroup>& groups) const
{
    if (m_levels > 0 && groups.size() > size_t(m_levels))
        groups.erase(groups.begin(), groups.end() - m_levels);
}

void UndoStack::pushUndoGroup(UndoGroup group)
{
    m_undo.push_back(std::move(group));
    trim(m_undo);
}

void UndoStack::setLevelsOfUndo(int levels)
{
    m_levels = std::max(0, levels);
    trim(m_undo);
    trim(m_redo);
    changed();
}

template <typename Visit>
void UndoStack::forEachGroup(Visit visit) const
{
    for (const UndoGroup& g : m_undo)
        visit(g);
    for (const UndoGroup& g : m_redo)
        visit(g);
    visit(m_open);
}

size_t UndoStack::entryCount() const
{
    size_t n = 0;
    forEachGroup([&n](const UndoGroup& g) {
        for (const UndoEntry& e : g.entries)
            n += e.run ? e.run->size() : 1;
    });
    return n;
}

size_t UndoStack::approximateBytes() const
{
    size_t n = sizeof(*this) + (m_undo.capacity() + m_redo.capacity()) * sizeof(UndoGroup);
    forEachGroup([&n](const UndoGroup& g) {
        n += sizeof(UndoGroup) + g.entries.capacity() * sizeof(UndoEntry);
        for (const UndoEntry& e : g.entries)
            if (e.run)
                n += sizeof(*e.run) + e.run->capacity() * sizeof(e.run->front());
    });
    return n;
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
    m_coalescing = -1;
    changed();
}

void UndoStack::beginCoalescing(int attribute)
{
    m_coalescing = attribute;
}

void UndoStack::endCoalescing()
{
    m_coalescing = -1;
}

void UndoStack::registerEntry(UndoEntry entry)
{
    if (!m_enabled)
        return;
    const bool wasEmpty = m_open.entries.empty();
    if (m_state == State::Normal) {
        const bool hadRedo = !m_redo.empty();
        m_redo.clear();
        if (m_depth == 0)
            m_implicitOpen = true;
        if (hadRedo)
            changed();
    }
    if (entry.kind == UndoEntry::Kind::Attribute && entry.index == m_coalescing) {
        if (m_open.entries.empty() || m_open.entries.back().kind != UndoEntry::Kind::AttributeRun
            || m_open.entries.back().index != m_coalescing) {
            UndoEntry run(UndoEntry::Kind::AttributeRun, nullptr, m_coalescing);
            run.run = std::make_unique<std::vector<std::pair<Record*, Value>>>();
            m_open.entries.push_back(std::move(run));
        }
        m_open.entries.back().run->emplace_back(entry.record, std::move(entry.value));
    } else {
        m_open.entries.push_back(std::move(entry));
    }
    if (wasEmpty && m_state == State::Normal)
        changed();
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
    if (!m_open.entries.empty()) {
        if (m_state == State::Undoing)
            m_redo.push_back(std::move(m_open));
        else
            pushUndoGroup(std::move(m_open));
    }
    m_open = {};
    m_state = State::Normal;
    changed();
}
