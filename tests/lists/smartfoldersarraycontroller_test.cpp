#include "support/modelfixture.h"

#include "lists/smartfoldersarraycontroller.h"

namespace {

struct RecordingHost : SmartFolderListHost {
    void showAllTasksView() override { calls << QStringLiteral("all tasks view"); }
    void focusFolderList() override { calls << QStringLiteral("focus folders"); }
    void focusTaskTable() override { calls << QStringLiteral("focus tasks"); }
    void showSmartFolderProperties(SmartFolder* f) override { calls << QStringLiteral("properties of ") + f->name(); }
    void showWarning(const QString& title, const QString& text) override { calls << title + QStringLiteral(": ") + text; }
    bool confirm(const QString& title, const QString& text, const QString& yes, const QString& no) override
    {
        calls << title + QStringLiteral(": ") + text + QStringLiteral(" [") + yes + QStringLiteral("|") + no + QStringLiteral("]");
        return answer;
    }
    QStringList calls;
    bool answer = true;
};

} // namespace

class SmartFolderListTest : public ModelFixture {
protected:
    SmartFolder* folder(const QString& name, bool allPending = false)
    {
        auto* f = context->insertNewObject<SmartFolder>(QStringLiteral("smartFolder"));
        f->setName(name);
        f->setIsAllPending(allPending);
        return f;
    }
    RecordingHost host;
};

TEST_F(SmartFolderListTest, OrderStepsAndProtection)
{
    folder(QStringLiteral("zebra"));
    SmartFolder* all = folder(QStringLiteral("All tasks"), true);
    SmartFolder* apple = folder(QStringLiteral("apple"));
    folder(QStringLiteral("Mango"));
    SmartFoldersArrayController list(*context, host);
    QStringList order;
    for (SmartFolder* f : list.arrangedObjects())
        order << f->name();
    EXPECT_EQ(order, QStringList({"All tasks", "apple", "Mango", "zebra"}));

    list.switchToNextSmartFolder(); // nothing selected: nothing happens
    EXPECT_EQ(list.selectedFolder(), nullptr);
    list.setSelectedFolder(all);
    list.switchToPreviousSmartFolder();
    EXPECT_EQ(list.selectedFolder()->name(), QStringLiteral("zebra"));
    list.switchToNextSmartFolder();
    EXPECT_EQ(list.selectedFolder(), all);

    list.remove();
    EXPECT_FALSE(all->isDeleted());
    EXPECT_EQ(host.calls.last(), QStringLiteral("Warning: Smart folder cannot be deleted."));

    list.setSelectedFolder(apple);
    host.answer = false;
    list.remove();
    EXPECT_FALSE(apple->isDeleted());
    EXPECT_EQ(host.calls.last(), QStringLiteral("Confirmation: Are you sure to delete this smart folder? [Delete|Don't delete]"));
    host.answer = true;
    list.remove();
    EXPECT_TRUE(apple->isDeleted());
    EXPECT_EQ(list.nextActionSmartFolder(), nullptr);
}

TEST_F(SmartFolderListTest, NewFoldersOpenTheirProperties)
{
    SmartFoldersArrayController list(*context, host);
    SmartFolder* f = list.addNewSmartFolder(QString());
    EXPECT_EQ(f->name(), QStringLiteral("New smart folder"));
    EXPECT_EQ(list.selectedFolder(), f);
    EXPECT_FALSE(context->hasChanges());
    EXPECT_EQ(host.calls, QStringList({"all tasks view", "focus folders", "properties of New smart folder"}));
    host.calls.clear();
    list.switchToGivenSmartFolder(f, nullptr, true);
    EXPECT_TRUE(host.calls.isEmpty());
    list.switchToGivenSmartFolder(f, nullptr, false);
    EXPECT_EQ(host.calls, QStringList({"all tasks view", "focus tasks"}));
}
