#include "model/parentloops.h"

#include "store/log.h"
#include "store/objectcontext.h"
#include "store/record.h"

#include <algorithm>
#include <unordered_map>

namespace {

QString describe(const Record& folder)
{
    return QStringLiteral("%1 \"%2\"").arg(folder.entity().name(), folder.valueForKey(u"name").toString());
}

// Follows each folder's parents once, up to a folder already cleared or back into the walk at hand;
// linear in the number of folders.
QStringList breakLoops(ObjectContext& context, const EntityDescription& entity, int parentRelationship)
{
    QStringList messages;
    enum : char { InWalk = 1, Cleared = 2 };
    std::unordered_map<const Record*, char> state;
    std::vector<Record*> walk;
    for (const auto& owned : context.records(entity)) {
        Record* start = owned.get();
        if (start->isDeleted() || state.count(start))
            continue;
        walk.clear();
        Record* current = start;
        while (current && !state.count(current)) {
            state[current] = InWalk;
            walk.push_back(current);
            current = current->toOne(parentRelationship);
        }
        if (current && state[current] == InWalk) {
            // The loop is the end of the walk from `current` on.
            const auto first = std::find(walk.begin(), walk.end(), current);
            Record* oldest = *std::min_element(first, walk.end(), [](const Record* a, const Record* b) { return a->primaryKey() < b->primaryKey(); });
            oldest->setToOne(parentRelationship, nullptr);
            logLine(QStringLiteral("Loop of parent folders: the parent link of %1 (%2) was cut").arg(describe(*oldest), oldest->uri()));
            messages << QStringLiteral("The data file held a loop of parent folders: the %1 was moved to the top level.").arg(describe(*oldest));
        }
        for (Record* r : walk)
            state[r] = Cleared;
    }
    return messages;
}

} // namespace

QStringList breakParentLoops(ObjectContext& context)
{
    QStringList messages;
    UndoStack& undo = context.undoManager();
    const bool undoEnabled = undo.isEnabled();
    undo.setEnabled(false);
    for (const auto& entity : context.model().entities())
        for (size_t r = 0; r < entity->relationships().size(); ++r) {
            const RelationshipDescription& rel = entity->relationships()[r];
            if (!rel.toMany && rel.destination == entity.get())
                messages += breakLoops(context, *entity, int(r));
        }
    undo.setEnabled(undoEnabled);
    return messages;
}
