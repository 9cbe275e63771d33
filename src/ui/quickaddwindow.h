#pragma once

#include <QDialog>

class DateField;
class FolderChooser;
class ObjectContext;
class Preferences;
class QAbstractButton;
class QButtonGroup;
class QLineEdit;
class QPlainTextEdit;
class TabViewController;

// The floating quick add window: one field per attribute of the new task. OK (Return) makes the task
// through the context task list, Cancel (Escape) makes nothing; either way the main window takes the
// keyboard back and this one closes.
class QuickAddWindow : public QDialog {
    Q_OBJECT
public:
    // `mainWindow` (not owned) is the window that takes the keyboard back; it may be nullptr.
    QuickAddWindow(TabViewController& views, const Preferences& preferences, ObjectContext& store, QWidget* mainWindow);

    // Visible: cancels. Otherwise shows the window with cleared fields above every other window, in front
    // and active even when another program has the keyboard, with the focus in the name field.
    void toggle();

    // The fields, for tests and for the window's own wiring.
    QLineEdit* nameField() const { return m_name; }
    FolderChooser* contextField() const { return m_context; }
    FolderChooser* projectField() const { return m_project; }
    QButtonGroup* priorityGroup() const { return m_priority; }
    DateField* startDateField() const { return m_startDate; }
    DateField* dueDateField() const { return m_dueDate; }
    QPlainTextEdit* noteField() const { return m_note; }
    QLineEdit* tagsField() const { return m_tags; }
    QLineEdit* contactsField() const { return m_contacts; }
    QAbstractButton* okButton() const { return m_ok; }

public Q_SLOTS:
    void accept() override;
    void reject() override;

private:
    void clearFields();
    void finish();

    TabViewController& m_views;
    const Preferences& m_preferences;
    QWidget* m_mainWindow;
    QLineEdit* m_name;
    FolderChooser* m_context;
    FolderChooser* m_project;
    QButtonGroup* m_priority;
    DateField* m_startDate;
    DateField* m_dueDate;
    QPlainTextEdit* m_note;
    QLineEdit* m_tags;
    QLineEdit* m_contacts;
    QAbstractButton* m_ok;
};
