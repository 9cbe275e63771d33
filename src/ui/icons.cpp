#include "ui/icons.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QPalette>
#include <QHash>

namespace {

const QHash<QString, QString>& themeNames()
{
    static const QHash<QString, QString> names{
        {"toolbar_inbox", "mail-folder-inbox"},
        {"toolbar_contexts", "tag"},
        {"toolbar_projects", "project-development"},
        {"toolbar_pending", "view-calendar-tasks"},
        {"toolbar_completed", "task-complete"},
        {"toolbar_archive", "archive-insert"},
        {"toolbar_process", "media-playback-start"},
        {"toolbar_sync", "view-refresh"},
        {"context_home", "go-home"},
        {"context_computer", "computer"},
        {"context_edit", "document-edit"},
        {"context_lightbulb", "help-hint"},
        {"context_mail", "mail-message"},
        {"context_music", "audio-x-generic"},
        {"context_office", "x-office-document"},
        {"context_phone", "call-start"},
        {"context_shopping", "view-bank-account"},
        {"context_web", "applications-internet"},
        {"context_work", "applications-office"},
        {"file_edit", "text-x-generic"},
        {"file_web", "text-html"},
        {"flag", "flag"},
        {"folder", "folder"},
        {"smartfolder", "folder-saved-search"},
        {"star", "starred"},
        // The plain project and context images, the Inbox, and the Inbox holding too many tasks (drawn
        // red by us: no theme has it).
        {"attention", "project-development"},
        {"bt_attention", "tag"},
        {"bt_up", "mail-folder-inbox"},
        {"bt_red_up", ""},
        {"status_pending", ""},
        {"status_future", "appointment-soon"},
        {"status_waitfor", "chronometer"},
        {"status_delegated", "user-group-new"},
        {"status_maybe", "help-about"},
        {"status_nextaction", "flag"},
        {"statusbar", ""},
        {"vyro", ""},
    };
    return names;
}

QString baseName(const QString& imageName)
{
    const qsizetype dot = imageName.lastIndexOf(QLatin1Char('.'));
    return dot < 0 ? imageName : imageName.left(dot);
}

} // namespace

QString themeIconName(const QString& imageName)
{
    return themeNames().value(baseName(imageName));
}

QIcon vyroIcon(const QString& imageName)
{
    if (imageName.isEmpty())
        return {};
    static QHash<QString, QIcon> cache;
    const QString base = baseName(imageName);
    if (auto it = cache.constFind(base); it != cache.constEnd())
        return *it;
    const QString fallbackPath = QStringLiteral(":/icons/%1.svg").arg(base);
    QIcon fallback = QFile::exists(fallbackPath) ? QIcon(fallbackPath) : QIcon();
    const QString name = themeIconName(base);
    QIcon icon = name.isEmpty() ? fallback : QIcon::fromTheme(name, fallback);
    cache.insert(base, icon);
    return icon;
}

void chooseIconTheme()
{
    // Platforms without a desktop theme of their own (offscreen, a bare X server) may not even look in
    // the system's icon folders.
    QStringList paths = QIcon::themeSearchPaths();
    const QByteArray dataDirs = qgetenv("XDG_DATA_DIRS");
    const QStringList roots = dataDirs.isEmpty() ? QStringList{QStringLiteral("/usr/local/share"), QStringLiteral("/usr/share")}
                                                 : QString::fromLocal8Bit(dataDirs).split(QLatin1Char(':'), Qt::SkipEmptyParts);
    for (const QString& root : roots)
        if (const QString dir = root + QStringLiteral("/icons"); !paths.contains(dir) && QDir(dir).exists())
            paths << dir;
    QIcon::setThemeSearchPaths(paths);
    const QString current = QIcon::themeName();
    if (!current.isEmpty() && current != QLatin1String("hicolor"))
        return;
    // A dark palette gets the theme's dark variant, whose glyphs stay readable on it.
    const bool dark = QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
    const QString wanted = dark ? QStringLiteral("breeze-dark") : QStringLiteral("breeze");
    for (const QString& dir : QIcon::themeSearchPaths()) {
        if (QDir(dir + QLatin1Char('/') + wanted).exists()) {
            QIcon::setThemeName(wanted);
            return;
        }
    }
}
