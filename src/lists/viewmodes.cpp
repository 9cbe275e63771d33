#include "lists/viewmodes.h"

#include "app/preferences.h"

ViewModeKeys viewModeKeys(TaskView view)
{
    switch (view) {
    case TaskView::Contexts:
        return {QStringLiteral("timeModeControlForContextsState"), QStringLiteral("ownerModeControlForContextsState"),
                QStringLiteral("flaggedModeControlForContextsState"), QStringLiteral("nextActionsModeControlForContextsState")};
    case TaskView::Projects:
        return {QStringLiteral("timeModeControlForProjectsState"), QStringLiteral("ownerModeControlForProjectsState"),
                QStringLiteral("flaggedModeControlForProjectsState"), QString()};
    case TaskView::ToComplete:
        return {QStringLiteral("timeModeControlForPendingState"), QStringLiteral("ownerModeControlForPendingState"),
                QStringLiteral("flaggedModeControlForPendingState"), QStringLiteral("nextActionsModeControlForPendingState")};
    case TaskView::Archive:
        return {QString(), QString(), QStringLiteral("flaggedModeControlForArchiveState"), QString()};
    case TaskView::Completed:
        break;
    }
    return {};
}

ViewModes readViewModes(TaskView view, const Preferences& preferences)
{
    const ViewModeKeys keys = viewModeKeys(view);
    ViewModes modes;
    if (!keys.time.isEmpty())
        modes.timeMode = preferences.integerForKey(keys.time);
    if (!keys.owner.isEmpty())
        modes.ownerMode = preferences.integerForKey(keys.owner);
    if (!keys.flagged.isEmpty())
        modes.flagged = preferences.boolForKey(keys.flagged);
    if (!keys.nextActions.isEmpty())
        modes.nextActions = preferences.boolForKey(keys.nextActions);
    return modes;
}

std::optional<QString> timeModeTerm(int timeMode, TimeTermStyle style)
{
    if (style == TimeTermStyle::ContextList) {
        // Tasks of inactive projects stay hidden in every time mode of the context view.
        switch (timeMode) {
        case 0:
            return QStringLiteral("maybe<>1 and (parentProject == NULL or parentProject.active == 1)");
        case 1:
            return QStringLiteral("maybe<>1 and (startDate == NULL or startDate<=%@) and (parentProject == NULL or parentProject.active == 1)");
        case 2:
            return QStringLiteral("maybe<>1 and startDate>%@ and (parentProject == NULL or parentProject.active == 1)");
        case 3:
            return QStringLiteral("maybe==1 and (parentProject == NULL or parentProject.active == 1)");
        case 4:
            return QStringLiteral("(parentProject == NULL or parentProject.active == 1)");
        default:
            return std::nullopt;
        }
    }
    switch (timeMode) {
    case 0:
        return QStringLiteral("maybe<>1");
    case 1:
        return QStringLiteral("maybe<>1 and (startDate == NULL or startDate<=%@)");
    case 2:
        return QStringLiteral("maybe<>1 and startDate>%@");
    case 3:
        return QStringLiteral("maybe==1");
    default:
        return std::nullopt;
    }
}

std::optional<QString> ownerModeTerm(int ownerMode)
{
    switch (ownerMode) {
    case 1:
        return QStringLiteral("waitingFor<>1 and delegated<>1");
    case 2:
        return QStringLiteral("waitingFor==1");
    case 3:
        return QStringLiteral("delegated==1");
    default:
        return std::nullopt;
    }
}

QString flaggedModeTerm()
{
    return QStringLiteral("nextAction==1");
}

QString nextActionsModeTerm()
{
    return QStringLiteral("(parentProject == NULL) or (parentProject.hasSingleTasks == 1) or (positionInProject == 1)");
}
