#pragma once

#include "app/datafilepaths.h"
#include "store/status.h"

#include <QByteArray>
#include <QIODevice>
#include <QStringList>
#include <QTextStream>

#include <memory>
#include <optional>

class CoreData_AppDelegate;
class DebugLogFile;
class Preferences;

// Exit statuses of the command line.
enum ExitCode : int { ExitOk = 0, ExitFailure = 1, ExitUsage = 2 };

// The most `load` reads, from a file or from standard input; larger input is refused before it is read
// whole.
inline constexpr qint64 kLoadLimit = qint64(256) << 20;

// The running desktop program's data and preferences, lent to a command that another process sent it:
// nothing is opened a second time, no start-up clean-up runs, and undo stays on.
struct CommandHost {
    CoreData_AppDelegate& delegate;
    Preferences& preferences;
    QString workingDirectory; // the sender's, against which relative paths resolve
    QByteArray standardInput; // the sender's, when the command reads "-"
};

// What a command gets: its arguments, the output streams, and the data, opened on demand (or the
// host's, already open).
class CommandEnvironment {
public:
    CommandEnvironment(QStringList arguments, DataFolderOverride dataFolder, QTextStream& out, QTextStream& err);
    CommandEnvironment(QStringList arguments, CommandHost& host, QTextStream& out, QTextStream& err);
    ~CommandEnvironment();

    const QStringList& arguments() const { return m_arguments; }
    QTextStream& out() { return m_out; }
    QTextStream& err() { return m_err; }

    // Reads the preferences (writing their defaults) and opens the data file for work. On failure the
    // message is already printed and the exit status to use is returned.
    std::optional<int> openStore();
    CoreData_AppDelegate& appDelegate() { return m_host ? m_host->delegate : *m_delegate; }
    // The preferences openStore read; valid after it succeeded.
    Preferences& preferences() { return m_host ? m_host->preferences : *m_preferences; }
    // A file named on the command line, opened for reading: "-" is standard input. Relative paths are
    // the caller's. nullptr, with the reason in `error`, when it cannot be opened.
    std::unique_ptr<QIODevice> openInput(const QString& path, QString* error);
    // Sends the log lines to the debug log for the rest of the command (openStore does it too); the
    // running program's log stays as it is.
    void openLog();
    // Whether the command runs inside the running desktop program, for another process.
    bool hosted() const { return m_host != nullptr; }
    // The data file this command works on, without opening it: the host's, or the one the preferences
    // (or --data-dir) choose.
    QString dataFilePath() const;
    // A path named on the command line, made absolute against the caller's working directory.
    QString absolutePath(const QString& path) const;
    // How many tasks the start-up pass of openStore cleaned up.
    int cleanedUpAtStart() const { return m_cleanedUpAtStart; }

    // Prints "vyro: <message>" to standard error and gives `code` back.
    int fail(const QString& message, int code = ExitFailure);
    // Prints "vyro: warning: <message>" to standard error: something the command left out or changed,
    // while it still did its work.
    void warn(const QString& message);

    // Saves the changes to the data file; remembers that they were saved, which a later failure to
    // write the output reports.
    Status save();
    bool savedChanges() const { return m_saved; }

private:
    QStringList m_arguments;
    DataFolderOverride m_dataFolder;
    QTextStream& m_out;
    QTextStream& m_err;
    std::unique_ptr<DebugLogFile> m_log;
    std::unique_ptr<Preferences> m_preferences;
    std::unique_ptr<CoreData_AppDelegate> m_delegate;
    CommandHost* m_host = nullptr;
    int m_cleanedUpAtStart = 0;
    bool m_saved = false;
};

// One command per file; each returns its exit status.
int runDump(CommandEnvironment& env);
int runLoad(CommandEnvironment& env);
int runSet(CommandEnvironment& env);
int runDuplicate(CommandEnvironment& env);
int runCleanup(CommandEnvironment& env);
int runArchive(CommandEnvironment& env);
int runFolders(CommandEnvironment& env);
int runParse(CommandEnvironment& env);
int runAdd(CommandEnvironment& env);
int runDate(CommandEnvironment& env);
int runList(CommandEnvironment& env);
int runMove(CommandEnvironment& env);
int runExport(CommandEnvironment& env);
int runCheckVersion(CommandEnvironment& env);
int runCloud(CommandEnvironment& env);
int runBackup(CommandEnvironment& env);
int runRestore(CommandEnvironment& env);
int runImport(CommandEnvironment& env);
int runSync(CommandEnvironment& env);

// Whether the arguments ask for the desktop program: nothing but usable "--data-dir" options (whose
// folder is put in `dataFolder`) and things to open once it is up (links such as "vyro://…" or
// "file:///…", put in `uris`), as the desktop session starts it. Anything else is the command line's to
// run or to refuse.
bool desktopRequested(const QStringList& arguments, DataFolderOverride& dataFolder, QStringList& uris);

// The output of a command carried out by the running desktop program.
struct ForwardedOutput {
    int status = ExitFailure;
    QByteArray standardOutput;
    QByteArray standardError;
};

// The running desktop program as the command line reaches it; the desktop session's client fills it.
class RunningInstance {
public:
    virtual ~RunningInstance() = default;
    // Carries out a command there. Nothing when no program answered.
    virtual std::optional<ForwardedOutput> runCommand(const QStringList& arguments, const QString& workingDirectory,
                                                      const QString& dataFilePath, const QByteArray& standardInput) = 0;
    // False when no program took the request.
    virtual bool activateAction(const QString& name) = 0;
    virtual bool open(const QStringList& uris) = 0;
    // Starts the desktop program on its own (with these arguments after the program name) and waits
    // until it answers; false when it does not.
    virtual bool startDesktop(const QStringList& arguments) = 0;
    virtual QString errorString() const = 0;
};

// Parses the global options and runs the command. With `instance`, a command on a data file that
// another process holds goes to the running desktop program when it answers, and the commands that
// drive the desktop program can be used.
int runCommandLine(const QStringList& arguments, RunningInstance* instance = nullptr);

// Carries out in the running desktop program a command that another process sent: `arguments` as that
// process got them, `dataFilePath` the data file it resolved. Output is collected in the two buffers.
int runHostedCommandLine(const QStringList& arguments, const QString& dataFilePath, CommandHost& host, QByteArray& out,
                         QByteArray& err);
