#include "Platform/Desktop/WindowActivation.h"

#include <QGuiApplication>
#include <QWindow>
#include <QtGui/qguiapplication_platform.h>

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>

namespace {

/// Replies and events are the caller's to free (xcb-requests(3)).
struct Free
{
    void operator()(void *memory) const { std::free(memory); }
};
template<typename Type>
using FromServer = std::unique_ptr<Type, Free>;

struct Disconnect
{
    void operator()(xcb_connection_t *connection) const { xcb_disconnect(connection); }
};

xcb_screen_t *screenOf(xcb_connection_t *connection)
{
    return xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
}

} // namespace

void WindowActivation::activate(QWindow *window, const QString &token)
{
    auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    // The toolkit's Wayland part takes the token from there, with the next request.
    if (!x11 && !token.isEmpty())
        qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
    window->requestActivate();
    if (!x11)
        return;
    // That waits for a window that is not there yet, but it carries the time of our last input: whoever had
    // input since then keeps the focus.
    std::optional<quint32> time = launchTime(token);
    if (!time)
        time = serverTime();
    if (time)
        requestFocus(x11->connection(), static_cast<quint32>(window->winId()), *time);
}

std::optional<quint32> WindowActivation::launchTime(QStringView identifier)
{
    const QStringView mark = u"_TIME";
    const qsizetype place = identifier.lastIndexOf(mark);
    bool isNumber = false;
    const quint32 time = place < 0 ? 0 : identifier.mid(place + mark.size()).toUInt(&isNumber);
    return isNumber ? std::optional(time) : std::nullopt;
}

std::optional<quint32> WindowActivation::serverTime()
{
    // Only events tell the time, and those of the toolkit's connection are the toolkit's to read.
    const std::unique_ptr<xcb_connection_t, Disconnect> connection(xcb_connect(nullptr, nullptr));
    if (xcb_connection_has_error(connection.get()) != 0)
        return std::nullopt;
    const xcb_window_t window = xcb_generate_id(connection.get());
    const quint32 events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, window, screenOf(connection.get())->root, 0, 0,
                      1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
    xcb_change_property(connection.get(), XCB_PROP_MODE_APPEND, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        0, nullptr);
    xcb_flush(connection.get());
    while (const FromServer<xcb_generic_event_t> event{xcb_wait_for_event(connection.get())})
        if ((event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY)
            return reinterpret_cast<const xcb_property_notify_event_t *>(event.get())->time;
    return std::nullopt;
}

void WindowActivation::requestFocus(xcb_connection_t *connection, quint32 window, quint32 time)
{
    constexpr quint32 fromApplication = 1;
    const QByteArrayView name = "_NET_ACTIVE_WINDOW";
    const FromServer<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, static_cast<quint16>(name.size()), name.data()), nullptr));
    if (!atom)
        return;
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atom->atom;
    message.data.data32[0] = fromApplication;
    message.data.data32[1] = time;
    xcb_send_event(connection, 0, screenOf(connection)->root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char *>(&message));
    xcb_flush(connection);
}
