#include "ui/taskdetailpane.h"

#include "app/preferences.h"
#include "capture/tasklinks.h"
#include "capture/tasktagscontroller.h"
#include "capture/urlcontrollers.h"
#include "lists/tabviewcontroller.h"
#include "lists/tasksarraycontroller.h"
#include "model/cleanupcontroller.h"
#include "model/context.h"
#include "model/project.h"
#include "model/task.h"
#include "store/objectcontext.h"
#include "ui/datefield.h"
#include "ui/folderchooser.h"
#include "ui/tasklinkfield.h"

#include <QCheckBox>
#include <QComboBox>
#include <QAbstractItemView>
#include <QCompleter>
#include <QEvent>
#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollArea>
#include <QScrollBar>
#include <QSpinBox>
#include <QStackedWidget>
#include <QStringListModel>
#include <QVBoxLayout>

#include <algorithm>
#include <functional>
#include <optional>

namespace {

QString multipleValues()
{
    return QObject::tr("Multiple values");
}

// The value all tasks share; nullopt when they differ (or there are none).
template <class Get>
auto common(const std::vector<Task*>& tasks, Get get) -> std::optional<decltype(get(tasks.front()))>
{
    if (tasks.empty())
        return std::nullopt;
    auto first = get(tasks.front());
    for (size_t i = 1; i < tasks.size(); ++i)
        if (!(get(tasks[i]) == first))
            return std::nullopt;
    return first;
}

template <class W>
W* named(W* widget, const QString& objectName, const QString& accessibleName)
{
    widget->setObjectName(objectName);
    widget->setAccessibleName(accessibleName);
    return widget;
}

// Shows `text` without taking the user's place: a field being typed in keeps what is typed, and a
// focused field that gets a new value keeps its cursor where it was.
void showText(QLineEdit* edit, const std::optional<QString>& value)
{
    if (edit->hasFocus() && edit->isModified())
        return;
    edit->setPlaceholderText(value ? QString() : multipleValues());
    const QString text = value.value_or(QString());
    if (edit->text() != text) {
        const int cursor = edit->cursorPosition();
        edit->setText(text);
        // A field the user is not in shows the beginning of a long text, not its end.
        edit->setCursorPosition(edit->hasFocus() ? std::min<int>(cursor, text.size()) : 0);
    }
    edit->setModified(false);
}

void showText(QPlainTextEdit* edit, const std::optional<QString>& value)
{
    if (edit->hasFocus() && edit->document()->isModified())
        return;
    edit->setPlaceholderText(value ? QString() : multipleValues());
    const QString text = value.value_or(QString());
    if (edit->toPlainText() != text) {
        const int cursor = edit->textCursor().position();
        edit->setPlainText(text);
        QTextCursor c = edit->textCursor();
        c.setPosition(std::min<int>(cursor, text.size()));
        edit->setTextCursor(c);
    }
    edit->document()->setModified(false);
}

// "a, b" and "a,b,," both give ["a", "b"]: blanks around the separator are not part of a name.
QStringList splitList(const QString& text, QChar separator)
{
    QStringList out;
    for (const QString& part : text.split(separator, Qt::SkipEmptyParts)) {
        const QString trimmed = part.trimmed();
        if (!trimmed.isEmpty())
            out << trimmed;
    }
    return out;
}

// The mnemonics of the form share the window with the menu bar's (File, Edit, Task, View, Window,
// Help), so each letter here is one the menus leave free. The buddy is the widget that takes the focus:
// a date field's text, not the field, which has no focus of its own.
QLabel* buddyLabel(const QString& text, QWidget* buddy)
{
    auto* label = new QLabel(text);
    label->setBuddy(buddy);
    return label;
}

QString listText(const QString& stored)
{
    return splitList(stored, u',').join(QStringLiteral(", "));
}

} // namespace

TaskDetailPane::TaskDetailPane(TabViewController& views, QWidget* parent) : QWidget(parent), m_views(views)
{
    setObjectName(QStringLiteral("taskDetailPane"));
    setAccessibleName(tr("Task details"));
    buildForm();
    connect(&m_views.store(), &ObjectContext::objectsDidChange, this, &TaskDetailPane::storeChanged);
    refresh();
}

