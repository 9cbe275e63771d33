#include "ui/archivingsheet.h"

#include "lists/folderarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "lists/tasksarraycontroller.h"
#include "model/archivecategory.h"
#include "model/cleanupcontroller.h"
#include "model/task.h"
#include "store/objectcontext.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

ArchivingSheet::ArchivingSheet(TabViewController& views, QWidget* mainWindow)
    : QDialog(mainWindow), m_views(views), m_categories(new QComboBox), m_tags(new QLineEdit)
{
    setObjectName(QStringLiteral("archivingSheet"));
    setAccessibleName(tr("Archive tasks"));
    setWindowTitle(tr("Archive Tasks"));
    setWindowModality(Qt::WindowModal);

    m_categories->setObjectName(QStringLiteral("archiveCategory"));
    m_categories->setAccessibleName(tr("Archive category"));
    m_tags->setObjectName(QStringLiteral("archiveTags"));
    m_tags->setAccessibleName(tr("Tags"));
    m_tags->setPlaceholderText(tr("No tags"));
    m_tags->setToolTip(tr("Tags, separated by commas; they replace the tags of every task archived"));

    auto* intro = new QLabel(tr("Move the selected tasks to the archive:"));
    intro->setObjectName(QStringLiteral("archiveIntro"));
    auto* form = new QFormLayout;
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    form->addRow(tr("&Category:"), m_categories);
    form->addRow(tr("&Tags:"), m_tags);

    auto* buttons = new QDialogButtonBox;
    m_archive = buttons->addButton(tr("Archive"), QDialogButtonBox::AcceptRole);
    m_archive->setObjectName(QStringLiteral("archiveButton"));
    m_archive->setAccessibleName(tr("Archive"));
    m_archive->setDefault(true);
    QPushButton* cancel = buttons->addButton(QDialogButtonBox::Cancel);
    cancel->setObjectName(QStringLiteral("archiveCancel"));
    cancel->setAccessibleName(tr("Cancel"));
    connect(m_archive, &QPushButton::clicked, this, &ArchivingSheet::archive);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(intro);
    layout->addLayout(form);
    layout->addWidget(buttons);

    connect(m_categories, &QComboBox::currentIndexChanged, this, [this] {
        if (ArchiveCategory* category = chosenCategory())
            m_views.archiveCategoryController().setSelectedObjects({category});
        m_archive->setEnabled(chosenCategory() != nullptr);
    });
}

void ArchivingSheet::fillCategories()
{
    const QSignalBlocker quiet(m_categories);
    m_categories->clear();
    ArchiveCategoryArrayController& tree = m_views.archiveCategoryController();
    for (ArchiveCategory* category : tree.arrangedObjects())
        m_categories->addItem(category->pathName(), QVariant::fromValue(static_cast<void*>(category)));
    ArchiveCategory* selected = tree.selectedObject();
    const int index = selected ? m_categories->findData(QVariant::fromValue(static_cast<void*>(selected))) : -1;
    m_categories->setCurrentIndex(index >= 0 ? index : (m_categories->count() > 0 ? 0 : -1));
    // The sheet archives into the tree's selection: keep the two the same from the start.
    if (ArchiveCategory* category = chosenCategory())
        tree.setSelectedObjects({category});
    m_archive->setEnabled(chosenCategory() != nullptr);
}

ArchiveCategory* ArchivingSheet::chosenCategory() const
{
    return static_cast<ArchiveCategory*>(m_categories->currentData().value<void*>());
}

void ArchivingSheet::showArchivingSheet(TasksArrayController& list)
{
    m_list = &list;
    fillCategories();
    const std::vector<Task*> selected = list.selectedObjects();
    QString tags;
    if (selected.size() == 1)
        tags = selected.front()->displayTags().value_or(QStringList()).join(QStringLiteral(", "));
    m_tags->setText(tags);
    show();
    raise();
    activateWindow();
    m_categories->setFocus(Qt::OtherFocusReason);
}

void ArchivingSheet::archive()
{
    ArchiveCategory* category = chosenCategory();
    if (!m_list || !category)
        return;
    QStringList tags;
    for (const QString& part : m_tags->text().split(u',', Qt::SkipEmptyParts))
        if (const QString tag = part.trimmed(); !tag.isEmpty())
            tags << tag;
    const std::vector<Task*> tasks = m_list->selectedObjects();
    {
        UndoGrouping step(m_views.store().undoManager(), tr("Archive"));
        archiveTaskTo(tasks, category, tags.join(u','));
    }
    m_list->rearrangeObjects();
    m_list->taskCountsHasChanged();
    accept();
    Q_EMIT tasksArchived(category);
}
