#include "App/CommandLine.h"

#include <QCommandLineParser>

using namespace Qt::StringLiterals;

CommandLine CommandLine::parse(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(u"Creates, installs, runs and shows ARM64 virtual machines."_s);
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    const QCommandLineOption colorScheme(
        u"color-scheme"_s, u"Colors of the interface: light, dark or system."_s, u"scheme"_s, u"system"_s);
    parser.addOption(colorScheme);

    CommandLine commandLine;
    if (!parser.parse(arguments)) {
        commandLine.problem = parser.errorText();
        return commandLine;
    }
    if (parser.isSet(help)) {
        commandLine.output = parser.helpText();
        return commandLine;
    }
    if (parser.isSet(version)) {
        commandLine.output = u"kelvo "_s + QLatin1StringView(KELVO_VERSION) + u'\n';
        return commandLine;
    }
    if (!parser.positionalArguments().isEmpty()) {
        commandLine.problem = u"Unexpected argument '%1'."_s.arg(parser.positionalArguments().constFirst());
        return commandLine;
    }
    const QString scheme = parser.value(colorScheme);
    if (scheme == "light"_L1)
        commandLine.colorScheme = ColorScheme::light;
    else if (scheme == "dark"_L1)
        commandLine.colorScheme = ColorScheme::dark;
    else if (scheme != "system"_L1)
        commandLine.problem = u"Unknown color scheme '%1': use light, dark or system."_s.arg(scheme);
    return commandLine;
}
