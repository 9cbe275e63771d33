#include "app/coredataappdelegate.h"
#include "app/preferences.h"
#include "cli/commandline.h"
#include "cli/listview.h"
#include "exchange/exportcontroller.h"
#include "lists/contextarraycontroller.h"
#include "lists/listhost.h"
#include "lists/projectarraycontroller.h"
#include "lists/smartfoldersarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "model/smartfolder.h"

using namespace Qt::StringLiterals;

namespace {

Result<TaskView> exportView(const QString& name)
{
    if (name == u"contexts"_s)
        return TaskView::Contexts;
    if (name == u"projects"_s)
        return TaskView::Projects;
    if (name == u"smart-folders"_s)
        return TaskView::ToComplete;
    return Status::invalidArgument(u"unknown view \"%1\" (contexts, projects or smart-folders)"_s.arg(name));
}

Result<int> exportType(const QString& name)
{
    static const char* const names[] = {"basichtml", "html", "csv", "txt"};
    for (int i = 0; i < 4; ++i)
        if (name == QLatin1String(names[i]))
            return i;
    return Status::invalidArgument(u"unknown format \"%1\" (basichtml, html, csv or txt)"_s.arg(name));
}

// Selects the folders PATHS name in the view's folder list, in the order given.
Status selectFolders(TabViewController& views, TaskView view, const QStringList& paths)
{
    if (view == TaskView::ToComplete) {
        if (paths.size() > 1)
            return Status::invalidArgument(u"the smart-folders view exports one selected folder (or --all)"_s);
        return selectViewFolder(views, view, paths.value(0));
    }
    std::vector<Record*> selected;
    for (const QString& path : paths) {
        if (Status s = selectViewFolder(views, view, path); !s.isOk())
            return s;
        Record* folder = view == TaskView::Contexts ? views.contextController().firstSelectedRecord()
                                                    : views.projectController().firstSelectedRecord();
        if (std::find(selected.begin(), selected.end(), folder) == selected.end())
            selected.push_back(folder);
    }
    if (view == TaskView::Contexts)
        views.contextController().setSelectedRecords(selected);
    else
        views.projectController().setSelectedRecords(selected);
    return Status::ok();
}

} // namespace

// The stored modes and sort of the view's task list hold, as the window would show them; the
// single-pages setting is the export panel's stored one.
int runExport(CommandEnvironment& env)
{
    std::optional<QString> viewName;
    std::optional<QString> format;
    QStringList folders;
    bool all = false;
    QString file;
    const QStringList& args = env.arguments();
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString& a = args[i];
        if (a == u"--view"_s || a == u"--format"_s || a == u"--folder"_s) {
            if (i + 1 >= args.size())
                return env.fail(u"export: %1 needs a value"_s.arg(a), ExitUsage);
            const QString value = args[++i];
            if (a == u"--view"_s)
                viewName = value;
            else if (a == u"--format"_s)
                format = value;
            else
                folders << value;
        } else if (a == u"--all"_s)
            all = true;
        else if (a.startsWith(u"--"_s) || !file.isEmpty())
            return env.fail(u"export: unknown argument %1"_s.arg(a), ExitUsage);
        else
            file = a;
    }
    if (!viewName || !format || file.isEmpty())
        return env.fail(u"export: needs --view, --format and a FILE"_s, ExitUsage);
    auto view = exportView(*viewName);
    if (!view)
        return env.fail(u"export: "_s + view.status().message(), ExitUsage);
    auto type = exportType(*format);
    if (!type)
        return env.fail(u"export: "_s + type.status().message(), ExitUsage);
    if (all == !folders.isEmpty())
        return env.fail(u"export: name the folders with --folder, or export them all with --all"_s, ExitUsage);

    if (auto failed = env.openStore())
        return *failed;
    ListHost host;
    TabViewController views(env.appDelegate().managedObjectContext(), env.preferences(), host);
    if (!all)
        if (Status s = selectFolders(views, *view, folders); !s.isOk())
            return env.fail(u"export: "_s + s.message(), ExitUsage);

    ExportController exporter(views);
    exporter.setExportType(*type);
    exporter.setExportMode(all ? 1 : 0);
    exporter.setPrintSinglePages(env.preferences().boolForKey(u"lastExportPrintSinglePages"_s));
    if (Status s = exporter.exportViewToFile(*view, env.absolutePath(file), true); !s.isOk())
        return env.fail(u"export: "_s + s.message());
    return ExitOk;
}
