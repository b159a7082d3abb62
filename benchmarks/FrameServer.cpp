#include "FrameServer.h"

#include "Platform/PlatformError.h"
#include "Platform/UniqueDescriptor.h"
#include "RemoteFramebuffer/BigEndian.h"

#include <QCommandLineParser>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <span>
#include <string_view>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

std::span<const std::byte> bytesOf(std::string_view text)
{
    return std::as_bytes(std::span(text));
}

/// False when the client is gone.
bool sendAll(int client, std::span<const std::byte> bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = ::send(client, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
}

bool receiveAll(int client, std::span<std::byte> bytes)
{
    return ::recv(client, bytes.data(), bytes.size(), MSG_WAITALL) == static_cast<ssize_t>(bytes.size());
}

/// ServerInit of a 32-bit true-colour screen, blue first in memory, without a name (RFC 6143, section 7.3.2).
std::array<std::byte, 24> serverInit(std::uint16_t width, std::uint16_t height)
{
    constexpr std::array<unsigned char, 16> format{32, 24, 0, 1, 0, 255, 0, 255, 0, 255, 16, 8, 0};
    std::array<std::byte, 24> message{};
    const std::span<std::byte, 24> bytes(message);
    rfb::writeUint16(bytes.subspan<0, 2>(), width);
    rfb::writeUint16(bytes.subspan<2, 2>(), height);
    std::ranges::copy(std::as_bytes(std::span(format)), message.begin() + 4);
    return message;
}

/// A FramebufferUpdate of one raw rectangle, the whole screen (section 7.6.1).
std::vector<std::byte> update(std::uint16_t width, std::uint16_t height)
{
    constexpr std::size_t headerSize = 16;
    std::vector<std::byte> message(headerSize + std::size_t{width} * height * 4);
    const std::span<std::byte> bytes(message);
    rfb::writeUint16(bytes.subspan<2, 2>(), 1);
    rfb::writeUint16(bytes.subspan<8, 2>(), width);
    rfb::writeUint16(bytes.subspan<10, 2>(), height);
    for (std::size_t i = headerSize; i < message.size(); ++i)
        message[i] = i % 4 == 3 ? std::byte{} : static_cast<std::byte>(i * 7);
    return message;
}

/// No two frames come closer together than `interval`.
void serve(int client, std::span<const std::byte> init, std::span<const std::byte> frame,
           std::chrono::microseconds interval)
{
    const int on = 1;
    ::setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    std::array<std::byte, 12> version{};
    std::array<std::byte, 1> choice{};
    std::array<std::byte, 4> encodings{};
    if (!sendAll(client, bytesOf("RFB 003.008\n")) || !receiveAll(client, version) ||
        !sendAll(client, bytesOf("\x01\x01")) || !receiveAll(client, choice) ||
        !sendAll(client, bytesOf({"\0\0\0\0", 4})) || !receiveAll(client, choice) || !sendAll(client, init) ||
        !receiveAll(client, encodings))
        return;
    std::vector<std::byte> list(std::size_t{rfb::readUint16(std::span(encodings).subspan<2, 2>())} * 4);
    std::array<std::byte, 10> request{};
    auto tick = std::chrono::steady_clock::now();
    for (bool isThere = receiveAll(client, list); isThere && receiveAll(client, request);) {
        std::this_thread::sleep_until(tick);
        isThere = sendAll(client, frame);
        tick = std::max(tick + interval, std::chrono::steady_clock::now());
    }
}

} // namespace

QJsonObject runFrameServer(const QStringList &arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption portOption(u"port"_s, u"Port to listen on."_s, u"P"_s, u"5999"_s);
    const QCommandLineOption widthOption(u"width"_s, u"Width in pixels."_s, u"W"_s, u"1920"_s);
    const QCommandLineOption heightOption(u"height"_s, u"Height in pixels."_s, u"H"_s, u"1080"_s);
    const QCommandLineOption rateOption(u"rate"_s, u"Frames a second at most; 0 has no limit."_s, u"N"_s,
                                        u"0"_s);
    parser.addHelpOption();
    parser.addOptions({portOption, widthOption, heightOption, rateOption});
    parser.process(arguments);
    const std::uint16_t width = parser.value(widthOption).toUShort();
    const std::uint16_t height = parser.value(heightOption).toUShort();

    const UniqueDescriptor listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int on = 1;
    ::setsockopt(listener.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(parser.value(portOption).toUShort());
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::bind(listener.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        ::listen(listener.get(), 1) != 0)
        throw PlatformError(errno, u"listen on port"_s, parser.value(portOption));

    const auto init = serverInit(width, height);
    const auto frame = update(width, height);
    const int rate = parser.value(rateOption).toInt();
    const std::chrono::microseconds interval(rate > 0 ? 1'000'000 / rate : 0);
    for (;;) {
        UniqueDescriptor client(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (client.isValid())
            std::thread([&, client = std::move(client)] {
                serve(client.get(), init, frame, interval);
            }).detach();
    }
}
