#include "CamerasCommand.h"

#include "CameraModelCompatibility.h"
#include "CameraSession.h"
#include "CliCommand.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("orvex-nuc cameras", text);
}

// The information keys in the order the camera list shows them; the last two
// only where the transport layer knows them.
const char* const kKeys[] = {"Extended ID", "Camera ID", "Model Name",      "Camera Name",
                             "Serial No.",  "Interface", "Transport Layer", "TL Path",
                             "Full Access", "Vendor",    "Firmware"};

void printText(const CameraInfoMap& camera, const QString& family)
{
    cliOut() << camera.value("Extended ID").toString() << '\n';
    for (const char* key : kKeys) {
        if (!camera.contains(key))
            continue;
        const QVariant value = camera.value(key);
        const QString text = value.type() == QVariant::Bool
                                 ? (value.toBool() ? tr("yes") : tr("no"))
                                 : value.toString();
        cliOut() << "  " << (QString(key) + ':').leftJustified(17) << text << '\n';
    }
    cliOut() << "  " << (tr("Compatible") + ':').leftJustified(17)
             << (family.isEmpty() ? tr("no") : tr("yes (%1)").arg(family)) << '\n';
}

} // namespace

int runCamerasCommand(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        tr("Lists the detected cameras with their information keys; only the models the "
           "assistant serves unless --all is given."));
    parser.addPositionalArgument("cameras", tr("List the cameras."), "cameras");
    const QCommandLineOption all("all", tr("List every camera, also unsupported models."));
    const QCommandLineOption json(
        "json", tr("Print a JSON array of objects keyed by the information keys."));
    const QCommandLineOption address(
        "address",
        tr("Look for the GigE Vision camera at this IPv4 address by unicast (a camera on another "
           "subnet, which discovery does not reach) and list only it. Needs real cameras "
           "(--cameras real or all before the command)."),
        "IP");
    parser.addOption(all);
    parser.addOption(json);
    parser.addOption(address);

    const int parsed = parseSubcommand(parser, arguments);
    if (parsed >= 0)
        return parsed;
    if (parser.positionalArguments().size() != 1)
        return usageError("cameras", tr("takes no arguments"));

    CameraSession session;
    if (!session.startError().isEmpty()) {
        cliErr() << "orvex-nuc cameras: " << session.startError() << '\n' << Qt::flush;
        return ExitFailed;
    }

    QList<CameraInfoMap> cameras;
    if (parser.isSet(address)) {
        QString error;
        const CameraInfoMap found = session.findByAddress(parser.value(address), &error);
        if (found.isEmpty()) {
            cliErr() << "orvex-nuc cameras: " << error << '\n' << Qt::flush;
            return ExitFailed;
        }
        cameras << found;
    } else {
        cameras = session.cameras();
    }

    QJsonArray array;
    bool first = true;
    for (const CameraInfoMap& camera : cameras) {
        QString family;
        if (!IsCameraModelCompatible(camera.value("Model Name").toString(), family) &&
            !parser.isSet(all) && !parser.isSet(address))
            continue;
        if (parser.isSet(json)) {
            array.append(QJsonObject::fromVariantMap(camera));
            continue;
        }
        if (!first)
            cliOut() << '\n';
        first = false;
        printText(camera, family);
    }
    if (parser.isSet(json))
        cliOut() << QJsonDocument(array).toJson(QJsonDocument::Indented);
    cliOut() << Qt::flush;

    // A camera whose information could not be read fully is still listed;
    // what was missing goes to the error stream.
    for (const QString& error : session.takeErrors())
        cliErr() << "orvex-nuc cameras: " << error << '\n';
    cliErr() << Qt::flush;
    return ExitOk;
}
