#pragma once

#include <QIcon>
#include <QString>
#include <QStringList>

/// The one place that knows which icons stand for the symbol names that texts and models use ("play.circle").
namespace SymbolCatalogue {

/// Lets the user's icon theme be found on every platform, with the fallback theme behind it. Once, at the
/// start.
void useIconThemes();

[[nodiscard]] QStringList symbols();
/// Names of the freedesktop icon theme, best first; none for an unknown symbol.
[[nodiscard]] QStringList themeNames(const QString &symbol);
/// From the user's icon theme, else from the fallback theme, else one of our own drawings; null when unknown.
[[nodiscard]] QIcon icon(const QString &symbol);

} // namespace SymbolCatalogue
