// The File menu's commands for files in and out, driven as a user would: the panels are filled in and
// confirmed, the alerts answered by the recording dialogs, and the desktop's file manager and default
// handler replaced by recorders.
#include "app/backups.h"
#include "app/coredataappdelegate.h"
#include "app/datafilepaths.h"
#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "lists/contextarraycontroller.h"
#include "lists/projectarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "lists/tasksarraycontroller.h"
#include "model/archivecategory.h"
#include "model/context.h"
#include "model/project.h"
#include "model/task.h"
#include "store/objectcontext.h"
#include "support/appfixture.h"
#include "ui/desktopapplication.h"
#include "ui/dialogs.h"
#include "ui/exportdialog.h"
#include "ui/filecommands.h"
#include "ui/mainwindowcontroller.h"

#include <QAction>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// Every question, warning and notice in the order they came, each as "kind: title | text".
struct TranscriptDialogs : Dialogs {
    bool confirm(QWidget*, const QString& title, const QString& text, const QString&, const QString&) override
    {
        said << u"confirm: "_s + title + u" | "_s + text;
        return true;
    }
    void warn(QWidget*, const QString& title, const QString& text) override { said << u"warn: "_s + title + u" | "_s + text; }
    void inform(QWidget*, const QString& message, const QString& text) override
    {
        said << u"inform: "_s + message + u" | "_s + text;
    }
    QStringList said;
};

class FileCommandsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        auto preferences = std::make_unique<Preferences>(dir.filePath(u"prefs.ini"_s));
        prefs = preferences.get();
        app = std::make_unique<DesktopApplication>(dir.filePath(u"data"_s), nullptr, &dialogs, std::move(preferences));
        ASSERT_TRUE(app->applicationDidFinishLaunching());
        files().setRevealer([this](const QString& link) { dialogs.said << u"reveal: "_s + link; });
        files().setUrlOpener([this](const QUrl& url) {
            opened << url;
            return true;
        });

        home = newContext(u"Home"_s);
        errands = newContext(u"Errands"_s);
        newTask(u"paint fence"_s, home);
        newTask(u"buy stamps"_s, errands);
        garden = store().insertNewObject<Project>(u"project"_s);
        garden->setName(u"Garden"_s);
        garden->setActive(true);
        books = store().insertNewObject<ArchiveCategory>(u"archiveCategory"_s);
        books->setName(u"Books"_s);
        ASSERT_TRUE(store().save().isOk());
        views().performRefetchAction();
        views().selectTab(TaskView::Contexts);
        views().contextController().setSelectedObjects({home});
    }

    MainWindowController& window() { return *app->mainWindowController(); }
    TabViewController& views() { return window().views(); }
    FileCommands& files() { return window().files(); }
    ObjectContext& store() { return app->appDelegate().managedObjectContext(); }
    Context* newContext(const QString& name)
    {
        auto* c = store().insertNewObject<Context>(u"context"_s);
        c->setName(name);
        return c;
    }
    void newTask(const QString& name, Context* in) { newTaskIn(store(), name, in); }
    // The panel the command opened; nullptr when it opened none.
    QFileDialog* panelOf(const QString& command)
    {
        window().action(command)->trigger();
        return files().openPanel();
    }
    // Confirms the open panel on `path`; the panel closes (and is deleted) as a user's OK would.
    void confirm(QFileDialog* panel, const QString& path)
    {
        panel->selectFile(path);
        static_cast<QDialog*>(panel)->accept();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    QStringList namesIn(Record* folder)
    {
        QStringList names;
        for (Record* r : store().allObjects(u"task"_s)) {
            auto* t = static_cast<Task*>(r);
            if (t->parentContext() == folder || static_cast<Record*>(t->parentProject()) == folder
                || static_cast<Record*>(t->parentArchiveCategory()) == folder)
                names << t->name();
        }
        names.sort();
        return names;
    }

    QTemporaryDir dir;
    TranscriptDialogs dialogs;
    Preferences* prefs = nullptr;
    std::unique_ptr<DesktopApplication> app;
    QList<QUrl> opened;
    Context* home = nullptr;
    Context* errands = nullptr;
    Project* garden = nullptr;
    ArchiveCategory* books = nullptr;
};

} // namespace

