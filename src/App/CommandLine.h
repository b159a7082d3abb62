#pragma once

#include "UI/Components/Appearance.h"

#include <QStringList>

/// What the program was asked on its command line.
struct CommandLine
{
    ColorScheme colorScheme = ColorScheme::system;
    QString output;  ///< to be written instead of starting: help, version
    QString problem; ///< why the arguments were not understood

    bool operator==(const CommandLine &) const = default;

    /// `arguments`: with the program's name first.
    [[nodiscard]] static CommandLine parse(const QStringList &arguments);
};
