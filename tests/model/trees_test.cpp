#include "support/modelfixture.h"

#include "model/parentloops.h"
#include "store/log.h"

#include <QThread>

#include <functional>
#include <random>

namespace {

// Runs `body` on a thread with a quarter of a megabyte of stack: a walk that recursed once per level of
// the deep trees below would overflow it at once.
void onSmallStack(const std::function<void()>& body)
{
    std::unique_ptr<QThread> thread(QThread::create(body));
    thread->setStackSize(256 * 1024);
    thread->start();
    thread->wait();
}

// The path as the names from the root down say it, walked afresh.
template <typename Folder>
QString expectedPath(const Folder* f, Folder* (Folder::*parent)() const)
{
    QStringList names;
    for (; f; f = (f->*parent)())
        names.prepend(f->name());
    return names.join(QStringLiteral(" > "));
}

} // namespace

class TreesTest : public ModelFixture {
protected:
    // A chain of contexts c0 > c1 > ..., linked past the setter's loop check, which walks up the chain
    // each time and would make building it quadratic.
    std::vector<Context*> contextChain(int depth)
    {
        std::vector<Context*> chain;
        for (int i = 0; i < depth; ++i) {
            auto* c = context->insertNewObject<Context>(QStringLiteral("context"));
            c->setName(QStringLiteral("c%1").arg(i));
            if (i > 0)
                chain.back()->addSubcontextsObject(c);
            chain.push_back(c);
        }
        return chain;
    }
};

// A context and a project chain each 50,000 deep: path names, list names, counters, subtree queries,
// the active flag running down and deletion.
TEST_F(TreesTest, DeepChainsOnASmallStack)
{
    constexpr int kDepth = 50000;
    const std::vector<Context*> chain = contextChain(kDepth);
    Task* deep = addTask(QStringLiteral("deep"), chain.back());
    deep->setDueDate(day(22));
    addTask(QStringLiteral("middle"), chain[kDepth / 2]);

    onSmallStack([&] {
        QStringList names;
        for (int i = 0; i < kDepth; ++i)
            names << QStringLiteral("c%1").arg(i);
        EXPECT_EQ(chain.back()->pathName(), names.join(QStringLiteral(" > ")));
        EXPECT_EQ(chain.back()->valueForKey(u"pathName").toString().size(), chain.back()->pathName().size());
        EXPECT_EQ(chain.back()->displayPathNameForList(), QString(kDepth - 1, u' ') + names.last());
        EXPECT_EQ(chain.back()->depth(), kDepth - 1);

        // Counters and queries over the whole chain, and after a reset deep down.
        EXPECT_EQ(chain.front()->pendingTasksCountArray(), std::make_pair(qint64(0), qint64(2)));
        EXPECT_EQ(chain.front()->savedDueTodayTasksCountIncludingSubcontexts(), 1);
        EXPECT_EQ(chain.front()->pendingTasksIncludingSubcontexts()->size(), 2u);
        deep->setDone(true);
        deep->setCleanedUp(true);
        EXPECT_EQ(chain.front()->savedPendingTasksCountIncludingSubcontexts(), 1);
        EXPECT_EQ(chain.front()->dueTodayTasksIncludingSubcontexts()->size(), 0u);

        // A rename at the top reaches the deepest path.
        chain.front()->setName(QStringLiteral("Top"));
        names.first() = QStringLiteral("Top");
        EXPECT_EQ(chain.back()->pathName(), names.join(QStringLiteral(" > ")));

        chain.front()->deleteWithSubtree();
    });
    EXPECT_TRUE(chain.back()->isDeleted() && chain.front()->isDeleted() && deep->isDeleted());
    EXPECT_EQ(context->countForEntity(QStringLiteral("context")), 0);

    std::vector<Project*> projects;
    for (int i = 0; i < kDepth; ++i) {
        auto* p = context->insertNewObject<Project>(QStringLiteral("project"));
        p->setName(QStringLiteral("p%1").arg(i));
        p->setActive(true);
        if (i > 0)
            p->setToOne(Project::Rel::parentProject, projects.back());
        projects.push_back(p);
    }
    Task* task = newTask(QStringLiteral("flagged"), nullptr, projects.back());
    task->setNextAction(true);
    onSmallStack([&] {
        EXPECT_EQ(projects.front()->nextActionTasksCountArray(), std::make_pair(qint64(0), qint64(1)));
        // The active flag runs down the whole chain, and back.
        projects.front()->setActive(false);
        EXPECT_FALSE(projects.back()->active());
        projects.front()->setActive(true);
        EXPECT_TRUE(projects.back()->active());
        EXPECT_EQ(projects.back()->pathName().count(u'>'), kDepth - 1);
        projects.front()->deleteWithSubtree();
    });
    EXPECT_EQ(context->countForEntity(QStringLiteral("project")), 0);
    EXPECT_FALSE(task->isDeleted());
    EXPECT_EQ(task->parentProject(), nullptr);
    save();
}

