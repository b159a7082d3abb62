#pragma once

#include <QtGlobal>

#include <memory>

/// TCP ports of 127.0.0.1 as the machines' displays use them.
namespace LoopbackPort {

/// Whether a connection is accepted there within a second. Blocks. Any thread.
[[nodiscard]] bool isOpen(qint64 port);

/// Keeps a port for one machine of this process. A port looks free until its emulator has opened it, and by
/// then two machines with the same port could both be on their way.
class Claim
{
public:
    /// Null when the port is taken. Main thread only, destruction too.
    [[nodiscard]] static std::shared_ptr<Claim> make(qint64 port);
    ~Claim();
    Claim(const Claim &) = delete;
    Claim &operator=(const Claim &) = delete;

private:
    explicit Claim(qint64 port);

    qint64 m_port;
};

} // namespace LoopbackPort
