#pragma once

#include "lists/folderarraycontroller.h"

class Context;
class TabViewController;
class Task;

// The flat list of all contexts: the Inbox first, then by path name without regard to case. Its
// selection is the context tree's.
class ContextArrayController : public TypedFolderArrayController<Context> {
public:
    explicit ContextArrayController(TabViewController& views);

    // The first context with "isInbox == 1"; nullptr on a store error or when there is none.
    Context* inboxContext() const;

    // Inserts a context, saves at once and shows it selected with its name being edited.
    Context* addNewContext(const QString& name);
    // Inserts a context under `parent` (which it takes `synchronizable` from) or at the top.
    Context* addNewContext(const QString& name, Context* parent);

    void switchToPreviousContext() { switchToPrevious(); }
    void switchToNextContext() { switchToNext(); }
    // Selects `context` and `task` in the context list; with switchTab the contexts view comes forward
    // with the task table focused.
    void switchToGivenContext(Context* context, Task* task, bool switchTab);

    // Deletes the selected context after the user confirms; the Inbox only gets a warning.
    void remove();

private:
    TabViewController& m_views;
};
