#include "App/CommandLine.h"

#include <QCommandLineParser>
#include <QFileInfo>

using namespace Qt::StringLiterals;

CommandLine CommandLine::parse(const QStringList &arguments, const QString &workingDirectory)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(u"Creates, installs, runs and shows ARM64 virtual machines."_s);
    const QCommandLineOption help({u"h"_s, u"help"_s}, u"Shows this help."_s);
    const QCommandLineOption version({u"v"_s, u"version"_s}, u"Shows the version."_s);
    parser.addOptions({help, version});
    const QCommandLineOption colorScheme(
        u"color-scheme"_s, u"Colors of the interface: light, dark or system."_s, u"scheme"_s, u"system"_s);
    const QCommandLineOption reverse(u"reverse"_s, u"Lays the windows out from right to left."_s);
    parser.addOptions({colorScheme, reverse});
    parser.addPositionalArgument(
        u"file"_s,
        u"A virtual machine's folder, whose console opens, or an image to install a new one from."_s,
        u"[file...]"_s);

    CommandLine commandLine;
    if (!parser.parse(arguments)) {
        commandLine.problem = parser.errorText();
        return commandLine;
    }
    if (parser.isSet(help)) {
        // The program's name in it is the application object's to say, and there is none yet.
        const QString text = parser.helpText();
        commandLine.output = u"Usage: kelvo"_s + text.mid(text.indexOf(" [options]"_L1));
        return commandLine;
    }
    if (parser.isSet(version)) {
        commandLine.output = u"kelvo "_s + QLatin1StringView(KELVO_VERSION) + u'\n';
        return commandLine;
    }
    const QStringList files = parser.positionalArguments();
    for (const QString &file : files) {
        const QUrl url = QUrl::fromUserInput(file, workingDirectory, QUrl::AssumeLocalFile);
        if (!url.isLocalFile())
            commandLine.problem = u"'%1' is no file of this computer."_s.arg(file);
        else if (!QFileInfo::exists(url.toLocalFile()))
            commandLine.problem = u"'%1' does not exist."_s.arg(file);
        if (!commandLine.problem.isEmpty())
            return commandLine;
        commandLine.documents.append(url);
    }
    commandLine.isReversed = parser.isSet(reverse);
    const QString scheme = parser.value(colorScheme);
    if (scheme == "light"_L1)
        commandLine.colorScheme = ColorScheme::light;
    else if (scheme == "dark"_L1)
        commandLine.colorScheme = ColorScheme::dark;
    else if (scheme != "system"_L1)
        commandLine.problem = u"Unknown color scheme '%1': use light, dark or system."_s.arg(scheme);
    return commandLine;
}