void TaskDetailPane::buildForm()
{
    m_pages = new QStackedWidget(this);
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(m_pages);

    m_placeholder = named(new QLabel(tr("No task selected")), QStringLiteral("detailPlaceholder"), tr("No task selected"));
    m_placeholder->setAlignment(Qt::AlignCenter);
    m_placeholder->setForegroundRole(QPalette::PlaceholderText);
    m_pages->addWidget(m_placeholder);

    auto* scroll = new QScrollArea;
    scroll->setObjectName(QStringLiteral("detailScrollArea"));
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    auto* form = new QWidget;
    scroll->setWidget(form);
    m_pages->addWidget(scroll);

    auto* layout = new QFormLayout(form);
    layout->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    layout->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    layout->setRowWrapPolicy(QFormLayout::DontWrapRows);
    layout->setContentsMargins(12, 12, 12, 12);
    layout->setHorizontalSpacing(8);
    layout->setVerticalSpacing(6);

    m_name = named(new QLineEdit, QStringLiteral("detailName"), tr("Name"));
    QFont big = m_name->font();
    big.setPointSizeF(big.pointSizeF() * 1.25);
    big.setWeight(QFont::DemiBold);
    m_name->setFont(big);
    layout->addRow(tr("Na&me:"), m_name);

    m_context = named(new FolderChooser(m_views, FolderChooser::Kind::Context), QStringLiteral("detailContext"), tr("Context"));
    layout->addRow(tr("&Context:"), m_context);
    m_project = named(new FolderChooser(m_views, FolderChooser::Kind::Project), QStringLiteral("detailProject"), tr("Project"));
    layout->addRow(tr("&Project:"), m_project);

    m_start = new DateField(m_views.store());
    m_start->setFieldName(QStringLiteral("detailStartDate"), tr("Start date"));
    layout->addRow(buddyLabel(tr("&Start date:"), m_start->lineEdit()), m_start);
    m_due = new DateField(m_views.store());
    m_due->setFieldName(QStringLiteral("detailDueDate"), tr("Due date"));
    layout->addRow(buddyLabel(tr("D&ue date:"), m_due->lineEdit()), m_due);

    m_priority = named(new QComboBox, QStringLiteral("detailPriority"), tr("Priority"));
    for (int p = 1; p <= 5; ++p)
        m_priority->addItem(QString::number(p), p);
    m_effort = named(new QComboBox, QStringLiteral("detailEffort"), tr("Effort"));
    for (int e = 1; e <= 4; ++e)
        m_effort->addItem(QString::number(e), e);
    auto* levels = new QHBoxLayout;
    levels->addWidget(m_priority);
    QLabel* effortLabel = buddyLabel(tr("Eff&ort:"), m_effort);
    levels->addSpacing(12);
    levels->addWidget(effortLabel);
    levels->addWidget(m_effort);
    levels->addStretch(1);
    layout->addRow(buddyLabel(tr("P&riority:"), m_priority), levels);

    m_nextAction = named(new QCheckBox(tr("Next action")), QStringLiteral("detailNextAction"), tr("Next action"));
    m_waitingFor = named(new QCheckBox(tr("Waiting for")), QStringLiteral("detailWaitingFor"), tr("Waiting for"));
    m_delegated = named(new QCheckBox(tr("Delegated")), QStringLiteral("detailDelegated"), tr("Delegated"));
    m_maybe = named(new QCheckBox(tr("Maybe")), QStringLiteral("detailMaybe"), tr("Maybe"));
    m_done = named(new QCheckBox(tr("Done")), QStringLiteral("detailDone"), tr("Done"));
    m_flags = {
        {m_nextAction, tr("Change Next Action"), &Task::nextAction, &Task::setNextAction},
        {m_waitingFor, tr("Change Waiting For"), &Task::waitingFor, &Task::setWaitingFor},
        {m_delegated, tr("Change Delegated"), &Task::delegated, &Task::setDelegated},
        {m_maybe, tr("Change Maybe"), &Task::maybe, &Task::setMaybe},
        {m_done, tr("Change Done"), &Task::done, &Task::setDone},
    };
    auto* flags = new QGridLayout;
    flags->setContentsMargins(0, 0, 0, 0);
    for (size_t i = 0; i < m_flags.size(); ++i)
        flags->addWidget(m_flags[i].box, int(i / 2), int(i % 2));
    layout->addRow(tr("Status:"), flags);

    m_recurNumber = named(new QSpinBox, QStringLiteral("detailRecurrenceNumber"), tr("Repeat every"));
    m_recurNumber->setRange(0, 999);
    m_recurNumber->setSpecialValueText(tr("Never"));
    m_recurNumber->setKeyboardTracking(false);
    m_recurMode = named(new QComboBox, QStringLiteral("detailRecurrenceMode"), tr("Repeat unit"));
    m_recurMode->addItems({tr("days"), tr("weeks"), tr("months")});
    m_recurType = named(new QComboBox, QStringLiteral("detailRecurrenceType"), tr("Repeat from"));
    m_recurType->addItems({tr("from its own dates"), tr("from today")});
    // Two lines, so that the pane stays narrow enough to sit beside the table.
    auto* recurrence = new QGridLayout;
    recurrence->setContentsMargins(0, 0, 0, 0);
    recurrence->addWidget(m_recurNumber, 0, 0);
    recurrence->addWidget(m_recurMode, 0, 1);
    recurrence->addWidget(m_recurType, 1, 0, 1, 2);
    recurrence->setColumnStretch(2, 1);
    layout->addRow(buddyLabel(tr("Repeat ever&y:"), m_recurNumber), recurrence);

    m_tags = named(new QLineEdit, QStringLiteral("detailTags"), tr("Tags"));
    m_tags->setToolTip(tr("Tags, separated by commas"));
    layout->addRow(tr("Ta&gs:"), m_tags);
    m_contacts = named(new QLineEdit, QStringLiteral("detailContacts"), tr("Contacts"));
    m_contacts->setToolTip(tr("Names of contacts, separated by commas"));
    layout->addRow(tr("Cont&acts:"), m_contacts);
    m_links = new TaskLinkField;
    layout->addRow(buddyLabel(tr("&Links:"), m_links->input()), m_links);

    m_note = named(new QPlainTextEdit, QStringLiteral("detailNote"), tr("Note"));
    m_note->setTabChangesFocus(true);
    m_note->setMinimumHeight(m_note->fontMetrics().lineSpacing() * 6);
    layout->addRow(tr("&Note:"), m_note);

    // The form is as wide as the pane and no wider: the pane asks for the width its fields need, and
    // only scrolls up and down.
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setMinimumWidth(form->minimumSizeHint().width() + scroll->verticalScrollBar()->sizeHint().width());

    m_note->installEventFilter(this);

    // Completes the tag being typed: the text after the last comma.
    m_tagCompletions = new QStringListModel(this);
    m_tagCompleter = new QCompleter(m_tagCompletions, this);
    m_tagCompleter->setObjectName(QStringLiteral("detailTagsCompleter"));
    m_tagCompleter->setCaseSensitivity(Qt::CaseInsensitive);
    m_tagCompleter->setCompletionMode(QCompleter::PopupCompletion);
    m_tagCompleter->setWidget(m_tags);
    connect(m_tags, &QLineEdit::textEdited, this, &TaskDetailPane::offerTagCompletions);
    connect(m_tagCompleter, qOverload<const QString&>(&QCompleter::activated), this, &TaskDetailPane::takeTagCompletion);

    connect(m_links, &TaskLinkField::linksEdited, this, &TaskDetailPane::writeLinks);
    connect(m_links, &TaskLinkField::linksOffered, this, &TaskDetailPane::addOfferedLinks);
    connect(m_links, &TaskLinkField::openRequested, this,
            [this](const QString& link) { m_files.open(link, [this](const QString& taskLink) { handleGetURL(m_views, taskLink); }); });
    connect(m_links, &TaskLinkField::revealRequested, this, [this](const QString& link) { m_files.reveal(link); });

    connect(m_name, &QLineEdit::editingFinished, this, &TaskDetailPane::commitName);
    connect(m_tags, &QLineEdit::editingFinished, this, &TaskDetailPane::commitTags);
    connect(m_contacts, &QLineEdit::editingFinished, this, &TaskDetailPane::commitContacts);

    connect(m_context, &FolderChooser::folderChosen, this, [this](Record* folder) {
        auto* context = static_cast<Context*>(folder);
        if (!context)
            return;
        apply(
            tr("Change Context"), [context](Task* t) { return t->parentContext() != context; },
            [context](Task* t) { t->moveToContext(context); }, true);
    });
    connect(m_project, &FolderChooser::folderChosen, this, [this](Record* folder) {
        auto* project = static_cast<Project*>(folder);
        apply(
            tr("Change Project"), [project](Task* t) { return t->parentProject() != project; },
            [project](Task* t) { t->moveToProject(project); }, true);
    });
    connect(m_start, &DateField::dateEdited, this, [this](const QDateTime& date) {
        apply(
            tr("Change Start Date"), [date](Task* t) { return t->startDate() != date; },
            [date](Task* t) { t->setStartDate(date); }, true);
    });
    connect(m_due, &DateField::dateEdited, this, [this](const QDateTime& date) {
        apply(
            tr("Change Due Date"), [date](Task* t) { return t->dueDate() != date; }, [date](Task* t) { t->setDueDate(date); },
            true);
    });
    connect(m_priority, &QComboBox::activated, this, [this](int index) {
        const qint64 value = m_priority->itemData(index).toInt();
        apply(
            tr("Change Priority"), [value](Task* t) { return t->priority() != value; },
            [value](Task* t) { t->setPriority(value); });
    });
    connect(m_effort, &QComboBox::activated, this, [this](int index) {
        const qint64 value = m_effort->itemData(index).toInt();
        apply(
            tr("Change Effort"), [value](Task* t) { return t->effort() != value; }, [value](Task* t) { t->setEffort(value); });
    });
    for (const FlagBinding& flag : m_flags)
        connect(flag.box, &QCheckBox::clicked, this, [this, flag] { setFlag(flag); });

    connect(m_recurNumber, &QSpinBox::valueChanged, this, [this](int value) {
        if (m_refreshing || value < 0)
            return;
        apply(
            tr("Change Recurrence"), [value](Task* t) { return t->recurNumber() != value; },
            [value](Task* t) {
                if (value == 0)
                    t->clearRecurNumber();
                else
                    t->setRecurNumber(value);
            });
    });
    connect(m_recurMode, &QComboBox::activated, this, [this](int index) {
        apply(
            tr("Change Recurrence"), [index](Task* t) { return t->recurMode() != index; },
            [index](Task* t) { t->setRecurMode(index); });
    });
    connect(m_recurType, &QComboBox::activated, this, [this](int index) {
        apply(
            tr("Change Recurrence"), [index](Task* t) { return t->recurType() != index; },
            [index](Task* t) { t->setRecurType(index); });
    });
}

