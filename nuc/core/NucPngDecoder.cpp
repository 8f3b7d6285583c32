#include "NucPngDecoder.h"

#include "NucLimits.h"

#include <QFile>
#include <QVector>

#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace NucPngDecoder {

namespace {

constexpr quint32 tag(const char (&name)[5])
{
    return quint32(uchar(name[0])) << 24 | quint32(uchar(name[1])) << 16 |
           quint32(uchar(name[2])) << 8 | quint32(uchar(name[3]));
}

quint32 bigEndian32(const uchar* p)
{
    return quint32(p[0]) << 24 | quint32(p[1]) << 16 | quint32(p[2]) << 8 | quint32(p[3]);
}

quint32 crcOf(quint32 crc, const uchar* data, size_t bytes)
{
    return crc32_gzip_refl(crc, data, quint64(bytes));
}

// libpng gives up on a file with a chunk longer than 2^31 - 1 bytes, an
// ancillary chunk longer than its allocation limit, a chunk name that is not
// four letters, or a side beyond its default limit.
constexpr quint32 LongestChunk = 0x7fffffffu;
constexpr quint32 LongestAncillary = 8000000;
constexpr quint32 LongestSide = 1000000;

bool isLetters(const uchar* name)
{
    for (int i = 0; i < 4; ++i)
        if (!((name[i] >= 'A' && name[i] <= 'Z') || (name[i] >= 'a' && name[i] <= 'z')))
            return false;
    return true;
}

// The buffers of a decode, kept by each thread that decodes: fresh ones for
// every file would cost their page faults every time.
struct Workspace
{
    static constexpr size_t Block = size_t(256) << 10;
    std::unique_ptr<uchar[]> fileBlock{new uchar[Block]};
    std::unique_ptr<uchar[]> packed{new uchar[Block]};
    std::vector<uchar> filtered;
    inflate_state inflater;
};

Workspace& workspace()
{
    thread_local std::unique_ptr<Workspace> mine;
    if (!mine)
        mine.reset(new Workspace);
    return *mine;
}

// The file, read in large blocks.
class Input
{
public:
    explicit Input(uchar* block) : block(block) {}

    bool open(const QString& path)
    {
        file.setFileName(path);
        return file.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }

    // Makes n <= Workspace::Block bytes readable at data(); false at the end
    // of the file.
    bool need(size_t n)
    {
        if (end - at >= n)
            return true;
        std::memmove(block, block + at, end - at);
        end -= at;
        at = 0;
        while (end < n) {
            const qint64 got =
                file.read(reinterpret_cast<char*>(block + end), qint64(Workspace::Block - end));
            if (got <= 0)
                return false;
            end += size_t(got);
        }
        return true;
    }
    const uchar* data() const { return block + at; }
    size_t available() const { return end - at; }
    void skip(size_t n) { at += n; }

private:
    QFile file;
    uchar* const block;
    size_t at = 0;
    size_t end = 0;
};

// The PNG row filters, Bpp bytes a pixel: turns the filtered bytes in[0, n)
// into the row cur, given the row above, prev (zeros above the first row).
template <int Bpp>
void unfilter(int type, const uchar* __restrict in, const uchar* __restrict prev,
              uchar* __restrict cur, size_t n)
{
    switch (type) {
    case 0:
        std::memcpy(cur, in, n);
        return;
    case 1:
        for (size_t i = 0; i < Bpp; ++i)
            cur[i] = in[i];
        for (size_t i = Bpp; i < n; ++i)
            cur[i] = uchar(in[i] + cur[i - Bpp]);
        return;
    case 2:
        for (size_t i = 0; i < n; ++i)
            cur[i] = uchar(in[i] + prev[i]);
        return;
    case 3:
        for (size_t i = 0; i < Bpp; ++i)
            cur[i] = uchar(in[i] + (prev[i] >> 1));
        for (size_t i = Bpp; i < n; ++i)
            cur[i] = uchar(in[i] + ((cur[i - Bpp] + prev[i]) >> 1));
        return;
    default: {
        // Paeth; the left and upper-left bytes stay in registers, which
        // keeps the chain from one pixel to the next short.
        int left[Bpp], upLeft[Bpp];
        for (size_t i = 0; i < Bpp; ++i) {
            cur[i] = uchar(in[i] + prev[i]); // a = c = 0: the prediction is b
            left[i] = cur[i];
            upLeft[i] = prev[i];
        }
        for (size_t i = Bpp; i < n; i += Bpp)
            for (int k = 0; k < Bpp; ++k) {
                const int a = left[k], b = prev[i + k], c = upLeft[k];
                const int pa = std::abs(b - c), pb = std::abs(a - c), pc = std::abs(a + b - 2 * c);
                const int predicted = (pa <= pb && pa <= pc) ? a : (pb <= pc ? b : c);
                left[k] = uchar(in[i + k] + predicted);
                cur[i + k] = uchar(left[k]);
                upLeft[k] = b;
            }
    }
    }
}

// Collects the inflated stream and turns each whole row into a row of the
// image as soon as it is there.
class Rows
{
public:
    Rows(QImage& image, int bytesPerSample, std::vector<uchar>& filtered)
        : image(image), sample(bytesPerSample), rowBytes(size_t(image.width()) * size_t(sample)),
          filtered(filtered), above(rowBytes, 0), current(rowBytes)
    {
        filtered.resize(std::max<size_t>({filtered.size(), Workspace::Block, 4 * (rowBytes + 1)}));
    }

