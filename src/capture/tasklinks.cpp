#include "capture/tasklinks.h"

#include "model/task.h"

#include <QFileInfo>
#include <QMimeData>
#include <QUrl>

namespace {

struct KindRule {
    LinkKind kind;
    QLatin1String prefix; // empty: tested otherwise
    QLatin1String label;  // empty: made from the link
    QLatin1String openTitle;
};

// In the order they are tested.
const KindRule kRules[] = {
    {LinkKind::File, QLatin1String(), QLatin1String(), QLatin1String()},
    {LinkKind::MailMessage, QLatin1String("message://"), QLatin1String("e-mail message"), QLatin1String("Open e-mail message")},
    {LinkKind::VoodooPadPage, QLatin1String("x-voodoopad-item://"), QLatin1String("VoodooPad page"), QLatin1String("Open VoodooPad page")},
    {LinkKind::JournlerEntry, QLatin1String("journler://"), QLatin1String("Journler entry"), QLatin1String("Open Journler entry")},
    {LinkKind::EagleFilerRecord, QLatin1String("x-eaglefiler://"), QLatin1String("EagleFiler record"), QLatin1String("Open EagleFiler record")},
    {LinkKind::YojimboEntry, QLatin1String("x-yojimbo-item://"), QLatin1String("Yojimbo entry"), QLatin1String("Open Yojimbo entry")},
    {LinkKind::TextWranglerFile, QLatin1String("textwrangler://"), QLatin1String("Text Wrangler file"), QLatin1String("Open TextWrangler file")},
    {LinkKind::VyroItem, QLatin1String("vyro:"), QLatin1String("Vyro item"), QLatin1String("Jump to Vyro item")},
    {LinkKind::MailAddress, QLatin1String("mailto:"), QLatin1String(), QLatin1String("Send message")},
};

const KindRule* ruleFor(LinkKind kind)
{
    for (const KindRule& rule : kRules)
        if (rule.kind == kind)
            return &rule;
    return nullptr;
}

// The file's last path component, decoded; a trailing "/" of a folder does not count.
QString fileComponent(const QString& link)
{
    QString path = QUrl(link).toLocalFile();
    while (path.size() > 1 && path.endsWith(QLatin1Char('/')))
        path.chop(1);
    return path == QLatin1String("/") ? path : QFileInfo(path).fileName();
}

} // namespace

LinkKind linkKind(const QString& link)
{
    if (link.startsWith(QLatin1String("file:"), Qt::CaseInsensitive))
        return LinkKind::File;
    for (const KindRule& rule : kRules)
        if (!rule.prefix.isEmpty() && link.startsWith(rule.prefix))
            return rule.kind;
    return LinkKind::Other;
}

QString linkLabel(const QString& link)
{
    // The kinds with a fixed label are told by their prefix alone: mail message links carry an escaped
    // message id that a strict reading does not take as a host.
    switch (const LinkKind kind = linkKind(link)) {
    case LinkKind::File:
        return fileComponent(link);
    case LinkKind::MailAddress:
        return QUrl(link).isValid() ? link : QString();
    case LinkKind::Other:
        return QUrl(link).host();
    default:
        return ruleFor(kind)->label;
    }
}

QString linkOpenTitle(const QString& link)
{
    switch (const LinkKind kind = linkKind(link)) {
    case LinkKind::File:
        return QStringLiteral("Open %1").arg(fileComponent(link));
    case LinkKind::Other:
        return QStringLiteral("Open %1").arg(QUrl(link).host());
    default:
        return ruleFor(kind)->openTitle;
    }
}

QString linkRevealTitle(const QString& link)
{
    if (linkKind(link) != LinkKind::File)
        return QString();
    return QStringLiteral("Reveal %1 in the file manager").arg(fileComponent(link));
}

QString linkFromTypedText(const QString& text)
{
    if (text.isEmpty())
        return QString();
    QUrl url;
    if (text.startsWith(QLatin1Char('/')))
        url = QUrl::fromLocalFile(text);
    else if (!text.contains(QLatin1Char(':')))
        url = QUrl(QStringLiteral("http://") + text);
    else
        url = QUrl(text);
    if (!url.isValid())
        return QString();
    return url.toString(QUrl::FullyEncoded);
}

QStringList linksFromMimeData(const QMimeData& data)
{
    QStringList links;
    // A file manager offers the files' names as URIs and their paths as plain text: the files win.
    for (const QUrl& url : data.urls())
        if (url.isLocalFile())
            links << QUrl::fromLocalFile(url.toLocalFile()).toString(QUrl::FullyEncoded);
    if (!links.isEmpty() || !data.hasText())
        return links;
    const QString text = data.text().trimmed();
    if (!text.contains(QLatin1String("://")))
        return links;
    const QUrl url(text, QUrl::StrictMode);
    if (url.isValid() && !url.isRelative())
        links << url.toString(QUrl::FullyEncoded);
    return links;
}

QStringList appendNewLinks(Task& task, const QStringList& incoming)
{
    QStringList links = task.displayURL().value_or(QStringList());
    QStringList added;
    for (const QString& link : incoming) {
        if (link.isEmpty() || links.contains(link))
            continue;
        links << link;
        added << link;
    }
    if (!added.isEmpty())
        task.setDisplayURL(links);
    return added;
}

QMimeData* mimeDataForLinks(const QStringList& links)
{
    auto* data = new QMimeData;
    if (links.size() == 1) {
        data->setText(links.first());
        return data;
    }
    QList<QUrl> urls;
    for (const QString& link : links)
        urls << QUrl(link);
    data->setUrls(urls);
    data->setText(links.join(QLatin1Char('\n')));
    return data;
}
