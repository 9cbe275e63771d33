#include "support/modelfixture.h"

#include "capture/tasklinks.h"
#include "capture/tasktagscontroller.h"
#include "model/task.h"

#include <QMimeData>
#include <QUrl>

#include <memory>

using namespace Qt::StringLiterals;

TEST(TaskLinks, EveryKindHasItsLabelAndFirstItem)
{
    struct Case {
        QString link;
        QString label;
        QString open;
        QString reveal = {};
    };
    const Case cases[] = {
        {u"file:///tmp/a%20b.txt"_s, u"a b.txt"_s, u"Open a b.txt"_s, u"Reveal a b.txt in the file manager"_s},
        {u"file:///home/me/Projects/"_s, u"Projects"_s, u"Open Projects"_s, u"Reveal Projects in the file manager"_s},
        {u"message://%3c1234@example.com%3e"_s, u"e-mail message"_s, u"Open e-mail message"_s},
        {u"x-voodoopad-item://page"_s, u"VoodooPad page"_s, u"Open VoodooPad page"_s},
        {u"journler://entry/12"_s, u"Journler entry"_s, u"Open Journler entry"_s},
        {u"x-eaglefiler://rec"_s, u"EagleFiler record"_s, u"Open EagleFiler record"_s},
        {u"x-yojimbo-item://abc"_s, u"Yojimbo entry"_s, u"Open Yojimbo entry"_s},
        {u"textwrangler:///a.txt#1,2"_s, u"Text Wrangler file"_s, u"Open TextWrangler file"_s},
        {u"vyro://AB-CD/task/p7"_s, u"Vyro item"_s, u"Jump to Vyro item"_s},
        {u"mailto:bob@example.com?subject=Hi"_s, u"mailto:bob@example.com?subject=Hi"_s, u"Send message"_s},
        {u"http://www.example.com/a/b"_s, u"www.example.com"_s, u"Open www.example.com"_s},
        {u"https://example.org"_s, u"example.org"_s, u"Open example.org"_s},
        // The kinds are told by the text as written: a prefix in capitals is not that kind.
        {u"MAILTO:bob@example.com"_s, QString(), u"Open "_s},
        {u"http://[::1"_s, QString(), u"Open "_s},
        {QString(), QString(), u"Open "_s},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(linkLabel(c.link), c.label) << c.link.toStdString();
        EXPECT_EQ(linkOpenTitle(c.link), c.open) << c.link.toStdString();
        EXPECT_EQ(linkRevealTitle(c.link), c.reveal) << c.link.toStdString();
    }
}

TEST(TaskLinks, TypedTextBecomesALink)
{
    const std::pair<QString, QString> cases[] = {
        {u"intranet"_s, u"http://intranet"_s},
        {u"example.com/a b"_s, u"http://example.com/a%20b"_s},
        {u"/tmp/a.txt"_s, u"file:///tmp/a.txt"_s},
        {u"/tmp/a b.txt"_s, u"file:///tmp/a%20b.txt"_s},
        {u"mailto:bob@example.com"_s, u"mailto:bob@example.com"_s},
        {u"vyro://S/task/p1"_s, u"vyro://s/task/p1"_s},
        {u"localhost:8080"_s, u"localhost:8080"_s},
        {u"http://[::1"_s, QString()},
        {QString(), QString()},
    };
    for (const auto& [typed, link] : cases)
        EXPECT_EQ(linkFromTypedText(typed), link) << typed.toStdString();
    EXPECT_EQ(linkLabel(linkFromTypedText(u"/tmp/a.txt"_s)), u"a.txt"_s);
}

