#include "UI/Components/Display/VNCMailbox.h"

#include "Platform/PlatformError.h"

#include <sys/eventfd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

using namespace Qt::StringLiterals;

struct VNCMailbox::Loan
{
    std::shared_ptr<VNCMailbox> mailbox;
    rfb::PixelBuffer buffer;
};

VNCMailbox::VNCMailbox()
    : m_eventCount(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK | EFD_SEMAPHORE))
{
    if (!m_eventCount.isValid())
        throw PlatformError(errno, u"open a connection"_s);
}

rfb::PixelBuffer VNCMailbox::takeBuffer(std::size_t bytes)
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] {
        return m_isClosed || m_framesUnderway == 0 ||
               (m_framesUnderway < maxFramesUnderway && !m_freeBuffers.empty());
    });
    if (m_isClosed)
        return {};
    if (auto buffer = reuse(bytes))
        return std::move(*buffer);
    rfb::PixelBuffer buffer(bytes);
    if (buffer)
        ++m_bufferCount;
    return buffer;
}

/// A free buffer of a fitting size; those that are too small or far too large are let go.
std::optional<rfb::PixelBuffer> VNCMailbox::reuse(std::size_t bytes)
{
    constexpr std::size_t generousBytes = std::size_t{64} * 1024;
    while (!m_freeBuffers.empty()) {
        rfb::PixelBuffer buffer = std::move(m_freeBuffers.back());
        m_freeBuffers.pop_back();
        if (buffer.capacity() >= bytes && buffer.capacity() <= std::max(4 * bytes, generousBytes))
            return buffer;
        --m_bufferCount;
    }
    return std::nullopt;
}

void VNCMailbox::post(rfb::Frame frame)
{
    post(wrap(std::move(frame)));
}

void VNCMailbox::post(VNCEvent event)
{
    const std::lock_guard lock(m_mutex);
    if (m_isClosed)
        return;
    if (std::holds_alternative<QImage>(event))
        ++m_framesUnderway;
    const bool isSize = std::holds_alternative<VNCScreenSize>(event);
    if (isSize && !m_events.empty() && std::holds_alternative<VNCScreenSize>(m_events.back())) {
        m_events.back() = std::move(event);
        return;
    }
    m_events.push_back(std::move(event));
    ::eventfd_write(m_eventCount.get(), 1);
}

QImage VNCMailbox::wrap(rfb::Frame frame)
{
    auto *pixels = reinterpret_cast<uchar *>(frame.colours());
    const qsizetype bytesPerLine = qsizetype{frame.width} * qsizetype{rfb::Frame::bytesPerPixel};
    const auto format =
        frame.layout == rfb::PixelLayout::BGRX ? QImage::Format_RGB32 : QImage::Format_RGBX8888;
    const auto endLoan = [](void *info) {
        const std::unique_ptr<Loan> loan(static_cast<Loan *>(info));
        loan->mailbox->giveBack(std::move(loan->buffer));
    };
    auto *loan = new Loan{.mailbox = shared_from_this(), .buffer = std::move(frame.buffer)};
    return {pixels, frame.width, frame.height, bytesPerLine, format, endLoan, loan};
}

void VNCMailbox::giveBack(rfb::PixelBuffer buffer)
{
    const std::lock_guard lock(m_mutex);
    if (m_isClosed || m_bufferCount > maxKeptBuffers)
        --m_bufferCount;
    else
        m_freeBuffers.push_back(std::move(buffer));
    m_changed.notify_one();
}

std::optional<VNCEvent> VNCMailbox::nextEvent()
{
    const std::lock_guard lock(m_mutex);
    if (m_events.empty())
        return std::nullopt;
    eventfd_t one = 0;
    ::eventfd_read(m_eventCount.get(), &one);
    VNCEvent event = std::move(m_events.front());
    m_events.pop_front();
    m_isFrameWithMain = std::holds_alternative<QImage>(event);
    return event;
}

void VNCMailbox::finishEvent()
{
    const std::lock_guard lock(m_mutex);
    if (std::exchange(m_isFrameWithMain, false))
        --m_framesUnderway;
    m_changed.notify_one();
}

void VNCMailbox::close()
{
    // Destroyed after the lock is released, for images give their buffers back under it.
    std::deque<VNCEvent> dropped;
    const std::lock_guard lock(m_mutex);
    m_isClosed = true;
    m_events.swap(dropped);
    m_freeBuffers.clear();
    m_changed.notify_one();
}
