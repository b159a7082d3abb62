#pragma once

#include "UI/Toolkit/Style/Appearance.h"

#include <QStringList>
#include <QUrl>

/// What the program was asked on its command line.
struct CommandLine
{
    ColorScheme colorScheme = ColorScheme::system;
    bool isReversed = false; ///< to be laid out from right to left, whatever the language
    QList<QUrl> documents;   ///< files and folders to open, all of which exist
    QString output;          ///< to be written instead of starting: help, version
    QString problem;         ///< why the arguments were not understood

    bool operator==(const CommandLine &) const = default;

    /// `arguments`: with the program's name first. Relative paths are those of the working directory.
    [[nodiscard]] static CommandLine parse(const QStringList &arguments, const QString &workingDirectory);
};
