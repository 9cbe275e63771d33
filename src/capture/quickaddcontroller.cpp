#include "capture/quickaddcontroller.h"

#include "app/preferences.h"
#include "lists/contexttasksarraycontroller.h"
#include "model/task.h"

#include <algorithm>

Task* QuickAddController::quickAddDone(const QuickAddValues& values)
{
    const int segment = std::clamp(values.prioritySegment, 0, 4);
    const bool noGUI = !m_preferences.boolForKey("showGUIAfterQuickAddWindow");
    Task* task = m_tasks.addNewTask(values.name, values.context, values.project, values.content, QString(), segment + 1,
                                    values.startDate, values.dueDate, joinTokens(values.tags), noGUI);
    if (task)
        task->setContact(joinTokens(values.contacts));
    return task;
}

QString QuickAddController::joinTokens(const QStringList& tokens)
{
    QStringList kept;
    for (const QString& token : tokens)
        if (!token.isEmpty())
            kept << token;
    return kept.join(QLatin1Char(','));
}

QStringList QuickAddController::splitTokens(const QString& text)
{
    QStringList tokens;
    for (const QString& part : text.split(QLatin1Char(',')))
        if (const QString token = part.trimmed(); !token.isEmpty())
            tokens << token;
    return tokens;
}
