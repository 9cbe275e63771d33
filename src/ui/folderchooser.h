#pragma once

#include <QComboBox>

class Record;
class TabViewController;

// The pop-up chooser of a context or a project: an editable combo box whose entries are the folder
// list's arranged folders by path name (the Inbox first; for projects "(none)" first), completing what
// is typed against any part of a path, ignoring case. Used by the detail pane and as the field editor
// of the task tables' context and project cells.
//
// The entries are read again each time the pop-up opens or the chooser gets the focus, so a folder made
// elsewhere is offered at once. Typed text that names no folder chooses nothing: the chooser goes back
// to the folder it showed.
class FolderChooser : public QComboBox {
    Q_OBJECT
public:
    enum class Kind { Context, Project };

    FolderChooser(TabViewController& views, Kind kind, QWidget* parent = nullptr);

    Kind kind() const { return m_kind; }
    // Reads the folders again, keeping the current one.
    void reload();
    // nullptr shows "(none)" for projects, nothing for contexts.
    void setCurrentFolder(Record* folder);
    Record* currentFolder() const;
    // The folder `text` names: its exact path name, ignoring case, else the first folder whose path
    // contains it; nullptr for none (and for "(none)").
    Record* folderForText(const QString& text) const;
    static QString noneText();

Q_SIGNALS:
    // The user chose a folder (nullptr: "(none)"), by the pop-up, a completion or Return.
    void folderChosen(Record* folder);

protected:
    void showPopup() override;
    void focusInEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void commitText();
    int indexOfFolder(Record* folder) const;

    TabViewController& m_views;
    Kind m_kind;
    bool m_filling = false;
};
