#include "ui/movetosheet.h"

#include "lists/movetokeyboardcontrol.h"
#include "lists/tabviewcontroller.h"
#include "lists/tasksarraycontroller.h"
#include "model/task.h"
#include "store/objectcontext.h"
#include "ui/icons.h"
#include "ui/movetokeyfield.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <optional>

MoveToSheet::MoveToSheet(TabViewController& views, QWidget* mainWindow)
    : QDialog(mainWindow), m_views(views), m_controller(views, *this)
{
    setObjectName(QStringLiteral("moveToSheet"));
    setAccessibleName(tr("Move to"));
    setWindowTitle(tr("Process Tasks"));
    setWindowModality(Qt::WindowModal);

    m_taskName = new QLabel;
    m_taskName->setObjectName(QStringLiteral("moveToTaskName"));
    m_taskName->setAccessibleName(tr("Task"));
    m_taskName->setWordWrap(true);
    QFont big = m_taskName->font();
    big.setPointSizeF(big.pointSizeF() * 1.25);
    big.setWeight(QFont::DemiBold);
    m_taskName->setFont(big);
    m_flag = new QLabel;
    m_flag->setObjectName(QStringLiteral("moveToFlag"));
    m_flag->setAccessibleName(tr("Next action"));
    m_flag->setPixmap(vyroIcon(QStringLiteral("flag.png")).pixmap(16, 16));
    m_flag->setToolTip(tr("Next action"));

    m_priority = new QComboBox;
    m_priority->setObjectName(QStringLiteral("moveToPriority"));
    m_priority->setAccessibleName(tr("Priority"));
    for (int p = 1; p <= 5; ++p)
        m_priority->addItem(QString::number(p), p);

    m_contextField = new MoveToKeyField(std::make_unique<MoveToContextKeyboardControl>(m_controller), tr("Context:"));
    m_contextField->setObjectName(QStringLiteral("moveToContext"));
    m_contextField->setAccessibleName(tr("Context"));
    m_projectField = new MoveToKeyField(std::make_unique<MoveToProjectKeyboardControl>(m_controller), tr("Project:"));
    m_projectField->setObjectName(QStringLiteral("moveToProject"));
    m_projectField->setAccessibleName(tr("Project"));
    m_contextField->setKeyWrapper([this](const KeyPress& key, const std::function<bool()>& handle) { return wrapKey(false, key, handle); });
    m_projectField->setKeyWrapper([this](const KeyPress& key, const std::function<bool()>& handle) { return wrapKey(true, key, handle); });

    auto* buttons = new QDialogButtonBox;
    m_done = buttons->addButton(tr("Done"), QDialogButtonBox::AcceptRole);
    m_done->setObjectName(QStringLiteral("moveToDone"));
    m_done->setAccessibleName(tr("Done"));
    m_done->setDefault(true);
    m_done->setAutoDefault(true);
    connect(m_done, &QPushButton::clicked, this, [this] { m_controller.moveDone(); });

    auto* title = new QHBoxLayout;
    title->addWidget(m_flag);
    title->addWidget(m_taskName, 1);
    auto* form = new QFormLayout;
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    form->addRow(tr("Priority:"), m_priority);
    auto* hint = new QLabel(tr("Arrows \u2190 \u2192 change the folder, \u2191 \u2193 the task; a letter chooses a folder; "
                               "Space flags, Shift+Space completes, Delete deletes."));
    hint->setObjectName(QStringLiteral("moveToHint"));
    hint->setWordWrap(true);
    hint->setForegroundRole(QPalette::PlaceholderText);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(title);
    layout->addWidget(m_contextField);
    layout->addWidget(m_projectField);
    layout->addLayout(form);
    layout->addWidget(hint);
    layout->addWidget(buttons);
    setTabOrder(m_contextField, m_projectField);
    setTabOrder(m_projectField, m_priority);
    setTabOrder(m_priority, m_done);

    connect(m_priority, &QComboBox::activated, this, [this](int index) {
        Task* task = m_controller.task();
        if (!task || task->isDeleted())
            return;
        const qint64 value = m_priority->itemData(index).toInt();
        if (task->priority() == value)
            return;
        UndoGrouping step(m_views.store().undoManager(), tr("Change Priority"));
        task->setPriority(value);
    });
}

MoveToSheet::~MoveToSheet() = default;

bool MoveToSheet::open(TasksArrayController& list)
{
    return m_controller.showMoveToContextSheetForController(list);
}

void MoveToSheet::showSheet()
{
    showTask();
    show();
    raise();
    activateWindow();
    m_contextField->setFocus(Qt::OtherFocusReason);
}

void MoveToSheet::closeSheet()
{
    done(QDialog::Accepted);
}

void MoveToSheet::focusFirstControl()
{
    showTask();
    m_contextField->setFocus(Qt::OtherFocusReason);
}

void MoveToSheet::selectNextKeyView()
{
    if (m_contextField->hasFocus())
        m_projectField->setFocus(Qt::TabFocusReason);
    else
        focusNextChild();
}

void MoveToSheet::reject()
{
    // Escape and the window's close button end the walk like the Done button.
    if (m_controller.isOpen())
        m_controller.moveDone();
    else
        QDialog::reject();
}

// A task has just come on show: the fields show its folders as the controller's labels name them.
void MoveToSheet::showTask()
{
    m_taskName->setText(m_controller.taskNameText());
    m_contextField->setText(m_controller.contextNameText());
    m_projectField->setText(m_controller.projectNameText());
    showTaskState();
}

void MoveToSheet::showTaskState()
{
    m_flag->setVisible(m_controller.isFlagVisible());
    Task* task = m_controller.task();
    const bool shown = task && !task->isDeleted();
    m_priority->setEnabled(shown);
    m_priority->setCurrentIndex(shown ? m_priority->findData(int(task->priority())) : -1);
}

bool MoveToSheet::wrapKey(bool projectControl, const KeyPress& key, const std::function<bool()>& handle)
{
    std::optional<QString> action;
    switch (key.key) {
    case Qt::Key_Backspace:
    case Qt::Key_Delete:
        action = tr("Delete Task");
        break;
    case Qt::Key_Space: {
        Task* task = m_controller.task();
        if (!key.shift())
            action = tr("Flag Task");
        else
            action = task && task->done() ? tr("Reopen Task") : tr("Complete Task");
        break;
    }
    case Qt::Key_Left:
    case Qt::Key_Right:
        action = projectControl ? tr("Move to Project") : tr("Move to Context");
        break;
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_Tab:
    case Qt::Key_Enter:
    case Qt::Key_Return:
        break;
    default:
        if (!key.text.isEmpty() && !key.text.front().isSpace())
            action = projectControl ? tr("Move to Project") : tr("Move to Context");
    }
    bool used = false;
    if (action) {
        UndoGrouping step(m_views.store().undoManager(), *action);
        used = handle();
    } else {
        used = handle();
    }
    if (m_controller.isOpen())
        showTaskState();
    return used;
}
