#include "FeatureCommands.h"

#include "CameraCommand.h"
#include "CameraFeatures.h"
#include "CliCommand.h"
#include "OxCamera.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTextStream>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("orvex-nuc features", text);
}

} // namespace

int runFeaturesCommand(const QStringList& arguments)
{
    CameraCommand command("features", tr("List a camera's features."),
                          tr("Lists the features of a camera with type, access (RW, RO, WO, NA) "
                             "and value."),
                          false);
    const QCommandLineOption json("json", tr("Print a JSON array of {name, type, access, value}."));
    command.parser().addOption(json);
    const int parsed = command.parse(arguments);
    if (parsed >= 0)
        return parsed;
    if (command.parser().positionalArguments().size() != 1)
        return command.usage(tr("takes no arguments"));
    if (!command.open())
        return ExitFailed;

    const QList<CameraFeatures::Listed> features =
        CameraFeatures::list(*command.camera()->GetFeatureContainer());
    if (command.parser().isSet(json)) {
        QJsonArray array;
        for (const CameraFeatures::Listed& f : features)
            array.append(f.toJson());
        cliOut() << QJsonDocument(array).toJson(QJsonDocument::Indented) << Qt::flush;
        return ExitOk;
    }
    int nameWidth = 0;
    for (const CameraFeatures::Listed& f : features)
        nameWidth = qMax(nameWidth, f.name.size());
    for (const CameraFeatures::Listed& f : features)
        cliOut() << f.name.leftJustified(nameWidth + 2) << f.type.leftJustified(13)
                 << f.access.leftJustified(4) << f.value << '\n';
    cliOut() << Qt::flush;
    return ExitOk;
}

int runSetCommand(const QStringList& arguments)
{
    CameraCommand command("set", tr("Write camera features."),
                          tr("Writes camera features in the order given. A simulated camera "
                             "keeps them for later runs, as a camera that stays powered does."),
                          false);
    command.parser().addPositionalArgument("NAME=VALUE", tr("A feature and its new value."),
                                           "NAME=VALUE...");
    const int parsed = command.parse(arguments);
    if (parsed >= 0)
        return parsed;
    const QStringList settings = command.parser().positionalArguments().mid(1);
    if (settings.isEmpty())
        return command.usage(tr("give at least one NAME=VALUE"));
    for (const QString& setting : settings)
        if (!CameraFeatures::wellFormed(setting))
            return command.usage(tr("'%1' is not NAME=VALUE").arg(setting));
    if (!command.open(settings))
        return ExitFailed;
    cliOut() << tr("%1 set on camera %2.").arg(settings.join(", "), command.extendedId()) << '\n'
             << Qt::flush;
    return ExitOk;
}
