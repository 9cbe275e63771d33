#include "cli/commandline.h"

#include "app/coredataappdelegate.h"
#include "app/debuglog.h"
#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "store/datafilelock.h"
#include "store/objectcontext.h"
#include "store/undostack.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QUrl>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

struct Command {
    const char* name;
    int (*run)(CommandEnvironment&);
    const char* usage;
    bool usesStore = true;
};

const Command kCommands[] = {
    {"parse", runParse, "parse LINE          the quick-entry reading of LINE, as JSON; nothing changes"},
    {"add", runAdd, "add LINE            add a task from a quick-entry line, as quick type-in does"},
    {"date", runDate, "date TEXT           the date TEXT reads as, in ISO 8601", false},
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
    {"export", runExport, "export --view contexts|projects|smart-folders [--folder PATH]... [--all]\n"
                          "       --format basichtml|html|csv|txt FILE   the view's pending tasks through a template set"},
    {"import", runImport, "import FILE|- [--view contexts|projects|archive] [--folder PATH]\n"
                          "                      one task per line of a text file, in the folder (default: the Inbox)"},
    {"backup", runBackup, "backup FILE         a consistent copy of the data file, as it was last saved", false},
    {"restore", runRestore, "restore FILE        replace the data file by a backup (the program must not be running)", false},
    {"folders", runFolders, "folders [--contexts|--projects|--smart-folders|--archive]   folders with their counters"},
    {"cloud", runCloud, "cloud download|upload [--server URL --user NAME] [--folder DIR]\n"
                        "                      the cloud disk copy of the data file (password: keyring or VYRO_WEBDAV_PASSWORD)", false},
    {"sync", runSync, "sync [--server URL --user NAME] | --forget\n"
                      "                      sync the synchronizable contexts with the calendar server (password: keyring or\n"
                      "                      VYRO_CALDAV_PASSWORD); --forget forgets the last sync's state", true},
    {"check-version", runCheckVersion, "check-version       whether a newer release is out, as the Help menu's check says", false},
};

// Commands that drive the desktop program, started for them when none runs.
struct DesktopCommand {
    const char* name;
    const char* action; // the named action it triggers; nullptr for "open"
    const char* usage;
};

const DesktopCommand kDesktopCommands[] = {
    {"quick-add", "quick-add", "quick-add           show the quick add window"},
    {"quick-type-in", "quick-type-in", "quick-type-in       show the quick type-in window"},
    {"capture", "capture", "capture             add the front application's item to the Inbox"},
    {"open", nullptr, "open LINK|FILE...   open task links (vyro://...) or files in the desktop program"},
};

QString usageText()
{
    QString text = QStringLiteral("Usage: vyro [--data-dir DIR] [COMMAND [ARGUMENTS]]\n"
                                  "       vyro --version | --help\n\n"
                                  "Without a command, Vyro starts on the desktop.\n\nCommands:\n");
    for (const Command& c : kCommands)
        text += QStringLiteral("  ") + QLatin1String(c.usage) + QLatin1Char('\n');
    text += QStringLiteral("\nCommands for the desktop program (started when it is not running):\n");
    for (const DesktopCommand& c : kDesktopCommands)
        text += QStringLiteral("  ") + QLatin1String(c.usage) + QLatin1Char('\n');
    text += QStringLiteral("\nWhile the desktop program holds the data file, the commands are carried out by it.\n");
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

CommandEnvironment::CommandEnvironment(QStringList arguments, CommandHost& host, QTextStream& out, QTextStream& err)
    : m_arguments(std::move(arguments)), m_out(out), m_err(err), m_host(&host)
{
}

CommandEnvironment::~CommandEnvironment() = default;

std::unique_ptr<QIODevice> CommandEnvironment::openInput(const QString& path, QString* error)
{
    if (path == QLatin1String("-") && m_host) {
        auto buffer = std::make_unique<QBuffer>();
        buffer->setData(m_host->standardInput);
        buffer->open(QIODevice::ReadOnly);
        return buffer;
    }
    auto file = std::make_unique<QFile>();
    bool opened;
    if (path == QLatin1String("-"))
        opened = file->open(stdin, QIODevice::ReadOnly);
    else {
        file->setFileName(m_host ? QDir(m_host->workingDirectory).absoluteFilePath(path) : path);
        opened = file->open(QIODevice::ReadOnly);
    }
    if (!opened) {
        *error = file->errorString();
        return nullptr;
    }
    return file;
}

void CommandEnvironment::openLog()
{
    if (!m_host && !m_log)
        m_log = std::make_unique<DebugLogFile>(debugLogFilePath());
}

QString CommandEnvironment::dataFilePath() const
{
    if (m_host)
        return m_host->delegate.currentDataFilePath();
    Preferences preferences;
    return computeCurrentDataFilePath(preferences, m_dataFolder);
}

QString CommandEnvironment::absolutePath(const QString& path) const
{
    return m_host ? QDir(m_host->workingDirectory).absoluteFilePath(path) : QFileInfo(path).absoluteFilePath();
}

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
    Status s = appDelegate().saveAction();
    m_saved = m_saved || s.isOk();
    return s;
}

