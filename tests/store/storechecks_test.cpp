#include "support/storefixture.h"

#include "store/log.h"
#include "store/preparedpredicates.h"

#include <cstdio>

namespace {

// Collects the log while alive.
class CapturedLog {
public:
    CapturedLog() : m_file(std::tmpfile()) { setLogSink(m_file); }
    ~CapturedLog()
    {
        setLogSink(nullptr);
        std::fclose(m_file);
    }
    QString text() const
    {
        std::fflush(m_file);
        std::rewind(m_file);
        QByteArray bytes;
        char buffer[4096];
        size_t n;
        while ((n = std::fread(buffer, 1, sizeof buffer, m_file)) > 0)
            bytes.append(buffer, qsizetype(n));
        return QString::fromUtf8(bytes);
    }

private:
    std::FILE* m_file;
};

TEST(ResultTest, ReadingTheValueOfAFailureAbortsInEveryBuild)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const Result<int> failed = Status::notFound(QStringLiteral("no such task"));
    EXPECT_DEATH((void)failed.value(), "The value of a failed result was read: Not found: no such task");
    Result<std::vector<int>> empty = Status::ioError(QStringLiteral("disk gone"));
    EXPECT_DEATH((void)empty->size(), "I/O error: disk gone");
    EXPECT_DEATH((void)std::move(empty).value(), "I/O error: disk gone");

    // A failure without a reason still fails, and says so in the log.
    CapturedLog log;
    const Result<int> odd = Status::ok();
    EXPECT_FALSE(odd.isOk());
    EXPECT_FALSE(odd.status().isOk());
    EXPECT_TRUE(log.text().contains(QStringLiteral("Check failed: !m_status.isOk() ("))) << log.text();
}

using StoreChecksTest = StoreFixture;

TEST_F(StoreChecksTest, PreparedPredicatesPastTheLimitAreLeftOutAndLogged)
{
    Context* home = newContext(QStringLiteral("Home"));
    Task* task = newTask(QStringLiteral("t"), home);
    std::vector<PreparedPredicates::Entry> entries;
    for (int i = 0; i < PreparedPredicates::kMaximum + 3; ++i)
        entries.push_back({Predicate::fromFormat(QStringLiteral("name == 't'")), {}});
    CapturedLog log;
    const PreparedPredicates prepared(entries, task->entity());
    EXPECT_TRUE(log.text().contains(QStringLiteral("Check failed: m_entries.size() <= size_t(kMaximum)"))) << log.text();
    EXPECT_TRUE(log.text().contains(QStringLiteral("preparedpredicates.cpp:"))) << log.text();
    EXPECT_EQ(prepared.evaluate(*task, ~std::uint32_t(0)), ~std::uint32_t(0));

    // An entry without the open argument reads it as NULL, and the others still answer.
    const std::vector<PreparedPredicates::Entry> folders = {
        {Predicate::templateFromFormat(QStringLiteral("parentContext == %@")), {PredicateArgument(Value())}},
        {Predicate::templateFromFormat(QStringLiteral("name == %@ AND parentContext == %@")), {PredicateArgument(QStringLiteral("t"))}},
    };
    const PreparedPredicates withParameter(folders, task->entity(), 1);
    EXPECT_TRUE(log.text().contains(QStringLiteral("Check failed: parameter < entry.arguments.size()"))) << log.text();
    EXPECT_EQ(withParameter.evaluate(*task, 3, home), 2u);
    EXPECT_EQ(withParameter.evaluate(*task, 3, nullptr), 0u);
}

TEST(DataModelTest, AnEntityMustFitItsChangeMask)
{
    struct Case {
        int attributes;
        int relationships;
        bool fits;
    };
    const Case cases[] = {{64, 0, true}, {62, 2, true}, {65, 0, false}, {63, 2, false}, {0, 65, false}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.attributes << " attributes, " << c.relationships << " relationships");
        DataModel model;
        EntityDescription& wide = model.addEntity(QStringLiteral("wide"));
        for (int i = 0; i < c.attributes; ++i)
            wide.addAttribute(QStringLiteral("a%1").arg(i), AttributeType::Integer);
        for (int i = 0; i < c.relationships; ++i)
            wide.addRelationship({QStringLiteral("r%1").arg(i), QStringLiteral("wide"), false, QString()});
        CapturedLog log;
        EXPECT_EQ(model.finalize(), c.fits);
        EXPECT_EQ(log.text().contains(QStringLiteral("Data model: entity wide has %1 attributes and relationships; at most 64 fit its change mask")
                                          .arg(c.attributes + c.relationships)),
                  !c.fits)
            << log.text();
    }
}

// A tree of records as deep as it is long: each node the only child of the one before.
TEST(DeepCascadeTest, DeletingTheRootOfALongChainNeitherRecursesNorLosesAnything)
{
    auto model = std::make_shared<DataModel>();
    EntityDescription& node = model->addEntity(QStringLiteral("node"));
    node.addAttribute(QStringLiteral("n"), AttributeType::Integer);
    node.addRelationship({QStringLiteral("parent"), QStringLiteral("node"), false, QStringLiteral("children")});
    node.addRelationship({QStringLiteral("children"), QStringLiteral("node"), true, QStringLiteral("parent"), DeleteRule::Cascade});
    // A link without an inverse into the chain, which the deletion must clear.
    EntityDescription& bookmark = model->addEntity(QStringLiteral("bookmark"));
    bookmark.addRelationship({QStringLiteral("target"), QStringLiteral("node"), false, QString()});
    ASSERT_TRUE(model->finalize());

    ObjectContext context(model);
    // Far deeper than a recursive walk survives on a default stack.
    constexpr int kDepth = 300000;
    std::vector<Record*> chain;
    chain.reserve(kDepth);
    for (int i = 0; i < kDepth; ++i) {
        Record* r = context.insertNewObject(QStringLiteral("node"));
        r->setPrimitiveValue(0, Value::integer(i));
        if (i > 0)
            r->setToOne(0, chain.back());
        chain.push_back(r);
    }
    // Branches off the chain, and a loop back into it that must not make the walk go round.
    Record* leaf = context.insertNewObject(QStringLiteral("node"));
    leaf->setToOne(0, chain[kDepth / 2]);
    Record* mark = context.insertNewObject(QStringLiteral("bookmark"));
    mark->setToOne(0, chain[kDepth - 1]);
    context.processPendingChanges();
    context.undoManager().closeImplicitGroup();

    chain[0]->setToOne(0, chain[10]); // the root under one of its own descendants
    context.deleteObject(chain[0]);
    EXPECT_EQ(context.countForEntity(QStringLiteral("node")), 0);
    EXPECT_EQ(mark->toOne(0), nullptr);
    EXPECT_TRUE(leaf->isDeleted());

    context.undo();
    ASSERT_EQ(context.countForEntity(QStringLiteral("node")), kDepth + 1);
    EXPECT_EQ(mark->toOne(0), chain[kDepth - 1]);
    EXPECT_EQ(chain[kDepth - 1]->toOne(0), chain[kDepth - 2]);
    EXPECT_EQ(leaf->toOne(0), chain[kDepth / 2]);
}

} // namespace
