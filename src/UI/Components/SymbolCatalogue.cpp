#include "UI/Components/SymbolCatalogue.h"

#include <QFile>
#include <QHash>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace {

// Only line drawings: what is tinted must not be a coloured picture. Plain names are those of the fallback
// theme, whose small icons are drawn in one colour.
const QHash<QString, QStringList> &catalogue()
{
    static const QHash<QString, QStringList> symbols = {
        {u"desktopcomputer"_s, {u"computer-symbolic"_s, u"computer"_s}},
        {u"desktopcomputer.trianglebadge.exclamationmark"_s, {}},
        {u"display"_s, {u"video-display-symbolic"_s, u"monitor"_s}},
        {u"play.circle"_s, {u"media-playback-start-symbolic"_s, u"media-playback-start"_s}},
        {u"play"_s, {u"media-playback-start-symbolic"_s, u"media-playback-start"_s}},
        {u"pause"_s, {u"media-playback-pause-symbolic"_s, u"media-playback-pause"_s}},
        {u"power"_s, {u"system-shutdown-symbolic"_s, u"system-shutdown"_s}},
        {u"stop"_s, {u"media-playback-stop-symbolic"_s, u"media-playback-stop"_s}},
        {u"arrow.down.circle"_s, {u"folder-download-symbolic"_s, u"download"_s}},
        {u"arrow.up.left.and.arrow.down.right"_s, {u"view-fullscreen-symbolic"_s, u"view-fullscreen"_s}},
        {u"gearshape"_s, {u"preferences-system-symbolic"_s, u"configure"_s}},
        {u"plus"_s, {u"list-add-symbolic"_s, u"list-add"_s}},
        {u"minus"_s, {u"list-remove-symbolic"_s, u"list-remove"_s}},
        {u"checkmark"_s, {u"object-select-symbolic"_s, u"checkmark"_s}},
        {u"arrow.up"_s, {u"go-up-symbolic"_s, u"go-up"_s}},
        {u"chevron.down"_s, {u"pan-down-symbolic"_s, u"go-down"_s}},
        {u"chevron.right"_s, {u"pan-end-symbolic"_s, u"go-next"_s}},
        {u"folder"_s, {u"folder-symbolic"_s, u"folder-open"_s}},
        {u"internaldrive"_s, {u"drive-harddisk-symbolic"_s, u"drive-harddisk"_s}},
        {u"opticaldisc"_s, {u"media-optical-symbolic"_s, u"media-optical"_s}},
        {u"terminal"_s, {u"utilities-terminal-symbolic"_s, u"dialog-scripts"_s}},
        {u"square.grid.2x2"_s, {u"view-grid-symbolic"_s, u"view-grid"_s}},
        {u"cpu"_s, {}},
        {u"memorychip"_s, {}},
        {u"apple.logo"_s, {}},
    };
    return symbols;
}

QString ownDrawing(const QString &symbol)
{
    return u":/qt-project.org/imports/Kelvo/Components/symbols/"_s + symbol + u".svg"_s;
}

} // namespace

void SymbolCatalogue::useIconThemes()
{
    QStringList paths = QIcon::themeSearchPaths();
    const QStringList installed = QStandardPaths::locateAll(QStandardPaths::GenericDataLocation, u"icons"_s,
                                                            QStandardPaths::LocateDirectory);
    for (const QString &path : installed)
        if (!paths.contains(path))
            paths.append(path);
    QIcon::setThemeSearchPaths(paths);
    QIcon::setFallbackThemeName(u"breeze"_s);
    if (QIcon::themeName().isEmpty())
        QIcon::setThemeName(u"breeze"_s);
}

QStringList SymbolCatalogue::symbols()
{
    return catalogue().keys();
}

QStringList SymbolCatalogue::themeNames(const QString &symbol)
{
    return catalogue().value(symbol);
}

QIcon SymbolCatalogue::icon(const QString &symbol)
{
    for (const QString &name : themeNames(symbol))
        if (QIcon::hasThemeIcon(name))
            return QIcon::fromTheme(name);
    const QString file = ownDrawing(symbol);
    return QFile::exists(file) ? QIcon(file) : QIcon();
}
