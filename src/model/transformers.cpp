#include "model/transformers.h"

#include "model/smartfolder.h"
#include "model/task.h"

#include <QUrl>

namespace Transformers {

QString contextImage(std::optional<qint64> specialIndex)
{
    static const char* const special[] = {"context_home.png", "context_office.png", "context_computer.png", "context_web.png",
                                          "context_mail.png", "context_edit.png", "context_music.png", "context_shopping.png",
                                          "context_work.png", "context_phone.png", "context_lightbulb.png"};
    if (!specialIndex)
        return {};
    if (*specialIndex == -2)
        return QStringLiteral("bt_red_up.png");
    if (*specialIndex == -1)
        return QStringLiteral("bt_up.png");
    if (*specialIndex >= 1 && *specialIndex <= 11)
        return QLatin1String(special[*specialIndex - 1]);
    return QStringLiteral("bt_attention.png");
}

QString projectImage()
{
    return QStringLiteral("attention.png");
}

QString smartFolderImage(const SmartFolder* folder)
{
    if (!folder)
        return {};
    return folder->isAllPending() || folder->isNextAction() ? QStringLiteral("smartfolder.png") : QStringLiteral("folder.png");
}

QString taskStatusImage(std::optional<int> status)
{
    if (!status)
        return {};
    switch (*status) {
    case 1: return QStringLiteral("status_future.png");
    case 2: return QStringLiteral("status_waitfor.png");
    case 3: return QStringLiteral("status_delegated.png");
    case 4: return QStringLiteral("status_maybe.png");
    default: return QStringLiteral("status_pending.png");
    }
}

QString linkImage(const QString& link)
{
    if (link.isNull())
        return {};
    const QUrl url(link);
    if (!url.isValid() || url.isEmpty())
        return {};
    return url.isLocalFile() ? QStringLiteral("file_edit.png") : QStringLiteral("file_web.png");
}

QString taskFlagImage(const Task* task)
{
    return task && task->nextAction() ? QStringLiteral("flag.png") : QString();
}

QString taskContextFlagImage(const Task* task)
{
    return task && task->parentContext() ? QStringLiteral("bt_attention.png") : QString();
}

QString taskProjectFlagImage(const Task* task)
{
    return task && task->parentProject() ? QStringLiteral("attention.png") : QString();
}

QString unreadImage(bool unread)
{
    return unread ? QStringLiteral("star.png") : QString();
}

} // namespace Transformers
