#pragma once

#include <QList>
#include <QObject>
#include <QString>

#include <memory>

// One global hot key: a Qt key pressed with no modifier keys, and the id it is reported by.
struct HotKey {
    int id = 0;
    int key = 0;
    friend bool operator==(const HotKey&, const HotKey&) = default;
};

// Keys that reach the program while another program has the keyboard. The implementation is chosen once
// by what the session offers (createGlobalHotKeys); a session that offers nothing gets one that registers
// nothing, and the user binds the program's commands in the desktop's own keyboard settings.
class GlobalHotKeys : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    // Replaces every key registered before with `keys` (an empty list releases them all). A key another
    // program holds is logged and left out; the others still work.
    virtual void setHotKeys(const QList<HotKey>& keys) = 0;
    // Which mechanism this is, for the log.
    virtual QString mechanism() const = 0;

Q_SIGNALS:
    // A registered key was pressed; delivered from the event loop, never from inside the key's handling.
    void activated(int id);
};

// The first mechanism the session offers, in this order: KDE's global shortcut service on the session
// bus, key grabs on the X root window (an X11 session only: under Wayland they fire only while an X
// window has the keyboard), the desktop portal's global shortcuts, else none. Logs one line naming the
// choice. Needs the QGuiApplication.
std::unique_ptr<GlobalHotKeys> createGlobalHotKeys();

// The freedesktop accelerator text of a key ("F8", "a", "Return") as the portal takes it; empty for a key
// it has no name for.
QString portalTriggerForKey(int key);
// The X keysym of a Qt key; 0 for none.
unsigned int keysymForKey(int key);
