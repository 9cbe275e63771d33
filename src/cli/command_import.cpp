#include "app/coredataappdelegate.h"
#include "cli/commandline.h"
#include "cli/listview.h"
#include "exchange/importcontroller.h"
#include "exchange/textfile.h"
#include "lists/listhost.h"
#include "lists/tabviewcontroller.h"

int runImport(CommandEnvironment& env)
{
    QString viewName = QStringLiteral("contexts");
    QString folder;
    std::optional<QString> file;
    const QStringList& args = env.arguments();
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString& a = args[i];
        if (a == QLatin1String("--view") || a == QLatin1String("--folder")) {
            if (i + 1 >= args.size())
                return env.fail(QStringLiteral("import: %1 needs a value").arg(a), ExitUsage);
            (a == QLatin1String("--view") ? viewName : folder) = args[++i];
        } else if (a.startsWith(QLatin1String("--")) || file) {
            return env.fail(QStringLiteral("import: unknown argument %1").arg(a), ExitUsage);
        } else {
            file = a;
        }
    }
    if (!file)
        return env.fail(QStringLiteral("import takes one FILE (\"-\" for standard input)"), ExitUsage);
    auto view = parseTaskView(viewName);
    if (!view || (*view != TaskView::Contexts && *view != TaskView::Projects && *view != TaskView::Archive))
        return env.fail(QStringLiteral("import: --view takes contexts, projects or archive"), ExitUsage);

    // Read whole before the data is opened: a file that cannot be read changes nothing.
    QString openError;
    const std::unique_ptr<QIODevice> input = env.openInput(*file, &openError);
    if (!input)
        return env.fail(QStringLiteral("cannot read %1: %2").arg(*file, openError));
    if (!input->isSequential() && input->size() > kLoadLimit)
        return env.fail(QStringLiteral("%1 is larger than import reads (%2 MiB)").arg(*file).arg(kLoadLimit >> 20));
    QByteArray bytes;
    for (;;) {
        const QByteArray chunk = input->read(qint64(1) << 20);
        bytes += chunk;
        if (chunk.isEmpty() || bytes.size() > kLoadLimit)
            break;
    }
    if (bytes.size() > kLoadLimit)
        return env.fail(QStringLiteral("%1 is larger than import reads (%2 MiB)").arg(*file).arg(kLoadLimit >> 20));
    const QString text = decodeText(bytes);

    if (auto failed = env.openStore())
        return *failed;
    ListHost host;
    TabViewController views(env.appDelegate().managedObjectContext(), env.preferences(), host);
    if (Status s = selectViewFolder(views, *view, folder); !s.isOk())
        return env.fail(QStringLiteral("import: ") + s.message(), ExitUsage);
    ImportController importer(views);
    auto made = importer.importTasksFromText(int(*view), text);
    if (!made)
        return env.fail(QStringLiteral("import: ") + made.status().message());
    if (Status s = env.save(); !s.isOk())
        return env.fail(QStringLiteral("nothing was imported: %1").arg(s.message()));
    env.out() << "Imported " << *made << (*made == 1 ? " task" : " tasks") << Qt::endl;
    return ExitOk;
}
