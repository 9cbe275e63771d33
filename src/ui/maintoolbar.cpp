#include "ui/maintoolbar.h"

#include "app/preferences.h"
#include "ui/icons.h"

#include <QActionGroup>
#include <QContextMenuEvent>
#include <QLineEdit>
#include <QMenu>
#include <QProgressBar>
#include <QWidgetAction>

namespace {

constexpr auto kItemsKey = "mainToolbarItems";

struct Item {
    const char* identifier;
    const char* label;
    const char* toolTip;
    const char* image;
};

// "mainToolbarMaybe" is the same item as "mainToolbarNextActions" and is kept out of the table.
const Item kItems[] = {
    {"mainToolbarInbox", "Inbox", "Display inbox", "toolbar_inbox.png"},
    {"mainToolbarContexts", "Contexts", "Display contexts and their tasks", "toolbar_contexts.png"},
    {"mainToolbarProjects", "Projects", "Display projects and their tasks", "toolbar_projects.png"},
    {"mainToolbarNextActions", "To complete", "Display all tasks to complete", "toolbar_pending.png"},
    {"mainToolbarCompleted", "Completed", "Display completed tasks", "toolbar_completed.png"},
    {"mainToolbarArchive", "Archived", "Display archived items", "toolbar_archive.png"},
    {"mainToolbarProcessReview", "Process/review", "Process/review tasks", "toolbar_process.png"},
    {"mainToolbarSync", "Sync", "Start syncing with the calendar server", "toolbar_sync.png"},
};

const QString kSeparator = QStringLiteral("separator");
const QString kSpace = QStringLiteral("space");
const QString kFlexibleSpace = QStringLiteral("flexibleSpace");
const QString kSearch = QStringLiteral("mainToolbarSearchView");
const QString kProgress = QStringLiteral("mainToolbarProgressBarView");

QWidget* spacer(int width, bool flexible)
{
    auto* w = new QWidget;
    w->setFixedWidth(width);
    if (flexible) {
        w->setMinimumWidth(width);
        w->setMaximumWidth(QWIDGETSIZE_MAX);
        w->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    }
    return w;
}

QString menuTitle(const QString& identifier)
{
    for (const Item& item : kItems)
        if (identifier == QLatin1String(item.identifier))
            return QString::fromUtf8(item.label);
    if (identifier == kSearch)
        return QStringLiteral("Search");
    if (identifier == kProgress)
        return QStringLiteral("Progress indicator");
    return identifier;
}

} // namespace

MainToolbar::MainToolbar(Preferences& preferences, QWidget* parent)
    : QToolBar(QStringLiteral("Main toolbar"), parent), m_preferences(preferences)
{
    setObjectName(QStringLiteral("mainToolbar"));
    setAccessibleName(QStringLiteral("Main toolbar"));
    setMovable(false);
    setFloatable(false);
    setIconSize(QSize(24, 24));
    m_selectable = new QActionGroup(this);
    m_selectable->setExclusive(true);
    for (const Item& item : kItems) {
        const QString id = QString::fromUtf8(item.identifier);
        auto* action = new QAction(vyroIcon(QString::fromUtf8(item.image)), QString::fromUtf8(item.label), this);
        action->setObjectName(id);
        action->setToolTip(QString::fromUtf8(item.toolTip));
        action->setIconText(QString::fromUtf8(item.label));
        if (selectableItemIdentifiers().contains(id)) {
            action->setCheckable(true);
            m_selectable->addAction(action);
        }
        m_actions.insert(id, action);
    }

    m_searchField = new QLineEdit(this);
    m_searchField->setObjectName(QStringLiteral("searchField"));
    m_searchField->setAccessibleName(QStringLiteral("Search tasks"));
    m_searchField->setToolTip(QStringLiteral("Search tasks"));
    m_searchField->setPlaceholderText(QStringLiteral("Search"));
    m_searchField->setClearButtonEnabled(true);
    m_searchField->setMinimumWidth(180);
    m_searchField->setMaximumWidth(280);
    m_searchField->addAction(QIcon::fromTheme(QStringLiteral("edit-find")), QLineEdit::LeadingPosition);

    m_progressBar = new QProgressBar(this);
    m_progressBar->setObjectName(QStringLiteral("progressIndicator"));
    m_progressBar->setAccessibleName(QStringLiteral("Progress indicator"));
    m_progressBar->setRange(0, 0);
    m_progressBar->setTextVisible(false);
    m_progressBar->setFixedWidth(48);
    m_progressBar->setMaximumHeight(10);
    m_searchAction = new QWidgetAction(this);
    m_searchAction->setDefaultWidget(m_searchField);
    m_progressAction = new QWidgetAction(this);
    m_progressAction->setDefaultWidget(m_progressBar);
    m_progressAction->setVisible(false);

    QStringList stored = m_preferences.stringListForKey(kItemsKey);
    m_items = stored.isEmpty() ? defaultItemIdentifiers() : stored;
    setToolButtonStyle(m_preferences.boolForKey("toolbarShowTextOnly") ? Qt::ToolButtonTextOnly : Qt::ToolButtonTextUnderIcon);
    rebuild();
}

