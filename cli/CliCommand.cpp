#include "CliCommand.h"

#include "AcquireCommand.h"
#include "BackupsCommand.h"
#include "CamerasCommand.h"
#include "DownloadCommand.h"
#include "FeatureCommands.h"
#include "GenerateCommand.h"
#include "InfoCommand.h"
#include "UploadCommand.h"
#include "VerifyCommand.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTextStream>

const QList<CliCommand>& cliCommands()
{
    static const QList<CliCommand> commands{
        {"generate",
         QCoreApplication::translate("orvex-nuc", "Make a map from dark and bright images."),
         runGenerateCommand},
        {"info",
         QCoreApplication::translate("orvex-nuc", "Describe a .bin, .ge3 or float map file."),
         runInfoCommand},
        {"cameras", QCoreApplication::translate("orvex-nuc", "List the detected cameras."),
         runCamerasCommand},
        {"upload",
         QCoreApplication::translate("orvex-nuc", "Upload a map file to a camera's map entry."),
         runUploadCommand},
        {"download",
         QCoreApplication::translate("orvex-nuc", "Read a camera's map entry into a file."),
         runDownloadCommand},
        {"features",
         QCoreApplication::translate("orvex-nuc", "List a camera's features and their values."),
         runFeaturesCommand},
        {"set", QCoreApplication::translate("orvex-nuc", "Write camera features."), runSetCommand},
        {"acquire",
         QCoreApplication::translate("orvex-nuc", "Take frames from a camera as PNG files."),
         runAcquireCommand},
        {"verify",
         QCoreApplication::translate("orvex-nuc", "Measure how well a map on a camera corrects."),
         runVerifyCommand},
        {"backups",
         QCoreApplication::translate("orvex-nuc", "List the map backups kept of a camera."),
         runBackupsCommand},
    };
    return commands;
}

QTextStream& cliOut()
{
    static QTextStream out(stdout);
    return out;
}

QTextStream& cliErr()
{
    static QTextStream err(stderr);
    return err;
}

int parseSubcommand(QCommandLineParser& parser, const QStringList& arguments)
{
    const QCommandLineOption help = parser.addHelpOption();
    if (!parser.parse(arguments))
        return usageError(arguments.value(1), parser.errorText());
    if (parser.isSet(help)) {
        cliOut() << parser.helpText() << Qt::flush;
        return ExitOk;
    }
    return -1;
}

int usageError(const QString& command, const QString& text)
{
    const QString invocation = command.isEmpty()
                                   ? QCoreApplication::applicationName()
                                   : QCoreApplication::applicationName() + ' ' + command;
    cliErr() << invocation << ": " << text << '\n'
             << QCoreApplication::translate("orvex-nuc", "Try '%1 --help'.").arg(invocation) << '\n'
             << Qt::flush;
    return ExitUsage;
}
