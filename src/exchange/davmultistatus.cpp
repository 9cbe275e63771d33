#include "exchange/davmultistatus.h"

#include <QUrl>
#include <QXmlStreamReader>

namespace {

QString keyOf(const QXmlStreamReader& xml)
{
    return QLatin1Char('{') + xml.namespaceUri().toString() + QLatin1Char('}') + xml.name().toString();
}

bool is(const QXmlStreamReader& xml, const QString& ns, const char* name)
{
    return xml.namespaceUri() == ns && xml.name() == QLatin1String(name);
}

// The text of the current element and everything under it; the reader ends on its end element.
QString wholeText(QXmlStreamReader& xml)
{
    return xml.readElementText(QXmlStreamReader::IncludeChildElements);
}

// The reader is on a property's start element; it ends on its end element.
DavProperty readProperty(QXmlStreamReader& xml)
{
    DavProperty property;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isEndElement())
            break;
        if (xml.isCharacters()) {
            property.text += xml.text();
        } else if (xml.isStartElement()) {
            DavProperty::Child child{keyOf(xml), xml.attributes().value(QLatin1String("name")).toString()};
            const bool isHref = is(xml, DavKey::kDav, "href");
            const QString text = wholeText(xml);
            if (isHref)
                property.hrefs << text.trimmed();
            property.children << child;
        }
    }
    return property;
}

// The reader is on DAV:propstat; found properties go to `response.properties`, the others to
// `failedProperties` with the propstat's status.
void readPropstat(QXmlStreamReader& xml, DavResponse& response)
{
    QHash<QString, DavProperty> properties;
    int status = 0;
    while (xml.readNextStartElement()) {
        if (is(xml, DavKey::kDav, "prop")) {
            while (xml.readNextStartElement()) {
                const QString key = keyOf(xml);
                properties.insert(key, readProperty(xml));
            }
        } else if (is(xml, DavKey::kDav, "status")) {
            status = statusCodeOf(wholeText(xml));
        } else {
            xml.skipCurrentElement();
        }
    }
    const bool found = status >= 200 && status < 300;
    for (auto it = properties.begin(); it != properties.end(); ++it) {
        if (found)
            response.properties.insert(it.key(), it.value());
        else
            response.failedProperties.insert(it.key(), status);
    }
}

DavResponse readResponse(QXmlStreamReader& xml)
{
    DavResponse response;
    while (xml.readNextStartElement()) {
        if (is(xml, DavKey::kDav, "href"))
            response.href = wholeText(xml).trimmed();
        else if (is(xml, DavKey::kDav, "status"))
            response.status = statusCodeOf(wholeText(xml));
        else if (is(xml, DavKey::kDav, "propstat"))
            readPropstat(xml, response);
        else
            xml.skipCurrentElement();
    }
    return response;
}

} // namespace

bool DavProperty::hasChild(const QString& key) const
{
    for (const Child& child : children)
        if (child.key == key)
            return true;
    return false;
}

const DavProperty* DavResponse::property(const QString& key) const
{
    const auto it = properties.constFind(key);
    return it == properties.constEnd() ? nullptr : &it.value();
}

QString DavResponse::text(const QString& key) const
{
    const DavProperty* found = property(key);
    return found ? found->text : QString();
}

bool parseMultistatus(const QByteArray& body, DavMultistatus& out, QString* error)
{
    out = {};
    QXmlStreamReader xml(body);
    bool sawRoot = false;
    if (xml.readNextStartElement()) {
        if (is(xml, DavKey::kDav, "multistatus")) {
            sawRoot = true;
            while (xml.readNextStartElement()) {
                if (is(xml, DavKey::kDav, "response"))
                    out.responses << readResponse(xml);
                else if (is(xml, DavKey::kDav, "sync-token"))
                    out.syncToken = wholeText(xml).trimmed();
                else
                    xml.skipCurrentElement();
            }
        }
    }
    if (xml.hasError() || !sawRoot) {
        if (error)
            *error = xml.hasError() ? QStringLiteral("unreadable answer: %1 (line %2)").arg(xml.errorString()).arg(xml.lineNumber())
                                    : QStringLiteral("the answer holds no multistatus");
        return false;
    }
    return true;
}

int statusCodeOf(const QString& statusLine)
{
    // "HTTP/1.1 200 OK": the code is the second word.
    const QStringList words = statusLine.simplified().split(QLatin1Char(' '));
    if (words.size() < 2)
        return 0;
    bool ok = false;
    const int code = words.at(1).toInt(&ok);
    return ok ? code : 0;
}

QString hrefPath(const QString& href)
{
    if (href.startsWith(QLatin1Char('/')) || !href.contains(QLatin1String("://")))
        return href;
    const QUrl url = QUrl::fromEncoded(href.toUtf8());
    QString path = url.path(QUrl::FullyEncoded);
    if (path.isEmpty())
        path = QStringLiteral("/");
    if (url.hasQuery())
        path += QLatin1Char('?') + url.query(QUrl::FullyEncoded);
    return path;
}

bool sameHref(const QString& a, const QString& b)
{
    // Servers differ in what they encode ("@" or "%40"); the decoded paths decide.
    auto plain = [](const QString& href) {
        QString path = QUrl::fromPercentEncoding(hrefPath(href).toUtf8());
        while (path.size() > 1 && path.endsWith(QLatin1Char('/')))
            path.chop(1);
        return path;
    };
    return plain(a) == plain(b);
}
