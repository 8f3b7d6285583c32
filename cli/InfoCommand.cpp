#include "InfoCommand.h"

#include "CliCommand.h"
#include "NUShadingParams.h"
#include "NucFloatMap.h"
#include "NucLimits.h"
#include "NucMapFile.h"
#include "NucMapPacking.h"
#include "NucMapStatistics.h"

#include <QBuffer>
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QTextStream>

#include <algorithm>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("orvex-nuc info", text);
}

QString hex32(quint32 value)
{
    return "0x" + QString::number(value, 16).toUpper().rightJustified(8, '0');
}

void line(const QString& label, const QString& value)
{
    cliOut() << (label + ':').leftJustified(16) << value << '\n';
}

void printCodes(const QVector<quint16>& words)
{
    const NucMapStatistics stats = NucMapStatistics::of(words);
    if (stats.pixels == 0) {
        line(tr("Codes"), tr("no pixels"));
        return;
    }
    line(tr("Gain code"), NucMapStatistics::describe(stats.gain, NucMapStatistics::GainTop));
    line(tr("Offset code"), NucMapStatistics::describe(stats.offset, NucMapStatistics::OffsetTop));
    for (const QString& warning : stats.warnings())
        line(tr("Warning"), warning);
}

int failed(const QString& path, const QString& text)
{
    cliOut() << Qt::flush;
    cliErr() << path << ": " << text << '\n' << Qt::flush;
    return ExitFailed;
}

int describePackedMap(const QString& path, const QByteArray& data)
{
    NucMapFile::Info info;
    QString error;
    if (!NucMapFile::parse(data, &info, &error))
        return failed(path, error);

    const bool bin = info.kind == NucMapFile::Kind::Bin;
    line(tr("File"), path);
    line(tr("Format"), bin ? tr(".bin map file") : tr(".ge3 user map file"));
    line(tr("Magic"), hex32(NucMapFile::Magic));
    line(tr("File size"), QString::number(info.fileSize));
    if (bin)
        line(tr("Checksum"), hex32(info.checksum) + ' ' +
                                 (info.checksumHolds ? tr("(holds)") : tr("(does not hold)")));
    else
        line(tr("Checksum"), hex32(info.checksum) + ' ' + tr("(not used in user map files)"));
    if (bin) {
        line(tr("Map id"), QString::number(info.blockId));
    } else {
        line(tr("Fixed block"), tr("id %1, length %2")
                                    .arg(hex32(NucMapFile::UserMapFixedBlockId))
                                    .arg(NucMapFile::UserMapFixedBlockLength));
        line(tr("Map block id"), hex32(info.blockId));
    }
    line(tr("Block length"), QString::number(info.blockLength));
    line(tr("Width"), QString::number(info.width));
    line(tr("Height"), QString::number(info.height));
    line(tr("Reserved"), QString::number(info.reserved));
    printCodes(info.words);
    if (bin && !info.checksumHolds)
        return failed(
            path, tr("checksum does not hold (word sum %1)").arg(hex32(NucMapFile::wordSum(data))));
    cliOut() << Qt::flush;
    return ExitOk;
}

int describeFloatMap(const QString& path, QByteArray data, int depth)
{
    QBuffer buffer(&data);
    buffer.open(QIODevice::ReadOnly);
    NucFloatMap map;
    QString error;
    if (!map.read(buffer, &error))
        return failed(path, tr("not a map file and not a float map: %1").arg(error));

    const quint32 pixels = map.pixelCount();
    line(tr("File"), path);
    line(tr("Format"), tr("float map import file"));
    line(tr("Width"), QString::number(map.width));
    line(tr("Height"), QString::number(map.height));
    if (pixels > 0) {
        const auto offsets = std::minmax_element(map.offsets.get(), map.offsets.get() + pixels);
        const auto gains = std::minmax_element(map.gains.get(), map.gains.get() + pixels);
        line(tr("Offset values"), tr("min %1  max %2").arg(*offsets.first).arg(*offsets.second));
        line(tr("Gain values"), tr("min %1  max %2").arg(*gains.first).arg(*gains.second));
    }

    // Pack the way the panel does after an import, through the same code.
    NUShadingParams dark, bright;
    bright.width = map.width;
    bright.height = map.height;
    dark.map = std::move(map.offsets);
    bright.map = std::move(map.gains);
    line(tr("Packed as"), tr("%1-bit series").arg(depth));
    printCodes(NucMapPacking::packedMap(dark, bright, depth, false));

    if (map.completePixels < pixels)
        return failed(path,
                      tr("truncated: %1 of %2 pixels present").arg(map.completePixels).arg(pixels));
    if (map.trailingBytes > 0)
        return failed(path, tr("malformed: %1 bytes after the %2 declared pixels")
                                .arg(map.trailingBytes)
                                .arg(pixels));
    cliOut() << Qt::flush;
    return ExitOk;
}

} // namespace

int runInfoCommand(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        tr("Describes a map file: a .bin or .ge3 map recognised by its magic, otherwise a float "
           "map import file. Exit status 1 for a malformed or truncated file."));
    parser.addPositionalArgument("info", tr("Describe a map file."), "info");
    parser.addPositionalArgument("FILE", tr("The map file."));
    const QCommandLineOption depth(
        "depth", tr("Pack a float map by the rules of an 8-bit or 16-bit series (default 8)."),
        "BITS", "8");
    parser.addOption(depth);

    const int parsed = parseSubcommand(parser, arguments);
    if (parsed >= 0)
        return parsed;
    const QStringList positional = parser.positionalArguments();
    if (positional.size() != 2)
        return usageError("info", tr("give exactly one FILE"));
    if (parser.value(depth) != "8" && parser.value(depth) != "16")
        return usageError("info", tr("depth must be 8 or 16"));

    const QString path = positional[1];
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return failed(path, file.errorString());
    // No map file is larger than the largest float map import; anything
    // bigger is refused before it is read into memory.
    if (file.size() > NucLimits::MaxMapFileBytes)
        return failed(path, tr("implausible file size %1 bytes: no map file is larger than %2")
                                .arg(file.size())
                                .arg(NucLimits::MaxMapFileBytes));
    const QByteArray data = file.readAll();
    if (NucMapFile::hasMagic(data))
        return describePackedMap(path, data);
    return describeFloatMap(path, data, parser.value(depth).toInt());
}
