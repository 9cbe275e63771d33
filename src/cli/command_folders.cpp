#include "app/coredataappdelegate.h"
#include "cli/commandline.h"
#include "model/archivecategory.h"
#include "model/context.h"
#include "model/project.h"
#include "model/smartfolder.h"
#include "model/transformers.h"
#include "store/objectcontext.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace {

QJsonArray pair(std::pair<qint64, qint64> p)
{
    return QJsonArray {p.first, p.second};
}

QJsonArray colour(const Colour& c)
{
    return QJsonArray {c.red, c.green, c.blue, c.alpha};
}

// Children by name, without regard to case, as the trees show them.
std::vector<Record*> byName(std::vector<Record*> records)
{
    std::stable_sort(records.begin(), records.end(), [](Record* a, Record* b) {
        return a->valueForKey(u"name").toString().compare(b->valueForKey(u"name").toString(), Qt::CaseInsensitive) < 0;
    });
    return records;
}

// Every folder below `level`, each before its children, as the tree shows them. Trees may be deeper than
// the call stack: the levels being walked are kept on a stack of our own.
template <typename Folder, typename Describe>
void walk(const std::vector<Record*>& level, QJsonArray& out, const Describe& describe)
{
    std::vector<std::pair<std::vector<Record*>, size_t>> stack;
    stack.emplace_back(byName(level), 0);
    while (!stack.empty()) {
        auto& [folders, next] = stack.back();
        if (next == folders.size()) {
            stack.pop_back();
            continue;
        }
        auto* folder = static_cast<Folder*>(folders[next++]);
        out.append(describe(folder));
        if (!folder->childFolders().empty())
            stack.emplace_back(byName(folder->childFolders()), 0);
    }
}

template <typename Folder>
std::vector<Record*> roots(const ObjectContext& context, const QString& entity)
{
    std::vector<Record*> out;
    for (Record* r : context.allObjects(entity))
        if (!static_cast<Folder*>(r)->parentFolder())
            out.push_back(r);
    return out;
}

QJsonObject contextJson(Context* c)
{
    const auto icon = c->displaySpecialIndex();
    return {
        {QStringLiteral("uri"), c->uri()},
        {QStringLiteral("pathName"), c->pathName()},
        {QStringLiteral("displayPathNameForList"), c->displayPathNameForList()},
        {QStringLiteral("displaySpecialIndex"), icon ? QJsonValue(*icon) : QJsonValue()},
        {QStringLiteral("image"), Transformers::contextImage(icon)},
        {QStringLiteral("colour"), colour(c->colourForContext())},
        {QStringLiteral("childCountLabel"), c->subcontextsCountLabel()},
        {QStringLiteral("pending"), pair(c->pendingTasksCountArray())},
        {QStringLiteral("nextAction"), pair(c->nextActionTasksCountArray())},
        {QStringLiteral("dueToday"), pair({c->savedDueTodayTasksCount(), c->savedDueTodayTasksCountIncludingSubcontexts()})},
        {QStringLiteral("dueTomorrow"), pair({c->savedDueTomorrowTasksCount(), c->savedDueTomorrowTasksCountIncludingSubcontexts()})},
    };
}

QJsonObject projectJson(Project* p)
{
    return {
        {QStringLiteral("uri"), p->uri()},
        {QStringLiteral("pathName"), p->pathName()},
        {QStringLiteral("displayPathNameForList"), p->displayPathNameForList()},
        {QStringLiteral("image"), Transformers::projectImage()},
        {QStringLiteral("active"), p->active()},
        {QStringLiteral("colour"), colour(p->colourForProject())},
        {QStringLiteral("childCountLabel"), p->subprojectsCountLabel()},
        {QStringLiteral("pending"), pair(p->pendingTasksCountArray())},
        {QStringLiteral("nextAction"), pair(p->nextActionTasksCountArray())},
        {QStringLiteral("dueToday"), pair({p->savedDueTodayTasksCount(), p->savedDueTodayTasksCountIncludingSubprojects()})},
        {QStringLiteral("dueTomorrow"), pair({p->savedDueTomorrowTasksCount(), p->savedDueTomorrowTasksCountIncludingSubprojects()})},
    };
}

QJsonObject categoryJson(ArchiveCategory* a)
{
    return {
        {QStringLiteral("uri"), a->uri()},
        {QStringLiteral("name"), a->name()},
        {QStringLiteral("childCountLabel"), a->childCountLabel()},
        {QStringLiteral("pending"), pair(a->pendingTasksCountArray())},
        {QStringLiteral("nextAction"), pair(a->nextActionTasksCountArray())},
    };
}

QJsonArray smartFolders(const ObjectContext& context)
{
    FetchRequest request(QStringLiteral("smartFolder"));
    request.sortDescriptors = {SortDescriptor(QStringLiteral("isAllPending"), false), SortDescriptor(QStringLiteral("isNextAction"), false),
                               SortDescriptor(QStringLiteral("name"), true, SortDescriptor::Comparison::CaseInsensitiveCompare)};
    QJsonArray out;
    const auto folders = context.executeFetchRequest(request);
    for (Record* r : *folders) {
        auto* f = static_cast<SmartFolder*>(r);
        out.append(QJsonObject {
            {QStringLiteral("uri"), f->uri()},
            {QStringLiteral("name"), f->name()},
            {QStringLiteral("image"), Transformers::smartFolderImage(f)},
            {QStringLiteral("predicate"), f->predicateForFolder().predicateFormat()},
        });
    }
    return out;
}

} // namespace

int runFolders(CommandEnvironment& env)
{
    QStringList kinds;
    for (const QString& a : env.arguments()) {
        static const QStringList known = {QStringLiteral("--contexts"), QStringLiteral("--projects"), QStringLiteral("--smart-folders"), QStringLiteral("--archive")};
        if (!known.contains(a))
            return env.fail(QStringLiteral("folders: unknown option %1").arg(a), ExitUsage);
        kinds << a;
    }
    if (kinds.isEmpty())
        kinds = {QStringLiteral("--contexts"), QStringLiteral("--projects"), QStringLiteral("--smart-folders"), QStringLiteral("--archive")};
    if (auto failed = env.openStore())
        return *failed;
    const ObjectContext& context = env.appDelegate().managedObjectContext();
    QJsonObject out;
    if (kinds.contains(QStringLiteral("--contexts"))) {
        QJsonArray a;
        walk<Context>(roots<Context>(context, QStringLiteral("context")), a, contextJson);
        out.insert(QStringLiteral("contexts"), a);
    }
    if (kinds.contains(QStringLiteral("--projects"))) {
        QJsonArray a;
        walk<Project>(roots<Project>(context, QStringLiteral("project")), a, projectJson);
        out.insert(QStringLiteral("projects"), a);
    }
    if (kinds.contains(QStringLiteral("--smart-folders")))
        out.insert(QStringLiteral("smartFolders"), smartFolders(context));
    if (kinds.contains(QStringLiteral("--archive"))) {
        QJsonArray a;
        walk<ArchiveCategory>(roots<ArchiveCategory>(context, QStringLiteral("archiveCategory")), a, categoryJson);
        out.insert(QStringLiteral("archiveCategories"), a);
    }
    env.out() << QString::fromUtf8(QJsonDocument(out).toJson(QJsonDocument::Indented));
    return ExitOk;
}
