#include "CliApplication.h"
#include "CameraSource.h"
#include "CliCommand.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTextStream>

// orvex-nuc: the map making of the assistant without its window, for scripts
// and production lines. Subcommands share the assistant's core code, so their
// files are byte for byte what the panel writes.
int main(int argc, char** argv)
{
    const std::unique_ptr<QCoreApplication> app = makeCliApplication(argc, argv);
    QCoreApplication::setApplicationName("orvex-nuc");
    QCoreApplication::setOrganizationName("Varnholt Technologies");
    QCoreApplication::setOrganizationDomain("varnholt-technologies.com");
    QCoreApplication::setApplicationVersion(
        QString("%1.%2.%3.%4").arg(1).arg(0).arg(0).arg(ORVEX_SOURCE_REVISION));

    QString description =
        QCoreApplication::translate("orvex-nuc", "Shading correction maps for Orvex cameras.") +
        "\n\n" + QCoreApplication::translate("orvex-nuc", "Commands:") + '\n';
    for (const CliCommand& command : cliCommands())
        description += QString("  %1  %2\n").arg(command.name, -10).arg(command.summary);

    QCommandLineParser parser;
    parser.setApplicationDescription(description);
    // Everything after the command name belongs to the command.
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    const QCommandLineOption cameras(
        "cameras",
        QCoreApplication::translate(
            "orvex-nuc", "Which cameras the commands see: simulated (the default), real (GigE "
                         "Vision and USB3 Vision; discovery broadcasts on every network "
                         "interface) or all. ORVEX_CAMERAS sets the same."),
        "SOURCE");
    parser.addOption(cameras);
    parser.addPositionalArgument("command",
                                 QCoreApplication::translate("orvex-nuc", "The command to run."),
                                 "<command> [options]");

    const QStringList arguments = app->arguments();
    if (!parser.parse(arguments))
        return usageError(QString(), parser.errorText());
    if (parser.isSet(version)) {
        cliOut() << QCoreApplication::applicationName() << ' '
                 << QCoreApplication::applicationVersion() << '\n'
                 << Qt::flush;
        return ExitOk;
    }
    const QStringList positional = parser.positionalArguments();
    if (parser.isSet(help) || positional.isEmpty()) {
        if (positional.isEmpty() && !parser.isSet(help)) {
            cliErr() << parser.helpText() << Qt::flush;
            return ExitUsage;
        }
        cliOut() << parser.helpText() << Qt::flush;
        return ExitOk;
    }

    CameraSource source = CameraSource::Simulated;
    QString sourceError;
    if (!resolveCameraSource(parser.value(cameras), CameraSource::Simulated, source, sourceError))
        return usageError(QString(), sourceError);
    selectCameraSource(source);

    for (const CliCommand& command : cliCommands()) {
        if (command.name == positional.first())
            return command.run(QStringList{arguments.first()} + positional);
    }
    return usageError(
        QString(),
        QCoreApplication::translate("orvex-nuc", "unknown command '%1'").arg(positional.first()));
}