std::optional<int> CommandEnvironment::openStore()
{
    if (m_host)
        return m_host->delegate.hasStore() ? std::nullopt : std::optional<int>(fail(QStringLiteral("the running Vyro has no data file open")));
    openLog();
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

namespace {

// "scheme:..." as the desktop session hands links and files to a program; a path or a command never
// has a colon before its first slash.
bool isUri(const QString& argument)
{
    static const QRegularExpression scheme(QStringLiteral("^[A-Za-z][A-Za-z0-9+.-]*:"));
    return scheme.match(argument).hasMatch();
}

// The global options taken apart from the command.
struct Invocation {
    DataFolderOverride dataFolder;
    QString command;
    QStringList rest;
    std::optional<int> answered; // --version, --help, or arguments that cannot be used (already reported)
};

Invocation parseInvocation(const QStringList& arguments, QTextStream& out, QTextStream& err)
{
    Invocation inv;
    QStringList rest = arguments.mid(1);
    while (!rest.isEmpty() && rest.first().startsWith(QLatin1String("--"))) {
        const QString option = rest.takeFirst();
        if (option == QLatin1String("--version")) {
            out << "vyro " << CoreData_AppDelegate::versionStringForBundle() << Qt::endl;
            inv.answered = ExitOk;
            return inv;
        }
        if (option == QLatin1String("--help")) {
            out << usageText();
            inv.answered = ExitOk;
            return inv;
        }
        if (option == QLatin1String("--data-dir") || option.startsWith(QLatin1String("--data-dir="))) {
            QString dir = option.section(QLatin1Char('='), 1);
            if (!option.contains(QLatin1Char('='))) {
                if (rest.isEmpty()) {
                    err << "vyro: --data-dir needs a folder\n" << usageText();
                    inv.answered = ExitUsage;
                    return inv;
                }
                dir = rest.takeFirst();
            }
            if (dir.isEmpty()) {
                err << "vyro: --data-dir needs a folder\n";
                inv.answered = ExitUsage;
                return inv;
            }
            if (const QString file = fileInTheWay(dir); !file.isEmpty()) {
                err << "vyro: --data-dir " << dir << (file == dir ? QStringLiteral(" is a file, not a folder") : QStringLiteral(" lies under %1, which is a file").arg(file))
                    << "\n";
                inv.answered = ExitUsage;
                return inv;
            }
            inv.dataFolder = dir;
            continue;
        }
        err << "vyro: unknown option " << option << "\n" << usageText();
        inv.answered = ExitUsage;
        return inv;
    }
    if (rest.isEmpty()) {
        err << "vyro: no command given\n" << usageText();
        inv.answered = ExitUsage;
        return inv;
    }
    inv.command = rest.takeFirst();
    inv.rest = rest;
    return inv;
}

const Command* findCommand(const QString& name)
{
    for (const Command& c : kCommands)
        if (name == QLatin1String(c.name))
            return &c;
    return nullptr;
}

const DesktopCommand* findDesktopCommand(const QString& name)
{
    for (const DesktopCommand& c : kDesktopCommands)
        if (name == QLatin1String(c.name))
            return &c;
    return nullptr;
}

bool writeAll(std::FILE* stream, const QByteArray& bytes)
{
    return bytes.isEmpty() || std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream) == size_t(bytes.size());
}

// The same file by two spellings (a relative --data-dir, a link to the folder) compares equal.
QString comparablePath(const QString& path)
{
    const QFileInfo info(path);
    const QString canonical = info.canonicalFilePath();
    return canonical.isEmpty() ? info.absoluteFilePath() : canonical;
}

int runDesktopCommand(const DesktopCommand& command, const Invocation& inv, RunningInstance* instance, QTextStream& err)
{
    auto fail = [&](const QString& message, int code) {
        err << "vyro: " << message << Qt::endl;
        return code;
    };
    if (!instance)
        return fail(QStringLiteral("%1 needs the desktop session").arg(QLatin1String(command.name)), ExitFailure);
    QStringList uris;
    if (!command.action) {
        if (inv.rest.isEmpty())
            return fail(QStringLiteral("open takes one or more links or files"), ExitUsage);
        for (const QString& argument : inv.rest) {
            if (isUri(argument)) {
                uris << argument;
                continue;
            }
            const QFileInfo file(argument);
            if (!file.exists())
                return fail(QStringLiteral("no file %1").arg(argument), ExitUsage);
            uris << QString::fromUtf8(QUrl::fromLocalFile(file.absoluteFilePath()).toEncoded());
        }
    } else if (!inv.rest.isEmpty()) {
        return fail(QStringLiteral("%1 takes no arguments").arg(QLatin1String(command.name)), ExitUsage);
    }
    if (command.action ? instance->activateAction(QLatin1String(command.action)) : instance->open(uris))
        return ExitOk;
    // None running: the desktop program is started on its own; links go with its arguments, an action
    // follows once it answers.
    QStringList start;
    if (inv.dataFolder)
        start << QStringLiteral("--data-dir") << QFileInfo(*inv.dataFolder).absoluteFilePath();
    if (!command.action)
        start << uris;
    if (!instance->startDesktop(start))
        return fail(QStringLiteral("the desktop program did not start: %1").arg(instance->errorString()), ExitFailure);
    if (command.action && !instance->activateAction(QLatin1String(command.action)))
        return fail(QStringLiteral("the desktop program did not take %1: %2").arg(QLatin1String(command.name), instance->errorString()), ExitFailure);
    return ExitOk;
}

// Hands a command on a data file that another process holds to the running desktop program. Nothing
// when the file is free or no program answered: the command then runs here (and reports the holder).
std::optional<int> forwardCommand(const Invocation& inv, const QString& programName, RunningInstance& instance, QTextStream& out,
                                  QTextStream& err)
{
    Preferences preferences;
    const QString dataFile = computeCurrentDataFilePath(preferences, inv.dataFolder);
    if (!DataFileLock::isHeldElsewhere(dataFile))
        return std::nullopt;
    QByteArray input;
    const bool readsInput = (inv.command == QLatin1String("load") || inv.command == QLatin1String("import"))
        && inv.rest.contains(QStringLiteral("-"));
    if (readsInput) {
        QFile in;
        if (in.open(stdin, QIODevice::ReadOnly)) {
            // One byte past the limit is enough for the program to refuse it as too long.
            while (input.size() <= kLoadLimit) {
                const QByteArray chunk = in.read(std::min<qint64>(qint64(1) << 20, kLoadLimit + 1 - input.size()));
                if (chunk.isEmpty())
                    break;
                input += chunk;
            }
        }
    }
    const QStringList forwarded = QStringList{programName, inv.command} + inv.rest;
    std::optional<ForwardedOutput> result = instance.runCommand(forwarded, QDir::currentPath(), QFileInfo(dataFile).absoluteFilePath(), input);
    if (!result) {
        if (!readsInput)
            return std::nullopt;
        err << "vyro: the data file " << QDir::toNativeSeparators(dataFile) << " is in use, and the program holding it did not take the command: "
            << instance.errorString() << Qt::endl;
        return ExitFailure;
    }
    err.flush();
    writeAll(stderr, result->standardError);
    std::fflush(stderr);
    if (!writeAll(stdout, result->standardOutput)) {
        err << "vyro: the output could not be written completely: " << QString::fromLocal8Bit(std::strerror(errno)) << Qt::endl;
        return result->status == ExitOk ? int(ExitFailure) : result->status;
    }
    return checkOutput(out, err, result->status, false);
}

} // namespace

