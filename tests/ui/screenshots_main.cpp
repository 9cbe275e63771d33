// Draws the program's screenshots: the real main window over a data folder, on the offscreen platform
// with a pinned style, font and size, so the pictures come out the same on every machine.
//
//   vyro_screenshots --data-dir DIR --out DIR [--dark]
//
// The data folder is used as it is (load the sample store into it first); the preferences are those of
// XDG_CONFIG_HOME, which the caller points at a temporary folder.
#include "app/coredataappdelegate.h"
#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "lists/contextarraycontroller.h"
#include "lists/projectarraycontroller.h"
#include "lists/smartfoldersarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "lists/tasksarraycontroller.h"
#include "model/context.h"
#include "model/project.h"
#include "model/smartfolder.h"
#include "model/task.h"
#include "ui/desktopapplication.h"
#include "ui/dialogs.h"
#include "ui/filecommands.h"
#include "ui/foldertreeview.h"
#include "ui/icons.h"
#include "ui/mainwindow.h"
#include "ui/mainwindowcontroller.h"
#include "ui/quickaddwindow.h"
#include "ui/statuslabel.h"
#include "ui/quicktypeinwindow.h"
#include "ui/tasktableview.h"

#include <QAction>
#include <QApplication>
#include <QCommandLineParser>
#include <QDialog>
#include <QDir>
#include <QFont>
#include <QLineEdit>
#include <QPalette>
#include <QStyleFactory>
#include <QTabWidget>
#include <QTest>

#include <cstdio>

namespace {

// No message box may stop a run that nobody watches.
struct SilentDialogs : Dialogs {
    bool confirm(QWidget*, const QString&, const QString& text, const QString&, const QString&) override
    {
        std::fprintf(stderr, "question answered with the default: %s\n", qPrintable(text));
        return true;
    }
    void warn(QWidget*, const QString&, const QString& text) override { std::fprintf(stderr, "warning: %s\n", qPrintable(text)); }
};

QPalette darkPalette()
{
    QPalette p;
    const QColor window(0x2b, 0x2d, 0x30), base(0x1e, 0x1f, 0x22), text(0xe6, 0xe6, 0xe6), disabled(0x80, 0x80, 0x80);
    p.setColor(QPalette::Window, window);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Base, base);
    p.setColor(QPalette::AlternateBase, QColor(0x26, 0x28, 0x2b));
    p.setColor(QPalette::ToolTipBase, window);
    p.setColor(QPalette::ToolTipText, text);
    p.setColor(QPalette::PlaceholderText, disabled);
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::Button, QColor(0x35, 0x37, 0x3b));
    p.setColor(QPalette::ButtonText, text);
    p.setColor(QPalette::BrightText, Qt::red);
    p.setColor(QPalette::Link, QColor(0x5a, 0xa9, 0xff));
    p.setColor(QPalette::Highlight, QColor(0x2f, 0x6f, 0xba));
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::Light, QColor(0x4a, 0x4c, 0x50));
    p.setColor(QPalette::Midlight, QColor(0x3e, 0x40, 0x44));
    p.setColor(QPalette::Mid, QColor(0x24, 0x25, 0x28));
    p.setColor(QPalette::Dark, QColor(0x18, 0x19, 0x1b));
    p.setColor(QPalette::Shadow, Qt::black);
    for (auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        p.setColor(QPalette::Disabled, role, disabled);
    return p;
}

// Lets queued work (counted status line, deferred layouts) run and the line edits' clear buttons finish
// fading in or out, so that two runs draw the same picture.
void settle()
{
    for (int i = 0; i < 10; ++i) {
        QCoreApplication::processEvents();
        QTest::qWait(40);
    }
}

// Drives the real window the way a user would: views by their commands, folders and tasks by selecting
// their rows, so every pane follows as it does for a click.
class Shooter {
public:
    Shooter(MainWindowController& window, QString outFolder) : m_window(window), m_out(std::move(outFolder)) {}

    bool ok() const { return m_ok; }

    void view(TaskView view) { m_window.action(QStringLiteral("selectView%1").arg(int(view)))->trigger(); }

