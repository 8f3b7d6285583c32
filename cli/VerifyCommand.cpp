#include "VerifyCommand.h"

#include "CameraCommand.h"
#include "CliCommand.h"
#include "CorrectionVerification.h"
#include "NucCorrectionReport.h"
#include "NucImageInput.h"
#include "NucReportDocument.h"
#include "OxCamera.h"
#include "OxMapEntry.h"

#include <QCoreApplication>
#include <QDir>
#include <QJsonDocument>
#include <QTextStream>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("orvex-nuc verify", text);
}

// The dark reference: every file of the folder, in name order.
bool loadDarkFrames(const QString& folder, NucFrameStack* stack, QString* error)
{
    const QDir dir(folder);
    const QStringList names = dir.entryList(QDir::Files, QDir::Name);
    if (!dir.exists() || names.isEmpty()) {
        *error = tr("%1 is no folder of dark frames").arg(folder);
        return false;
    }
    for (const QString& name : names) {
        const QString path = dir.filePath(name);
        const QImage image = NucImageInput::loadImage(path, error);
        if (image.isNull())
            return false;
        if (!stack->add(image)) {
            *error = tr("%1 differs in size or depth from the first dark frame").arg(path);
            return false;
        }
    }
    return true;
}

} // namespace

int runVerifyCommand(const QStringList& arguments)
{
    CameraCommand command(
        "verify", tr("Measure how well a map corrects."),
        tr("Takes frames with the camera's correction off, then as many with the map entry "
           "switched on, puts the previous correction setting back (unless --keep) and prints "
           "the EMVA 1288 figures: level, temporal noise, and non-uniformity before and after "
           "(PRNU1288 with a dark reference, DSNU1288 for dark frames), the floor the map can "
           "reach, and the pixels whose codes hit a limit."),
        true);
    QCommandLineParser& parser = command.parser();
    const QCommandLineOption entryOption(
        "entry", tr("The map entry (ShadingMap0, NucUserMap1, ...)."), "NAME");
    const QCommandLineOption frames("frames", tr("Frames per side (default 16, at least 2)."), "N",
                                    "16");
    const QCommandLineOption darkFrames(
        "dark-frames", tr("Folder of dark frames (lens cap on) as dark reference."), "DIR");
    const QCommandLineOption referenceFrames(
        "reference-frames",
        tr("Frames each series of the map was averaged from (default: the number of dark "
           "frames, else 16)."),
        "N");
    const QCommandLineOption json("json", tr("Print the figures as JSON."));
    const QCommandLineOption report("report", tr("Write the report as PDF."), "FILE.pdf");
    const QCommandLineOption keep("keep", tr("Leave the map switched on."));
    parser.addOptions({entryOption, frames, darkFrames, referenceFrames, json, report, keep});
    const int parsed = command.parse(arguments);
    if (parsed >= 0)
        return parsed;
    if (parser.positionalArguments().size() != 1)
        return command.usage(tr("takes no arguments"));
    const QString entryName = parser.value(entryOption);
    if (entryName.isEmpty())
        return command.usage(tr("give the map entry with --entry NAME"));
    bool ok = false;
    const int count = parser.value(frames).toInt(&ok);
    if (!ok || count < 2)
        return command.usage(tr("--frames takes a number of at least 2"));
    int references = 16;
    if (parser.isSet(referenceFrames)) {
        references = parser.value(referenceFrames).toInt(&ok);
        if (!ok || references < 1)
            return command.usage(tr("--reference-frames takes a number of at least 1"));
    }

    QString error;
    NucFrameStack dark;
    if (parser.isSet(darkFrames)) {
        if (!loadDarkFrames(parser.value(darkFrames), &dark, &error))
            return command.fail(error);
        if (!parser.isSet(referenceFrames))
            references = dark.frames();
    }
    if (!command.open())
        return ExitFailed;
    OxCamera* camera = command.camera();
    OxMapEntry entry;
    for (const OxMapEntry& e : OxMapEntry::list(*camera->GetFeatureContainer()))
        if (e.name == entryName)
            entry = e;
    if (entry.kind == OxMapEntry::Kind::DeviceFile)
        return command.fail(
            tr("camera %1 has no map entry '%2'").arg(command.extendedId(), entryName));

    NucCorrectionReport::Inputs inputs;
    if (!CorrectionVerification::readMap(camera, entry.fileName, entry.selector, &inputs.mapWords,
                                         &error))
        return command.fail(error);
    CorrectionVerification verification(camera, entry.name, count);
    const bool quiet = parser.isSet(json);
    const bool done = verification.run(parser.isSet(keep), [quiet](int k, int total) {
        if (!quiet)
            cliErr() << tr("Frame %1 of %2").arg(k).arg(total) << '\n' << Qt::flush;
        return true;
    });
    if (!done)
        return command.fail(verification.error());

    inputs.camera = command.extendedId();
    inputs.entry = entry.name;
    verification.fill(&inputs);
    inputs.darkReference = dark.frames() > 0 ? &dark : nullptr;
    inputs.referenceFrames = references;
    const NucCorrectionReport result = NucCorrectionReport::compute(inputs);
    if (!result.error.isEmpty())
        return command.fail(result.error);
    if (parser.isSet(report) && !NucReportDocument::savePdf(result, parser.value(report), &error))
        return command.fail(error);
    if (parser.isSet(json))
        cliOut() << QJsonDocument(result.toJson()).toJson(QJsonDocument::Indented);
    else
        cliOut() << result.lines().join('\n') << '\n';
    cliOut() << Qt::flush;
    return ExitOk;
}
