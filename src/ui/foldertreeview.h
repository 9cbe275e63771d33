#pragma once

#include "lists/typeahead.h"
#include "lists/viewmodes.h"

#include <QElapsedTimer>
#include <QTreeView>

#include <vector>

class FolderArrayController;
class FolderTreeModel;
class Record;
class SmartFolderModel;
class TabViewController;

// The folder pane beside a task table: the context, project or archive-category tree, or the flat list
// of smart folders (view ToComplete). Its selection is the folder list's: a selection by the user goes
// to the list and rebuilds the task list of the view; a selection the list made itself (jumps, stepping,
// type-ahead) is shown by showListSelection().
class FolderTreeView : public QTreeView {
    Q_OBJECT
public:
    // `view`: TaskView::Contexts, Projects, ToComplete (smart folders) or Archive.
    FolderTreeView(TabViewController& views, TaskView view, QWidget* parent = nullptr);
    ~FolderTreeView() override;

    TaskView view() const { return m_view; }
    // The tree model (nullptr for the smart folders) and the smart-folder model (nullptr for the trees).
    FolderTreeModel* folderModel() const { return m_tree; }
    SmartFolderModel* smartFolderModel() const { return m_smart; }
    // The folders selected in the folder list (smart folders: the one selected).
    std::vector<Record*> selectedFolders() const;

    // Selects the folder list's selection here and reveals it (ancestors expanded, scrolled to). When it
    // differs from what was selected here, the task list is rebuilt as for a user's selection.
    void showListSelection();
    void refreshCounters();
    // Builds the folders again, keeping the expanded folders and the selection.
    void refetch();
    void expandAllFolders();
    void collapseAllFolders();
    // Selects every folder (finding in all folders); the task list follows.
    void selectAllFolders();

    // A folder at the top (newSubfolder: under the selected one), selected, with its name being edited.
    void newFolder();
    void newSubfolder();
    void renameSelected();
    // Deletes the selected folder through the list's remove, with its confirmation.
    void deleteSelected();

    // Writes the expanded folders and the selected folder to the preferences, by object URI.
    void saveState() const;
    // Reads them back; folders that no longer exist are passed over.
    void restoreState();

    void keyboardSearch(const QString& search) override;

Q_SIGNALS:
    // The folder selection changed and the task list of the view has been rebuilt.
    void folderSelectionChanged();

protected:
    void selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) override;
    void dropEvent(QDropEvent* event) override;

private:
    QModelIndex indexOf(const Record* folder) const;
    Record* recordAt(const QModelIndex& index) const;
    // The folder shown when none was remembered; nullptr for none.
    Record* defaultFolder() const;
    std::vector<Record*> listSelection() const;
    // Selects `folders` here without passing the change back to the list.
    void reflect(const std::vector<Record*>& folders, bool reveal);
    // Hands the selection here to the list and rebuilds the task list.
    void applySelection();
    void addFolder(bool under);
    QStringList expandedUris() const;
    void expandUris(const QStringList& uris);
    QString expandedKey() const;
    QString selectionKey() const;

    TabViewController& m_views;
    TaskView m_view;
    FolderArrayController* m_folders = nullptr;
    FolderTreeModel* m_tree = nullptr;
    SmartFolderModel* m_smart = nullptr;
    bool m_reflecting = false;
    TypeAhead m_typeAhead;
    QElapsedTimer m_clock;
};
