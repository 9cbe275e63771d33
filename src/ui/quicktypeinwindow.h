#pragma once

#include <QDialog>

class ObjectContext;
class Preferences;
class QLineEdit;
class TabViewController;

// The floating quick type-in window: one line in the quick-entry syntax. Return makes the task and
// closes the window; an empty line, or one that cannot be read, leaves it open and makes nothing.
class QuickTypeInWindow : public QDialog {
    Q_OBJECT
public:
    // `mainWindow` (not owned) is the window that takes the keyboard back; it may be nullptr.
    QuickTypeInWindow(TabViewController& views, const Preferences& preferences, ObjectContext& store, QWidget* mainWindow);

    // Visible: cancels. Otherwise shows the window with an empty line, in front and active.
    void toggle();

    QLineEdit* taskField() const { return m_line; }

public Q_SLOTS:
    void accept() override;
    void reject() override;

private:
    void finish();

    TabViewController& m_views;
    const Preferences& m_preferences;
    ObjectContext& m_store;
    QWidget* m_mainWindow;
    QLineEdit* m_line;
};
