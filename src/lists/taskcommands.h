#pragma once

class Preferences;
class Project;
class TasksArrayController;

// Commands on a list's selected tasks that the menus offer beside the table keys.

// Adds the tags of quick tag `number` ("quickTag1" … "quickTag9") to each selected task that does not
// have them yet, keeping its own tags first; one undo step. Numbers outside 1 to 9 and empty quick tags
// do nothing. Returns whether any task changed.
bool applyQuickTagsForID(TasksArrayController& list, const Preferences& preferences, int number);

// The first selected task becomes a project of the same name, under the task's own project when it has
// one; the new project takes the task's context as its default context and its tags as default tags,
// and the task is deleted. One undo step. Returns the project, or nullptr without a selection.
Project* promoteTaskToProject(TasksArrayController& list);
