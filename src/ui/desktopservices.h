#pragma once

#include "app/applicationservices.h"

#include <QObject>

class DesktopApplication;

// The desktop session's services for the running program: global hot keys, the tray and its menus, the
// launcher badge and the notifications. Each piece is chosen once, by what the session offers, and the
// program runs on without any of them.
class DesktopServices : public QObject, public ApplicationServices {
    Q_OBJECT
public:
    explicit DesktopServices(QObject* parent = nullptr);
    ~DesktopServices() override;

    // The application the hot keys, the tray and the notification clicks act on; set before it starts.
    void attach(DesktopApplication& application) { m_application = &application; }

    void registerHotKeys(const Preferences& preferences) override;
    void buildStatusMenus() override;
    void updateBadge(int inboxCount) override;
    void resetBadge() override;

private:
    DesktopApplication* m_application = nullptr;
};
