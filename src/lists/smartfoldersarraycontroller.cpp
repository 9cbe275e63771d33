#include "lists/smartfoldersarraycontroller.h"

#include "model/smartfolder.h"
#include "store/objectcontext.h"

#include <algorithm>

SmartFoldersArrayController::SmartFoldersArrayController(ObjectContext& context, SmartFolderListHost& host)
    : m_context(context), m_host(host)
{
}

std::vector<SmartFolder*> SmartFoldersArrayController::arrangedObjects() const
{
    FetchRequest request(QStringLiteral("smartFolder"));
    request.sortDescriptors = {SortDescriptor(QStringLiteral("isAllPending"), false), SortDescriptor(QStringLiteral("isNextAction"), false),
                               SortDescriptor(QStringLiteral("name"), true, SortDescriptor::Comparison::CaseInsensitiveCompare)};
    std::vector<SmartFolder*> out;
    if (auto folders = m_context.executeFetchRequest(request))
        for (Record* r : *folders)
            out.push_back(static_cast<SmartFolder*>(r));
    return out;
}

SmartFolder* SmartFoldersArrayController::selectedFolder() const
{
    return m_selected && !m_selected->isDeleted() ? m_selected : nullptr;
}

SmartFolder* SmartFoldersArrayController::addNewSmartFolder(const QString& name)
{
    auto* folder = m_context.insertNewObject<SmartFolder>(QStringLiteral("smartFolder"));
    folder->setName(name);
    saveOrLog(m_context);
    m_host.showAllTasksView();
    m_host.focusFolderList();
    m_selected = folder;
    m_host.showSmartFolderProperties(folder);
    return folder;
}

void SmartFoldersArrayController::remove()
{
    SmartFolder* folder = selectedFolder();
    if (!folder)
        return;
    if (folder->isAllPending() || folder->isNextAction()) {
        m_host.showWarning(QStringLiteral("Warning"), QStringLiteral("Smart folder cannot be deleted."));
        return;
    }
    if (!m_host.confirm(QStringLiteral("Confirmation"), QStringLiteral("Are you sure to delete this smart folder?"), QStringLiteral("Delete"),
                        QStringLiteral("Don't delete")))
        return;
    m_context.deleteObject(folder);
    m_selected = nullptr;
}

void SmartFoldersArrayController::step(int direction)
{
    SmartFolder* current = selectedFolder();
    if (!current)
        return;
    const std::vector<SmartFolder*> folders = arrangedObjects();
    const auto it = std::find(folders.begin(), folders.end(), current);
    if (it == folders.end())
        return;
    const qsizetype n = qsizetype(folders.size());
    const qsizetype index = ((it - folders.begin()) + direction + n) % n;
    m_selected = folders[size_t(index)];
}

void SmartFoldersArrayController::switchToNextSmartFolder()
{
    step(1);
}

void SmartFoldersArrayController::switchToPreviousSmartFolder()
{
    step(-1);
}

void SmartFoldersArrayController::switchToGivenSmartFolder(SmartFolder* folder, Task*, bool noGUI)
{
    m_selected = folder;
    if (noGUI)
        return;
    m_host.showAllTasksView();
    m_host.focusTaskTable();
}

SmartFolder* SmartFoldersArrayController::nextActionSmartFolder() const
{
    auto found = m_context.executeFetchRequest(FetchRequest(QStringLiteral("smartFolder"), Predicate::fromFormat(QStringLiteral("isNextAction == 1"))));
    if (!found || found->empty())
        return nullptr;
    return static_cast<SmartFolder*>(found->front());
}
