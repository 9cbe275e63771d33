#include "ui/smartfolderpropertiesdialog.h"

#include "lists/alltasksarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "model/smartfolder.h"
#include "store/objectcontext.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace {

template <class W>
W* named(W* widget, const QString& objectName, const QString& accessibleName)
{
    widget->setObjectName(objectName);
    widget->setAccessibleName(accessibleName);
    return widget;
}

} // namespace

SmartFolderPropertiesDialog::SmartFolderPropertiesDialog(TabViewController& views, QWidget* mainWindow)
    : QDialog(mainWindow), m_views(views), m_name(named(new QLineEdit, QStringLiteral("smartFolderName"), tr("Name"))),
      m_tags(named(new QLineEdit, QStringLiteral("smartFolderTags"), tr("Tags"))),
      m_tagsMode(named(new QComboBox, QStringLiteral("smartFolderTagsMode"), tr("Tags must match"))),
      m_dueDays(named(new QSpinBox, QStringLiteral("smartFolderDueDays"), tr("Due within days"))),
      m_overdue(named(new QCheckBox(tr("Include overdue tasks")), QStringLiteral("smartFolderIncludeOverdue"), tr("Include overdue tasks"))),
      m_query(named(new QLineEdit, QStringLiteral("smartFolderPredicateQuery"), tr("Query"))),
      m_text(named(new QLineEdit, QStringLiteral("smartFolderPredicateText"), tr("Query description")))
{
    setObjectName(QStringLiteral("smartFolderProperties"));
    setAccessibleName(tr("Smart folder properties"));
    setWindowTitle(tr("Smart Folder Properties"));
    setWindowModality(Qt::WindowModal);

    m_tags->setToolTip(tr("Tags, separated by commas; a tag matches any part of a task's tags"));
    m_tagsMode->addItem(tr("any of the tags"), 0);
    m_tagsMode->addItem(tr("all of the tags"), 1);
    m_dueDays->setRange(0, 3650);
    m_dueDays->setSpecialValueText(tr("No due date limit"));
    m_dueDays->setSuffix(tr(" days"));

    auto* form = new QFormLayout;
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    form->addRow(tr("&Name:"), m_name);
    form->addRow(tr("&Tags:"), m_tags);
    form->addRow(tr("&Match:"), m_tagsMode);
    form->addRow(tr("&Due within:"), m_dueDays);
    form->addRow(QString(), m_overdue);
    form->addRow(tr("&Query:"), m_query);
    form->addRow(tr("D&escription:"), m_text);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    buttons->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("smartFolderOk"));
    buttons->button(QDialogButtonBox::Ok)->setAccessibleName(tr("OK"));
    buttons->button(QDialogButtonBox::Cancel)->setObjectName(QStringLiteral("smartFolderCancel"));
    buttons->button(QDialogButtonBox::Cancel)->setAccessibleName(tr("Cancel"));
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        apply();
        accept();
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(buttons);
}

void SmartFolderPropertiesDialog::showProperties(SmartFolder* folder)
{
    m_folder = folder;
    if (!folder)
        return;
    m_name->setText(folder->name());
    m_tags->setText(folder->displayTags().value_or(QStringList()).join(QStringLiteral(", ")));
    m_tagsMode->setCurrentIndex(folder->tagsQueryMode() == 0 ? 0 : 1);
    m_dueDays->setValue(int(std::clamp<qint64>(folder->dueDateDaysNumber(), 0, m_dueDays->maximum())));
    m_overdue->setChecked(folder->includeOverdueTasks());
    m_query->setText(folder->predicateQuery());
    m_text->setText(folder->predicateText());
    // The special folder's own filter ignores the criteria; only its name can be edited.
    const bool criteria = !folder->isAllPending();
    for (QWidget* w : {static_cast<QWidget*>(m_tags), static_cast<QWidget*>(m_tagsMode), static_cast<QWidget*>(m_dueDays),
                       static_cast<QWidget*>(m_overdue)})
        w->setEnabled(criteria);
    show();
    raise();
    activateWindow();
    m_name->setFocus(Qt::OtherFocusReason);
    m_name->selectAll();
}

void SmartFolderPropertiesDialog::apply()
{
    SmartFolder* f = m_folder;
    if (!f || f->isDeleted())
        return;
    QStringList tags;
    for (const QString& part : m_tags->text().split(u',', Qt::SkipEmptyParts))
        if (const QString tag = part.trimmed(); !tag.isEmpty())
            tags << tag;
    const QString storedTags = tags.join(u',');
    const qint64 mode = m_tagsMode->currentData().toInt();
    const qint64 days = m_dueDays->value();
    const bool overdue = m_overdue->isChecked();
    {
        UndoGrouping step(m_views.store().undoManager(), tr("Change Smart Folder"));
        if (f->name() != m_name->text())
            f->setName(m_name->text());
        if (f->tags() != storedTags)
            f->setDisplayTags(tags);
        if (f->tagsQueryMode() != mode)
            f->setTagsQueryMode(mode);
        if (f->dueDateDaysNumber() != days)
            f->setDueDateDaysNumber(days);
        if (f->includeOverdueTasks() != overdue)
            f->setIncludeOverdueTasks(overdue);
        if (f->predicateQuery() != m_query->text())
            f->setPredicateQuery(m_query->text());
        if (f->predicateText() != m_text->text())
            f->setPredicateText(m_text->text());
    }
    AllTasksArrayController& all = m_views.allTasks();
    all.updatePredicate();
    all.rearrangeObjects();
}
