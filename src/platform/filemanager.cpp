#include "platform/filemanager.h"

#include "store/log.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QFileInfo>

namespace {

const QString kService = QStringLiteral("org.freedesktop.FileManager1");
const QString kPath = QStringLiteral("/org/freedesktop/FileManager1");
// A file manager that is started by the call needs a moment; past this the folder is opened instead.
constexpr int kCallTimeoutMs = 5000;

} // namespace

FileManager::FileManager(QString busName, UrlOpener opener)
    : m_busName(std::move(busName))
    , m_opener(opener ? std::move(opener) : UrlOpener([](const QUrl& url) { return QDesktopServices::openUrl(url); }))
{
}

QUrl FileManager::folderOf(const QString& fileLink)
{
    const QUrl url(fileLink);
    if (!url.isValid() || !url.isLocalFile())
        return {};
    QString path = url.toLocalFile();
    while (path.size() > 1 && path.endsWith(QLatin1Char('/')))
        path.chop(1);
    return QUrl::fromLocalFile(QFileInfo(path).absolutePath());
}

void FileManager::reveal(const QString& fileLink, std::function<void(bool)> done) const
{
    const QUrl folder = folderOf(fileLink);
    if (folder.isEmpty()) {
        if (done)
            done(false);
        return;
    }
    const QDBusConnection bus = m_busName.isEmpty() ? QDBusConnection::sessionBus() : QDBusConnection(m_busName);
    auto fallBack = [opener = m_opener, folder, done](const QString& why) {
        logLine(QStringLiteral("File manager: %1; opening %2").arg(why, folder.toString()));
        opener(folder);
        if (done)
            done(false);
    };
    if (!bus.isConnected()) {
        fallBack(QStringLiteral("no session bus"));
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kService, QStringLiteral("ShowItems"));
    call << QStringList{QUrl(fileLink).toString(QUrl::FullyEncoded)} << QString();
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, kCallTimeoutMs));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, fallBack, done] {
        watcher->deleteLater();
        if (watcher->isError()) {
            fallBack(watcher->error().message());
            return;
        }
        if (done)
            done(true);
    });
}

bool FileManager::open(const QString& link, const std::function<void(const QString&)>& taskLink) const
{
    if (link.startsWith(QLatin1String("vyro:"), Qt::CaseInsensitive)) {
        if (!taskLink)
            return false;
        taskLink(link);
        return true;
    }
    const QUrl url(link);
    if (!url.isValid() || url.isEmpty())
        return false;
    return m_opener(url);
}
