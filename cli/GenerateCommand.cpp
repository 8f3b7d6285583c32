#include "GenerateCommand.h"

#include "CliCommand.h"
#include "ImagePrefetcher.h"
#include "NucImageInput.h"
#include "NucLargeBuffer.h"
#include "NucMapFile.h"
#include "NucMapPipeline.h"
#include "NucTargets.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QTextStream>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("orvex-nuc generate", text);
}

// A folder stands for every file in it, in name order.
QStringList expandPaths(const QStringList& paths)
{
    QStringList files;
    for (const QString& path : paths) {
        const QFileInfo info(path);
        if (info.isDir()) {
            const QDir dir(info.absoluteFilePath());
            for (const QString& name : dir.entryList(QDir::Files, QDir::Name))
                files << QDir::cleanPath(dir.absoluteFilePath(name));
        } else {
            files << QDir::cleanPath(info.absoluteFilePath());
        }
    }
    return files;
}

// One line of the loading plan: a file of a series, or a repeated path that
// is skipped as the panel's list skips it.
struct PlannedImage
{
    QString path;
    NucImageInput::Series which;
    int position; // 1-based within its series
    int total;
    bool repeated;
};

void planSeries(QList<PlannedImage>& plan, const QStringList& files, NucImageInput::Series which)
{
    QStringList added;
    for (int i = 0; i < files.size(); ++i) {
        const bool repeated = added.contains(files[i]);
        plan.append({files[i], which, i + 1, int(files.size()), repeated});
        if (!repeated)
            added << files[i];
    }
}

// Folds the planned images into the series in plan order while the following
// ones are being decoded on the other processor threads.
bool loadPlanned(NucImageInput& input, const QList<PlannedImage>& plan, bool quiet)
{
    QStringList decodeOrder;
    for (const PlannedImage& entry : plan)
        if (!entry.repeated)
            decodeOrder << entry.path;
    // One slot per worker plus the image being added: enough to keep every
    // thread busy, few enough to bound the memory.
    const int decoders = ImagePrefetcher::defaultDecoders();
    ImagePrefetcher prefetcher(decodeOrder, decoders, decoders + 1);

    for (const PlannedImage& entry : plan) {
        const QString name = entry.which == NucImageInput::Dark ? tr("dark") : tr("bright");
        if (!quiet)
            cliErr() << (entry.repeated ? tr("Skipping repeated %1 image %2 of %3: %4")
                                        : tr("Loading %1 image %2 of %3: %4"))
                            .arg(name)
                            .arg(entry.position)
                            .arg(entry.total)
                            .arg(entry.path)
                     << '\n'
                     << Qt::flush;
        if (entry.repeated)
            continue;
        NucImageInput::Message message;
        QString loadError;
        QImage image = prefetcher.next(&loadError);
        const bool added =
            input.addLoadedImage(entry.path, image, entry.which, &message, loadError);
        prefetcher.recycle(std::move(image));
        if (!added) {
            cliErr() << message.text << '\n';
            if (!message.detail.isEmpty())
                cliErr() << message.detail << '\n';
            cliErr() << Qt::flush;
            return false;
        }
    }
    return true;
}

} // namespace

