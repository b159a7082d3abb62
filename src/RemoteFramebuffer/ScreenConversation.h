#pragma once

#include "RemoteFramebuffer/ClientConversation.h"
#include "RemoteFramebuffer/ClientMessages.h"
#include "RemoteFramebuffer/Framebuffer.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace rfb {

/// The conversation of a client that keeps a copy of the server's screen and asks only for what changed. It
/// shows the pointer itself and can find out which input the server takes. A server that says what makes no
/// sense, or wants more memory than a screen needs, ends it.
class ScreenConversation final : public ClientConversation
{
public:
    /// What whole updates changed since the last one was taken.
    struct Update
    {
        /// Another one than before when the screen's size changed. A server that keeps to the protocol lets
        /// its pixels be until requestUpdate().
        std::shared_ptr<Framebuffer> framebuffer;
        /// At most maxChangedAreas; they may overlap.
        std::vector<Rectangle> changed;
    };

    /// Holds a screen of 7680 × 4320 pixels.
    static constexpr std::size_t maxScreenBytes = std::size_t{128} * 1024 * 1024;
    /// Of a pointer's width and height each.
    static constexpr std::uint16_t maxCursorSize = 512;
    static constexpr std::size_t maxChangedAreas = 64;

    [[nodiscard]] bool hasUpdate() const { return m_update.has_value(); }
    /// Once for what was received.
    [[nodiscard]] std::optional<Update> takeUpdate();
    /// Asks for what changed since the last update. To be called when that has been taken and used: the
    /// server sends no faster than its client draws.
    void requestUpdate();
    /// The last shape that was received, once.
    [[nodiscard]] std::optional<CursorShape> takeCursor();

    /// Where the bytes that space() asks for may go; null before the handshake is over.
    [[nodiscard]] const std::shared_ptr<Framebuffer> &framebuffer() const { return m_framebuffer; }
    /// Whether the server takes keys by their place on the keyboard.
    [[nodiscard]] bool takesExtendedKeys() const { return m_takesExtendedKeys; }
    /// Whether the server takes positions on the screen; else it wants movements.
    [[nodiscard]] bool isPointerAbsolute() const { return m_isPointerAbsolute; }

private:
    enum class Reading : std::uint8_t
    {
        Pixels,
        AlphaCursorEncoding,
        AlphaCursor,
        Cursor
    };

    void start(const ServerInit &server) override;
    void beginRectangle(const RectangleHeader &header) override;
    void continueRectangle() override;
    void endUpdate() override;
    void readUnknownMessage() override { fail(Failure::ProtocolViolation); }

    void resize(std::uint16_t width, std::uint16_t height);
    void beginPixels(const Rectangle &area);
    void beginCursor(const Rectangle &area, Reading reading);
    void readCursorPixels(std::size_t maskBytes);
    void applyMask();
    void request(UpdateKind kind);

    std::shared_ptr<Framebuffer> m_framebuffer;
    Reading m_reading = Reading::Pixels;
    bool m_hasNewPixels = false;
    bool m_needsWholeScreen = false;
    /// By the update that is being received.
    std::vector<Rectangle> m_changed;
    std::optional<Update> m_update;
    CursorShape m_receivedCursor;
    std::optional<CursorShape> m_cursor;
    bool m_takesExtendedKeys = false;
    bool m_isPointerAbsolute = true;
};

} // namespace rfb
