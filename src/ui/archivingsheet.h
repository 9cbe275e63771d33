#pragma once

#include <QDialog>

class ArchiveCategory;
class QComboBox;
class QLineEdit;
class QPushButton;
class TabViewController;
class TasksArrayController;

// The archiving sheet: files the selected tasks of a list in an archive category with new tags. The
// category chooser is the archive tree's selection (choosing here selects there); the tags start as the
// one selected task's tags, else empty, and replace the tags of every task archived.
class ArchivingSheet : public QDialog {
    Q_OBJECT
public:
    ArchivingSheet(TabViewController& views, QWidget* mainWindow);

    // Opens window-modal on the main window for `list`'s selected tasks. The list must outlive the sheet
    // while it is open.
    void showArchivingSheet(TasksArrayController& list);

    QComboBox* categoryChooser() const { return m_categories; }
    QLineEdit* tagsField() const { return m_tags; }

    // Archives the list's selected tasks in the chosen category as one undo step, re-arranges the
    // list, refreshes the counts and closes. Without a category it does nothing.
    void archive();

Q_SIGNALS:
    void tasksArchived(ArchiveCategory* category);

private:
    void fillCategories();
    ArchiveCategory* chosenCategory() const;

    TabViewController& m_views;
    TasksArrayController* m_list = nullptr;
    QComboBox* m_categories;
    QLineEdit* m_tags;
    QPushButton* m_archive;
};
