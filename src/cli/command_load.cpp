#include "app/coredataappdelegate.h"
#include "cli/commandline.h"
#include "model/absentflags.h"
#include "model/startupdata.h"
#include "store/objectcontext.h"
#include "store/recordjson.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMap>

namespace {

// Rounded up: a file one byte over the limit must not read as the limit itself.
QString mebibytes(qint64 bytes)
{
    return QStringLiteral("%1 MiB").arg((bytes + (qint64(1) << 20) - 1) >> 20);
}

// The whole input, or a refusal once it is known to exceed the limit: a regular file by its size,
// before reading; standard input and devices by reading in chunks and stopping past the limit.
Result<QByteArray> readLimited(QIODevice& file, const QString& name)
{
    if (!file.isSequential() && file.size() > kLoadLimit)
        return Status::invalidArgument(QStringLiteral("%1 holds %2, more than load reads (%3)").arg(name, mebibytes(file.size()), mebibytes(kLoadLimit)));
    QByteArray bytes;
    constexpr qint64 chunk = qint64(1) << 20;
    for (;;) {
        const qsizetype had = bytes.size();
        bytes.resize(had + chunk);
        const qint64 got = file.read(bytes.data() + had, chunk);
        if (got < 0)
            return Status::ioError(QStringLiteral("cannot read %1: %2").arg(name, file.errorString()));
        bytes.resize(had + got);
        if (bytes.size() > kLoadLimit)
            return Status::invalidArgument(QStringLiteral("%1 holds more than load reads (%2)").arg(name, mebibytes(kLoadLimit)));
        if (got == 0) // reads block until there is data: nothing means the end
            break;
    }
    return bytes;
}

// Valid JSON that is not an object gets its own message: the reader would call it invalid or speak of
// the wrong thing.
QString notAnObject(const QByteArray& bytes)
{
    const QByteArray text = bytes.trimmed();
    if (text.startsWith('{'))
        return {};
    const char* what = nullptr;
    if (text.startsWith('['))
        what = QJsonDocument::fromJson(text).isArray() ? "an array" : nullptr;
    else if (const QJsonDocument wrapped = QJsonDocument::fromJson("[" + text + "]"); wrapped.isArray() && wrapped.array().size() == 1) {
        const QJsonValue v = wrapped.array().first();
        what = v.isString() ? "a string" : v.isDouble() ? "a number" : v.isBool() ? "true or false" : "null";
    }
    if (!what)
        return {};
    return QStringLiteral("the JSON here is %1; load takes one object with arrays of records (\"contexts\", \"projects\", "
                          "\"smartFolders\", \"archiveCategories\", \"tasks\"), as dump writes it").arg(QLatin1String(what));
}

} // namespace

int runLoad(CommandEnvironment& env)
{
    if (env.arguments().size() != 1)
        return env.fail(QStringLiteral("load takes one FILE (\"-\" for standard input)"), ExitUsage);
    const QString path = env.arguments().first();
    const QString name = path == QLatin1String("-") ? QStringLiteral("standard input") : path;
    QString openError;
    const std::unique_ptr<QIODevice> file = env.openInput(path, &openError);
    if (!file)
        return env.fail(QStringLiteral("cannot read %1: %2").arg(path, openError));
    auto read = readLimited(*file, name);
    if (!read)
        return env.fail(read.status().message());
    const QByteArray bytes = std::move(*read);
    if (const QString wrong = notAnObject(bytes); !wrong.isEmpty())
        return env.fail(QStringLiteral("%1: %2").arg(name, wrong), ExitUsage);

    if (auto failed = env.openStore())
        return *failed;
    CoreData_AppDelegate& delegate = env.appDelegate();
    ObjectContext& context = delegate.managedObjectContext();

    // Everything is checked before anything is added, and the save is one transaction: a bad file or a
    // failed save leaves the data file as it was.
    auto document = recordDocumentFromJson(bytes, context.model());
    if (!document)
        return env.fail(QStringLiteral("%1: %2").arg(name, document.status().message()), ExitUsage);
    mergeSpecialRecordsInto(context, *document);
    std::vector<Record*> created;
    if (Status s = importDocument(context, *document, &created); !s.isOk())
        return env.fail(QStringLiteral("%1: %2").arg(name, s.message()), ExitUsage);
    adoptLoadedRecords(context, created);
    if (Status s = env.save(); !s.isOk())
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