bool desktopRequested(const QStringList& arguments, DataFolderOverride& dataFolder, QStringList& uris)
{
    QStringList rest = arguments.mid(1);
    while (!rest.isEmpty()) {
        const QString option = rest.takeFirst();
        QString dir;
        if (option == QLatin1String("--data-dir") && !rest.isEmpty())
            dir = rest.takeFirst();
        else if (option.startsWith(QLatin1String("--data-dir=")))
            dir = option.section(QLatin1Char('='), 1);
        else if (isUri(option)) {
            uris << option;
            continue;
        } else
            return false; // a command, or an option the command line answers (or refuses)
        if (dir.isEmpty() || !fileInTheWay(dir).isEmpty())
            return false;
        dataFolder = dir;
    }
    return true;
}

int runCommandLine(const QStringList& arguments, RunningInstance* instance)
{
    QTextStream out(stdout);
    QTextStream err(stderr);
    const Invocation inv = parseInvocation(arguments, out, err);
    if (inv.answered)
        return *inv.answered == ExitOk ? checkOutput(out, err, ExitOk, false) : *inv.answered;
    if (const DesktopCommand* d = findDesktopCommand(inv.command))
        return runDesktopCommand(*d, inv, instance, err);
    const Command* c = findCommand(inv.command);
    if (!c) {
        err << "vyro: unknown command \"" << inv.command << "\"\n" << usageText();
        return ExitUsage;
    }
    if (instance && c->usesStore) {
        if (std::optional<int> forwarded = forwardCommand(inv, arguments.value(0), *instance, out, err))
            return *forwarded;
    }
    CommandEnvironment env(inv.rest, inv.dataFolder, out, err);
    const int code = c->run(env);
    return checkOutput(out, err, code, env.savedChanges());
}