QStringList MainToolbar::defaultItemIdentifiers()
{
    return {kSpace, QStringLiteral("mainToolbarInbox"), kSeparator, QStringLiteral("mainToolbarContexts"),
            QStringLiteral("mainToolbarProjects"), kSeparator, QStringLiteral("mainToolbarNextActions"),
            QStringLiteral("mainToolbarCompleted"), kSeparator, QStringLiteral("mainToolbarArchive"), kSpace,
            QStringLiteral("mainToolbarProcessReview"), QStringLiteral("mainToolbarSync"), kFlexibleSpace, kSearch,
            kProgress, kSpace};
}

QStringList MainToolbar::allowedItemIdentifiers()
{
    return {kSeparator,
            kFlexibleSpace,
            kSpace,
            QStringLiteral("mainToolbarInbox"),
            QStringLiteral("mainToolbarContexts"),
            QStringLiteral("mainToolbarProjects"),
            QStringLiteral("mainToolbarNextActions"),
            QStringLiteral("mainToolbarCompleted"),
            QStringLiteral("mainToolbarArchive"),
            QStringLiteral("mainToolbarSync"),
            QStringLiteral("mainToolbarProcessReview"),
            kSearch,
            kProgress};
}

QStringList MainToolbar::selectableItemIdentifiers()
{
    return {QStringLiteral("mainToolbarContexts"), QStringLiteral("mainToolbarProjects"), QStringLiteral("mainToolbarNextActions"),
            QStringLiteral("mainToolbarCompleted"), QStringLiteral("mainToolbarArchive")};
}

void MainToolbar::selectToolbarItem(const QString& identifier)
{
    const QString id = identifier == QLatin1String("mainToolbarMaybe") ? QStringLiteral("mainToolbarNextActions") : identifier;
    if (QAction* action = m_actions.value(id); action && action->isCheckable())
        action->setChecked(true);
}

QString MainToolbar::selectedItemIdentifier() const
{
    QAction* checked = m_selectable->checkedAction();
    return checked ? checked->objectName() : QString();
}

void MainToolbar::setItemIdentifiers(const QStringList& identifiers)
{
    const QStringList allowed = allowedItemIdentifiers();
    QStringList items;
    for (const QString& id : identifiers)
        if (allowed.contains(id))
            items << id;
    m_items = items;
    m_preferences.setStringList(kItemsKey, m_items);
    rebuild();
}

void MainToolbar::setShowTextOnly(bool textOnly)
{
    m_preferences.setBool("toolbarShowTextOnly", textOnly);
    setToolButtonStyle(textOnly ? Qt::ToolButtonTextOnly : Qt::ToolButtonTextUnderIcon);
}

void MainToolbar::setBusy(bool busy)
{
    m_progressAction->setVisible(busy);
}

void MainToolbar::rebuild()
{
    for (QAction* a : actions())
        removeAction(a);
    qDeleteAll(m_spacers); // each owns its spacer widget
    m_spacers.clear();
    auto addSpacer = [this](bool flexible) {
        auto* action = new QWidgetAction(this);
        action->setDefaultWidget(spacer(12, flexible));
        m_spacers << action;
        addAction(action);
    };
    for (const QString& id : m_items) {
        if (id == kSeparator)
            addSeparator();
        else if (id == kSpace)
            addSpacer(false);
        else if (id == kFlexibleSpace)
            addSpacer(true);
        else if (id == kSearch)
            addAction(m_searchAction);
        else if (id == kProgress)
            addAction(m_progressAction);
        else if (QAction* action = m_actions.value(id))
            addAction(action);
    }
}

void MainToolbar::contextMenuEvent(QContextMenuEvent* event)
{
    QMenu menu(this);
    for (const QString& id : allowedItemIdentifiers()) {
        if (id == kSeparator || id == kSpace || id == kFlexibleSpace)
            continue;
        QAction* entry = menu.addAction(menuTitle(id));
        entry->setCheckable(true);
        entry->setChecked(m_items.contains(id));
        connect(entry, &QAction::toggled, this, [this, id](bool shown) {
            QStringList items = m_items;
            if (shown) {
                // A shown-again item goes back where the default bar has it, near its neighbours.
                const QStringList defaults = defaultItemIdentifiers();
                qsizetype at = items.size();
                const qsizetype wanted = defaults.indexOf(id);
                for (qsizetype i = wanted + 1; wanted >= 0 && i < defaults.size(); ++i) {
                    if (const qsizetype found = items.indexOf(defaults[i]); found >= 0 && defaults[i] != kSeparator
                        && defaults[i] != kSpace && defaults[i] != kFlexibleSpace) {
                        at = found;
                        break;
                    }
                }
                items.insert(at, id);
            } else {
                items.removeAll(id);
            }
            setItemIdentifiers(items);
        });
    }
    menu.addSeparator();
    QAction* textOnly = menu.addAction(QStringLiteral("Text Only"));
    textOnly->setCheckable(true);
    textOnly->setChecked(toolButtonStyle() == Qt::ToolButtonTextOnly);
    connect(textOnly, &QAction::toggled, this, &MainToolbar::setShowTextOnly);
    menu.addAction(QStringLiteral("Reset to Default Items"), this, [this] { setItemIdentifiers(defaultItemIdentifiers()); });
    menu.addSeparator();
    menu.addAction(QStringLiteral("Hide Toolbar"), this, &MainToolbar::hideRequested);
    menu.exec(event->globalPos());
}
