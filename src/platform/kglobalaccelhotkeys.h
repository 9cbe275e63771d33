#pragma once

#include "platform/globalhotkeys.h"

#include <QHash>

// KDE's global shortcut service (org.kde.kglobalaccel), spoken over the session bus: each hot key is an
// action of the program's component, set to its key, and the component's signal reports the presses.
class KGlobalAccelHotKeys : public GlobalHotKeys {
    Q_OBJECT
public:
    KGlobalAccelHotKeys();

    // True when the service is on the session bus.
    static bool isAvailable();

    void setHotKeys(const QList<HotKey>& keys) override;
    QString mechanism() const override { return QStringLiteral("KDE global shortcuts"); }

private Q_SLOTS:
    void globalShortcutPressed(const QString& component, const QString& action, qlonglong timestamp);

private:
    void connectComponent();

    // The action names of the ids registered now.
    QHash<QString, int> m_actions;
    bool m_connected = false;
};