int runHostedCommandLine(const QStringList& arguments, const QString& dataFilePath, CommandHost& host, QByteArray& outBytes,
                         QByteArray& errBytes)
{
    QBuffer outBuffer(&outBytes);
    QBuffer errBuffer(&errBytes);
    outBuffer.open(QIODevice::WriteOnly);
    errBuffer.open(QIODevice::WriteOnly);
    QTextStream out(&outBuffer);
    QTextStream err(&errBuffer);
    const int code = [&] {
        // The data file has been resolved by the sender; only the command and its arguments count here.
        const Invocation inv = parseInvocation(arguments, out, err);
        if (inv.answered)
            return *inv.answered;
        const Command* c = findCommand(inv.command);
        if (!c) {
            err << "vyro: unknown command \"" << inv.command << "\"\n" << usageText();
            return int(ExitUsage);
        }
        if (comparablePath(dataFilePath) != comparablePath(host.delegate.currentDataFilePath())) {
            err << "vyro: the running Vyro has the data file " << QDir::toNativeSeparators(host.delegate.currentDataFilePath())
                << " open, not " << QDir::toNativeSeparators(dataFilePath) << "; quit it to work on that one" << Qt::endl;
            return int(ExitFailure);
        }
        CommandEnvironment env(inv.rest, host, out, err);
        if (!c->usesStore)
            return c->run(env);
        ObjectContext& store = host.delegate.managedObjectContext();
        // Finished edits of the window's own come first, apart: the command is one step of undo.
        store.processPendingChanges();
        int status;
        {
            UndoGrouping step(store.undoManager(), QStringLiteral("Command Line \u201c%1\u201d").arg(inv.command));
            status = c->run(env);
        }
        // The window's lists follow now, not at the end of some later event.
        store.processPendingChanges();
        return status;
    }();
    out.flush();
    err.flush();
    return code;
}