// Renames, moves, deletions, undo and redo in random order, with path names read in between so that some
// are known and some are not: after every step each folder's path is the one its names say.
TEST_F(TreesTest, PathNamesFollowEveryChangeIncludingUndoAndRedo)
{
    for (unsigned seed : {1u, 2u, 3u, 4u}) {
        SCOPED_TRACE(seed);
        reopen();
        std::mt19937 random(seed);
        auto below = [&](int n) { return int(random() % unsigned(n)); };
        std::vector<Context*> contexts;
        std::vector<Project*> projects;
        for (int i = 0; i < 30; ++i) {
            contexts.push_back(newContext(QStringLiteral("c%1").arg(i), i > 0 && below(4) ? contexts[size_t(below(i))] : nullptr));
            projects.push_back(newProject(QStringLiteral("p%1").arg(i), i > 0 && below(4) ? projects[size_t(below(i))] : nullptr));
        }
        context->processPendingChanges();
        context->undoManager().removeAllActions();

        auto check = [&](int step) {
            for (Context* c : contexts)
                if (!c->isDeleted()) {
                    const QString expected = expectedPath(c, &Context::parentContext);
                    // Matched without building the path, before and after it is known.
                    ASSERT_TRUE(c->hasPathName(expected)) << "step " << step << " " << expected;
                    ASSERT_FALSE(c->hasPathName(QStringLiteral("x > ") + expected));
                    ASSERT_FALSE(c->hasPathName(expected.mid(1)));
                    ASSERT_EQ(c->pathName(), expected) << "step " << step << " " << c->name();
                    ASSERT_TRUE(c->hasPathName(expected));
                }
            for (Project* p : projects)
                if (!p->isDeleted()) {
                    ASSERT_EQ(p->valueForKey(u"pathName").toString(), expectedPath(p, &Project::parentProject)) << "step " << step << " " << p->name();
                }
        };
        for (int step = 0; step < 300; ++step) {
            Context* c = contexts[size_t(below(int(contexts.size())))];
            Project* p = projects[size_t(below(int(projects.size())))];
            const bool alive = !c->isDeleted() && !p->isDeleted();
            switch (below(8)) {
            case 0:
                if (alive) {
                    c->setName(below(5) ? QStringLiteral("n%1").arg(step) : QString());
                    p->setName(QStringLiteral("m%1").arg(step));
                }
                break;
            case 1:
            case 2:
                if (alive) {
                    // Refused when it would make a loop.
                    Context* to = contexts[size_t(below(int(contexts.size())))];
                    c->setParentContext(to->isDeleted() || !below(4) ? nullptr : to);
                    Project* under = projects[size_t(below(int(projects.size())))];
                    p->setParentProject(under->isDeleted() || !below(4) ? nullptr : under);
                }
                break;
            case 3:
                if (alive && !below(3)) {
                    c->deleteWithSubtree();
                    p->deleteWithSubtree();
                }
                break;
            case 4:
            case 5: context->undo(); break;
            case 6: context->redo(); break;
            default:
                // Read some paths only: the others stay unknown.
                for (int i = 0; i < 5; ++i) {
                    Context* any = contexts[size_t(below(int(contexts.size())))];
                    if (!any->isDeleted())
                        (void)any->pathName();
                }
            }
            context->processPendingChanges(); // one undo step per step
            if (below(2))
                check(step);
        }
        check(-1);
        save();
    }
}

// Loops of parents as a faulty data file holds them: each is cut once, at its oldest folder, and what is
// left is a tree that every walk up finishes.
TEST_F(TreesTest, LoopsOfParentsAreCutOnceEach)
{
    struct Case {
        const char* what;
        std::vector<int> parentOf; // per context, the index of its parent, -1 for none
        QStringList cut;           // the contexts that become roots
    } cases[] = {
        {"no loop", {-1, 0, 1, 1}, {}},
        {"a folder its own parent", {0, 0}, {"f0"}},
        {"two in a circle, one hanging below", {1, 0, 1}, {"f0"}},
        {"a circle entered from a tail", {-1, 3, 1, 2, 3}, {"f1"}},
        {"two circles", {1, 0, 3, 2}, {"f0", "f2"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        for (Context* old : fetch<Context>(QStringLiteral("context"), QStringLiteral("name BEGINSWITH 'f'")))
            context->deleteObject(old);
        save();
        std::vector<Context*> folders;
        for (size_t i = 0; i < c.parentOf.size(); ++i)
            folders.push_back(newContext(QStringLiteral("f%1").arg(i)));
        for (size_t i = 0; i < c.parentOf.size(); ++i)
            folders[i]->setToOne(Context::Rel::parentContext, c.parentOf[i] < 0 ? nullptr : folders[size_t(c.parentOf[i])]);
        save();
        reopen();

        std::FILE* log = std::tmpfile();
        setLogSink(log);
        const QStringList messages = breakParentLoops(*context);
        setLogSink(nullptr);
        std::rewind(log);
        QByteArray text(4096, '\0');
        text.truncate(qsizetype(std::fread(text.data(), 1, size_t(text.size()), log)));
        std::fclose(log);

        EXPECT_EQ(messages.size(), c.cut.size());
        EXPECT_EQ(QString::fromUtf8(text).count(u'\n'), c.cut.size());
        for (const QString& name : c.cut)
            EXPECT_TRUE(text.contains(QStringLiteral("context \"%1\"").arg(name).toUtf8())) << text.toStdString();
        const auto all = fetch<Context>(QStringLiteral("context"), QStringLiteral("name BEGINSWITH 'f'"));
        for (Context* f : all) {
            EXPECT_LT(f->depth(), int(all.size())) << f->name();
            EXPECT_EQ(f->pathName(), expectedPath(f, &Context::parentContext));
        }
        EXPECT_FALSE(context->undoManager().canUndo());
        EXPECT_TRUE(breakParentLoops(*context).isEmpty());
    }
}
