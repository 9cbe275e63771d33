#pragma once

#include "lists/smartfoldersarraycontroller.h"
#include "lists/viewmodes.h"

#include <QString>

class Record;
class TasksArrayController;

// A desktop notification as the lists describe it; the desktop layer posts it.
struct DesktopNotification {
    QString title;
    QString description;
    QString name;
    QString iconName;
    int priority = 0;
    bool sticky = false;
    // What a click on the notification opens: a task's object URI, or nothing.
    QString clickContext;
};

// Everything the lists ask of the windows, as one interface. The desktop fills it in; the command line
// and the tests use this do-nothing base (or record the calls). A confirmation that nobody answers is
// refused, so headless code never deletes on a question.
class ListHost : public SmartFolderListHost {
public:
    void showAllTasksView() override { showView(TaskView::ToComplete); }
    void focusFolderList() override {}
    void focusTaskTable() override {}
    void showSmartFolderProperties(SmartFolder*) override {}
    void showWarning(const QString&, const QString&) override {}
    bool confirm(const QString&, const QString&, const QString&, const QString&) override { return false; }

    virtual void postNotification(const DesktopNotification&) {}
    // Brings a view forward (and selects its toolbar item).
    virtual void showView(TaskView) {}
    // `makeKey` false: to the front without taking the keyboard.
    virtual void bringMainWindowToFront(bool /*makeKey*/) {}
    virtual void activateApplication() {}
    virtual void clearSearchField() {}
    // Starts editing `column` of the row of `object` in the table of the current view.
    virtual void beginEditing(Record*, const QString& /*column*/) {}
    // The folder tree beside a view re-reads its counters.
    virtual void rearrangeFolderTree(TaskView) {}
    // The folder tree of a view fetches its folders again (after an insertion).
    virtual void refetchFolderTree(TaskView) {}
    // Opens the move-to sheet over the main window for `list`.
    virtual void showMoveToSheet(TasksArrayController&) {}
    // Focus moves to the control after the task table in the window's key order.
    virtual void focusNextControl() {}
};
