#include "ui/icons.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QPixmap>

#include <gtest/gtest.h>

namespace {

// Every image name the model, the lists and the toolbar ask for, plus the tray glyph and the program's own.
const QStringList& imageNames()
{
    static const QStringList names{
        "toolbar_inbox", "toolbar_contexts", "toolbar_projects", "toolbar_pending", "toolbar_completed",
        "toolbar_archive", "toolbar_process", "toolbar_sync",
        "context_home", "context_computer", "context_edit", "context_lightbulb", "context_mail", "context_music",
        "context_office", "context_phone", "context_shopping", "context_web", "context_work",
        "file_edit", "file_web", "flag", "folder", "smartfolder", "star",
        "attention", "bt_attention", "bt_up", "bt_red_up",
        "status_pending", "status_future", "status_waitfor", "status_delegated", "status_maybe",
        "status_nextaction", "statusbar", "vyro",
    };
    return names;
}

// Pixels a viewer would actually see: a parsed but empty or fully transparent drawing counts as blank.
int visiblePixels(const QPixmap& pixmap)
{
    const QImage image = pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            count += qAlpha(image.pixel(x, y)) > 64 ? 1 : 0;
    return count;
}

// The desktop's icon theme is process-wide; each test leaves it as it found it.
class IconsTest : public ::testing::Test {
protected:
    void SetUp() override { savedTheme_ = QIcon::themeName(); }
    void TearDown() override { QIcon::setThemeName(savedTheme_); }

private:
    QString savedTheme_;
};

} // namespace

TEST_F(IconsTest, EveryImageNameDrawsAtSixteenPixelsWithoutAnIconTheme)
{
    QIcon::setThemeName(QString());
    for (const QString& name : imageNames()) {
        SCOPED_TRACE(name.toStdString());
        const QIcon icon = vyroIcon(name + QStringLiteral(".png"));
        ASSERT_FALSE(icon.isNull());
        const QPixmap pixmap = icon.pixmap(16, 16);
        ASSERT_FALSE(pixmap.isNull());
        EXPECT_EQ(pixmap.size(), QSize(16, 16));
        EXPECT_GE(visiblePixels(pixmap), 12);
    }
}

// The icon cache may already hold theme icons from earlier tests, so the shipped drawings are also checked
// straight from the resources, small and large (a malformed file gives no pixmap at any size).
TEST_F(IconsTest, EveryImageNameHasAShippedDrawingThatScales)
{
    for (const QString& name : imageNames()) {
        SCOPED_TRACE(name.toStdString());
        const QString path = QStringLiteral(":/icons/%1.svg").arg(name);
        ASSERT_TRUE(QFile::exists(path));
        const QIcon shipped(path);
        for (const int size : {16, 64}) {
            const QPixmap pixmap = shipped.pixmap(size, size);
            ASSERT_FALSE(pixmap.isNull()) << size;
            EXPECT_EQ(pixmap.size(), QSize(size, size));
            EXPECT_GE(visiblePixels(pixmap), size * size / 20) << size;
        }
    }
}

TEST_F(IconsTest, ShippedDrawingsAreExactlyTheKnownNames)
{
    QStringList shipped = QDir(QStringLiteral(":/icons")).entryList({QStringLiteral("*.svg")}, QDir::Files);
    for (QString& file : shipped)
        file.chop(4);
    shipped.sort();
    QStringList known = imageNames();
    known.sort();
    EXPECT_EQ(shipped, known);
}

TEST_F(IconsTest, NamesAreLookedUpWithoutTheirExtension)
{
    EXPECT_EQ(vyroIcon(QStringLiteral("flag.png")).cacheKey(), vyroIcon(QStringLiteral("flag")).cacheKey());
    EXPECT_EQ(themeIconName(QStringLiteral("folder.png")), QStringLiteral("folder"));
    EXPECT_EQ(themeIconName(QStringLiteral("status_pending.png")), QString());

    for (const char* blank : {"", "nosuchimage.png", "nosuchimage"}) {
        SCOPED_TRACE(blank);
        EXPECT_TRUE(vyroIcon(QString::fromLatin1(blank)).isNull());
    }
}
