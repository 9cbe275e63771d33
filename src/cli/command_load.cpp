#include "app/coredataappdelegate.h"
#include "cli/commandline.h"
#include "model/startupdata.h"
#include "store/objectcontext.h"
#include "store/recordjson.h"

#include <QFile>
#include <QMap>

int runLoad(CommandEnvironment& env)
{
    if (env.arguments().size() != 1)
        return env.fail(QStringLiteral("load takes one FILE (\"-\" for standard input)"), ExitUsage);
    const QString path = env.arguments().first();
    QFile file;
    const bool opened = path == QLatin1String("-") ? file.open(stdin, QIODevice::ReadOnly) : (file.setFileName(path), file.open(QIODevice::ReadOnly));
    if (!opened)
        return env.fail(QStringLiteral("cannot read %1: %2").arg(path, file.errorString()));
    const QByteArray bytes = file.readAll();

    if (auto failed = env.openStore())
        return *failed;
    CoreData_AppDelegate& delegate = env.appDelegate();
    ObjectContext& context = delegate.managedObjectContext();

    // Everything is checked before anything is added, and the save is one transaction: a bad file or a
    // failed save leaves the data file as it was.
    auto document = recordDocumentFromJson(bytes, context.model());
    if (!document)
        return env.fail(QStringLiteral("%1: %2").arg(path, document.status().message()), ExitUsage);
    mergeSpecialRecordsInto(context, *document);
    std::vector<Record*> created;
    if (Status s = importDocument(context, *document, &created); !s.isOk())
        return env.fail(QStringLiteral("%1: %2").arg(path, s.message()), ExitUsage);
    if (Status s = delegate.saveAction(); !s.isOk())
        return env.fail(QStringLiteral("nothing was loaded: %1").arg(s.message()));

    QMap<QString, int> counts;
    for (const DocumentRecord& r : document->records)
        ++counts[jsonArrayNameForEntity(r.entity)];
    QStringList parts;
    for (auto it = counts.begin(); it != counts.end(); ++it)
        parts << QStringLiteral("%1 %2").arg(it.value()).arg(it.key());
    env.out() << "Loaded " << (parts.isEmpty() ? QStringLiteral("nothing") : parts.join(QStringLiteral(", "))) << Qt::endl;
    return ExitOk;
}