TEST_F(FileCommandsTest, ExportPanelSettingsAreStoredAndDecideTheFileWritten)
{
    struct Row {
        const char* typed;      // the name typed before the type is chosen
        const char* type;       // the type chooser's entry
        int storedType;
        int mode;               // 0 selected folders, 1 all
        bool openAfter;
        bool singlePages;
        const char* written;    // the file that comes out
        bool hasOtherContext;   // the unselected context's task is in it
    };
    const Row rows[] = {
        {"tasks", "CSV", 2, 0, true, false, "tasks.csv", false},
        {"tasks.csv", "Plain text", 3, 1, false, true, "tasks.txt", true},
        {"week.txt", "Basic HTML", 0, 0, false, false, "week.html", false},
        {"week", "Styled HTML", 1, 1, true, true, "week.html", true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.written);
        auto* panel = qobject_cast<ExportDialog*>(panelOf(u"showExportDialog"_s));
        ASSERT_NE(panel, nullptr);
        EXPECT_EQ(panel->windowModality(), Qt::WindowModal);
        panel->selectFile(dir.filePath(QString::fromLatin1(row.typed)));
        panel->typeChooser()->setCurrentIndex(panel->typeChooser()->findText(QString::fromLatin1(row.type)));
        panel->modeChooser()->setCurrentIndex(row.mode);
        panel->openAfterExportBox()->setChecked(row.openAfter);
        panel->printSinglePagesBox()->setChecked(row.singlePages);

        EXPECT_EQ(prefs->integerForKey(PreferenceKey::lastExportType), row.storedType);
        EXPECT_EQ(prefs->integerForKey(PreferenceKey::lastExportMode), row.mode);
        EXPECT_EQ(prefs->boolForKey(PreferenceKey::lastExportOpenAfterExportSetting), row.openAfter);
        EXPECT_EQ(prefs->boolForKey(PreferenceKey::lastExportPrintSinglePages), row.singlePages);

        opened.clear();
        const QString expected = dir.filePath(QString::fromLatin1(row.written));
        QFile::remove(expected);
        static_cast<QDialog*>(panel)->accept();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        ASSERT_EQ(files().openPanel(), nullptr) << "the panel closes";

        QFile file(expected);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << expected.toStdString();
        const QString text = QString::fromUtf8(file.readAll());
        EXPECT_TRUE(text.contains(u"paint fence"_s));
        EXPECT_EQ(text.contains(u"buy stamps"_s), row.hasOtherContext);
        EXPECT_EQ(prefs->stringForKey(PreferenceKey::lastExportFilePath), expected);
        EXPECT_EQ(opened, row.openAfter ? QList<QUrl>{QUrl::fromLocalFile(expected)} : QList<QUrl>{});
    }

    // The next panel starts from what the last one left.
    auto* panel = qobject_cast<ExportDialog*>(panelOf(u"showExportDialog"_s));
    ASSERT_NE(panel, nullptr);
    EXPECT_EQ(panel->exportType(), 1);
    EXPECT_EQ(panel->exportMode(), 1);
    EXPECT_TRUE(panel->openAfterExport());
    EXPECT_TRUE(panel->printSinglePages());
    EXPECT_EQ(QFileInfo(panel->selectedFiles().value(0)).fileName(), u"week.html"_s);
    panel->reject();
}

