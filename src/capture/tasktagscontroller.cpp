#include "capture/tasktagscontroller.h"

#include "model/modelenvironment.h"
#include "model/task.h"
#include "store/log.h"
#include "store/objectcontext.h"

#include <QSet>

#include <algorithm>

QStringList TaskTagsController::autoCompletionsForTagPartName(const QString& part) const
{
    const QString prefix = part.toLower();
    const Predicate& predicate = ModelEnvironment::of(m_context).predicateTemplate(QStringLiteral("tags <> NULL and tags<>''"));
    const auto tasks = m_context.executeFetchRequest(FetchRequest(QStringLiteral("task"), predicate));
    if (!tasks) {
        logLine(tasks.status().message());
        return {};
    }
    QStringList collected;
    QSet<QString> seen;
    for (const Record* record : *tasks) {
        const QString tags = static_cast<const Task*>(record)->tags().toLower();
        for (const QString& piece : tags.split(QLatin1Char(','))) {
            if (piece.startsWith(prefix) && !seen.contains(piece)) {
                seen.insert(piece);
                collected << piece;
            }
        }
    }
    std::sort(collected.begin(), collected.end());
    return collected;
}