    void folder(TaskView view, const QString& name)
    {
        FolderTreeView* tree = m_window.folderPane(view);
        QAbstractItemModel* model = tree->model();
        tree->expandAll();
        const QModelIndexList found = model->match(model->index(0, 0), Qt::DisplayRole, name, 1,
                                                   Qt::MatchFixedString | Qt::MatchRecursive);
        if (found.isEmpty())
            return missing("folder", name);
        tree->setCurrentIndex(found.front());
    }

    void task(TaskView view, const QString& name)
    {
        TaskTableView& table = m_window.table(view);
        const std::vector<Task*> shown = m_window.views().taskList(view).arrangedObjects();
        for (size_t row = 0; row < shown.size(); ++row)
            if (shown[row]->name() == name) {
                table.selectRow(int(row));
                return;
            }
        missing("task", name);
    }

    void save(QWidget& widget, const QString& file)
    {
        settle();
        const QString path = QDir(m_out).filePath(file);
        if (widget.grab().save(path)) {
            std::printf("wrote %s\n", qPrintable(path));
        } else {
            std::fprintf(stderr, "could not write %s\n", qPrintable(path));
            m_ok = false;
        }
    }

private:
    void missing(const char* what, const QString& name)
    {
        std::fprintf(stderr, "the store has no %s named \"%s\" on show\n", what, qPrintable(name));
        m_ok = false;
    }