template <class Differs, class Write>
void TaskDetailPane::apply(const QString& actionName, Differs differs, Write write, bool counts, const std::function<void()>& then)
{
    std::vector<Task*> targets;
    for (Task* t : m_tasks)
        if (!t->isDeleted() && differs(t))
            targets.push_back(t);
    if (!targets.empty()) {
        ObjectContext& store = m_views.store();
        {
            UndoGrouping step(store.undoManager(), actionName);
            for (Task* t : targets)
                write(t);
            if (then)
                then();
        }
        TasksArrayController& list = m_views.taskList(m_views.selectedTab());
        // The recurrence mark and the row's place may change with any of these; the table shows them
        // at once rather than at its next re-arrangement.
        list.rearrangeObjects();
        if (counts)
            list.taskCountsHasChanged();
    }
    // Shows what the setters made of the edit (a refused date, an emptied name), also when nothing
    // was written.
    refresh();
}

void TaskDetailPane::setFlag(const FlagBinding& flag)
{
    // A mixed box steps from "partly" to "on"; after a click it is an ordinary two-state box.
    const bool value = flag.box->checkState() == Qt::Checked;
    flag.box->setTristate(false);
    const auto get = flag.get;
    const auto set = flag.set;
    std::function<void()> then;
    // Completing here is completing from the task list: the same immediate clean-up, in the same step.
    if (set == &Task::setDone && value && m_views.preferences().boolForKey(QStringLiteral("cleanUpImmediately")))
        then = [this] { CleanUpController::cleanUpTasks(m_views.store()); };
    apply(
        flag.actionName, [get, value](Task* t) { return (t->*get)() != value; }, [set, value](Task* t) { (t->*set)(value); },
        true, then);
}

