#pragma once

#include <unistd.h>

#include <utility>

/// Owns one file descriptor; −1 means none.
class UniqueDescriptor
{
public:
    UniqueDescriptor() = default;
    explicit UniqueDescriptor(int descriptor)
        : m_descriptor(descriptor)
    {}
    UniqueDescriptor(UniqueDescriptor &&other) noexcept
        : m_descriptor(other.release())
    {}
    UniqueDescriptor &operator=(UniqueDescriptor &&other) noexcept
    {
        if (this != &other)
            reset(other.release());
        return *this;
    }
    ~UniqueDescriptor() { reset(); }

    [[nodiscard]] int get() const { return m_descriptor; }
    [[nodiscard]] bool isValid() const { return m_descriptor >= 0; }
    [[nodiscard]] int release() { return std::exchange(m_descriptor, -1); }
    void reset(int descriptor = -1)
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
        m_descriptor = descriptor;
    }

private:
    int m_descriptor = -1;
};
