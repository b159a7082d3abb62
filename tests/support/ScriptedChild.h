#pragma once

#include <QString>

/// The helper program that plays every child process; its source has the list of commands.
namespace ScriptedChild {

/// Absolute path of the program, which takes its script as the arguments "--script" and the script itself.
[[nodiscard]] QString program();
/// Makes `path` a program that plays the script whatever its arguments are. What it notes is in received().
void install(const QString &path, const QString &script);
/// The lines that the program at `path` has noted so far.
[[nodiscard]] QStringList received(const QString &path);

} // namespace ScriptedChild