void TaskDetailPane::commitName()
{
    if (!m_name->isModified())
        return;
    m_name->setModified(false);
    const QString text = m_name->text();
    apply(tr("Change Name"), [&text](Task* t) { return t->name() != text; }, [&text](Task* t) { t->setName(text); });
}

void TaskDetailPane::commitNote()
{
    if (!m_note->document()->isModified())
        return;
    m_note->document()->setModified(false);
    const QString text = m_note->toPlainText();
    apply(tr("Change Note"), [&text](Task* t) { return t->content() != text; }, [&text](Task* t) { t->setContent(text); });
}

void TaskDetailPane::commitTags()
{
    if (!m_tags->isModified())
        return;
    m_tags->setModified(false);
    const QStringList tags = splitList(m_tags->text(), u',');
    const QString stored = tags.join(u',');
    apply(tr("Change Tags"), [&stored](Task* t) { return t->tags() != stored; }, [&tags](Task* t) { t->setDisplayTags(tags); });
}

void TaskDetailPane::commitContacts()
{
    if (!m_contacts->isModified())
        return;
    m_contacts->setModified(false);
    const QStringList contacts = splitList(m_contacts->text(), u',');
    const QString stored = contacts.join(u',');
    apply(
        tr("Change Contacts"), [&stored](Task* t) { return t->contact() != stored; },
        [&contacts](Task* t) { t->setDisplayContact(contacts); });
}

