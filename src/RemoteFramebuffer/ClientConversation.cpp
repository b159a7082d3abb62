#include "RemoteFramebuffer/ClientConversation.h"

#include "RemoteFramebuffer/BigEndian.h"
#include "RemoteFramebuffer/ClientMessages.h"

#include <algorithm>
#include <utility>

namespace rfb {

ClientConversation::ClientConversation()
{
    expect(State::ProtocolVersion, protocolVersion().size());
}

void ClientConversation::received(std::size_t count)
{
    m_reader.received(count);
    while (m_reader.isComplete() && !m_failure)
        advance();
}

std::vector<std::byte> ClientConversation::takeOutput()
{
    return std::exchange(m_output, {});
}

void ClientConversation::advance()
{
    switch (m_state) {
    case State::ProtocolVersion:
        send(protocolVersion());
        return expect(State::SecurityTypeCount, 1);
    case State::SecurityTypeCount:
        return expect(State::SecurityTypes, std::to_integer<std::size_t>(m_reader.block()[0]));
    case State::SecurityTypes:
        return chooseSecurityType();
    case State::SecurityResult:
        if (readUint32(m_reader.block().first<4>()) != 0)
            return fail(Failure::AuthenticationFailed);
        send(clientInit(DesktopSharing::Shared));
        return expect(State::ServerInit, ServerInit::size);
    case State::ServerInit:
        return readServerInit();
    case State::DesktopName:
        expect(State::MessageType, 1);
        return start(m_init);
    case State::MessageType:
        return readMessageType();
    case State::MessageHeader:
        return readMessageHeader();
    case State::SkippedBody:
        return expect(State::MessageType, 1);
    case State::RectangleHeader:
        return beginRectangle(RectangleHeader::parse(m_reader.block().first<RectangleHeader::size>()));
    case State::RectangleData:
        return continueRectangle();
    }
}

void ClientConversation::expect(State state, std::size_t count)
{
    m_state = state;
    m_reader.expect(count);
}

void ClientConversation::skip(State state, std::uint64_t count)
{
    m_state = state;
    m_reader.skip(count);
}

void ClientConversation::send(std::span<const std::byte> message)
{
    m_output.insert(m_output.end(), message.begin(), message.end());
}

void ClientConversation::fail(Failure failure)
{
    m_failure = failure;
}

void ClientConversation::chooseSecurityType()
{
    const auto offered = m_reader.block();
    if (std::ranges::find(offered, static_cast<std::byte>(SecurityType::None)) == offered.end())
        return fail(Failure::NoSupportedSecurityType);
    send(securityChoice(SecurityType::None));
    expect(State::SecurityResult, 4);
}

void ClientConversation::readServerInit()
{
    m_init = ServerInit::parse(m_reader.block().first<ServerInit::size>());
    skip(State::DesktopName, m_init.nameLength);
}

void ClientConversation::readMessageType()
{
    m_message = static_cast<ServerMessage>(m_reader.block()[0]);
    expect(State::MessageHeader, headerSize(m_message));
}

void ClientConversation::readMessageHeader()
{
    const auto header = m_reader.block();
    switch (m_message) {
    case ServerMessage::FramebufferUpdate:
        m_rectanglesLeft = rectangleCount(header.first<3>());
        if (m_rectanglesLeft == 0)
            return finishUpdate();
        return expect(State::RectangleHeader, RectangleHeader::size);
    case ServerMessage::SetColourMapEntries:
        return skip(State::SkippedBody, colourMapSize(header.first<5>()));
    case ServerMessage::ServerCutText:
        return skip(State::SkippedBody, cutTextSize(header.first<7>()));
    case ServerMessage::Bell:
        return expect(State::MessageType, 1);
    }
    expect(State::MessageType, 1);
    readUnknownMessage();
}

void ClientConversation::readBlock(std::size_t count)
{
    expect(State::RectangleData, count);
}

void ClientConversation::readInto(std::span<std::byte> target)
{
    m_state = State::RectangleData;
    m_reader.expectInto(target);
}

void ClientConversation::readRows(const BlockReader::Rows &rows)
{
    m_state = State::RectangleData;
    m_reader.expectRows(rows);
}

void ClientConversation::skipData(std::uint64_t count)
{
    skip(State::RectangleData, count);
}

void ClientConversation::endRectangle()
{
    --m_rectanglesLeft;
    if (m_rectanglesLeft == 0)
        return finishUpdate();
    expect(State::RectangleHeader, RectangleHeader::size);
}

void ClientConversation::finishUpdate()
{
    expect(State::MessageType, 1);
    endUpdate();
}

} // namespace rfb
