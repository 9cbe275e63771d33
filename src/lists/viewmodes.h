#pragma once

#include <QString>

#include <optional>

class Preferences;

// The five views of the main window, by the index that is stored and compared.
enum class TaskView : int { Contexts = 0, Projects = 1, ToComplete = 2, Completed = 3, Archive = 4 };
inline constexpr int kTaskViewCount = 5;

// The mode controls of a view. Time: 0 pending (all but maybe), 1 current, 2 future, 3 maybe,
// 4 everything. Owner: 0 anyone, 1 mine, 2 waiting for, 3 delegated. Values outside these ranges (an
// edited preference) narrow nothing.
struct ViewModes {
    int timeMode = 0;
    int ownerMode = 0;
    bool flagged = false;
    bool nextActions = false;
    bool completed = false; // the project view only, and never stored
};

// The preference keys of a view's modes; empty where the view has no such (stored) mode.
struct ViewModeKeys {
    QString time;
    QString owner;
    QString flagged;
    QString nextActions;
};
ViewModeKeys viewModeKeys(TaskView view);

// The stored modes of a view; absent keys read as 0 / off.
ViewModes readViewModes(TaskView view, const Preferences& preferences);

// The predicate terms of the modes, "%@" standing for "Today". The context list adds the active-project
// test to every time mode and hides maybe tasks unless the mode asks for them; the other lists test
// only the task itself.
enum class TimeTermStyle { ContextList, TaskOnly };
std::optional<QString> timeModeTerm(int timeMode, TimeTermStyle style);
std::optional<QString> ownerModeTerm(int ownerMode);
QString flaggedModeTerm();
QString nextActionsModeTerm();
