#include "NucMapFile.h"

#include <QCoreApplication>
#include <QSaveFile>
#include <QtEndian>

#include <cstring>

namespace NucMapFile {

namespace {

void appendLe32(QByteArray& out, quint32 value)
{
    char bytes[4];
    qToLittleEndian(value, bytes);
    out.append(bytes, 4);
}

quint32 le32(const QByteArray& data, int offset)
{
    return qFromLittleEndian<quint32>(data.constData() + offset);
}

QVector<quint16> readWords(const QByteArray& data, int offset, quint32 count)
{
    QVector<quint16> words{};
    words.resize(int(count));
    for (quint32 i = 0; i < count; ++i)
        words[int(i)] = qFromLittleEndian<quint16>(data.constData() + offset + 2 * i);
    return words;
}

QString tr(const char* text)
{
    return QCoreApplication::translate("NucMapFile", text);
}

} // namespace

quint32 wordSum(const QByteArray& data)
{
    quint32 sum = 0;
    const int whole = data.size() / 4 * 4;
    for (int i = 0; i < whole; i += 4)
        sum += le32(data, i);
    if (whole < data.size()) {
        char tail[4] = {0, 0, 0, 0};
        std::memcpy(tail, data.constData() + whole, size_t(data.size() - whole));
        sum += qFromLittleEndian<quint32>(tail);
    }
    return sum;
}

int wordsOffset(Kind kind)
{
    return kind == Kind::Bin ? BinHeaderSize : UserMapHeaderSize;
}

QByteArray frame(Kind kind, quint32 mapId, quint32 width, quint32 height)
{
    const quint32 mapBytes = 2 * width * height;
    QByteArray header;
    header.reserve(wordsOffset(kind));
    appendLe32(header, Magic);
    appendLe32(header, quint32(wordsOffset(kind)) + mapBytes);
    appendLe32(header, 0); // the checksum, if any, comes with seal()
    if (kind == Kind::UserMap) {
        appendLe32(header, UserMapFixedBlockId);
        appendLe32(header, UserMapFixedBlockLength);
        header.append(QByteArray(20, '\0'));
        mapId = UserMapBlockId;
    }
    appendLe32(header, mapId);
    appendLe32(header, 20 + mapBytes);
    appendLe32(header, width);
    appendLe32(header, height);
    appendLe32(header, 0);

    QByteArray file(header.size() + int(mapBytes), Qt::Uninitialized);
    std::memcpy(file.data(), header.constData(), size_t(header.size()));
    return file;
}

void seal(Kind kind, QByteArray& file)
{
    if (kind != Kind::Bin)
        return;
    qToLittleEndian(quint32(0), file.data() + 8);
    qToLittleEndian(quint32(0) - wordSum(file), file.data() + 8);
}

namespace {

QByteArray fileOf(Kind kind, quint32 mapId, quint32 width, quint32 height,
                  const QVector<quint16>& words)
{
    QByteArray file = frame(kind, mapId, width, height);
    // The words go into the file in memory order, exactly as packed.
    std::memcpy(file.data() + wordsOffset(kind), words.constData(),
                size_t(file.size() - wordsOffset(kind)));
    seal(kind, file);
    return file;
}

} // namespace

QByteArray binFile(quint32 mapId, quint32 width, quint32 height, const QVector<quint16>& words)
{
    return fileOf(Kind::Bin, mapId, width, height, words);
}

QByteArray userMapFile(quint32 width, quint32 height, const QVector<quint16>& words)
{
    return fileOf(Kind::UserMap, 0, width, height, words);
}

bool hasMagic(const QByteArray& data)
{
    return data.size() >= 4 && le32(data, 0) == Magic;
}

// Pixel count of a declared size, or false when the map bytes of that size
// could not possibly fit a file of this length.
static bool mapPixels(quint32 width, quint32 height, int available, quint32* pixels)
{
    const quint64 n = quint64(width) * height;
    if (n * 2 > quint64(qMax(available, 0)))
        return false;
    *pixels = quint32(n);
    return true;
}

bool parse(const QByteArray& data, Info* info, QString* error)
{
    auto fail = [error](const QString& text) {
        if (error)
            *error = text;
        return false;
    };
    if (!hasMagic(data))
        return fail(tr("no map file magic 0x1F56ADFC"));
    if (data.size() < BinHeaderSize)
        return fail(tr("truncated header: %1 bytes, a map file needs at least %2")
                        .arg(data.size())
                        .arg(BinHeaderSize));

    const quint32 size = le32(data, 4);
    if (size != quint32(data.size()))
        return fail(tr("size field says %1 bytes but the file has %2").arg(size).arg(data.size()));

    Info result;
    result.fileSize = size;
    result.checksum = le32(data, 8);
    result.checksumHolds = wordSum(data) == 0;

    quint32 pixels = 0;
    const bool userMapLayout =
        data.size() >= UserMapHeaderSize && le32(data, 12) == UserMapFixedBlockId &&
        le32(data, 16) == UserMapFixedBlockLength && le32(data, 40) == UserMapBlockId &&
        mapPixels(le32(data, 48), le32(data, 52), data.size() - UserMapHeaderSize, &pixels) &&
        size == UserMapHeaderSize + 2 * pixels && le32(data, 44) == 20 + 2 * pixels;
    if (userMapLayout) {
        result.kind = Kind::UserMap;
        result.blockId = le32(data, 40);
        result.blockLength = le32(data, 44);
        result.width = le32(data, 48);
        result.height = le32(data, 52);
        result.reserved = le32(data, 56);
        result.words = readWords(data, UserMapHeaderSize, pixels);
    } else {
        result.kind = Kind::Bin;
        result.blockId = le32(data, 12);
        result.blockLength = le32(data, 16);
        result.width = le32(data, 20);
        result.height = le32(data, 24);
        result.reserved = le32(data, 28);
        if (!mapPixels(result.width, result.height, data.size() - BinHeaderSize, &pixels) ||
            size != BinHeaderSize + 2 * pixels)
            return fail(tr("%1 x %2 pixels need %3 bytes of map data but the file holds %4")
                            .arg(result.width)
                            .arg(result.height)
                            .arg(2 * quint64(result.width) * result.height)
                            .arg(data.size() - BinHeaderSize));
        if (result.blockLength != 20 + 2 * pixels)
            return fail(tr("map block length %1 does not match %2 pixels (expected %3)")
                            .arg(result.blockLength)
                            .arg(pixels)
                            .arg(20 + 2 * pixels));
        result.words = readWords(data, BinHeaderSize, pixels);
    }
    if (info)
        *info = result;
    return true;
}

SaveResult save(const QString& path, const QByteArray& data, QString* error)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        if (error)
            *error = file.errorString();
        return SaveResult::OpenFailed;
    }
    if (file.write(data) != data.size()) {
        if (error)
            *error = file.errorString();
        file.cancelWriting();
        return SaveResult::WriteFailed;
    }
    if (!file.commit()) {
        if (error)
            *error = file.errorString();
        return SaveResult::WriteFailed;
    }
    return SaveResult::Saved;
}

} // namespace NucMapFile
