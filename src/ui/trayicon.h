#pragma once

#include <QIcon>
#include <QObject>

#include <functional>
#include <memory>

class DesktopApplication;
class QMenu;
class QSystemTrayIcon;

// The program's item in the panel's tray: its menu adds a task to any context or project, opens the links
// stored in tasks and applies the quick tags, each submenu read afresh every time the menu opens; a left
// click shows the window or hides it into the tray. The icon carries the Inbox count while it is above
// zero.
class TrayIcon : public QObject {
    Q_OBJECT
public:
    explicit TrayIcon(DesktopApplication& application, QObject* parent = nullptr);
    ~TrayIcon() override;

    void setCount(int count);
    bool isVisible() const;
    QSystemTrayIcon& trayIcon() const { return *m_icon; }
    QMenu& menu() const { return *m_menu; }
    // Fills the submenus from the lists, as opening the menu does.
    void refreshMenu();

    // `base` with `count` drawn on it in a disc of the highlight colour; `base` itself for a count below 1.
    static QIcon iconWithCount(const QIcon& base, int count);

private:
    void activated(int reason);

    DesktopApplication& m_application;
    std::unique_ptr<QMenu> m_menu;
    QSystemTrayIcon* m_icon = nullptr;
    QMenu* m_contexts = nullptr;
    QMenu* m_projects = nullptr;
    QMenu* m_webLinks = nullptr;
    QMenu* m_fileLinks = nullptr;
    QMenu* m_quickTags = nullptr;
    QIcon m_base;
    int m_count = 0;
};
