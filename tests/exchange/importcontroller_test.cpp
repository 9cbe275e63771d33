#include "exchange/importcontroller.h"

#include "support/listsfixture.h"

#include "lists/archivedtasksarraycontroller.h"
#include "lists/contextarraycontroller.h"
#include "lists/projectarraycontroller.h"
#include "model/archivecategory.h"
#include "store/undostack.h"

namespace {

class ImportTest : public ListsFixture {
protected:
    void SetUp() override
    {
        ListsFixture::SetUp();
        home = folder(QStringLiteral("Home"));
        house = project(QStringLiteral("House"));
        category = context->insertNewObject<ArchiveCategory>(QStringLiteral("archiveCategory"));
        category->setName(QStringLiteral("2026"));
        TabViewController& views = switcher();
        views.contextController().selectRecord(home);
        views.projectController().selectRecord(house);
        views.archiveCategoryController().selectRecord(category);
    }

    // The imported tasks of the folder that `view` imports into, in the order they were made.
    QStringList madeIn(int view) const
    {
        QStringList out;
        for (Record* r : context->allObjects(QStringLiteral("task"))) {
            auto* t = static_cast<Task*>(r);
            const bool in = view == 0 ? t->parentContext() == home && !t->parentProject()
                : view == 1            ? t->parentProject() == house
                                       : t->parentArchiveCategory() == category && t->archived();
            if (in)
                out << t->name();
        }
        return out;
    }
    int taskCount() const { return int(context->allObjects(QStringLiteral("task")).size()); }

    Context* home = nullptr;
    Project* house = nullptr;
    ArchiveCategory* category = nullptr;
};

TEST_F(ImportTest, LinesBecomeTasksOfTheSelectedFolder)
{
    const QString mixed = QStringLiteral("Buy milk\n\n   \n  Call Bob  ");
    const struct {
        const char* name;
        int view;
        QString text;
        QStringList expected;
    } cases[] = {
        // Contexts take the trimmed line; projects and the archive keep it as read.
        {"context trims", 0, mixed, {QStringLiteral("Buy milk"), QStringLiteral("Call Bob")}},
        {"project keeps spaces", 1, mixed, {QStringLiteral("Buy milk"), QStringLiteral("  Call Bob  ")}},
        {"archive keeps spaces", 4, mixed, {QStringLiteral("Buy milk"), QStringLiteral("  Call Bob  ")}},
        {"carriage return stays", 0, QStringLiteral("one\r\ntwo\r\n"), {QStringLiteral("one\r"), QStringLiteral("two\r")}},
        {"a lone carriage return is a name", 1, QStringLiteral("\r\n"), {QStringLiteral("\r")}},
        {"no syntax applied", 0, QStringLiteral("@home call #today"), {QStringLiteral("@home call #today")}},
        // Only U+0020 is blank: a tab or a no-break space makes a task.
        {"tab is not blank", 0, QStringLiteral("\t"), {QStringLiteral("\t")}},
        {"no-break space is not blank", 0, QString(QChar(0x00A0)), {QString(QChar(0x00A0))}},
        {"no text", 0, QString(), {}},
        {"view 2 makes nothing", 2, mixed, {}},
        {"view 3 makes nothing", 3, mixed, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        for (Record* r : context->allObjects(QStringLiteral("task")))
            context->deleteObject(r);
        host.notifications.clear();
        const int before = taskCount();
        ImportController importer(switcher());
        auto made = importer.importTasksFromText(c.view, c.text);
        ASSERT_TRUE(made.isOk()) << made.status();
        EXPECT_EQ(*made, c.expected.size());
        EXPECT_EQ(taskCount() - before, c.expected.size());
        if (!c.expected.isEmpty()) {
            EXPECT_EQ(madeIn(c.view), c.expected);
        }
        // The context list's add operation tells of each task made without the window.
        if (c.view == 0) {
            EXPECT_EQ(host.notifications.size(), size_t(c.expected.size()));
        }
    }
}

TEST_F(ImportTest, NoSelectedFolderMakesNothing)
{
    switcher().contextController().selectRecord(nullptr);
    switcher().projectController().selectRecord(nullptr);
    switcher().archiveCategoryController().selectRecord(nullptr);
    ImportController importer(switcher());
    const int before = taskCount();
    for (int view : {0, 1, 4}) {
        SCOPED_TRACE(view);
        auto made = importer.importTasksFromText(view, QStringLiteral("a\nb"));
        EXPECT_FALSE(made.isOk());
    }
    EXPECT_EQ(taskCount(), before);
}

TEST_F(ImportTest, OneImportIsOneUndoStep)
{
    context->processPendingChanges();
    context->undoManager().removeAllActions();
    ImportController importer(switcher());
    ASSERT_TRUE(importer.importTasksFromText(1, QStringLiteral("a\nb\nc")).isOk());
    context->processPendingChanges();
    EXPECT_EQ(madeIn(1).size(), 3);
    context->undo();
    EXPECT_EQ(madeIn(1).size(), 0);
    EXPECT_FALSE(context->undoManager().canUndo());
}

} // namespace