int runGenerateCommand(const QStringList& arguments)
{
#if defined(__GLIBC__)
    // Frames and maps are tens of megabytes each. A fixed threshold keeps every
    // such block in its own mapping, returned to the system when freed;
    // glibc's sliding threshold would otherwise move them into the heap
    // arenas of the decoding threads, which keep freed blocks resident.
    mallopt(M_MMAP_THRESHOLD, 1 << 20);
#endif
    // One run, all memory fresh: small pages come cheaper (see there).
    NucLargeBuffer::setHugePagesWanted(false);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        tr("Makes a shading map from dark images (lens cap on) and bright images (evenly lit "
           "scene). A PATH is an image file or a folder whose files are all taken, in name "
           "order. The first image fixes size and depth for both series."));
    parser.addPositionalArgument("generate", tr("Make a map."), "generate");
    const QCommandLineOption dark("dark", tr("Dark image file or folder (repeatable)."), "PATH");
    const QCommandLineOption bright("bright", tr("Bright image file or folder (repeatable)."),
                                    "PATH");
    const QCommandLineOption gain("target-gain", tr("Target gain factor (default 1.1)."), "G",
                                  "1.1");
    const QCommandLineOption offset("target-offset", tr("Target offset (default 16)."), "O", "16");
    const QCommandLineOption mapId("map-id", tr("Map id written into a .bin file (default 8193)."),
                                   "N", QString::number(NucTargets::DefaultMapId));
    const QCommandLineOption output("output", tr("Write a .bin map file."), "FILE.bin");
    const QCommandLineOption userMap("user-map", tr("Write a .ge3 user map file."), "FILE.ge3");
    const QCommandLineOption quiet("quiet", tr("No progress on stderr."));
    parser.addOptions({dark, bright, gain, offset, mapId, output, userMap, quiet});

    const int parsed = parseSubcommand(parser, arguments);
    if (parsed >= 0)
        return parsed;
    const QString command = "generate";
    if (parser.positionalArguments().size() > 1)
        return usageError(command,
                          tr("unexpected argument '%1'").arg(parser.positionalArguments()[1]));
    if (!parser.isSet(dark))
        return usageError(command, tr("at least one --dark PATH is needed"));
    if (!parser.isSet(bright))
        return usageError(command, tr("at least one --bright PATH is needed"));
    if (parser.isSet(output) == parser.isSet(userMap))
        return usageError(command, tr("give exactly one of --output and --user-map"));

    bool ok = false;
    const float targetGain = NucTargets::parseGain(parser.value(gain), &ok);
    if (!ok || !qIsFinite(targetGain))
        return usageError(command, tr("target gain '%1' is not a number").arg(parser.value(gain)));
    const quint16 targetOffset = NucTargets::parseOffset(parser.value(offset), &ok);
    if (!ok)
        return usageError(
            command,
            tr("target offset '%1' is not a number from 0 to 65535").arg(parser.value(offset)));
    const qint32 id = parser.value(mapId).toInt(&ok, 10);
    if (!ok)
        return usageError(command, tr("map id '%1' is not a number").arg(parser.value(mapId)));
    const bool silent = parser.isSet(quiet);

    // Dark images first, then bright ones, as an operator would add them; the
    // depth starts open, as in the panel after a camera was opened.
    NucImageInput input;
    QList<PlannedImage> plan;
    const QStringList darkFiles = expandPaths(parser.values(dark));
    const QStringList brightFiles = expandPaths(parser.values(bright));
    planSeries(plan, darkFiles, NucImageInput::Dark);
    planSeries(plan, brightFiles, NucImageInput::Bright);
    // Nothing is removed and no mean is shown: 16-bit series need only their
    // sums, which take half the memory and a fraction of the work per image.
    input.sumsOnly = quint32(qMax(darkFiles.size(), brightFiles.size())) <= NucSeriesSum::MaxImages;
    if (!loadPlanned(input, plan, silent))
        return ExitFailed;

    // A camera with map entries or user maps takes the words unswapped.
    NucMapPipeline::FileLayout layout;
    layout.kind = parser.isSet(output) ? NucMapFile::Kind::Bin : NucMapFile::Kind::UserMap;
    layout.mapId = quint32(id);
    const QString target = parser.isSet(output) ? parser.value(output) : parser.value(userMap);
    QByteArray file;
    NucImageInput::Message message;
    if (!NucMapPipeline::makeFile(input, targetGain, targetOffset, layout, &file, &message)) {
        cliErr() << message.text << '\n' << Qt::flush;
        return ExitFailed;
    }
    QString error;
    if (NucMapFile::save(target, file, &error) != NucMapFile::SaveResult::Saved) {
        cliErr() << tr("%1: cannot write: %2").arg(target, error) << '\n' << Qt::flush;
        return ExitFailed;
    }
    if (!silent)
        cliErr() << tr("Wrote %1 (%2 x %3 pixels)").arg(target).arg(input.width).arg(input.height)
                 << '\n'
                 << Qt::flush;
    return ExitOk;
}
