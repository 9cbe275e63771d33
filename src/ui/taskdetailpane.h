#pragma once

#include "platform/filemanager.h"

#include <QWidget>

#include <functional>
#include <unordered_set>
#include <vector>

class DateField;
class FolderChooser;
class QCheckBox;
class QComboBox;
class QCompleter;
class QStringListModel;
class TaskLinkField;
class QLabel;
class Record;
class QLineEdit;
class QPlainTextEdit;
class QSpinBox;
class QStackedWidget;
class TabViewController;
class Task;
struct ChangeBatch;

// The form beside the task tables that edits every attribute a user sets on the selected tasks.
//
// With several tasks, a field whose values differ shows "Multiple values" (or an unset control), and an
// edit writes that one field to every task, through the model's setters, as one undo step named after
// the field ("Change Due Date"). Text fields are written when editing finishes (the note when it loses
// the focus); nothing is written for a field the user has not changed. A link token typed or removed
// writes the links; links pasted or dropped are added to the first task only, as the task lists' paste
// rule says, each once.
//
// The pane follows the store: after each change batch it shows its tasks' values again, leaving alone
// a field that is being typed in, and drops tasks that were deleted.
class TaskDetailPane : public QWidget {
    Q_OBJECT
public:
    explicit TaskDetailPane(TabViewController& views, QWidget* parent = nullptr);

    // Edits still open in the fields are written to the tasks shown until now first.
    void setTasks(const std::vector<Task*>& tasks);
    const std::vector<Task*>& tasks() const { return m_tasks; }
    // Writes what is typed but not yet committed in the text fields.
    void commitPendingEdits();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildForm();
    void refresh();
    void storeChanged(const ChangeBatch& batch);

    // Writes with `write` every task for which `differs` holds, as one undo step; nothing at all when
    // no task differs. `then` runs inside the same step; `counts`: the folder trees re-read their
    // counters afterwards.
    template <class Differs, class Write>
    void apply(const QString& actionName, Differs differs, Write write, bool counts = false,
               const std::function<void()>& then = {});

    void commitName();
    void commitNote();
    void commitTags();
    void commitContacts();
    void writeLinks(const QStringList& links);
    void addOfferedLinks(const QStringList& links);
    void offerTagCompletions(const QString& text);
    void takeTagCompletion(const QString& completion);
    struct FlagBinding {
        QCheckBox* box;
        QString actionName;
        bool (Task::*get)() const;
        void (Task::*set)(bool);
    };
    void setFlag(const FlagBinding& flag);

    TabViewController& m_views;
    std::vector<Task*> m_tasks;
    std::unordered_set<const Record*> m_taskSet; // the shown tasks, to look records of a change up in
    bool m_refreshing = false;

    QStackedWidget* m_pages = nullptr;
    QLabel* m_placeholder = nullptr;
    QLineEdit* m_name = nullptr;
    QPlainTextEdit* m_note = nullptr;
    FolderChooser* m_context = nullptr;
    FolderChooser* m_project = nullptr;
    DateField* m_start = nullptr;
    DateField* m_due = nullptr;
    QComboBox* m_priority = nullptr;
    QComboBox* m_effort = nullptr;
    QCheckBox* m_nextAction = nullptr;
    QCheckBox* m_waitingFor = nullptr;
    QCheckBox* m_delegated = nullptr;
    QCheckBox* m_maybe = nullptr;
    QCheckBox* m_done = nullptr;
    std::vector<FlagBinding> m_flags;
    QLineEdit* m_tags = nullptr;
    QCompleter* m_tagCompleter = nullptr;
    QStringListModel* m_tagCompletions = nullptr;
    TaskLinkField* m_links = nullptr;
    FileManager m_files;
    QLineEdit* m_contacts = nullptr;
    QSpinBox* m_recurNumber = nullptr;
    QComboBox* m_recurMode = nullptr;
    QComboBox* m_recurType = nullptr;
};
