#include "cli/commandline.h"

#include "app/coredataappdelegate.h"
#include "app/debuglog.h"
#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "store/objectcontext.h"

#include <QDir>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

struct Command {
    const char* name;
    int (*run)(CommandEnvironment&);
    const char* usage;
};

const Command kCommands[] = {
    {"parse", runParse, "parse LINE          the quick-entry reading of LINE, as JSON; nothing changes"},
    {"add", runAdd, "add LINE            add a task from a quick-entry line, as quick type-in does"},
    {"date", runDate, "date TEXT           the date TEXT reads as, in ISO 8601"},
    {"dump", runDump, "dump                the whole store as JSON"},
    {"load", runLoad, "load FILE           add the records of a JSON file shaped like the dump (\"-\": standard input)"},
    {"set", runSet, "set URI KEY=VALUE...  change attributes and relationships, in the order given (\"\" clears)"},
    {"duplicate", runDuplicate, "duplicate URI       copy a task"},
    {"cleanup", runCleanup, "cleanup             clean up completed tasks"},
    {"archive", runArchive, "archive URI... --category NAME [--tags T]   file tasks in an archive category"},
    {"list", runList, "list [--view contexts|projects|to-complete|completed|archive] [--folder PATH] [--time-mode N]\n"
                      "       [--owner-mode N] [--flagged|--no-flagged] [--next-actions|--no-next-actions] [--completed]\n"
                      "       [--search TEXT] [--sort KEYS] [--json]   the tasks of a view as it shows them"},
    {"move", runMove, "move URI --to-position N|--top|--bottom|--up|--down [--view contexts|projects] [--folder PATH]\n"
                      "                      move a task in the user's own order of a context or project"},
    {"folders", runFolders, "folders [--contexts|--projects|--smart-folders|--archive]   folders with their counters"},
};

QString usageText()
{
    QString text = QStringLiteral("Usage: vyro [--data-dir DIR] [COMMAND [ARGUMENTS]]\n"
                                  "       vyro --version | --help\n\n"
                                  "Without a command, Vyro starts on the desktop.\n\nCommands:\n");
    for (const Command& c : kCommands)
        text += QStringLiteral("  ") + QLatin1String(c.usage) + QLatin1Char('\n');
    text += QStringLiteral("\nOptions:\n  --data-dir DIR      use the data file in DIR instead of the one the preferences choose\n");
    text += QStringLiteral("\nload reads at most %1 MiB. Exit status: 0 done, 1 failed, 2 arguments that cannot be used.\n").arg(kLoadLimit >> 20);
    return text;
}

// The file that stops DIR from being a folder, DIR itself or the nearest existing path above it;
// empty when there is none (a missing folder is made when the data is opened).
QString fileInTheWay(const QString& dir)
{
    QFileInfo info(dir);
    while (!info.exists() && !info.isRoot() && info.absolutePath() != info.absoluteFilePath())
        info = QFileInfo(info.absolutePath());
    if (!info.exists() || info.isDir())
        return {};
    return info.absoluteFilePath() == QFileInfo(dir).absoluteFilePath() ? dir : info.absoluteFilePath();
}

// Output that did not reach its reader fails the command, whatever it did: a dump cut short by a full
// disk must not pass for a whole one. Standard output is checked once, at the end: a stream that failed
// stays failed.
int checkOutput(QTextStream& out, QTextStream& err, int code, bool saved)
{
    out.flush();
    const bool streamOk = out.status() == QTextStream::Ok;
    const int flushed = std::fflush(stdout);
    const int flushError = errno;
    if (streamOk && flushed == 0 && !std::ferror(stdout))
        return code;
    QString reason = out.device() ? out.device()->errorString() : QString();
    if (reason.isEmpty() || reason == QLatin1String("Unknown error"))
        reason = QString::fromLocal8Bit(std::strerror(flushed != 0 ? flushError : EIO));
    err << "vyro: the output could not be written completely: " << reason;
    if (saved)
        err << " (the changes were saved)";
    err << Qt::endl;
    return code == ExitOk ? ExitFailure : code;
}

} // namespace

CommandEnvironment::CommandEnvironment(QStringList arguments, DataFolderOverride dataFolder, QTextStream& out, QTextStream& err)
    : m_arguments(std::move(arguments)), m_dataFolder(std::move(dataFolder)), m_out(out), m_err(err)
{
}

