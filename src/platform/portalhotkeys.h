#pragma once

#include "platform/globalhotkeys.h"

#include <QDBusObjectPath>
#include <QVariantMap>

// The desktop portal's global shortcuts: a session of the program's, with the hot keys bound in it as
// shortcuts whose preferred triggers are the keys. The desktop may ask the user to confirm or change
// them; the program takes whatever the desktop reports as pressed.
class PortalHotKeys : public GlobalHotKeys {
    Q_OBJECT
public:
    PortalHotKeys();
    ~PortalHotKeys() override;

    // True when the session's portal offers global shortcuts.
    static bool isAvailable();

    void setHotKeys(const QList<HotKey>& keys) override;
    QString mechanism() const override { return QStringLiteral("desktop portal global shortcuts"); }

private Q_SLOTS:
    void sessionCreated(uint response, const QVariantMap& results);
    void shortcutsBound(uint response, const QVariantMap& results);
    void shortcutActivated(const QDBusObjectPath& session, const QString& shortcut, qulonglong timestamp,
                           const QVariantMap& options);

private:
    void closeSession();
    void bindShortcuts();
    // The object path on which the portal answers a request made with `token`, subscribed to `slot`.
    QString expectResponse(const QString& token, const char* slot);

    QList<HotKey> m_keys;
    QString m_session;
    int m_requests = 0;
};
