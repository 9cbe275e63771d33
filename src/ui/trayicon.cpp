#include "ui/trayicon.h"

#include "lists/statusmenucontent.h"
#include "lists/tabviewcontroller.h"
#include "store/objectcontext.h"
#include "ui/desktopapplication.h"
#include "ui/icons.h"
#include "ui/mainwindow.h"
#include "ui/mainwindowcontroller.h"

#include <QApplication>
#include <QDesktopServices>
#include <QMenu>
#include <QPainter>
#include <QPalette>
#include <QSystemTrayIcon>

namespace {

QMenu* submenu(QMenu& parent, const QString& name, const QString& title)
{
    QMenu* menu = parent.addMenu(title);
    menu->setObjectName(name);
    menu->setAccessibleName(title);
    return menu;
}

QAction* item(QMenu* menu, const QString& name, const QString& title)
{
    QAction* action = menu->addAction(title);
    action->setObjectName(name);
    return action;
}

} // namespace

TrayIcon::TrayIcon(DesktopApplication& application, QObject* parent)
    : QObject(parent), m_application(application), m_menu(std::make_unique<QMenu>())
{
    m_menu->setObjectName(QStringLiteral("statusMenu"));
    m_menu->setAccessibleName(tr("Vyro"));
    connect(item(m_menu.get(), QStringLiteral("statusShowVyro"), tr("Show Vyro")), &QAction::triggered, this,
            [this] { m_application.reopen(); });
    m_menu->addSeparator();
    m_contexts = submenu(*m_menu, QStringLiteral("statusContextsMenu"), tr("New Task in Context"));
    m_projects = submenu(*m_menu, QStringLiteral("statusProjectsMenu"), tr("New Task in Project"));
    m_webLinks = submenu(*m_menu, QStringLiteral("statusWebLinksMenu"), tr("Web Links"));
    m_fileLinks = submenu(*m_menu, QStringLiteral("statusFileLinksMenu"), tr("File Links"));
    m_quickTags = submenu(*m_menu, QStringLiteral("statusQuickTagsMenu"), tr("Quick Tags"));
    m_menu->addSeparator();
    connect(item(m_menu.get(), QStringLiteral("statusQuit"), tr("Quit")), &QAction::triggered, this, [this] { m_application.quit(); });
    connect(m_menu.get(), &QMenu::aboutToShow, this, &TrayIcon::refreshMenu);

    m_base = vyroIcon(QStringLiteral("statusbar"));
    m_icon = new QSystemTrayIcon(m_base, this);
    m_icon->setToolTip(QStringLiteral("Vyro"));
    m_icon->setContextMenu(m_menu.get());
    connect(m_icon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) { activated(int(reason)); });
    m_icon->show();
}

TrayIcon::~TrayIcon()
{
    // The icon goes first: it refers to the menu.
    delete m_icon;
}

bool TrayIcon::isVisible() const
{
    return m_icon->isVisible() && QSystemTrayIcon::isSystemTrayAvailable();
}

void TrayIcon::setCount(int count)
{
    count = std::max(count, 0);
    if (count == m_count)
        return;
    m_count = count;
    m_icon->setIcon(iconWithCount(m_base, count));
    m_icon->setToolTip(count > 0 ? tr("Vyro: %n task(s) in the Inbox", nullptr, count) : QStringLiteral("Vyro"));
}

void TrayIcon::activated(int reason)
{
    if (reason != QSystemTrayIcon::Trigger)
        return;
    MainWindowController* window = m_application.mainWindowController();
    if (!window)
        return;
    MainWindow& main = window->window();
    if (main.isVisible() && !main.isMinimized())
        m_application.hideApplication();
    else
        m_application.reopen();
}

void TrayIcon::refreshMenu()
{
    for (QMenu* menu : {m_contexts, m_projects, m_webLinks, m_fileLinks, m_quickTags})
        menu->clear();
    MainWindowController* window = m_application.mainWindowController();
    if (!window)
        return;
    TabViewController& views = window->views();
    const StatusMenuContent content = statusMenuContent(views);

    auto fill = [&](QMenu* menu, const std::vector<StatusMenuEntry>& entries, const QString& prefix) {
        int n = 0;
        for (const StatusMenuEntry& entry : entries) {
            QAction* action = item(menu, prefix + QString::number(n++), entry.title);
            connect(action, &QAction::triggered, this, [this, entry] {
                MainWindowController* window = m_application.mainWindowController();
                if (!window)
                    return;
                if (!entry.url.isEmpty()) {
                    QDesktopServices::openUrl(entry.url);
                    return;
                }
                // The window first: the new task is shown with its name being edited.
                window->bringAppToFront();
                ObjectContext& store = window->views().store();
                store.processPendingChanges();
                chooseStatusMenuEntry(window->views(), entry);
                store.processPendingChanges();
            });
        }
        menu->setEnabled(!entries.empty());
    };
    fill(m_contexts, content.contexts, QStringLiteral("statusContext"));
    fill(m_projects, content.projects, QStringLiteral("statusProject"));
    fill(m_webLinks, content.webLinks, QStringLiteral("statusWebLink"));
    fill(m_fileLinks, content.fileLinks, QStringLiteral("statusFileLink"));

    const std::vector<QuickTagMenuItem> quickTags = quickTagMenuItems(views.preferences());
    for (const QuickTagMenuItem& tag : quickTags) {
        connect(item(m_quickTags, QStringLiteral("statusQuickTag%1").arg(tag.number), tag.title), &QAction::triggered, this,
                [this, n = tag.number] {
                    if (MainWindowController* window = m_application.mainWindowController())
                        window->performQuickTagAction(n);
                });
    }
    m_quickTags->setEnabled(!quickTags.empty());
}

QIcon TrayIcon::iconWithCount(const QIcon& base, int count)
{
    if (count < 1)
        return base;
    constexpr int kSide = 64;
    QPixmap pixmap = base.pixmap(kSide, kSide);
    if (pixmap.isNull()) {
        pixmap = QPixmap(kSide, kSide);
        pixmap.fill(Qt::transparent);
    } else if (pixmap.width() != kSide) {
        // An icon with only small sizes: the number is drawn at the full size all the same.
        pixmap = pixmap.scaled(kSide, kSide, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    }
    pixmap.setDevicePixelRatio(1.0);
    const QString text = count > 99 ? QStringLiteral("99+") : QString::number(count);
    const QPalette palette = QApplication::palette();
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    // A disc over the lower right, large enough for two digits at panel sizes (16–24 pixels).
    const QRectF disc(kSide * 0.3, kSide * 0.3, kSide * 0.7, kSide * 0.7);
    painter.setPen(QPen(palette.color(QPalette::Base), kSide / 32.0));
    painter.setBrush(palette.color(QPalette::Highlight));
    painter.drawEllipse(disc);
    QFont font = QApplication::font();
    font.setBold(true);
    font.setPixelSize(text.size() > 2 ? int(kSide * 0.26) : text.size() > 1 ? int(kSide * 0.34) : int(kSide * 0.44));
    painter.setFont(font);
    painter.setPen(palette.color(QPalette::HighlightedText));
    painter.drawText(disc, Qt::AlignCenter, text);
    painter.end();
    return QIcon(pixmap);
}
