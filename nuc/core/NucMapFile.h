#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QVector>
#include <QtGlobal>

// The two packed map containers: the ".bin" map file and the ".ge3" user map
// file. Both start with the same magic and little-endian header fields; the
// map words follow exactly as the packer produced them.
namespace NucMapFile {

constexpr quint32 Magic = 0x1F56ADFC;
constexpr int BinHeaderSize = 32;
constexpr int UserMapHeaderSize = 60;
constexpr quint32 UserMapFixedBlockId = 0x980;
constexpr quint32 UserMapFixedBlockLength = 28;
constexpr quint32 UserMapBlockId = 0x2000;

// Sum of the data as consecutive little-endian 32-bit words modulo 2^32; a
// trailing partial word counts zero-extended.
quint32 wordSum(const QByteArray& data);

enum class Kind
{
    Bin,    // ".bin": the map id of its slot, a checksum
    UserMap // ".ge3": a fixed block before the map block, no checksum
};

// A map file of width x height words with every header field written, the
// checksum still 0 and the words, from wordsOffset(kind) on, not yet written:
// for a caller that packs the words in place and then seals the file.
QByteArray frame(Kind kind, quint32 mapId, quint32 width, quint32 height);
int wordsOffset(Kind kind);
// Sets a .bin file's checksum so that the word sum of the whole file is 0;
// a user map keeps its checksum field 0.
void seal(Kind kind, QByteArray& file);

// A ".bin" file: header with the given map id and a checksum that makes the
// word sum of the whole file 0, then the words.
QByteArray binFile(quint32 mapId, quint32 width, quint32 height, const QVector<quint16>& words);
// A ".ge3" user map file: 12-byte header, the fixed 28-byte block, the 20-byte
// map block header, the words; its checksum field stays 0.
QByteArray userMapFile(quint32 width, quint32 height, const QVector<quint16>& words);

// Everything a packed map file says about itself.
struct Info
{
    Kind kind = Kind::Bin;
    quint32 fileSize = 0;
    quint32 checksum = 0;
    bool checksumHolds = false; // word sum 0 (only meaningful for Kind::Bin)
    quint32 blockId = 0;        // map id of a .bin, 0x2000 in a user map
    quint32 blockLength = 0;
    quint32 width = 0;
    quint32 height = 0;
    quint32 reserved = 0;
    QVector<quint16> words; // decoded as little-endian
};

// True when data starts with the map file magic.
bool hasMagic(const QByteArray& data);

// Reads a packed map file, telling a user map from a .bin by its layout (both
// share the magic, and a .bin may carry the user map's block id as map id).
// On failure returns false with a description of what is wrong in error.
bool parse(const QByteArray& data, Info* info, QString* error);

enum class SaveResult
{
    Saved,
    OpenFailed,
    WriteFailed
};

// Writes data to a temporary file beside path and renames it into place, so
// an interrupted save never leaves a half-written file under that name.
SaveResult save(const QString& path, const QByteArray& data, QString* error = nullptr);

} // namespace NucMapFile
