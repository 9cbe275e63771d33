#pragma once

#include <QByteArray>
#include <QString>

// The web addresses of the Help menu, in one place. VYRO_WEB_BASE replaces the site for tests and for
// builds of others (the mail address stays).
inline QString vyroWebBase()
{
    const QByteArray base = qgetenv("VYRO_WEB_BASE");
    return base.isEmpty() ? QStringLiteral("https://vyro.quendar.com") : QString::fromUtf8(base);
}

struct WebLink {
    const char* command;
    const char* title;
    const char* path; // under the site; a full "mailto:" address for mail
};

inline constexpr WebLink kHelpLinks[] = {
    {"openHelp", "Vyro Help", "/help/"},
    {"openTutorial", "Tutorial", "/help/tutorial/"},
    {"openFAQ", "Frequently Asked Questions", "/help/faq/"},
    {"openFKeyApplications", "Adding Tasks with Function Keys", "/help/function-keys/"},
    {"openQuicksilver", "Adding Tasks from Launchers and Scripts", "/help/launchers/"},
    {"openWebsite", "Vyro Website", "/"},
    {"openBlog", "Blog", "/blog/"},
    {"openForum", "User Forum", "/forum/"},
    {"mailSupport", "Mail Support…", "mailto:support@quendar.com?subject=Vyro"},
    {"donate", "Donate…", "/donate/"},
};

inline QString webLinkAddress(const WebLink& link)
{
    const QString path = QString::fromUtf8(link.path);
    return path.startsWith(QLatin1String("mailto:")) ? path : vyroWebBase() + path;
}

// The plain-text file whose whole content is the newest released version, and the download of that
// release. VYRO_VERSION_BASE replaces the site of these two alone (the tests' local server).
inline QString vyroVersionBase()
{
    const QByteArray base = qgetenv("VYRO_VERSION_BASE");
    return base.isEmpty() ? vyroWebBase() : QString::fromUtf8(base);
}

inline QString versionFileAddress()
{
    return vyroVersionBase() + QStringLiteral("/download/version.txt");
}

inline QString downloadAddress()
{
    return vyroVersionBase() + QStringLiteral("/download/vyro-latest.tar.gz");
}
