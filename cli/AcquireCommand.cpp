#include "AcquireCommand.h"

#include "CameraCommand.h"
#include "CameraFrameSource.h"
#include "CliCommand.h"
#include "NucAcquisition.h"
#include "NucImageInput.h"

#include <QCoreApplication>
#include <QTextStream>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("orvex-nuc acquire", text);
}

} // namespace

int runAcquireCommand(const QStringList& arguments)
{
    CameraCommand command(
        "acquire", tr("Take frames from a camera."),
        tr("Takes frames from a camera and writes them into an empty folder as PNG files "
           "(8-bit grey for Mono8, 16-bit grey with the camera's values otherwise), named "
           "frame-0001.png and on in acquisition order, so that generate --dark or --bright "
           "takes the folder as it is. Progress goes to the error stream."),
        true);
    QCommandLineParser& parser = command.parser();
    const QCommandLineOption frames("frames", tr("Number of frames (default 16)."), "N", "16");
    const QCommandLineOption output("output", tr("The folder for the frames."), "DIR");
    const QCommandLineOption quiet("quiet", tr("No progress on stderr."));
    parser.addOptions({frames, output, quiet});
    const int parsed = command.parse(arguments);
    if (parsed >= 0)
        return parsed;
    if (parser.positionalArguments().size() != 1)
        return command.usage(tr("takes no arguments"));
    bool ok = false;
    const int count = parser.value(frames).toInt(&ok);
    if (!ok || count < 1)
        return command.usage(tr("--frames takes a number of at least 1"));
    const QString folder = parser.value(output);
    if (folder.isEmpty())
        return command.usage(tr("give the folder with --output DIR"));
    QString error;
    if (!NucAcquisition::prepareFolder(folder, &error))
        return command.fail(error);
    if (!command.open())
        return ExitFailed;

    // The frames go through a series as the panel's would: the same checks,
    // and nothing left behind when one fails.
    NucImageInput input;
    NucAcquisition acquisition(input, NucImageInput::Dark, count, folder);
    CameraFrameSource source(command.camera());
    NucLevel level;
    for (int k = 1; k <= count; ++k) {
        QImage frame;
        if (!source.grab(&frame, &error) || !acquisition.add(frame, &error))
            return command.fail(tr("frame %1 of %2: %3").arg(k).arg(count).arg(error));
        const NucLevel l = NucLevel::of(frame, source.fullScale());
        level.mean += l.mean / count;
        level.saturated += l.saturated / count;
        if (!parser.isSet(quiet))
            cliErr() << tr("Frame %1 of %2").arg(k).arg(count) << '\n' << Qt::flush;
    }
    acquisition.commit();
    cliOut() << tr("%1 frames of %2 x %3 (%4) written to %5; mean %6 % of full scale, %7 % "
                   "saturated.")
                    .arg(count)
                    .arg(input.width)
                    .arg(input.height)
                    .arg(source.pixelFormatName(), folder)
                    .arg(100.0 * level.mean, 0, 'f', 1)
                    .arg(100.0 * level.saturated, 0, 'f', 2)
             << '\n'
             << Qt::flush;
    return ExitOk;
}