    MainWindowController& m_window;
    QString m_out;
    bool m_ok = true;
};

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Vyro"));
    QApplication::setOrganizationDomain(QStringLiteral("quendar.com"));
    QCommandLineParser parser;
    parser.addOption({QStringLiteral("data-dir"), QStringLiteral("The data folder to show."), QStringLiteral("DIR")});
    parser.addOption({QStringLiteral("out"), QStringLiteral("Where the pictures go."), QStringLiteral("DIR")});
    parser.addOption({QStringLiteral("dark"), QStringLiteral("A dark palette; only the contexts view is drawn.")});
    parser.addHelpOption();
    parser.process(app);
    if (!parser.isSet(QStringLiteral("data-dir")) || !parser.isSet(QStringLiteral("out"))) {
        std::fprintf(stderr, "usage: vyro_screenshots --data-dir DIR --out DIR [--dark]\n");
        return 2;
    }
    const bool dark = parser.isSet(QStringLiteral("dark"));

    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QApplication::setCursorFlashTime(0); // a blinking text cursor would differ from run to run
    QApplication::setFont(QFont(QStringLiteral("DejaVu Sans"), 10));
    QApplication::setPalette(dark ? darkPalette() : QApplication::style()->standardPalette());
    chooseIconTheme(); // after the palette: a dark one takes the theme's dark variant

    SilentDialogs dialogs;
    DesktopApplication vyro(parser.value(QStringLiteral("data-dir")), nullptr, &dialogs);
    if (!vyro.applicationDidFinishLaunching())
        return 1;
    MainWindowController& window = *vyro.mainWindowController();
    window.window().resize(1280, 800);
    Shooter shot(window, parser.value(QStringLiteral("out")));

    shot.view(TaskView::Contexts);
    shot.folder(TaskView::Contexts, QStringLiteral("Errands"));
    shot.task(TaskView::Contexts, QStringLiteral("Buy a birthday present for Lea"));
    if (dark) {
        shot.save(window.window(), QStringLiteral("contexts-dark.png"));
        return shot.ok() ? 0 : 1;
    }
    shot.save(window.window(), QStringLiteral("contexts.png"));

    shot.folder(TaskView::Contexts, QStringLiteral("Computer"));
    shot.task(TaskView::Contexts, QStringLiteral("Back up the photo library"));
    shot.save(window.window(), QStringLiteral("detail-pane.png"));

    shot.view(TaskView::Projects);
    shot.folder(TaskView::Projects, QStringLiteral("Year-end report"));
    shot.task(TaskView::Projects, QStringLiteral("Collect the sales figures"));
    shot.save(window.window(), QStringLiteral("projects.png"));

    shot.view(TaskView::ToComplete);
    shot.folder(TaskView::ToComplete, QStringLiteral("All tasks"));
    shot.task(TaskView::ToComplete, QStringLiteral("Call the plumber about the boiler"));
    shot.save(window.window(), QStringLiteral("to-complete.png"));

    shot.view(TaskView::Completed);
    shot.task(TaskView::Completed, QStringLiteral("Pay the electricity bill"));
    shot.save(window.window(), QStringLiteral("completed.png"));

    shot.view(TaskView::Archive);
    shot.folder(TaskView::Archive, QStringLiteral("Personal"));
    shot.task(TaskView::Archive, QStringLiteral("Renew passports"));
    shot.save(window.window(), QStringLiteral("archive.png"));

    // The sheet walks the Inbox from its first task.
    shot.view(TaskView::Contexts);
    shot.folder(TaskView::Contexts, QStringLiteral("Inbox"));
    shot.task(TaskView::Contexts, QStringLiteral("Book a dentist appointment"));
    window.action(QStringLiteral("performProcessReviewAction"))->trigger();
    if (auto* sheet = window.window().findChild<QDialog*>(QStringLiteral("moveToSheet")); sheet && sheet->isVisible()) {
        shot.save(*sheet, QStringLiteral("move-to-sheet.png"));
        sheet->reject();
    } else {
        std::fprintf(stderr, "the move-to sheet did not open\n");
        return 1;
    }

    // A calendar account filled in as a user would, for the Sync tab.
    Preferences& settings = vyro.preferences();
    settings.setString(PreferenceKey::calendarServer, QStringLiteral("https://cloud.example.org/remote.php/dav"));
    settings.setString(PreferenceKey::calendarUser, QStringLiteral("lea"));
    settings.setBool(PreferenceKey::syncWhenQuittingApp, true);
    settings.setString(PreferenceKey::afterSyncCommand, QStringLiteral("vdirsyncer sync"));
    settings.setBool(PreferenceKey::iSyncWhenSyncing, true);
    window.action(QStringLiteral("showPreferences"))->trigger();
    if (auto* preferences = window.window().findChild<QDialog*>(QStringLiteral("preferencesWindow")); preferences && preferences->isVisible()) {
        shot.save(*preferences, QStringLiteral("preferences.png"));
        auto* tabs = preferences->findChild<QTabWidget*>(QStringLiteral("preferencesTabs"));
        for (int i = 0; tabs && i < tabs->count(); ++i)
            if (tabs->tabText(i).startsWith(QLatin1String("Sync")))
                tabs->setCurrentIndex(i);
        shot.save(*preferences, QStringLiteral("preferences-sync.png"));
        preferences->close();
    } else {
        std::fprintf(stderr, "the preferences window did not open\n");
        return 1;
    }

    window.action(QStringLiteral("showExportDialog"))->trigger();
    if (QFileDialog* exportPanel = window.files().openPanel(); exportPanel && exportPanel->isVisible()) {
        exportPanel->resize(760, 560);
        exportPanel->selectFile(QStringLiteral("Vyro tasks"));
        shot.save(*exportPanel, QStringLiteral("export-dialog.png"));
        exportPanel->reject();
    } else {
        std::fprintf(stderr, "the export panel did not open\n");
        return 1;
    }

    // The two entry windows, filled in as a user would before pressing Return.
    vyro.showQuickAddWindow();
    if (QuickAddWindow* quickAdd = vyro.quickAddWindow(); quickAdd && quickAdd->isVisible()) {
        quickAdd->nameField()->setText(QStringLiteral("Order new printer cartridges"));
        quickAdd->tagsField()->setText(QStringLiteral("office,supplies"));
        shot.save(*quickAdd, QStringLiteral("quick-add.png"));
        quickAdd->reject();
    } else {
        std::fprintf(stderr, "the quick add window did not open\n");
        return 1;
    }
    vyro.showQuickTypeInWindow();
    if (QuickTypeInWindow* typeIn = vyro.quickTypeInWindow(); typeIn && typeIn->isVisible()) {
        typeIn->taskField()->setText(QStringLiteral("@home call Bob about the garden #tomorrow"));
        shot.save(*typeIn, QStringLiteral("quick-type-in.png"));
        typeIn->reject();
    } else {
        std::fprintf(stderr, "the quick type-in window did not open\n");
        return 1;
    }
    return shot.ok() ? 0 : 1;
}
