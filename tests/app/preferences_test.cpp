#include "app/preferences.h"

#include <QFile>
#include <QTemporaryDir>
#include <QVariantMap>

#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace {

class PreferencesTest : public ::testing::Test
{
protected:
    QString path(const QString& name) const { return m_dir.filePath(name); }

    // QSettings keeps what one instance wrote in a per-process cache keyed by path, so a second instance
    // on the same path would not parse the file. A copy under a new name is read from disk, as a later
    // run of the program reads it.
    std::unique_ptr<Preferences> reopenFromDisk(const QString& filePath)
    {
        const QString copy = path(QStringLiteral("reopened%1.ini").arg(++m_reopenCount));
        // An empty domain leaves no file behind; a missing file reads as an empty domain.
        if (QFile::exists(filePath)) {
            EXPECT_TRUE(QFile::copy(filePath, copy));
        }
        return std::make_unique<Preferences>(copy);
    }

    std::unique_ptr<Preferences> fromText(const QByteArray& iniText)
    {
        const QString filePath = path(QStringLiteral("text%1.ini").arg(++m_reopenCount));
        QFile file(filePath);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(iniText);
        file.close();
        return std::make_unique<Preferences>(filePath);
    }

    QTemporaryDir m_dir;
    int m_reopenCount = 0;
};

TEST_F(PreferencesTest, AbsentKeysReadAsEmptyValues)
{
    Preferences preferences(path(QStringLiteral("empty.ini")));
    EXPECT_TRUE(preferences.isDomainEmpty());
    EXPECT_FALSE(preferences.hasKey(u"missing"));
    EXPECT_FALSE(preferences.boolForKey(u"missing"));
    EXPECT_EQ(preferences.integerForKey(u"missing"), 0);
    EXPECT_EQ(preferences.floatForKey(u"missing"), 0.0);
    EXPECT_TRUE(preferences.stringForKey(u"missing").isNull());
    EXPECT_FALSE(preferences.objectForKey(u"missing").isValid());
    EXPECT_TRUE(preferences.stringListForKey(u"missing").isEmpty());
}

struct RoundTripCase
{
    const char* name;
    std::function<void(Preferences&)> write;
    std::function<void(const Preferences&)> check;
};

