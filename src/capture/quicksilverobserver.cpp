#include "capture/quicksilverobserver.h"

#include "app/preferences.h"
#include "capture/tasknameanalyzer.h"
#include "lists/contexttasksarraycontroller.h"
#include "model/project.h"
#include "store/log.h"
#include "store/objectcontext.h"

#include <QDir>
#include <QFileInfo>
#include <QUrl>

namespace {

// Only the space character; tabs and line breaks stay.
QString trimSpaces(const QString& text)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && text.at(begin) == QLatin1Char(' '))
        ++begin;
    while (end > begin && text.at(end - 1) == QLatin1Char(' '))
        --end;
    return text.mid(begin, end - begin);
}

// A string value, or nothing for an absent key or a value of another type. A URL value stands for its
// text, as a sender over the bus may give either.
std::optional<QString> textValue(const QVariantMap& map, const QString& key)
{
    const auto it = map.constFind(key);
    if (it == map.constEnd())
        return std::nullopt;
    switch (it->typeId()) {
    case QMetaType::QString:
        return it->toString();
    case QMetaType::QUrl:
        return it->toUrl().toString(QUrl::FullyEncoded);
    default:
        return std::nullopt;
    }
}

QString fileURLText(const QString& path)
{
    return QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath()).toString(QUrl::FullyEncoded);
}

// The last path component of a URL's text as written (escapes kept), a trailing "/" ignored.
QString lastPathComponent(const QString& urlText)
{
    QStringView path = urlText;
    while (path.size() > 1 && path.endsWith(QLatin1Char('/')))
        path.chop(1);
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1).toString();
}

QString expandTilde(const QString& path)
{
    if (path == QLatin1String("~"))
        return QDir::homePath();
    if (path.startsWith(QLatin1String("~/")))
        return QDir::homePath() + path.mid(1);
    return path;
}

} // namespace

Task* QuickSilverObserver::observerNotification(const QVariantMap& userInfo)
{
    logLine(QStringLiteral("Received notification..."));
    QString name = trimSpaces(textValue(userInfo, QStringLiteral("name")).value_or(QString()));
    logLine(name);

    QString url;
    QString content;
    std::optional<qint64> priority;
    Context* context = nullptr;
    Project* project = nullptr;
    QDateTime startDate;
    QDateTime dueDate;
    QString tags;

    const std::optional<QString> urlValue = textValue(userInfo, QStringLiteral("url"));
    const std::optional<QString> fileValue = textValue(userInfo, QStringLiteral("file"));
    if (urlValue) {
        url = QUrl(*urlValue).adjusted(QUrl::NormalizePathSegments).toString(QUrl::FullyEncoded);
    } else if (fileValue && !fileValue->isEmpty()) {
        // An empty path names no file: it is taken as no "file" at all.
        url = fileURLText(*fileValue);
    } else if (name.toLower().startsWith(QLatin1String("http://"))) {
        const QUrl address(name);
        url = address.toString(QUrl::FullyEncoded);
        name = address.host();
    } else if (!name.isEmpty()) {
        auto parsed = TaskNameAnalyzer(m_tasks.store()).parseTaskName(name);
        if (!parsed) {
            logLine(parsed.status().message());
            return nullptr;
        }
        name = parsed->name;
        content = parsed->content;
        priority = parsed->priority;
        context = parsed->context;
        project = parsed->project;
        startDate = parsed->startDate.value_or(QDateTime());
        dueDate = parsed->dueDate.value_or(QDateTime());
        tags = parsed->tags.value_or(QString());
        // The home folder counts only for telling whether the file exists; the link is made from the
        // name as written.
        if (!name.isEmpty() && QFileInfo::exists(expandTilde(name))) {
            url = fileURLText(name);
            name = lastPathComponent(url);
        }
    }
    if (!context && project)
        context = project->defaultContext();

    const bool noGUI = !m_preferences.boolForKey(QStringLiteral("showGUIForQSActions"));
    Task* task = m_tasks.addNewTask(name, context, project, content, url, priority, startDate, dueDate, tags, noGUI);
    saveOrLog(m_tasks.store());
    return task;
}