    uchar* space() { return filtered.data() + fill; }
    size_t spaceLeft() const { return filtered.size() - fill; }
    bool complete() const { return row == image.height() && fill == 0; }

    // Takes in n bytes written at space(); false for a filter type that
    // does not exist or for more data than the image has.
    bool add(size_t n)
    {
        fill += n;
        size_t at = 0;
        for (; fill - at >= rowBytes + 1; at += rowBytes + 1) {
            const int type = filtered[at];
            if (type > 4 || row == image.height())
                return false;
            if (sample == 2)
                unfilter<2>(type, filtered.data() + at + 1, above.data(), current.data(), rowBytes);
            else
                unfilter<1>(type, filtered.data() + at + 1, above.data(), current.data(), rowBytes);
            store(image.scanLine(row++));
            above.swap(current);
        }
        std::memmove(filtered.data(), filtered.data() + at, fill - at);
        fill -= at;
        return row < image.height() || fill == 0;
    }

private:
    // PNG samples are big-endian; Grayscale16 holds them in the processor's
    // order.
    void store(uchar* line) const
    {
        if (sample == 1) {
            std::memcpy(line, current.data(), rowBytes);
            return;
        }
        quint16* out = reinterpret_cast<quint16*>(line);
        const uchar* in = current.data();
        for (size_t x = 0; x < rowBytes / 2; ++x) {
#if Q_BYTE_ORDER == Q_LITTLE_ENDIAN
            out[x] = quint16(in[2 * x] << 8 | in[2 * x + 1]);
#else
            out[x] = quint16(in[2 * x + 1] << 8 | in[2 * x]);
#endif
        }
    }

    QImage& image;
    const int sample;
    const size_t rowBytes;
    std::vector<uchar>& filtered;
    size_t fill = 0;
    int row = 0;
    std::vector<uchar> above, current;
};

// The zlib stream of the IDAT chunks, gathered into pieces of a block (ISA-L
// is at its fastest on long inputs, and IDAT chunks are often 8 KiB) and
// inflated into the rows.
class Stream
{
public:
    Stream(Rows& rows, Workspace& space)
        : rows(rows), state(&space.inflater), packed(space.packed.get())
    {
        isal_inflate_init(state);
        state->crc_flag = ISAL_ZLIB; // header checked, Adler-32 verified
    }

