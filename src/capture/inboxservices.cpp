#include "capture/inboxservices.h"

#include "lists/contexttasksarraycontroller.h"
#include "lists/taskcreation.h"

#include <QUrl>

Task* putServiceStringToVyroInbox(ContextTasksArrayController& tasks, const QString& text)
{
    if (text.isEmpty())
        return nullptr;
    return tasks.addNewTask(QStringLiteral("New task"), nullptr, nullptr, text, QString(), std::nullopt, QDateTime(),
                            QDateTime(), QString(), false);
}

namespace {

// The last component of a path as written; trailing slashes do not count, "/" is its own.
QString lastComponent(const QString& path)
{
    QStringView rest = path;
    while (rest.size() > 1 && rest.endsWith(QLatin1Char('/')))
        rest.chop(1);
    if (rest == QLatin1String("/"))
        return rest.toString();
    return rest.mid(rest.lastIndexOf(QLatin1Char('/')) + 1).toString();
}

} // namespace

Task* openFile(ContextTasksArrayController& tasks, const QString& path)
{
    Context* inbox = inboxContext(tasks.store());
    if (!inbox)
        return nullptr;
    // The path is read as URL text, not made into a file URL: text that is no valid URL (a space, for
    // one) gives a task without a link.
    const QUrl url(path, QUrl::StrictMode);
    const QString link = url.isValid() && !path.isEmpty() ? url.toString(QUrl::FullyEncoded) : QString();
    return tasks.addNewTask(lastComponent(path), inbox, nullptr, QString(), link, 0, QDateTime(), QDateTime(), QString(), false);
}