CommandEnvironment::~CommandEnvironment() = default;

int CommandEnvironment::fail(const QString& message, int code)
{
    m_err << "vyro: " << message << Qt::endl;
    return code;
}

void CommandEnvironment::warn(const QString& message)
{
    m_err << "vyro: warning: " << message << Qt::endl;
}

Status CommandEnvironment::save()
{
    Status s = m_delegate->saveAction();
    m_saved = m_saved || s.isOk();
    return s;
}

std::optional<int> CommandEnvironment::openStore()
{
    m_log = std::make_unique<DebugLogFile>(debugLogFilePath());
    m_preferences = std::make_unique<Preferences>();
    registerDefaults(*m_preferences);
    m_preferences->sync();
    m_delegate = std::make_unique<CoreData_AppDelegate>(*m_preferences, m_dataFolder);
    if (Status s = m_delegate->loadPersistentStoreCoordinator(); !s.isOk())
        return fail(s.message());
    for (const QString& message : m_delegate->repairMessages())
        m_err << "vyro: " << message << Qt::endl;
    // Command-line runs are one action each; nothing is to be undone.
    m_delegate->managedObjectContext().undoManager().setEnabled(false);
    m_cleanedUpAtStart = m_delegate->prepareStoreForWork();
    return std::nullopt;
}

bool desktopRequested(const QStringList& arguments, DataFolderOverride& dataFolder)
{
    QStringList rest = arguments.mid(1);
    while (!rest.isEmpty()) {
        const QString option = rest.takeFirst();
        QString dir;
        if (option == QLatin1String("--data-dir") && !rest.isEmpty())
            dir = rest.takeFirst();
        else if (option.startsWith(QLatin1String("--data-dir=")))
            dir = option.section(QLatin1Char('='), 1);
        else
            return false; // a command, or an option the command line answers (or refuses)
        if (dir.isEmpty() || !fileInTheWay(dir).isEmpty())
            return false;
        dataFolder = dir;
    }
    return true;
}

int runCommandLine(const QStringList& arguments)
{
    QTextStream out(stdout);
    QTextStream err(stderr);
    DataFolderOverride dataFolder;
    QStringList rest = arguments.mid(1);
    while (!rest.isEmpty() && rest.first().startsWith(QLatin1String("--"))) {
        const QString option = rest.takeFirst();
        if (option == QLatin1String("--version")) {
            out << "vyro " << CoreData_AppDelegate::versionStringForBundle() << Qt::endl;
            return checkOutput(out, err, ExitOk, false);
        }
        if (option == QLatin1String("--help")) {
            out << usageText();
            return checkOutput(out, err, ExitOk, false);
        }
        if (option == QLatin1String("--data-dir") || option.startsWith(QLatin1String("--data-dir="))) {
            QString dir = option.section(QLatin1Char('='), 1);
            if (!option.contains(QLatin1Char('='))) {
                if (rest.isEmpty()) {
                    err << "vyro: --data-dir needs a folder\n" << usageText();
                    return ExitUsage;
                }
                dir = rest.takeFirst();
            }
            if (dir.isEmpty()) {
                err << "vyro: --data-dir needs a folder\n";
                return ExitUsage;
            }
            if (const QString file = fileInTheWay(dir); !file.isEmpty()) {
                err << "vyro: --data-dir " << dir << (file == dir ? QStringLiteral(" is a file, not a folder") : QStringLiteral(" lies under %1, which is a file").arg(file))
                    << "\n";
                return ExitUsage;
            }
            dataFolder = dir;
            continue;
        }
        err << "vyro: unknown option " << option << "\n" << usageText();
        return ExitUsage;
    }
    if (rest.isEmpty()) {
        err << "vyro: no command given\n" << usageText();
        return ExitUsage;
    }
    const QString name = rest.takeFirst();
    for (const Command& c : kCommands) {
        if (name == QLatin1String(c.name)) {
            CommandEnvironment env(rest, dataFolder, out, err);
            const int code = c.run(env);
            return checkOutput(out, err, code, env.savedChanges());
        }
    }
    err << "vyro: unknown command \"" << name << "\"\n" << usageText();
    return ExitUsage;
}
