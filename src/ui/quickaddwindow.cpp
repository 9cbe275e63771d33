#include "ui/quickaddwindow.h"

#include "capture/quickaddcontroller.h"
#include "lists/tabviewcontroller.h"
#include "model/context.h"
#include "model/project.h"
#include "ui/datefield.h"
#include "ui/entrywindows.h"
#include "ui/folderchooser.h"

#include <QButtonGroup>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QToolButton>

namespace {

template <class W>
W* named(W* widget, const QString& objectName, const QString& accessibleName)
{
    widget->setObjectName(objectName);
    widget->setAccessibleName(accessibleName);
    return widget;
}

} // namespace

QuickAddWindow::QuickAddWindow(TabViewController& views, const Preferences& preferences, ObjectContext& store, QWidget* mainWindow)
    : m_views(views), m_preferences(preferences), m_mainWindow(mainWindow)
{
    setObjectName(QStringLiteral("quickAddWindow"));
    setAccessibleName(tr("Quick Add"));
    setWindowTitle(tr("Quick Add"));
    makeFloatingEntryWindow(*this);

    m_name = named(new QLineEdit, QStringLiteral("nameTextField"), tr("Task name"));
    m_context = named(new FolderChooser(views, FolderChooser::Kind::Context), QStringLiteral("contextTextField"), tr("Context"));
    m_project = named(new FolderChooser(views, FolderChooser::Kind::Project), QStringLiteral("projectTextField"), tr("Project"));

    // The priorities side by side as one segmented control; exactly one is always chosen.
    auto* segments = new QHBoxLayout;
    segments->setSpacing(0);
    m_priority = new QButtonGroup(this);
    m_priority->setExclusive(true);
    for (int segment = 0; segment < 5; ++segment) {
        auto* button = named(new QToolButton, QStringLiteral("prioritySegment%1").arg(segment + 1), tr("Priority %1").arg(segment + 1));
        button->setText(QString::number(segment + 1));
        button->setCheckable(true);
        button->setAutoRaise(false);
        button->setToolButtonStyle(Qt::ToolButtonTextOnly);
        button->setMinimumWidth(button->sizeHint().height() * 3 / 2);
        m_priority->addButton(button, segment);
        segments->addWidget(button);
    }
    segments->addStretch(1);

    m_startDate = new DateField(store);
    m_startDate->setFieldName(QStringLiteral("startDateTextField"), tr("Start date"));
    m_dueDate = new DateField(store);
    m_dueDate->setFieldName(QStringLiteral("dueDateTextField"), tr("Due date"));

    m_note = named(new QPlainTextEdit, QStringLiteral("contentTextView"), tr("Note"));
    // Tab and Shift-Tab move between the fields, as in every other field of the window.
    m_note->setTabChangesFocus(true);
    m_note->setMinimumHeight(m_note->fontMetrics().lineSpacing() * 5);

    m_tags = named(new QLineEdit, QStringLiteral("tagsTokenField"), tr("Tags"));
    m_tags->setPlaceholderText(tr("Separated by commas"));
    m_contacts = named(new QLineEdit, QStringLiteral("contactTokenField"), tr("Contacts"));
    m_contacts->setPlaceholderText(tr("Separated by commas"));

    auto* form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    form->addRow(tr("&Name:"), m_name);
    form->addRow(tr("&Context:"), m_context);
    form->addRow(tr("&Project:"), m_project);
    form->addRow(tr("Priority:"), segments);
    form->addRow(tr("&Start date:"), m_startDate);
    form->addRow(tr("&Due date:"), m_dueDate);
    form->addRow(tr("N&ote:"), m_note);
    form->addRow(tr("&Tags:"), m_tags);
    form->addRow(tr("Con&tacts:"), m_contacts);

    auto* buttons = named(new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel), QStringLiteral("quickAddButtons"),
                          tr("Quick add buttons"));
    QPushButton* ok = buttons->button(QDialogButtonBox::Ok);
    named(ok, QStringLiteral("quickAddOK"), tr("OK"))->setDefault(true);
    named(buttons->button(QDialogButtonBox::Cancel), QStringLiteral("quickAddCancel"), tr("Cancel"));
    m_ok = ok;
    connect(buttons, &QDialogButtonBox::accepted, this, &QuickAddWindow::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QuickAddWindow::reject);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(buttons);
    setMinimumWidth(fontMetrics().averageCharWidth() * 60);
    clearFields();
}

void QuickAddWindow::clearFields()
{
    m_name->clear();
    m_context->reload();
    m_context->setCurrentFolder(nullptr);
    // Only a text: no context is chosen until the user picks one, and none means the Inbox.
    m_context->setEditText(tr("Inbox"));
    m_project->reload();
    m_project->setCurrentFolder(nullptr);
    m_priority->button(QuickAddValues::defaultPrioritySegment)->setChecked(true);
    m_startDate->setDate(QDateTime());
    m_dueDate->setDate(QDateTime());
    m_note->clear();
    m_tags->clear();
    m_contacts->clear();
}

void QuickAddWindow::toggle()
{
    if (isVisible()) {
        reject();
        return;
    }
    clearFields();
    bringEntryWindowToFront(*this, m_name);
}

void QuickAddWindow::accept()
{
    // A date typed but not yet confirmed counts, as leaving its field would make it count.
    m_startDate->commitText();
    m_dueDate->commitText();
    QuickAddValues values;
    values.name = m_name->text();
    // A folder typed but not confirmed in its chooser counts too; the context's "Inbox" text names the
    // Inbox, which is what no choice means anyway.
    Record* context = m_context->currentFolder();
    if (!context)
        context = m_context->folderForText(m_context->currentText());
    values.context = dynamic_cast<Context*>(context);
    Record* project = m_project->currentFolder();
    if (!project)
        project = m_project->folderForText(m_project->currentText());
    values.project = dynamic_cast<Project*>(project);
    values.content = m_note->toPlainText();
    values.prioritySegment = m_priority->checkedId();
    values.startDate = m_startDate->date();
    values.dueDate = m_dueDate->date();
    values.tags = QuickAddController::splitTokens(m_tags->text());
    values.contacts = QuickAddController::splitTokens(m_contacts->text());
    QuickAddController(m_views.contextTasks(), m_preferences).quickAddDone(values);
    finish();
    m_views.performRefetchAction();
}

void QuickAddWindow::reject()
{
    finish();
}

void QuickAddWindow::finish()
{
    giveKeyboardBack(m_mainWindow);
    QDialog::done(0);
}
