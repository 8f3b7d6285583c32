#pragma once

#include <QImage>
#include <QString>
#include <QStringList>

#include <chrono>
#include <vector>

// What every benchmark shares: the clock, medians, the image size and the
// data folder, raw 16-bit images mapped from files, and the final line.
namespace Bench {

constexpr int Width = 4096;
constexpr int Height = 3000;
constexpr qint64 Pixels = qint64(Width) * Height;

inline double seconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

double median(std::vector<double> values);

// Folder for generated benchmark data ($ORVEX_BENCH_DATA or ./bench-data).
QString dataDir();

// Synthetic sensor frames: a dark frame near black with fixed-pattern and
// temporal noise, a bright frame with vignetting, pixel response variation
// and shot noise. Deterministic in seed.
void fillFrame(quint16* pixels, bool bright, quint32 seed);

// Raw frames (Width x Height little-endian 16-bit, no header) in the data
// folder, written on first use: bright ones unless dark.
QStringList rawFrames(int count, bool dark);

// 16-bit PNG files of Width x Height (Qt's plug-in writes them, with its
// default filtering), written on first use: bright ones unless dark.
QStringList pngFiles(int count, bool dark);

// A file mapped read-only into memory, and a QImage over it without a copy.
class MappedFile
{
public:
    explicit MappedFile(const QString& path);
    ~MappedFile();
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;
    const uchar* data() const { return bytes; }
    qint64 size() const { return length; }
    QImage grey16() const;

private:
    uchar* bytes = nullptr;
    qint64 length = 0;
};

// The one line each benchmark ends with.
void printResult(const QString& name, double value, const QString& unit,
                 const QStringList& ratios = {});

// Machine facts for the log: processor model and thread count.
QString machine();

} // namespace Bench