TEST(TaskLinks, ClipboardOffersLinks)
{
    struct Case {
        const char* what;
        QString text;
        QList<QUrl> urls;
        QStringList links;
    };
    const Case cases[] = {
        {"web address", u"http://example.com/x"_s, {}, {u"http://example.com/x"_s}},
        {"address with a line break", u"http://example.com/x\n"_s, {}, {u"http://example.com/x"_s}},
        {"no scheme separator", u"example.com"_s, {}, {}},
        {"mail address", u"mailto:bob@example.com"_s, {}, {}},
        {"prose around an address", u"see http://example.com"_s, {}, {}},
        {"files", u"/tmp/a.txt\n/tmp/b c.txt"_s,
         {QUrl::fromLocalFile(u"/tmp/a.txt"_s), QUrl::fromLocalFile(u"/tmp/b c.txt"_s)},
         {u"file:///tmp/a.txt"_s, u"file:///tmp/b%20c.txt"_s}},
        {"remote URI list with its text", u"http://example.com/y"_s, {QUrl(u"http://example.com/y"_s)}, {u"http://example.com/y"_s}},
        {"nothing", QString(), {}, {}},
    };
    for (const Case& c : cases) {
        QMimeData data;
        if (!c.urls.isEmpty())
            data.setUrls(c.urls);
        if (!c.text.isNull())
            data.setText(c.text);
        EXPECT_EQ(linksFromMimeData(data), c.links) << c.what;
    }
}

TEST(TaskLinks, CopiedLinks)
{
    std::unique_ptr<QMimeData> one(mimeDataForLinks({u"http://a.example"_s}));
    EXPECT_EQ(one->text(), u"http://a.example"_s);
    EXPECT_FALSE(one->hasUrls());
    std::unique_ptr<QMimeData> two(mimeDataForLinks({u"http://a.example"_s, u"file:///tmp/b"_s}));
    EXPECT_EQ(two->text(), u"http://a.example\nfile:///tmp/b"_s);
    EXPECT_EQ(two->urls(), (QList<QUrl>{QUrl(u"http://a.example"_s), QUrl(u"file:///tmp/b"_s)}));
    // What is copied pastes back as the same links.
    EXPECT_EQ(linksFromMimeData(*one), QStringList{u"http://a.example"_s});
}

class TaskLinksStoreTest : public ModelFixture {};

TEST_F(TaskLinksStoreTest, PastedLinksAreAppendedOnce)
{
    auto* home = context->insertNewObject<Context>(u"context"_s);
    home->setName(u"Home"_s);
    Task* task = addTask(u"t"_s, home);
    task->setUrl(u"http://a.example"_s);
    EXPECT_EQ(appendNewLinks(*task, {u"http://a.example"_s}), QStringList());
    EXPECT_EQ(task->url(), u"http://a.example"_s);
    EXPECT_EQ(appendNewLinks(*task, {u"file:///tmp/x"_s, u"http://a.example"_s, u"file:///tmp/x"_s}),
              QStringList{u"file:///tmp/x"_s});
    EXPECT_EQ(task->displayURL(), (QStringList{u"http://a.example"_s, u"file:///tmp/x"_s}));

    Task* empty = addTask(u"e"_s, home);
    EXPECT_EQ(appendNewLinks(*empty, {u"http://b.example"_s}), QStringList{u"http://b.example"_s});
    EXPECT_EQ(empty->url(), u"http://b.example"_s);
}

TEST_F(TaskLinksStoreTest, TagCompletionsComeFromTagsInUse)
{
    auto* home = context->insertNewObject<Context>(u"context"_s);
    home->setName(u"Home"_s);
    const char* tagTexts[] = {"home,Hobby", "home", "work, home", "", "HOME,ho"};
    for (const char* tags : tagTexts)
        addTask(u"t"_s, home)->setTags(QString::fromLatin1(tags));
    addTask(u"untagged"_s, home);
    const std::pair<QString, QStringList> cases[] = {
        {u"Ho"_s, {u"ho"_s, u"hobby"_s, u"home"_s}},
        {u"hom"_s, {u"home"_s}},
        {u" h"_s, {u" home"_s}},
        {u"w"_s, {u"work"_s}},
        {u"x"_s, {}},
        {QString(), {u" home"_s, u"ho"_s, u"hobby"_s, u"home"_s, u"work"_s}},
    };
    const TaskTagsController tags(*context);
    for (const auto& [part, expected] : cases)
        EXPECT_EQ(tags.autoCompletionsForTagPartName(part), expected) << part.toStdString();
}
