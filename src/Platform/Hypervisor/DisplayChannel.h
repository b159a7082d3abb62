#pragma once

#include "Platform/Hypervisor/DisplayReceiver.h"
#include "Platform/StreamSocket.h"

#include <QObject>
#include <QString>
#include <QTimer>

#include <cstddef>
#include <mutex>
#include <optional>
#include <span>
#include <thread>

/// One connection to a guest's screen, keyboard and pointer (VZVirtualMachine::openDisplay()), with a thread
/// that receives into a copy of the screen. Nothing here waits for the emulator, and the emulator sends no
/// faster than updates are used. Main thread, where nothing else is said.
class DisplayChannel : public QObject
{
    Q_OBJECT

public:
    /// Takes a connected stream socket on which the peer speaks RFB. Throws PlatformError or
    /// std::system_error when the process has no descriptors or threads left.
    explicit DisplayChannel(UniqueDescriptor socket, QObject *parent = nullptr);
    /// Closes the connection.
    ~DisplayChannel() override;
    Q_DISABLE_COPY_MOVE(DisplayChannel)

    /// The update that waits to be used. Its pixels stay as they are until requestUpdate(). Any thread.
    [[nodiscard]] std::optional<rfb::ScreenConversation::Update> takeUpdate();
    /// The update is used: the next one may come. Any thread.
    void requestUpdate();
    /// The pointer's picture, once for each change.
    [[nodiscard]] std::optional<rfb::CursorShape> takeCursor();
    [[nodiscard]] bool takesExtendedKeys() const;
    [[nodiscard]] bool isPointerAbsolute() const;

    /// Sends one or more whole client messages. False, and nothing is sent, when too much waits already or
    /// the connection has ended. Any thread.
    bool send(std::span<const std::byte> messages);
    /// An emulator looks for changes ever more seldom while it sees none. As long as somebody watches it is
    /// kept from that.
    void setWatched(bool isWatched);

Q_SIGNALS:
    /// takeUpdate() has something.
    void updateReady();
    void cursorChanged();
    /// What takesExtendedKeys() or isPointerAbsolute() says has changed.
    void inputChanged();
    /// The connection is over, for the reason that is said. Comes once, and nothing after it.
    void ended(const QString &reason);

private:
    /// What the main thread was not told yet.
    struct News
    {
        bool update = false;
        bool cursor = false;
        bool input = false;
        QString end;

        bool operator==(const News &) const = default;
    };

    /// What the server takes.
    struct Input
    {
        bool extendedKeys = false;
        bool absolutePointer = true;

        bool operator==(const Input &) const = default;
    };

    // On the thread.
    void run();
    /// False when the channel is being destroyed.
    [[nodiscard]] bool wait();
    void hand(bool isOver, const QString &reason);

    void post(const News &news); ///< with m_mutex
    void poke();
    void deliver();

    QTimer m_pokeTimer;
    StreamSocket m_stream;
    DisplayReceiver m_receiver; ///< of the thread alone

    mutable std::mutex m_mutex; ///< for all below, never held for long
    std::optional<rfb::ScreenConversation::Update> m_update;
    /// From an update's arrival until it is used.
    bool m_isUpdateInUse = false;
    bool m_isRequestWanted = false;
    std::optional<rfb::CursorShape> m_cursor;
    Input m_input;
    bool m_isOpen = false; ///< the handshake is over and the connection is not
    News m_news;
    bool m_isDelivering = false;

    std::thread m_thread;
};
