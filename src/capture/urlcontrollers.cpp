#include "capture/urlcontrollers.h"

#include "lists/archivecategoryswitch.h"
#include "lists/contextarraycontroller.h"
#include "lists/projectarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "model/task.h"
#include "store/entitydescription.h"
#include "store/log.h"
#include "store/objectcontext.h"

namespace {

// The text after the scheme and its colon ("//path#1,2" of "xcode://path#1,2").
QString resourcePart(const QString& url)
{
    const qsizetype colon = url.indexOf(QLatin1Char(':'));
    return colon < 0 ? QString() : url.mid(colon + 1);
}

QString schemeOf(const QString& url)
{
    const qsizetype colon = url.indexOf(QLatin1Char(':'));
    return colon < 0 ? QString() : url.left(colon).toLower();
}

// An editor link "<path>#<first>,<second>": the three parts, or nothing without the "#" or the ",".
std::optional<QStringList> splitEditorLink(const QString& url)
{
    const QStringList atHash = resourcePart(url).split(QLatin1Char('#'));
    if (atHash.size() < 2)
        return std::nullopt;
    const QStringList range = atHash.at(1).split(QLatin1Char(','));
    if (range.size() < 2)
        return std::nullopt;
    return QStringList{atHash.at(0), range.at(0), range.at(1)};
}

} // namespace

bool AppURLController::handleURL(const QString& url, bool preferProjectsTab)
{
    const QString uri = QStringLiteral("x-coredata:") + resourcePart(url);
    Record* record = m_views.store().objectWithURI(uri);
    if (!record || record->entity().name() != QLatin1String("task"))
        return false;
    auto* task = static_cast<Task*>(record);
    if (task->archived())
        switchToGivenArchiveCategory(m_views, task->parentArchiveCategory(), task, true);
    else if (preferProjectsTab && task->parentProject())
        m_views.projectController().switchToGivenProject(task->parentProject(), task, true);
    else
        m_views.contextController().switchToGivenContext(task->parentContext(), task, true);
    return true;
}

void handleGetURL(TabViewController& views, const QString& url)
{
    const QString scheme = schemeOf(url);
    if (scheme == QLatin1String("vyro")) {
        AppURLController(views).handleURL(url, views.getSelectedTabIndex() == 1);
    } else if (scheme == QLatin1String("xcode") || scheme == QLatin1String("textwrangler")) {
        // Nothing here opens an editor at a range: the parts are only logged.
        if (const auto parts = splitEditorLink(url))
            logLines(*parts);
    }
}

void openVyroLinkAndSwitchToItem(TabViewController& views, const QString& text)
{
    if (!text.toLower().startsWith(QLatin1String("vyro")))
        return;
    AppURLController(views).handleURL(text, views.getSelectedTabIndex() == 1);
}
