#pragma once

#include "platform/globalhotkeys.h"

#include <QAbstractNativeEventFilter>

#include <vector>

struct xcb_connection_t;
struct _XCBKeySymbols;

// Passive key grabs on the X root window. A grab is made for every keycode the key's keysym sits on and
// for each state of NumLock and CapsLock, since the server matches the modifier state exactly.
class XcbHotKeys : public GlobalHotKeys, public QAbstractNativeEventFilter {
    Q_OBJECT
public:
    // Qt must run on its xcb platform.
    XcbHotKeys();
    ~XcbHotKeys() override;

    // True when the program runs on X11 proper (not an X server inside a Wayland session).
    static bool isAvailable();

    void setHotKeys(const QList<HotKey>& keys) override;
    QString mechanism() const override { return QStringLiteral("X11 key grabs"); }
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    struct Grab {
        unsigned char keycode;
        int id;
    };
    void ungrabAll();

    xcb_connection_t* m_connection = nullptr;
    unsigned int m_root = 0;
    _XCBKeySymbols* m_symbols = nullptr;
    std::vector<Grab> m_grabs;
};
