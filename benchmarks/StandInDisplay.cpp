#include "StandInDisplay.h"

#include "Platform/LocalizedError.h"
#include "RemoteFramebuffer/BigEndian.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <string_view>

using namespace Qt::StringLiterals;

namespace {

constexpr int lineHeight = 16;
constexpr std::size_t updateHeaderSize = 16;

/// Version, the only security type None, its result, and ServerInit of a 32-bit true-colour screen, blue
/// first in memory, without a name (RFC 6143, sections 7.1 to 7.3).
std::vector<std::byte> greeting(const QSize &size)
{
    constexpr std::string_view opening("RFB 003.008\n\x01\x01\0\0\0\0", 18);
    constexpr std::array<unsigned char, 20> format{32, 24, 0, 1, 0, 255, 0, 255, 0, 255, 16, 8, 0};
    std::vector<std::byte> message(opening.size() + 4 + format.size());
    std::ranges::copy(std::as_bytes(std::span(opening)), message.begin());
    const auto screen = std::span(message).subspan(opening.size());
    rfb::writeUint16(screen.subspan<0, 2>(), static_cast<std::uint16_t>(size.width()));
    rfb::writeUint16(screen.subspan<2, 2>(), static_cast<std::uint16_t>(size.height()));
    std::ranges::copy(std::as_bytes(std::span(format)), screen.subspan<4>().begin());
    return message;
}

/// An update of one pseudo rectangle: keys are taken by their scan codes (-258).
constexpr std::array<std::byte, 16> keysOffer = [] {
    std::array<std::byte, 16> message{};
    message[3] = std::byte{1};
    message[12] = message[13] = std::byte{0xff};
    message[14] = message[15] = std::byte{0xfe};
    return message;
}();

/// The length of a client's message by its first bytes; 0 when these do not say it yet.
std::size_t messageSize(std::span<const std::byte> bytes)
{
    switch (std::to_integer<int>(bytes[0])) {
    case 2:
        return bytes.size() < 4 ? 0 : 4 + std::size_t{rfb::readUint16(bytes.subspan<2, 2>())} * 4;
    case 3:
        return 10;
    case 5:
        return 6;
    case 6:
        return 8;
    default:
        return 12;
    }
}

} // namespace

StandInDisplay::StandInDisplay(const QSize &size, Change change, std::chrono::microseconds interval)
    : m_size(size)
    , m_change(change)
    , m_interval(interval)
{
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        throw LocalizedError(u"There is no socket pair."_s);
    m_socket.reset(ends[0]);
    m_clientEnd.reset(ends[1]);
    m_thread = std::thread([this] { serve(); });
}

StandInDisplay::~StandInDisplay()
{
    ::shutdown(m_socket.get(), SHUT_RDWR);
    m_thread.join();
}

double StandInDisplay::cpuSeconds()
{
    clockid_t clock{};
    timespec time{};
    if (::pthread_getcpuclockid(m_thread.native_handle(), &clock) != 0 || ::clock_gettime(clock, &time) != 0)
        throw LocalizedError(u"The thread has no clock."_s);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

std::size_t StandInDisplay::updateBytes(const QSize &size, Change change)
{
    const int height = change == Change::Line ? lineHeight : size.height();
    return updateHeaderSize + static_cast<std::size_t>(size.width()) * static_cast<std::size_t>(height) * 4;
}

std::vector<std::byte> StandInDisplay::update(int number) const
{
    std::vector<std::byte> message(updateBytes(m_size, number == 0 ? Change::Full : m_change));
    const std::span<std::byte> bytes(message);
    const int height = number == 0 || m_change != Change::Line ? m_size.height() : lineHeight;
    rfb::writeUint16(bytes.subspan<2, 2>(), 1);
    rfb::writeUint16(bytes.subspan<6, 2>(),
                     static_cast<std::uint16_t>(number % 2 * (m_size.height() - height)));
    rfb::writeUint16(bytes.subspan<8, 2>(), static_cast<std::uint16_t>(m_size.width()));
    rfb::writeUint16(bytes.subspan<10, 2>(), static_cast<std::uint16_t>(height));
    for (std::size_t i = updateHeaderSize; i < message.size(); ++i)
        message[i] =
            i % 4 == 3 ? std::byte{} : static_cast<std::byte>(i * 7 + static_cast<std::size_t>(number) * 31);
    return message;
}

void StandInDisplay::serve()
{
    const std::array updates{update(0), update(1), update(2)};
    // Both sides say as much as they may without waiting.
    if (!send(greeting(m_size)))
        return;
    constexpr std::size_t clientGreetingSize = 12 + 1 + 1;
    std::array<std::byte, clientGreetingSize> clientGreeting{};
    if (::recv(m_socket.get(), clientGreeting.data(), clientGreetingSize, MSG_WAITALL) !=
        static_cast<ssize_t>(clientGreetingSize))
        return;
    auto tick = std::chrono::steady_clock::now();
    for (std::size_t number = 0;; ++number) {
        while (!m_isRequested || (number > 0 && m_change == Change::None) ||
               (number > 0 && m_change == Change::Answer && !m_hasKey)) {
            tick += m_interval;
            if (!takeMessages(tick))
                return;
        }
        m_isRequested = false;
        m_hasKey = false;
        if (!send(number == 0 ? updates[0] : updates.at(1 + number % 2)))
            return;
        ++m_updates;
        if (number == 0 && m_change == Change::Answer && !send(keysOffer))
            return;
        tick = std::max(tick + m_interval, std::chrono::steady_clock::now());
        if (!takeMessages(tick))
            return;
    }
}

bool StandInDisplay::takeMessages(std::chrono::steady_clock::time_point deadline)
{
    while (true) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0)
            return true;
        pollfd wait{.fd = m_socket.get(), .events = POLLIN, .revents = 0};
        if (::poll(&wait, 1, static_cast<int>(left.count())) <= 0)
            continue;
        std::array<std::byte, 4096> bytes{};
        const ssize_t count = ::recv(m_socket.get(), bytes.data(), bytes.size(), 0);
        if (count <= 0)
            return false;
        m_received.insert(m_received.end(), bytes.begin(), bytes.begin() + count);
        while (!m_received.empty()) {
            const std::size_t size = messageSize(m_received);
            if (size == 0 || size > m_received.size())
                break;
            m_isRequested |= m_received[0] == std::byte{3};
            // QEMU's extended key event, down.
            m_hasKey |= m_received[0] == std::byte{255} && m_received[3] != std::byte{0};
            m_received.erase(m_received.begin(), m_received.begin() + static_cast<std::ptrdiff_t>(size));
        }
    }
}

bool StandInDisplay::send(std::span<const std::byte> bytes) const
{
    while (!bytes.empty()) {
        const ssize_t count = ::send(m_socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
}
