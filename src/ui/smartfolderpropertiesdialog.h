#pragma once

#include <QDialog>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QSpinBox;
class SmartFolder;
class TabViewController;

// The properties sheet of a smart folder: its name, tags and how they match, the due-date window and the
// two query texts the folder only stores. OK writes what changed as one undo step and has the all-tasks
// list take up the new filter; Cancel changes nothing.
class SmartFolderPropertiesDialog : public QDialog {
    Q_OBJECT
public:
    SmartFolderPropertiesDialog(TabViewController& views, QWidget* mainWindow);

    // Opens window-modal on the main window with `folder`'s values; nothing for no folder.
    void showProperties(SmartFolder* folder);
    SmartFolder* folder() const { return m_folder; }

    // What OK does.
    void apply();

private:
    TabViewController& m_views;
    SmartFolder* m_folder = nullptr;
    QLineEdit* m_name;
    QLineEdit* m_tags;
    QComboBox* m_tagsMode;
    QSpinBox* m_dueDays;
    QCheckBox* m_overdue;
    QLineEdit* m_query;
    QLineEdit* m_text;
};
