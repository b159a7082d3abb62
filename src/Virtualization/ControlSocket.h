#pragma once

#include <QUrl>

struct VMConfiguration;

namespace ControlSocket {

/// Where the emulator of a machine on the hypervisor layer listens: in the machine's folder, so that it goes
/// where that goes. Where the path is too long or the file system has no sockets, in sharedFolder().
[[nodiscard]] QUrl forConfiguration(const VMConfiguration &configuration);

/// Where it may lie, both.
[[nodiscard]] QList<QUrl> places(const VMConfiguration &configuration);

/// Where all processes of this user meet. It is still there after a logout, when a guest may be, too
/// (XDG Base Directory Specification, XDG_STATE_HOME).
[[nodiscard]] QString sharedFolder();
/// Makes it, for this user alone, where it is missing.
void makeSharedFolder();

} // namespace ControlSocket
