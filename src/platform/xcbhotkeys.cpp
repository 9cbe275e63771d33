#include "platform/xcbhotkeys.h"

#include "store/log.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QMetaObject>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <cstdlib>

namespace {

// The lock modifiers a grab must not depend on: CapsLock and (on every common keymap) NumLock.
constexpr uint16_t lockMasks[] = {0, XCB_MOD_MASK_LOCK, XCB_MOD_MASK_2, XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2};

} // namespace

bool XcbHotKeys::isAvailable()
{
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        return false;
    if (qEnvironmentVariable("XDG_SESSION_TYPE") == QLatin1String("wayland") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY"))
        return false;
    auto* x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 && x11->connection();
}

XcbHotKeys::XcbHotKeys()
{
    auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    m_connection = x11->connection();
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    m_symbols = xcb_key_symbols_alloc(m_connection);
    QCoreApplication::instance()->installNativeEventFilter(this);
}

XcbHotKeys::~XcbHotKeys()
{
    if (QCoreApplication::instance())
        QCoreApplication::instance()->removeNativeEventFilter(this);
    ungrabAll();
    xcb_key_symbols_free(m_symbols);
}

void XcbHotKeys::ungrabAll()
{
    for (const Grab& grab : m_grabs)
        for (uint16_t mask : lockMasks)
            xcb_ungrab_key(m_connection, grab.keycode, m_root, mask);
    m_grabs.clear();
    xcb_flush(m_connection);
}

void XcbHotKeys::setHotKeys(const QList<HotKey>& keys)
{
    ungrabAll();
    for (const HotKey& hotKey : keys) {
        const xcb_keysym_t keysym = keysymForKey(hotKey.key);
        xcb_keycode_t* codes = keysym ? xcb_key_symbols_get_keycode(m_symbols, keysym) : nullptr;
        if (!codes) {
            logLine(QStringLiteral("No key on this keyboard for hot key %1").arg(hotKey.id));
            continue;
        }
        for (xcb_keycode_t* code = codes; *code != XCB_NO_SYMBOL; ++code) {
            bool taken = false;
            for (uint16_t mask : lockMasks) {
                xcb_void_cookie_t cookie =
                    xcb_grab_key_checked(m_connection, 1, m_root, mask, *code, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
                if (xcb_generic_error_t* error = xcb_request_check(m_connection, cookie)) {
                    taken = true;
                    std::free(error);
                }
            }
            if (taken)
                logLine(QStringLiteral("Hot key %1 is held by another program").arg(hotKey.id));
            m_grabs.push_back({*code, hotKey.id});
        }
        std::free(codes);
    }
    xcb_flush(m_connection);
}

bool XcbHotKeys::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*)
{
    if (eventType != "xcb_generic_event_t")
        return false;
    auto* event = static_cast<xcb_generic_event_t*>(message);
    if ((event->response_type & 0x7f) != XCB_KEY_PRESS)
        return false;
    auto* press = reinterpret_cast<xcb_key_press_event_t*>(event);
    // A grabbed key reports the root window; a key typed into one of our own windows does not.
    if (press->event != m_root)
        return false;
    for (const Grab& grab : m_grabs) {
        if (grab.keycode != press->detail)
            continue;
        const int id = grab.id;
        // Out of the event's handling first: the receiver may open or close windows.
        QMetaObject::invokeMethod(this, [this, id] { Q_EMIT activated(id); }, Qt::QueuedConnection);
        return true;
    }
    return false;
}
