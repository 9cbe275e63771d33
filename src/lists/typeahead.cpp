#include "lists/typeahead.h"

#include "lists/folderarraycontroller.h"
#include "lists/smartfoldersarraycontroller.h"
#include "lists/tasksarraycontroller.h"
#include "model/smartfolder.h"
#include "model/task.h"
#include "store/predicate.h"

#include <vector>

const QString& TypeAhead::type(QChar character, double now)
{
    if (!m_typed || now - m_lastKeyTime > kWindowSeconds)
        m_buffer = QString(character);
    else
        m_buffer += character;
    m_typed = true;
    m_lastKeyTime = now;
    return m_buffer;
}

namespace {

Task* firstMatching(const std::vector<Task*>& tasks, const Predicate& predicate)
{
    for (Task* t : tasks)
        if (predicate.evaluate(*t))
            return t;
    return nullptr;
}

template <class Folder>
Folder* firstByName(const std::vector<Folder*>& folders, const QString& name)
{
    if (name.isEmpty())
        return nullptr;
    auto nameOf = [](const Folder* f) { return f->valueForKey(u"name").toString(); };
    for (Folder* f : folders)
        if (nameOf(f).startsWith(name, Qt::CaseInsensitive))
            return f;
    for (Folder* f : folders)
        if (nameOf(f).contains(name, Qt::CaseInsensitive))
            return f;
    return nullptr;
}

} // namespace

Task* typeAheadInTasks(TasksArrayController& list, const QString& text)
{
    static const Predicate beginsWith = Predicate::templateFromFormat(QStringLiteral("name BEGINSWITH[c] %@"));
    static const Predicate contains = Predicate::templateFromFormat(QStringLiteral("name CONTAINS[c] %@"));

    const std::vector<Task*>& shown = list.arrangedObjects();
    Task* found = firstMatching(shown, beginsWith.withArguments({text}));
    // One or two letters that begin no name are most likely a mistyped start: searching inside names
    // for them would jump to an arbitrary row.
    if (!found && text.size() > 2)
        found = firstMatching(shown, contains.withArguments({text}));
    if (found)
        list.selectObject(found);
    return found;
}

Record* typeAheadForName(FolderArrayController& folders, const QString& name)
{
    Record* found = firstByName(folders.arrangedRecords(), name);
    if (found)
        folders.selectRecord(found);
    return found;
}

SmartFolder* typeAheadForName(SmartFoldersArrayController& folders, const QString& name)
{
    SmartFolder* found = firstByName(folders.arrangedObjects(), name);
    if (found)
        folders.setSelectedFolder(found);
    return found;
}