void TaskDetailPane::writeLinks(const QStringList& links)
{
    const QString stored = links.isEmpty() ? QString() : Task::urlFromUrls(links);
    apply(tr("Change Links"), [&stored](Task* t) { return t->url() != stored; }, [&links](Task* t) { t->setDisplayURL(links); });
}

void TaskDetailPane::addOfferedLinks(const QStringList& links)
{
    if (m_tasks.empty())
        return;
    Task* first = m_tasks.front();
    const QStringList had = first->displayURL().value_or(QStringList());
    const bool anyNew = std::any_of(links.begin(), links.end(), [&had](const QString& link) { return !had.contains(link); });
    apply(tr("Change Links"), [first, anyNew](Task* t) { return anyNew && t == first; }, [&links](Task* t) { appendNewLinks(*t, links); });
}

void TaskDetailPane::offerTagCompletions(const QString& text)
{
    // The tag being typed starts after the last comma; the blank that follows a comma is no part of it.
    QString part = text.mid(text.lastIndexOf(u',') + 1);
    while (part.startsWith(u' '))
        part.remove(0, 1);
    const QStringList completions = part.isEmpty() ? QStringList() : TaskTagsController(m_views.store()).autoCompletionsForTagPartName(part);
    m_tagCompletions->setStringList(completions);
    if (completions.isEmpty()) {
        m_tagCompleter->popup()->hide();
        return;
    }
    m_tagCompleter->setCompletionPrefix(part);
    m_tagCompleter->complete();
}

void TaskDetailPane::takeTagCompletion(const QString& completion)
{
    const QString text = m_tags->text();
    const qsizetype comma = text.lastIndexOf(u',');
    const QString kept = comma < 0 ? QString() : text.left(comma + 1) + QLatin1Char(' ');
    m_tags->setText(kept + completion);
    m_tags->setModified(true);
}

void TaskDetailPane::commitPendingEdits()
{
    commitName();
    commitNote();
    commitTags();
    commitContacts();
    m_links->commitTypedText();
    if (m_start->lineEdit()->isModified())
        m_start->commitText();
    if (m_due->lineEdit()->isModified())
        m_due->commitText();
}

bool TaskDetailPane::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::FocusOut) {
        if (watched == m_note)
            commitNote();
    }
    return QWidget::eventFilter(watched, event);
}

void TaskDetailPane::setTasks(const std::vector<Task*>& tasks)
{
    if (tasks == m_tasks) {
        refresh();
        return;
    }
    commitPendingEdits();
    m_tasks.clear();
    for (Task* t : tasks)
        if (t && !t->isDeleted())
            m_tasks.push_back(t);
    m_taskSet = {m_tasks.begin(), m_tasks.end()};
    // A new selection starts clean: nothing typed for the old tasks is kept on show.
    for (QLineEdit* edit : {m_name, m_tags, m_contacts, m_start->lineEdit(), m_due->lineEdit()})
        edit->setModified(false);
    m_note->document()->setModified(false);
    m_links->input()->clear();
    refresh();
}

void TaskDetailPane::storeChanged(const ChangeBatch& batch)
{
    if (m_tasks.empty())
        return;
    // One of the shown tasks changed or went, or a folder did (the choosers show folder names).
    const auto concerns = [this](Record* r) { return m_taskSet.count(r) || !dynamic_cast<Task*>(r); };
    const bool touched = std::any_of(batch.updated.begin(), batch.updated.end(), concerns)
        || std::any_of(batch.deleted.begin(), batch.deleted.end(), concerns)
        || std::any_of(batch.inserted.begin(), batch.inserted.end(), [](Record* r) { return !dynamic_cast<Task*>(r); });
    if (!touched)
        return;
    const auto removed = std::remove_if(m_tasks.begin(), m_tasks.end(), [](Task* t) { return t->isDeleted(); });
    if (removed != m_tasks.end()) {
        m_tasks.erase(removed, m_tasks.end());
        m_taskSet = {m_tasks.begin(), m_tasks.end()};
    }
    refresh();
}

