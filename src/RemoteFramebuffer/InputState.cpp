#include "RemoteFramebuffer/InputState.h"

#include "RemoteFramebuffer/ClientMessages.h"

#include <utility>

namespace rfb {

namespace {

template<typename Message>
void append(InputState::Messages &messages, const Message &message)
{
    messages.insert(messages.end(), message.begin(), message.end());
}

InputState::Messages keyMessage(KeyMove move, std::uint8_t scanCode)
{
    InputState::Messages messages;
    append(messages, extendedKeyEvent(move, scanCode));
    return messages;
}

} // namespace

InputState::Messages InputState::press(std::uint8_t scanCode)
{
    return m_keys.insert(scanCode).second ? keyMessage(KeyMove::Press, scanCode) : Messages();
}

InputState::Messages InputState::release(std::uint8_t scanCode)
{
    return m_keys.erase(scanCode) > 0 ? keyMessage(KeyMove::Release, scanCode) : Messages();
}

InputState::Messages InputState::movePointer(Point to)
{
    if (std::exchange(m_pointer, to) == to)
        return {};
    return pointerMessage();
}

InputState::Messages InputState::press(Button button, Point at)
{
    m_pointer = at;
    m_buttons |= static_cast<std::uint8_t>(button);
    return pointerMessage();
}

InputState::Messages InputState::release(Button button, Point at)
{
    const std::uint8_t before = m_buttons;
    m_pointer = at;
    m_buttons &= static_cast<std::uint8_t>(~static_cast<unsigned>(button));
    return m_buttons == before ? Messages() : pointerMessage();
}

InputState::Messages InputState::turn(Wheel direction, int steps, Point at)
{
    m_pointer = at;
    Messages messages;
    for (int step = 0; step < steps; ++step) {
        append(messages, pointerEvent(m_buttons | static_cast<std::uint8_t>(direction), at.x, at.y));
        append(messages, pointerEvent(m_buttons, at.x, at.y));
    }
    return messages;
}

InputState::Messages InputState::releaseAll()
{
    Messages messages;
    for (const std::uint8_t scanCode : std::exchange(m_keys, {}))
        append(messages, extendedKeyEvent(KeyMove::Release, scanCode));
    if (std::exchange(m_buttons, std::uint8_t{0}) != 0)
        append(messages, pointerMessage());
    return messages;
}

InputState::Messages InputState::pointerMessage() const
{
    Messages messages;
    append(messages, pointerEvent(m_buttons, m_pointer.x, m_pointer.y));
    return messages;
}

} // namespace rfb
