#pragma once

#include "lists/keypress.h"
#include "lists/movetocontextsheetcontroller.h"

#include <QDialog>

#include <functional>

class MoveToKeyField;
class QComboBox;
class QLabel;
class QPushButton;
class TabViewController;
class TasksArrayController;

// The move-to sheet: a window-modal dialog on the main window that walks through the tasks of one list
// by keyboard. The walk itself (which task, which folder, what each key does) is the headless sheet
// controller's; this dialog shows its state and gives it the keys, each key that changes records as one
// undo step.
class MoveToSheet : public QDialog, public MoveToSheetHost {
    Q_OBJECT
public:
    MoveToSheet(TabViewController& views, QWidget* mainWindow);
    ~MoveToSheet() override;

    using QDialog::open;
    // Opens the sheet on `list`'s first selected task; false, and nothing shown, without one.
    bool open(TasksArrayController& list);

    MoveToContextSheetController& controller() { return m_controller; }
    MoveToKeyField* contextField() const { return m_contextField; }
    MoveToKeyField* projectField() const { return m_projectField; }

    void showSheet() override;
    void closeSheet() override;
    void focusFirstControl() override;
    void selectNextKeyView() override;

public Q_SLOTS:
    void reject() override;

private:
    void showTask();
    void showTaskState();
    bool wrapKey(bool projectControl, const KeyPress& key, const std::function<bool()>& handle);

    TabViewController& m_views;
    MoveToContextSheetController m_controller;
    QLabel* m_taskName;
    QLabel* m_flag;
    QComboBox* m_priority;
    MoveToKeyField* m_contextField;
    MoveToKeyField* m_projectField;
    QPushButton* m_done;
};