TEST_F(PreferencesTest, ValuesRoundTripThroughTheFile)
{
    const RoundTripCase cases[] = {
        {"bool true", [](Preferences& p) { p.setBool(u"k", true); },
         [](const Preferences& p) {
             EXPECT_TRUE(p.boolForKey(u"k"));
             EXPECT_EQ(p.integerForKey(u"k"), 1);
         }},
        {"bool false", [](Preferences& p) { p.setBool(u"k", false); },
         [](const Preferences& p) {
             EXPECT_TRUE(p.hasKey(u"k"));
             EXPECT_FALSE(p.boolForKey(u"k"));
             EXPECT_EQ(p.integerForKey(u"k"), 0);
         }},
        {"integer", [](Preferences& p) { p.setInteger(u"k", 97); },
         [](const Preferences& p) {
             EXPECT_EQ(p.integerForKey(u"k"), 97);
             EXPECT_TRUE(p.boolForKey(u"k"));
             EXPECT_EQ(p.floatForKey(u"k"), 97.0);
         }},
        {"negative integer", [](Preferences& p) { p.setInteger(u"k", -4); },
         [](const Preferences& p) { EXPECT_EQ(p.integerForKey(u"k"), -4); }},
        {"integer zero", [](Preferences& p) { p.setInteger(u"k", 0); },
         [](const Preferences& p) {
             EXPECT_TRUE(p.hasKey(u"k"));
             EXPECT_EQ(p.integerForKey(u"k"), 0);
             EXPECT_FALSE(p.boolForKey(u"k"));
         }},
        {"float", [](Preferences& p) { p.setFloat(u"k", 0.9123217); },
         [](const Preferences& p) { EXPECT_DOUBLE_EQ(p.floatForKey(u"k"), 0.9123217); }},
        {"float truncates to integer", [](Preferences& p) { p.setFloat(u"k", 5.7); },
         [](const Preferences& p) { EXPECT_EQ(p.integerForKey(u"k"), 5); }},
        {"string", [](Preferences& p) { p.setString(u"k", QStringLiteral("name, dueDate")); },
         [](const Preferences& p) { EXPECT_EQ(p.stringForKey(u"k"), QStringLiteral("name, dueDate")); }},
        {"empty string is present, not null", [](Preferences& p) { p.setString(u"k", QString()); },
         [](const Preferences& p) {
             EXPECT_TRUE(p.hasKey(u"k"));
             EXPECT_FALSE(p.stringForKey(u"k").isNull());
             EXPECT_TRUE(p.stringForKey(u"k").isEmpty());
         }},
        {"integer text", [](Preferences& p) { p.setString(u"k", QStringLiteral("15")); },
         [](const Preferences& p) {
             EXPECT_EQ(p.integerForKey(u"k"), 15);
             EXPECT_EQ(p.stringForKey(u"k"), QStringLiteral("15"));
         }},
        {"text that starts with @", [](Preferences& p) { p.setString(u"k", QStringLiteral("@home")); },
         [](const Preferences& p) { EXPECT_EQ(p.stringForKey(u"k"), QStringLiteral("@home")); }},
        {"non-ASCII text with line break", [](Preferences& p) { p.setString(u"k", QStringLiteral("Grüße\nzwei")); },
         [](const Preferences& p) { EXPECT_EQ(p.stringForKey(u"k"), QStringLiteral("Grüße\nzwei")); }},
        {"empty list is present", [](Preferences& p) { p.setStringList(u"k", {}); },
         [](const Preferences& p) {
             EXPECT_TRUE(p.hasKey(u"k"));
             EXPECT_TRUE(p.stringListForKey(u"k").isEmpty());
         }},
        {"one-element list", [](Preferences& p) { p.setStringList(u"k", {QStringLiteral("@phone")}); },
         [](const Preferences& p) { EXPECT_EQ(p.stringListForKey(u"k"), QStringList{QStringLiteral("@phone")}); }},
        {"list with a comma inside an element",
         [](Preferences& p) { p.setStringList(u"k", {QStringLiteral("a, b"), QStringLiteral("c")}); },
         [](const Preferences& p) {
             EXPECT_EQ(p.stringListForKey(u"k"), (QStringList{QStringLiteral("a, b"), QStringLiteral("c")}));
         }},
        {"map object keeps its value types",
         [](Preferences& p) {
             p.setObject(u"k", QVariantMap{{QStringLiteral("name"), 120}, {QStringLiteral("dueDate"), 80}});
         },
         [](const Preferences& p) {
             const QVariantMap map = p.objectForKey(u"k").toMap();
             EXPECT_EQ(map.value(QStringLiteral("name")), QVariant(120));
             EXPECT_EQ(map.value(QStringLiteral("dueDate")), QVariant(80));
         }},
        {"removed key is absent",
         [](Preferences& p) {
             p.setBool(u"k", true);
             p.removeKey(u"k");
         },
         [](const Preferences& p) {
             EXPECT_FALSE(p.hasKey(u"k"));
             EXPECT_TRUE(p.isDomainEmpty());
         }},
    };

    for (const RoundTripCase& c : cases) {
        SCOPED_TRACE(c.name);
        const QString filePath = path(QStringLiteral("roundtrip%1.ini").arg(++m_reopenCount));
        {
            Preferences writer(filePath);
            c.write(writer);
            c.check(writer);
            EXPECT_TRUE(writer.sync());
        }
        c.check(*reopenFromDisk(filePath));
    }
}

TEST_F(PreferencesTest, ReadsValuesWrittenAsText)
{
    const auto prefs = fromText("[General]\n"
                                "yes=true\n"
                                "no=false\n"
                                "five=5\n"
                                "zeroText=0\n"
                                "fraction=5.7\n"
                                "padded= 12 \n"
                                "word=abc\n"
                                "empty=\n"
                                "list=a, b\n");
    struct Expectation
    {
        const char* key;
        bool boolValue;
        int integerValue;
        double floatValue;
    };
    const Expectation expectations[] = {
        {"yes", true, 1, 1.0},
        {"no", false, 0, 0.0},
        {"five", true, 5, 5.0},
        {"zeroText", false, 0, 0.0},
        {"fraction", true, 5, 5.7},
        {"padded", true, 12, 12.0},
        {"word", false, 0, 0.0},
        {"empty", false, 0, 0.0},
    };
    for (const Expectation& e : expectations) {
        SCOPED_TRACE(e.key);
        const QString key = QString::fromLatin1(e.key);
        EXPECT_TRUE(prefs->hasKey(key));
        EXPECT_EQ(prefs->boolForKey(key), e.boolValue);
        EXPECT_EQ(prefs->integerForKey(key), e.integerValue);
        EXPECT_DOUBLE_EQ(prefs->floatForKey(key), e.floatValue);
    }
    EXPECT_EQ(prefs->stringForKey(u"five"), QStringLiteral("5"));
    EXPECT_EQ(prefs->stringListForKey(u"list"), (QStringList{QStringLiteral("a"), QStringLiteral("b")}));
    EXPECT_TRUE(prefs->stringForKey(u"list").isNull());
    EXPECT_FALSE(prefs->isDomainEmpty());
}

TEST_F(PreferencesTest, SyncReportsAFileThatCannotBeWritten)
{
    QFile blocker(path(QStringLiteral("blocker")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();

    Preferences preferences(path(QStringLiteral("blocker/prefs.ini")));
    preferences.setBool(u"k", true);
    EXPECT_FALSE(preferences.sync());
}



} // namespace
