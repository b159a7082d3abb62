#pragma once

#include "RemoteFramebuffer/BlockReader.h"
#include "RemoteFramebuffer/ServerMessages.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace rfb {

/// What every client's side of an RFB 3.8 conversation has in common (RFC 6143): the handshake with security
/// type None, whatever the protocol version the server names, and the heads of the server's messages. The
/// owner of the stream receives into space() or spaces(), reports with received(), and then sends
/// takeOutput() and takes what there is.
class ClientConversation
{
public:
    enum class Failure : std::uint8_t
    {
        NoSupportedSecurityType,
        AuthenticationFailed,
        UnsupportedPixelFormat,
        ScreenTooLarge,
        ProtocolViolation
    };

    ClientConversation(const ClientConversation &) = delete;
    ClientConversation &operator=(const ClientConversation &) = delete;
    virtual ~ClientConversation() = default;

    /// Where the server's next bytes belong; empty only after a failure.
    [[nodiscard]] std::span<std::byte> space() { return m_reader.space(); }
    /// The same for as many places as `spaces` can hold and are known already, in order. Returns their
    /// number.
    [[nodiscard]] std::size_t spaces(std::span<std::span<std::byte>> spaces)
    {
        return m_reader.spaces(spaces);
    }
    /// `count` bytes were put into space(), or one after the other into spaces().
    void received(std::size_t count);
    /// What is to be sent to the server now; may be empty.
    [[nodiscard]] std::vector<std::byte> takeOutput();
    /// Why the conversation is over.
    [[nodiscard]] std::optional<Failure> failure() const { return m_failure; }

protected:
    ClientConversation();

    /// The handshake is over; now is the time to choose encodings and to ask for something.
    virtual void start(const ServerInit &server) = 0;
    /// Either asks for the rectangle's data or says that it is over.
    virtual void beginRectangle(const RectangleHeader &header) = 0;
    /// The data asked for last is there: ask for more or say that it is over.
    virtual void continueRectangle() = 0;
    /// The update's last rectangle is over, or it had none.
    virtual void endUpdate() = 0;
    /// A message of a type whose length nobody knows; taken for one without a body, unless it is a failure.
    virtual void readUnknownMessage() {}

    // For beginRectangle() and continueRectangle(): exactly one of these.
    void readBlock(std::size_t count);
    void readInto(std::span<std::byte> target);
    void readRows(const BlockReader::Rows &rows);
    void skipData(std::uint64_t count);
    void endRectangle();

    /// What readBlock() asked for.
    [[nodiscard]] std::span<const std::byte> block() const { return m_reader.block(); }
    void send(std::span<const std::byte> message);
    void fail(Failure failure);

private:
    enum class State : std::uint8_t
    {
        ProtocolVersion,
        SecurityTypeCount,
        SecurityTypes,
        SecurityResult,
        ServerInit,
        DesktopName,
        MessageType,
        MessageHeader,
        SkippedBody,
        RectangleHeader,
        RectangleData,
    };

    void advance();
    void expect(State state, std::size_t count);
    void skip(State state, std::uint64_t count);

    void chooseSecurityType();
    void readServerInit();
    void readMessageType();
    void readMessageHeader();
    void finishUpdate();

    BlockReader m_reader;
    State m_state = State::ProtocolVersion;
    std::vector<std::byte> m_output;
    std::optional<Failure> m_failure;

    ServerInit m_init;
    ServerMessage m_message = ServerMessage::Bell;
    std::uint16_t m_rectanglesLeft = 0;
};

} // namespace rfb
