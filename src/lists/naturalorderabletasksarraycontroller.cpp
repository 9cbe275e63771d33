#include "lists/naturalorderabletasksarraycontroller.h"

#include "lists/folderarraycontroller.h"
#include "lists/listhost.h"
#include "lists/tabviewcontroller.h"
#include "model/task.h"
#include "store/objectcontext.h"

#include <algorithm>
#include <unordered_set>

NaturalOrderableTasksArrayController::NaturalOrderableTasksArrayController(TabViewController& views, TaskView view, QString positionKey)
    : TasksArrayController(views, view), m_positionKey(std::move(positionKey))
{
}

bool NaturalOrderableTasksArrayController::sortsByPositionFirst() const
{
    return !sortDescriptors().isEmpty() && sortDescriptors().front().key() == m_positionKey;
}

void NaturalOrderableTasksArrayController::adoptNewTask(Task* task, bool noGUI)
{
    if (!noGUI) {
        const ViewModes m = modes();
        if (m.timeMode == 3)
            task->setMaybe(true);
        if (m.ownerMode == 2)
            task->setWaitingFor(true);
    }
    rearrangeObjects();
    taskCountsHasChanged();
}

void NaturalOrderableTasksArrayController::showNewTask(Task* task, FolderArrayController& tree, Record* folder, bool makeKey)
{
    const int row = firstSelectionIndex();
    clearSearchAndRebuild();
    if (folder)
        tree.selectRecord(folder);
    updatePredicate();
    selectObject(task);
    if (isNaturalOrdered() && row >= 0)
        moveToPosition(row + 1);
    viewSwitcher().selectTab(view());
    host().focusTaskTable();
    host().bringMainWindowToFront(makeKey);
    host().activateApplication();
    host().beginEditing(task, QStringLiteral("name"));
}

void NaturalOrderableTasksArrayController::moveToPosition(int count)
{
    const std::vector<Task*> selected = selectedObjects();
    if (selected.empty()) {
        rearrangeObjects();
        return;
    }
    UndoGrouping step(store().undoManager(), QStringLiteral("Move Task"));
    const bool inContext = m_positionKey == QLatin1String("positionInContext");
    auto position = [inContext](const Task* t) { return t->primitiveValue(inContext ? Task::Attr::positionInContext : Task::Attr::positionInProject); };
    auto setPosition = [inContext](Task* t, const Value& v) {
        t->setPrimitiveValue(inContext ? Task::Attr::positionInContext : Task::Attr::positionInProject, v);
    };

    std::vector<Task*> shown = arrangedObjects();
    std::vector<Record*> byPosition(shown.begin(), shown.end());
    sortRecords(byPosition, {SortDescriptor(m_positionKey, true)});
    std::vector<Value> values;
    values.reserve(byPosition.size());
    for (Record* r : byPosition)
        values.push_back(position(static_cast<Task*>(r)));

    const std::unordered_set<Task*> chosen(selected.begin(), selected.end());
    std::vector<Task*> order;
    order.reserve(byPosition.size());
    int taken = 0;
    for (Record* r : byPosition) // the first `count` unselected tasks
        if (!chosen.contains(static_cast<Task*>(r)) && taken < count) {
            order.push_back(static_cast<Task*>(r));
            ++taken;
        }
    for (Record* r : byPosition)
        if (chosen.contains(static_cast<Task*>(r)))
            order.push_back(static_cast<Task*>(r));
    int skipped = 0;
    for (Record* r : byPosition)
        if (!chosen.contains(static_cast<Task*>(r)) && skipped++ >= count)
            order.push_back(static_cast<Task*>(r));

    UndoCoalescing oneUndoEntry(store().undoManager(), inContext ? Task::Attr::positionInContext : Task::Attr::positionInProject);
    for (size_t k = 0; k < order.size(); ++k)
        if (!(position(order[k]) == values[k]))
            setPosition(order[k], values[k]);
    rearrangeObjects();
}

void NaturalOrderableTasksArrayController::moveToBottom()
{
    if (selectedObjects().empty())
        return;
    moveToPosition(int(arrangedObjects().size()));
}

void NaturalOrderableTasksArrayController::moveUp()
{
    const int first = firstSelectionIndex();
    if (first > 0)
        moveToPosition(first - 1);
}

void NaturalOrderableTasksArrayController::moveDown()
{
    const int last = lastSelectionIndex();
    if (last < 0)
        return;
    const int p = last - int(selectedObjects().size()) + 2;
    if (p < int(arrangedObjects().size()))
        moveToPosition(p);
}
