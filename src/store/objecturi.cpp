#include "store/objecturi.h"

#include <QStringList>

namespace {
const QLatin1String kScheme("x-coredata://");
const QLatin1String kLinkScheme("vyro://");
}

QString formatObjectURI(const QString& storeUUID, const QString& entity, qint64 primaryKey)
{
    return kScheme + storeUUID + QLatin1Char('/') + entity + QStringLiteral("/p") + QString::number(primaryKey);
}

std::optional<ObjectURIParts> parseObjectURI(const QString& uri)
{
    if (!uri.startsWith(kScheme))
        return std::nullopt;
    const QStringList parts = uri.mid(kScheme.size()).split(QLatin1Char('/'));
    if (parts.size() != 3 || parts[0].isEmpty() || parts[1].isEmpty() || !parts[2].startsWith(QLatin1Char('p')))
        return std::nullopt;
    bool ok = false;
    const qint64 key = parts[2].mid(1).toLongLong(&ok);
    if (!ok || key <= 0)
        return std::nullopt;
    return ObjectURIParts {parts[0], parts[1], key};
}

QString taskLinkFromObjectURI(const QString& uri)
{
    return uri.startsWith(kScheme) ? kLinkScheme + uri.mid(kScheme.size()) : uri;
}

QString objectURIFromTaskLink(const QString& link)
{
    // The link's part after the scheme, put behind "x-coredata:" again.
    if (!link.startsWith(QLatin1String("vyro:")))
        return link;
    return QStringLiteral("x-coredata:") + link.mid(5);
}
