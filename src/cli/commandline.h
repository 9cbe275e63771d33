#pragma once

#include "app/datafilepaths.h"
#include "store/status.h"

#include <QStringList>
#include <QTextStream>

#include <memory>

class CoreData_AppDelegate;
class DebugLogFile;
class Preferences;

// Exit statuses of the command line.
enum ExitCode : int { ExitOk = 0, ExitFailure = 1, ExitUsage = 2 };

// The most `load` reads, from a file or from standard input; larger input is refused before it is read
// whole.
inline constexpr qint64 kLoadLimit = qint64(256) << 20;

// What a command gets: its arguments, the output streams, and the data, opened on demand.
class CommandEnvironment {
public:
    CommandEnvironment(QStringList arguments, DataFolderOverride dataFolder, QTextStream& out, QTextStream& err);
    ~CommandEnvironment();

    const QStringList& arguments() const { return m_arguments; }
    QTextStream& out() { return m_out; }
    QTextStream& err() { return m_err; }

    // Reads the preferences (writing their defaults) and opens the data file for work. On failure the
    // message is already printed and the exit status to use is returned.
    std::optional<int> openStore();
    CoreData_AppDelegate& appDelegate() { return *m_delegate; }
    // The preferences openStore read; valid after it succeeded.
    Preferences& preferences() { return *m_preferences; }
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

// Whether the arguments ask for the desktop program: nothing but usable "--data-dir" options (whose
// folder is put in `dataFolder`). Anything else is the command line's to run or to refuse.
bool desktopRequested(const QStringList& arguments, DataFolderOverride& dataFolder);

// Parses the global options and runs the command.
int runCommandLine(const QStringList& arguments);
