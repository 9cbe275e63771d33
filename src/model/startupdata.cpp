#include "model/startupdata.h"

#include "model/cleanupcontroller.h"
#include "model/context.h"
#include "model/smartfolder.h"
#include "store/log.h"

#include <QHash>
#include "store/objectcontext.h"
#include "store/recorddocument.h"

namespace {

Result<std::vector<Record*>> fetch(ObjectContext& context, const char* entity, const char* format)
{
    return context.executeFetchRequest(FetchRequest(QLatin1String(entity), Predicate::fromFormat(QLatin1String(format))));
}

} // namespace

int prepareStoreForWork(ObjectContext& context)
{
    // The results of these saves are not checked: a failing save shows again at the next one.
    auto inboxes = fetch(context, "context", "isInbox == 1");
    if (!inboxes) {
        logLine(QStringLiteral("Error searching for inboxes..."));
    } else if (inboxes->empty()) {
        auto* inbox = context.insertNewObject<Context>(QStringLiteral("context"));
        inbox->setName(QStringLiteral("Inbox"));
        inbox->setIsInbox(true);
        saveOrLog(context);
    }

    auto allTasks = fetch(context, "smartFolder", "isAllPending == 1");
    if (!allTasks) {
        logLine(QStringLiteral("Error searching for all pending smart folder..."));
    } else if (!allTasks->empty()) {
        static_cast<SmartFolder*>(allTasks->front())->setName(QStringLiteral("All tasks"));
    } else {
        auto* folder = context.insertNewObject<SmartFolder>(QStringLiteral("smartFolder"));
        folder->setName(QStringLiteral("All tasks"));
        folder->setIsAllPending(true);
        saveOrLog(context);
    }

    auto nextAction = fetch(context, "smartFolder", "isNextAction == 1");
    if (!nextAction) {
        logLine(QStringLiteral("Error searching for next action smart folder..."));
    } else if (!nextAction->empty()) {
        context.deleteObject(nextAction->front());
        saveOrLog(context);
    }

    logLine(QStringLiteral("Cleaning up tasks at startup..."));
    const int cleaned = CleanUpController::cleanUpTasks(context);
    if (cleaned > 0)
        saveOrLog(context);
    return cleaned;
}

void mergeSpecialRecordsInto(ObjectContext& context, RecordDocument& document)
{
    struct Special {
        const char* entity;
        const char* flag;
        const char* predicate;
    };
    static const Special specials[] = {{"context", "isInbox", "isInbox == 1"}, {"smartFolder", "isAllPending", "isAllPending == 1"}};
    QHash<QString, QString> replaced; // document id -> URI of the store's record
    std::vector<DocumentRecord> kept;
    for (DocumentRecord& r : document.records) {
        bool drop = false;
        for (const Special& special : specials) {
            if (r.entity != QLatin1String(special.entity))
                continue;
            for (const auto& [key, value] : r.attributes)
                if (key == QLatin1String(special.flag) && value.toBool()) {
                    auto existing = fetch(context, special.entity, special.predicate);
                    if (existing && !existing->empty()) {
                        if (!r.id.isEmpty())
                            replaced.insert(r.id, existing->front()->uri());
                        drop = true;
                    }
                }
        }
        if (!drop)
            kept.push_back(std::move(r));
    }
    for (DocumentRecord& r : kept)
        for (auto& [key, ref] : r.relationships)
            if (replaced.contains(ref))
                ref = replaced.value(ref);
    document.records = std::move(kept);
}