    bool add(const uchar* data, size_t n)
    {
        while (n > 0) {
            const size_t take = std::min(n, Workspace::Block - fill);
            std::memcpy(packed + fill, data, take);
            fill += take;
            data += take;
            n -= take;
            if (fill == Workspace::Block && !inflatePiece(false))
                return false;
        }
        return true;
    }

    // After the last IDAT chunk: the stream must end exactly there, with every
    // row of the image.
    bool finish() { return inflatePiece(true) && finished() && rows.complete(); }

private:
    bool finished() const { return state->block_state == ISAL_BLOCK_FINISH; }

    // zlib's own rules for the two header bytes: deflate, a window of at most
    // 32 KiB, the check bits, and no preset dictionary.
    bool headerIsPlain() const
    {
        const uchar cmf = packed[0], flags = packed[1];
        return (cmf & 0x0f) == 8 && (cmf >> 4) <= 7 && (cmf * 256 + flags) % 31 == 0 &&
               !(flags & 0x20);
    }

    bool inflatePiece(bool last)
    {
        if (!started) {
            if (fill < 2 || !headerIsPlain())
                return false;
            started = true;
        }
        if (finished() && fill > 0)
            return false; // data after the end of the stream
        state->next_in = packed;
        state->avail_in = quint32(fill);
        while (!finished() && (state->avail_in > 0 || last)) {
            state->next_out = rows.space();
            state->avail_out = quint32(rows.spaceLeft());
            if (isal_inflate(state) != ISAL_DECOMP_OK)
                return false;
            const size_t produced = size_t(state->next_out - rows.space());
            if (!rows.add(produced))
                return false;
            if (produced == 0 && state->avail_in == 0)
                break;
        }
        if (state->avail_in > 0)
            return false;
        fill = 0;
        return true;
    }

    Rows& rows;
    inflate_state* const state;
    uchar* const packed;
    size_t fill = 0;
    bool started = false;
};

QVector<QRgb> greyTable()
{
    QVector<QRgb> table(256);
    for (int i = 0; i < 256; ++i)
        table[i] = qRgb(i, i, i);
    return table;
}

// Chunks that make Qt's image of a 16-bit file something else than its
// pixels and resolution (transparency changes the format, the others add a
// colour space, an offset or texts). NucImageInput keeps only the pixels and
// the resolution of an 8-bit file, where only transparency matters.
bool changesQtImage(quint32 type, bool sixteenBit)
{
    if (type == tag("tRNS"))
        return true;
    for (quint32 other : {tag("gAMA"), tag("cHRM"), tag("sRGB"), tag("iCCP"), tag("oFFs"),
                          tag("tEXt"), tag("zTXt"), tag("iTXt")})
        if (type == other)
            return sixteenBit;
    return false;
}

struct Header
{
    quint32 width = 0, height = 0;
    bool sixteenBit = false;
};

// Signature and IHDR: grey, 8 or 16 bits, not interlaced, within the limits.
bool readHeader(Input& in, Header* header)
{
    static const uchar signature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    if (!in.need(8 + 8 + 13 + 4) || std::memcmp(in.data(), signature, 8) != 0)
        return false;
    const uchar* chunk = in.data() + 8;
    if (bigEndian32(chunk) != 13 || bigEndian32(chunk + 4) != tag("IHDR") ||
        bigEndian32(chunk + 8 + 13) != crcOf(0, chunk + 4, 4 + 13))
        return false;
    const uchar* fields = chunk + 8;
    header->width = bigEndian32(fields);
    header->height = bigEndian32(fields + 4);
    const int depth = fields[8], colourType = fields[9];
    const bool simple = fields[10] == 0 && fields[11] == 0 && fields[12] == 0;
    in.skip(8 + 8 + 13 + 4);
    header->sixteenBit = depth == 16;
    return simple && colourType == 0 && (depth == 8 || depth == 16) && header->width > 0 &&
           header->height > 0 && header->width <= LongestSide && header->height <= LongestSide &&
           NucLimits::plausibleSize(header->width, header->height);
}

QImage targetImage(const Header& header, QImage* buffer)
{
    const QSize size(int(header.width), int(header.height));
    if (header.sixteenBit && buffer && buffer->size() == size &&
        buffer->format() == QImage::Format_Grayscale16 && buffer->isDetached())
        return std::move(*buffer);
    QImage image(size, header.sixteenBit ? QImage::Format_Grayscale16 : QImage::Format_Indexed8);
    if (!header.sixteenBit && !image.isNull())
        image.setColorTable(greyTable());
    return image;
}

} // namespace

