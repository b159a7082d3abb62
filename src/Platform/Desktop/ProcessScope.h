#pragma once

#include <QDBusConnection>
#include <QList>

#include <sys/types.h>

/// Control groups of systemd's user manager.
namespace ProcessScope {

/// Takes processes of this user out of the application's control group into one of their own, which the end
/// of that does not reach: a transient scope unit, named after the desktop entry's `identifier` and the first
/// process (org.freedesktop.systemd1(5), StartTransientUnit). Waits for nothing; nothing happens where `bus`
/// is without such a manager. `description`: for people.
void make(const QDBusConnection &bus, const QString &identifier, const QString &description,
          const QList<pid_t> &processes);

} // namespace ProcessScope
