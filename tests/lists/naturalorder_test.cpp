#include "support/listsfixture.h"

#include "lists/contextarraycontroller.h"
#include "lists/contexttasksarraycontroller.h"
#include "lists/projectarraycontroller.h"
#include "lists/projecttasksarraycontroller.h"
#include "lists/tasktablestate.h"

using namespace Qt::StringLiterals;

// The moves deal the shown tasks' position values out again; tasks that the filters hide keep theirs.
class NaturalOrderTest : public ListsFixture {
protected:
    void SetUp() override
    {
        ListsFixture::SetUp();
        home = folder(u"Home"_s);
    }

    // Tasks named by letters with the given positions; a lower-case name is hidden (maybe).
    ContextTasksArrayController& listOf(const QList<std::pair<QString, qint64>>& tasks)
    {
        for (const auto& [name, position] : tasks) {
            Task* t = addTask(name, home);
            t->setPositionInContext(position);
            t->setMaybe(name.front().isLower());
        }
        switcher().contextController().selectRecord(home);
        switcher().tableState(TaskView::Contexts).sortByColumnsWithIdentifiers({u""_s}, {u""_s});
        ContextTasksArrayController& list = switcher().contextTasks();
        list.updatePredicate();
        return list;
    }

    void select(ContextTasksArrayController& list, const QString& names)
    {
        std::vector<Task*> chosen;
        for (Task* t : list.arrangedObjects())
            if (names.contains(t->name()))
                chosen.push_back(t);
        list.setSelectedObjects(chosen);
    }

    QString positions() const
    {
        std::vector<Record*> tasks(home->tasks().begin(), home->tasks().end());
        sortRecords(tasks, {SortDescriptor(u"name"_s, true, SortDescriptor::Comparison::CaseInsensitiveCompare)});
        QStringList out;
        for (Record* r : tasks)
            out << static_cast<Task*>(r)->name() + QString::number(static_cast<Task*>(r)->positionInContext());
        return out.join(u' ');
    }

    Context* home = nullptr;
};

TEST_F(NaturalOrderTest, MovesDealOutTheShownPositions)
{
    enum class Move { To, Top, Bottom, Up, Down };
    struct Case {
        const char* label;
        QString selected;
        Move move;
        int count;
        QString expected; // by name: P, Q, R, S shown; h hidden at 5
    };
    const Case cases[] = {
        {"R to position 0", u"R"_s, Move::To, 0, u"h5 P9 Q11 R3 S7"_s},
        {"top", u"R"_s, Move::Top, 0, u"h5 P9 Q11 R3 S7"_s},
        {"bottom", u"P"_s, Move::Bottom, 0, u"h5 P11 Q7 R9 S3"_s},
        {"up one", u"R"_s, Move::Up, 0, u"h5 P7 Q11 R9 S3"_s},
        {"up on the first row does nothing", u"S"_s, Move::Up, 0, u"h5 P7 Q9 R11 S3"_s},
        {"down one", u"P"_s, Move::Down, 0, u"h5 P9 Q7 R11 S3"_s},
        {"down on the last row does nothing", u"R"_s, Move::Down, 0, u"h5 P7 Q9 R11 S3"_s},
        {"a block moves down together", u"PQ"_s, Move::Down, 0, u"h5 P9 Q11 R7 S3"_s},
        {"a block to position 1", u"QR"_s, Move::To, 1, u"h5 P11 Q7 R9 S3"_s},
        {"nothing selected", u""_s, Move::Top, 0, u"h5 P7 Q9 R11 S3"_s},
    };
    // Shown in natural order: S3 P7 Q9 R11; the hidden h sits at 5 between them.
    const QList<std::pair<QString, qint64>> start{{u"P"_s, 7}, {u"Q"_s, 9}, {u"R"_s, 11}, {u"S"_s, 3}, {u"h"_s, 5}};
    for (const Case& c : cases) {
        for (Record* r : std::vector<Record*>(home->tasks()))
            context->deleteObject(r);
        ContextTasksArrayController& list = listOf(start);
        select(list, c.selected);
        switch (c.move) {
        case Move::To: list.moveToPosition(c.count); break;
        case Move::Top: list.moveToTop(); break;
        case Move::Bottom: list.moveToBottom(); break;
        case Move::Up: list.moveUp(); break;
        case Move::Down: list.moveDown(); break;
        }
        EXPECT_EQ(positions(), c.expected) << c.label;
    }
}

TEST_F(NaturalOrderTest, WhenAListIsNaturallyOrdered)
{
    Context* office = folder(u"Office"_s);
    ContextTasksArrayController& contexts = listOf({{u"A"_s, 1}});
    EXPECT_TRUE(contexts.isNaturalOrdered());
    switcher().contextController().setSelectedObjects({home, office});
    EXPECT_FALSE(contexts.isNaturalOrdered()) << "two contexts selected";
    switcher().contextController().selectRecord(home);
    switcher().tableState(TaskView::Contexts).toggleNaturalOrderSorting();
    EXPECT_FALSE(contexts.isNaturalOrdered()) << "sorted by a column";

    Project* p = project(u"P"_s);
    switcher().projectController().selectRecord(p);
    ProjectTasksArrayController& projects = switcher().projectTasks();
    switcher().tableState(TaskView::Projects).sortByColumnsWithIdentifiers({u""_s}, {u""_s});
    EXPECT_TRUE(projects.isNaturalOrdered());
    projects.setCompletedMode(true);
    EXPECT_FALSE(projects.isNaturalOrdered()) << "the completed mode shows cleaned-up tasks, which have no place";
}