TEST_F(FileCommandsTest, ExportOpensOnlyInTheViewsThatExport)
{
    const struct {
        TaskView view;
        bool opens;
    } rows[] = {{TaskView::Contexts, true}, {TaskView::Projects, true}, {TaskView::ToComplete, true},
                {TaskView::Completed, false}, {TaskView::Archive, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(int(row.view));
        views().selectTab(row.view);
        QFileDialog* panel = panelOf(u"showExportDialog"_s);
        EXPECT_EQ(panel != nullptr, row.opens);
        if (panel) {
            panel->reject();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
    }
}

TEST_F(FileCommandsTest, ImportMakesTasksInTheSelectedFolderFromAFileOrTheClipboard)
{
    const QString lines = u"Buy milk\n\n   \n  Call Bob  \n"_s;
    QFile file(dir.filePath(u"lines.txt"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(lines.toUtf8());
    file.close();

    struct Row {
        TaskView view;
        bool fromClipboard;
        QStringList expected;
    };
    const Row rows[] = {
        {TaskView::Contexts, false, {u"Buy milk"_s, u"Call Bob"_s, u"paint fence"_s}},
        {TaskView::Contexts, true, {u"Buy milk"_s, u"Buy milk"_s, u"Call Bob"_s, u"Call Bob"_s, u"paint fence"_s}},
        {TaskView::Projects, true, {u"  Call Bob  "_s, u"Buy milk"_s}},
        {TaskView::Archive, false, {u"  Call Bob  "_s, u"Buy milk"_s}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(int(row.view) * 10 + row.fromClipboard);
        views().selectTab(row.view);
        Record* into = home;
        if (row.view == TaskView::Projects) {
            views().projectController().setSelectedObjects({garden});
            into = garden;
        } else if (row.view == TaskView::Archive) {
            views().archiveCategoryController().setSelectedObjects({books});
            into = books;
        }
        if (row.fromClipboard) {
            QGuiApplication::clipboard()->setText(lines);
            window().action(u"importTasksFromClipboard"_s)->trigger();
        } else {
            QFileDialog* panel = panelOf(u"showImportDialog"_s);
            ASSERT_NE(panel, nullptr);
            confirm(panel, file.fileName());
        }
        store().processPendingChanges();
        EXPECT_EQ(namesIn(into), row.expected);
        EXPECT_EQ(dialogs.said, QStringList{});
        // The view's list, which the table shows, has them too.
        QStringList listed;
        for (Task* t : views().taskList(row.view).arrangedObjects())
            listed << t->name();
        listed.sort();
        EXPECT_EQ(listed, row.expected);
    }
}

TEST_F(FileCommandsTest, ImportWithoutASelectedFolderWarnsAndMakesNothing)
{
    const size_t before = store().allObjects(u"task"_s).size();
    views().selectTab(TaskView::Projects);
    views().projectController().setSelectedObjects({});
    QGuiApplication::clipboard()->setText(u"one\ntwo"_s);
    window().action(u"importTasksFromClipboard"_s)->trigger();
    EXPECT_EQ(store().allObjects(u"task"_s).size(), before);
    ASSERT_EQ(dialogs.said.size(), 1);
    EXPECT_TRUE(dialogs.said[0].startsWith(u"warn: Import from Clipboard"_s)) << dialogs.said[0].toStdString();
}

TEST_F(FileCommandsTest, ManualBackupTellsTheOutcome)
{
    ASSERT_TRUE(store().save().isOk());
    const QString protectedFolder = dir.filePath(u"locked"_s);
    ASSERT_TRUE(QDir().mkpath(protectedFolder));
    QFile::setPermissions(protectedFolder, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    const bool permissionsHold = geteuid() != 0;

    const struct {
        QString target;
        bool succeeds;
    } rows[] = {
        {dir.filePath(u"Vyro_backup.sql"_s), true},
        {dir.filePath(u"prefs.ini/Vyro_backup.sql"_s), false},
        {protectedFolder + u"/Vyro_backup.sql"_s, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.target.toStdString());
        if (row.target.startsWith(protectedFolder) && !permissionsHold)
            continue; // the superuser writes anywhere
        dialogs.said.clear();
        QFileDialog* panel = panelOf(u"backupManuallyAction"_s);
        ASSERT_NE(panel, nullptr);
        EXPECT_EQ(QFileInfo(panel->selectedFiles().value(0)).fileName(), u"Vyro_backup.sql"_s);
        EXPECT_EQ(panel->defaultSuffix(), u"sql"_s);
        confirm(panel, row.target);
        const QString expected = u"inform: "_s + QString(manualBackupTitle) + u" | "_s
                                 + QString(row.succeeds ? manualBackupSucceeded : manualBackupFailed);
        EXPECT_EQ(dialogs.said, QStringList{expected});
        EXPECT_EQ(checkIsDataFile(row.target).isOk(), row.succeeds);
    }
    QFile::setPermissions(protectedFolder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
}

TEST_F(FileCommandsTest, RevealCommandsShowTheirFiles)
{
    const QString data = app->appDelegate().currentDataFilePath();
    const QString folder = QFileInfo(data).absolutePath();
    auto link = [](const QString& path) { return u"reveal: "_s + QUrl::fromLocalFile(path).toString(); };
    const struct {
        const char* command;
        QStringList said;
    } rows[] = {
        {"revealDataFileInFileManager", {link(data)}},
        {"revealBackupSyncFileInFileManager", {link(folder + u"/Vyro.sql.sync.bkp"_s)}},
        {"revealBackupCloudDiskFileInFileManager", {link(folder + u"/Vyro.sql.dotmac.bkp"_s)}},
        {"revealDebugLogfileInFileManager",
         {u"inform: "_s + QString(debugLogAlertTitle) + u" | "_s + QString(debugLogAlertText),
          link(applicationSupportFolder() + u"/debug.log"_s)}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.command);
        dialogs.said.clear();
        window().action(QString::fromLatin1(row.command))->trigger();
        EXPECT_EQ(dialogs.said, row.said);
    }
    // The debug log stays in the default folder even when the data file lives elsewhere.
    EXPECT_NE(QFileInfo(data).absolutePath(), applicationSupportFolder());
}
