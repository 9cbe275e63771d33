#pragma once

#include <QString>

#include <vector>

class ObjectContext;
class SmartFolder;
class Task;

// What the smart-folder list needs of the windows; the desktop fills it in, tests record the calls.
class SmartFolderListHost {
public:
    virtual ~SmartFolderListHost() = default;
    virtual void showAllTasksView() = 0;
    virtual void focusFolderList() = 0;
    virtual void focusTaskTable() = 0;
    virtual void showSmartFolderProperties(SmartFolder* folder) = 0;
    virtual void showWarning(const QString& title, const QString& text) = 0;
    // True when the user chose the default button.
    virtual bool confirm(const QString& title, const QString& text, const QString& defaultButton, const QString& otherButton) = 0;
};

// The list of smart folders: "All tasks" first, then any next-action folder, then the rest by name
// without regard to case. The special folders cannot be deleted.
class SmartFoldersArrayController {
public:
    SmartFoldersArrayController(ObjectContext& context, SmartFolderListHost& host);

    std::vector<SmartFolder*> arrangedObjects() const;
    SmartFolder* selectedFolder() const;
    void setSelectedFolder(SmartFolder* folder) { m_selected = folder; }

    // Inserts a folder (an empty name gives "New smart folder"), saves, shows it selected in the
    // all-tasks view and opens its properties.
    SmartFolder* addNewSmartFolder(const QString& name);
    SmartFolder* insertSmartFolder() { return addNewSmartFolder(QStringLiteral("New smart folder")); }
    // Deletes the selected folder after the user's confirmation; "All tasks" and a next-action folder
    // only get a warning.
    void remove();
    // The folder after (before) the selected one, wrapping around; nothing selected, nothing happens.
    void switchToNextSmartFolder();
    void switchToPreviousSmartFolder();
    void switchToGivenSmartFolder(SmartFolder* folder, Task* task, bool noGUI);
    SmartFolder* nextActionSmartFolder() const;

private:
    void step(int direction);

    ObjectContext& m_context;
    SmartFolderListHost& m_host;
    SmartFolder* m_selected = nullptr;
};
