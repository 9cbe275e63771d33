#include "model/taskfolder.h"

#include "store/objectcontext.h"
#include "store/predicate.h"

TaskQueryResult fetchTasks(const Record& folder, const Predicate& templatePredicate, const QList<PredicateArgument>& more)
{
    QList<PredicateArgument> arguments {const_cast<Record*>(&folder)};
    arguments += more;
    auto result = folder.managedObjectContext()->executeFetchRequest(FetchRequest(QStringLiteral("task"), templatePredicate.withArguments(arguments)));
    if (!result)
        return std::nullopt;
    return std::move(*result);
}