bool decode(const QString& path, QImage* result, QImage* buffer)
{
    Workspace& space = workspace();
    Input in(space.fileBlock.get());
    Header header;
    if (!in.open(path) || !readHeader(in, &header))
        return false;
    QImage image = targetImage(header, buffer);
    if (image.isNull())
        return false;
    Rows rows(image, header.sixteenBit ? 2 : 1, space.filtered);
    Stream stream(rows, space);
    // libpng's own bound for an IDAT chunk is at least the image data.
    const quint64 imageBytes =
        quint64(header.height) * (quint64(header.width) * (header.sixteenBit ? 2 : 1) + 1);
    const quint64 longestIdat =
        std::max<quint64>(LongestAncillary, std::min<quint64>(imageBytes, LongestChunk));

    enum class Stage
    {
        BeforeData,
        InData,
        AfterData
    } stage = Stage::BeforeData;
    bool resolutionSeen = false;
    quint32 perMetreX = 0, perMetreY = 0;
    for (;;) {
        if (!in.need(8))
            return false;
        const quint32 length = bigEndian32(in.data());
        const quint32 type = bigEndian32(in.data() + 4);
        if (length > LongestChunk || !isLetters(in.data() + 4))
            return false;
        quint32 crc = crcOf(0, in.data() + 4, 4);
        in.skip(8);

        const bool data = type == tag("IDAT");
        if (data) {
            if (stage == Stage::AfterData || length > longestIdat)
                return false;
            stage = Stage::InData;
        } else {
            if (stage == Stage::InData) {
                if (!stream.finish())
                    return false;
                stage = Stage::AfterData;
            }
            const bool critical = (type >> 24) >= 'A' && (type >> 24) <= 'Z';
            if (type == tag("IEND")) {
                if (length != 0 || stage != Stage::AfterData)
                    return false;
            } else if (critical || length > LongestAncillary ||
                       changesQtImage(type, header.sixteenBit)) {
                return false;
            } else if (type == tag("pHYs")) {
                if (stage != Stage::BeforeData || resolutionSeen || length != 9 || !in.need(9))
                    return false;
                resolutionSeen = true;
                if (in.data()[8] == 1) { // per metre; other units leave Qt's default
                    perMetreX = bigEndian32(in.data());
                    perMetreY = bigEndian32(in.data() + 4);
                }
            }
        }

        for (quint32 left = length; left > 0;) {
            if (!in.need(1))
                return false;
            const size_t piece = std::min<size_t>(left, in.available());
            crc = crcOf(crc, in.data(), piece);
            if (data && !stream.add(in.data(), piece))
                return false;
            in.skip(piece);
            left -= quint32(piece);
        }
        if (!in.need(4) || bigEndian32(in.data()) != crc)
            return false;
        in.skip(4);
        if (type == tag("IEND"))
            break;
    }

    // As Qt's plug-in sets them: a zero resolution leaves the image's own.
    if (perMetreX != 0)
        image.setDotsPerMeterX(int(perMetreX));
    if (perMetreY != 0)
        image.setDotsPerMeterY(int(perMetreY));
    image.setOffset(QPoint(0, 0));
    *result = std::move(image);
    return true;
}

} // namespace NucPngDecoder