void TaskDetailPane::refresh()
{
    m_refreshing = true;
    const std::vector<Task*>& tasks = m_tasks;
    m_pages->setCurrentIndex(tasks.empty() ? 0 : 1);
    if (tasks.empty()) {
        m_refreshing = false;
        return;
    }

    showText(m_name, common(tasks, [](Task* t) { return t->name(); }));
    showText(m_note, common(tasks, [](Task* t) { return t->content(); }));
    showText(m_tags, common(tasks, [](Task* t) { return listText(t->tags()); }));
    showText(m_contacts, common(tasks, [](Task* t) { return listText(t->contact()); }));
    m_links->setLinks(common(tasks, [](Task* t) { return t->displayURL().value_or(QStringList()); }));

    auto showFolder = [](FolderChooser* chooser, Record* folder, bool mixed) {
        if (chooser->hasFocus() && chooser->lineEdit() && chooser->lineEdit()->isModified())
            return;
        chooser->setCurrentFolder(folder);
        if (folder && chooser->currentFolder() != folder) {
            chooser->reload();
            chooser->setCurrentFolder(folder);
        }
        if (mixed && chooser->lineEdit())
            chooser->lineEdit()->clear();
        chooser->setPlaceholderText(mixed ? multipleValues() : QString());
        if (chooser->lineEdit())
            chooser->lineEdit()->setPlaceholderText(mixed ? multipleValues() : QString());
    };
    const auto context = common(tasks, [](Task* t) { return static_cast<Record*>(t->parentContext()); });
    showFolder(m_context, context.value_or(nullptr), !context);
    const auto project = common(tasks, [](Task* t) { return static_cast<Record*>(t->parentProject()); });
    showFolder(m_project, project.value_or(nullptr), !project);

    auto showDate = [](DateField* field, const std::optional<QDateTime>& date) {
        if (field->lineEdit()->hasFocus() && field->lineEdit()->isModified())
            return;
        if (date)
            field->setDate(*date);
        else
            field->setMixed();
    };
    showDate(m_start, common(tasks, [](Task* t) { return t->startDate(); }));
    showDate(m_due, common(tasks, [](Task* t) { return t->dueDate(); }));

    auto showChoice = [](QComboBox* combo, const std::optional<qint64>& value) {
        combo->setPlaceholderText(value ? QString() : multipleValues());
        combo->setCurrentIndex(value ? combo->findData(int(*value)) : -1);
    };
    showChoice(m_priority, common(tasks, [](Task* t) { return t->priority(); }));
    showChoice(m_effort, common(tasks, [](Task* t) { return t->effort(); }));

    for (const FlagBinding& flag : m_flags) {
        const auto get = flag.get;
        const auto value = common(tasks, [get](Task* t) { return (t->*get)(); });
        flag.box->setTristate(!value);
        flag.box->setCheckState(!value ? Qt::PartiallyChecked : (*value ? Qt::Checked : Qt::Unchecked));
    }

    const auto number = common(tasks, [](Task* t) { return t->recurNumber(); });
    if (number) {
        m_recurNumber->setMinimum(0);
        m_recurNumber->setSpecialValueText(tr("Never"));
        m_recurNumber->setValue(int(std::clamp<qint64>(*number, 0, 999)));
    } else {
        // One step below the range shows the mixed state; the user's first step leaves it.
        m_recurNumber->setMinimum(-1);
        m_recurNumber->setSpecialValueText(multipleValues());
        m_recurNumber->setValue(-1);
    }
    const auto mode = common(tasks, [](Task* t) { return t->recurMode(); });
    m_recurMode->setPlaceholderText(mode ? QString() : multipleValues());
    m_recurMode->setCurrentIndex(mode && *mode >= 0 && *mode < 3 ? int(*mode) : -1);
    const auto type = common(tasks, [](Task* t) { return t->recurType(); });
    m_recurType->setPlaceholderText(type ? QString() : multipleValues());
    m_recurType->setCurrentIndex(type && *type >= 0 && *type < 2 ? int(*type) : -1);
    m_refreshing = false;
}
