#include "exchange/folderclouddisk.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace {

// Copies through a QSaveFile: the target is replaced by rename when the copy is whole, or not at all.
QString copyWhole(const QString& from, const QString& to)
{
    QFile source(from);
    if (!source.open(QIODevice::ReadOnly))
        return QStringLiteral("%1: %2").arg(from, source.errorString());
    QSaveFile target(to);
    if (!target.open(QIODevice::WriteOnly))
        return QStringLiteral("%1: %2").arg(to, target.errorString());
    while (!source.atEnd()) {
        const QByteArray chunk = source.read(1 << 20);
        if (chunk.isEmpty() && source.error() != QFileDevice::NoError)
            return QStringLiteral("%1: %2").arg(from, source.errorString());
        if (target.write(chunk) != chunk.size())
            return QStringLiteral("%1: %2").arg(to, target.errorString());
    }
    if (!target.commit())
        return QStringLiteral("%1: %2").arg(to, target.errorString());
    return {};
}

} // namespace

FolderCloudDisk::FolderCloudDisk(QString folder) : m_folder(std::move(folder)) {}

void FolderCloudDisk::answer(const std::function<void(const Answer&)>& done, const Answer& answer)
{
    // Whatever was done before a cancel is told as it was: a copy that was made is not undone.
    const Answer given = m_cancelled ? Answer{Failure::Cancelled, QStringLiteral("cancelled")} : answer;
    QMetaObject::invokeMethod(&m_context, [done, given] { done(given); }, Qt::QueuedConnection);
}

QString FolderCloudDisk::location() const
{
    return QDir::cleanPath(m_folder + cloudDiskFilePath);
}

void FolderCloudDisk::check(std::function<void(const Answer&)> done)
{
    Answer failure;
    if (!QFileInfo(m_folder).isDir())
        failure = {Failure::NoService, QStringLiteral("%1 is not a folder").arg(m_folder)};
    answer(done, failure);
}

void FolderCloudDisk::remoteFile(std::function<void(const Answer&, const RemoteFile&)> done)
{
    const QFileInfo info(location());
    const RemoteFile file{info.isFile(), info.isFile() ? info.lastModified().toUTC() : QDateTime()};
    answer([done, file](const Answer& given) { done(given, given.isOk() ? file : RemoteFile{}); }, Answer{});
}

void FolderCloudDisk::download(const QString& localFile, std::function<void(const Answer&)> done)
{
    const QString error = m_cancelled ? QString() : copyWhole(location(), localFile);
    answer(done, error.isEmpty() ? Answer{} : Answer{Failure::Transfer, error});
}

void FolderCloudDisk::upload(const QString& localFile, std::function<void(const Answer&)> done)
{
    QString error;
    if (m_cancelled)
        error.clear();
    else if (!QDir().mkpath(QDir::cleanPath(m_folder + cloudDiskFolderPath)))
        error = QStringLiteral("cannot make the folder %1").arg(m_folder + cloudDiskFolderPath);
    else
        error = copyWhole(localFile, location());
    answer(done, error.isEmpty() ? Answer{} : Answer{Failure::Transfer, error});
}
