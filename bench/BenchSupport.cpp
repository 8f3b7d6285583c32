#include "BenchSupport.h"

#include <QDir>
#include <QFile>
#include <QImageWriter>
#include <QRandomGenerator>
#include <QThread>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace Bench {

double median(std::vector<double> values)
{
    if (values.empty())
        return 0.0;
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2.0;
}

QString dataDir()
{
    const QString dir =
        qEnvironmentVariable("ORVEX_BENCH_DATA", QDir::current().filePath("bench-data"));
    QDir().mkpath(dir);
    return dir;
}

void fillFrame(quint16* pixels, bool bright, quint32 seed)
{
    // The fixed pattern repeats for every frame of a kind; the noise does not.
    QRandomGenerator pattern(bright ? 17 : 5);
    QRandomGenerator noise(seed);
    const double cx = Width / 2.0, cy = Height / 2.0;
    const double r2max = cx * cx + cy * cy;
    std::vector<float> rowPattern(Width);
    for (int x = 0; x < Width; ++x)
        rowPattern[size_t(x)] = float(pattern.generateDouble());
    for (int y = 0; y < Height; ++y) {
        quint16* row = pixels + qint64(y) * Width;
        const double dy = y - cy;
        for (int x = 0; x < Width; ++x) {
            const quint32 bits = noise.generate();
            // A cheap near-Gaussian: the sum of four bytes.
            const int n4 = int(bits & 0xff) + int((bits >> 8) & 0xff) + int((bits >> 16) & 0xff) +
                           int(bits >> 24) - 510;
            double v;
            if (bright) {
                const double dx = x - cx;
                const double vignette = 1.0 - 0.35 * (dx * dx + dy * dy) / r2max;
                v = 32000.0 * vignette * (0.97 + 0.06 * rowPattern[size_t(x)]) + n4 * 0.6;
            } else {
                v = 220.0 + 40.0 * rowPattern[size_t(x)] + n4 * 0.05;
            }
            row[x] = quint16(std::clamp(v, 0.0, 65535.0));
        }
    }
}

QStringList rawFrames(int count, bool dark)
{
    QStringList paths;
    std::vector<quint16> frame(static_cast<size_t>(Pixels));
    for (int i = 0; i < count; ++i) {
        const QString path =
            QDir(dataDir()).filePath(QString("%1-%2.u16").arg(dark ? "dark" : "bright").arg(i));
        if (QFileInfo(path).size() != Pixels * 2) {
            fillFrame(frame.data(), !dark, quint32(1000 + i + (dark ? 500 : 0)));
            QFile file(path);
            if (!file.open(QIODevice::WriteOnly) ||
                file.write(reinterpret_cast<const char*>(frame.data()), Pixels * 2) != Pixels * 2) {
                std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
                return {};
            }
        }
        paths << path;
    }
    return paths;
}

QStringList pngFiles(int count, bool dark)
{
    const QString dir = QDir(dataDir()).filePath("png");
    QDir().mkpath(dir);
    QStringList paths;
    for (int i = 0; i < count; ++i) {
        const QString path = QDir(dir).filePath(
            QString("%1-%2.png").arg(dark ? "dark" : "bright").arg(i, 2, 10, QChar('0')));
        if (!QFileInfo::exists(path)) {
            QImage image(Width, Height, QImage::Format_Grayscale16);
            fillFrame(reinterpret_cast<quint16*>(image.bits()), !dark,
                      quint32(7000 + i + (dark ? 100 : 0)));
            QImageWriter writer(path + ".part", "png");
            if (!writer.write(image) || !QFile::rename(path + ".part", path)) {
                std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
                return {};
            }
        }
        paths << path;
    }
    return paths;
}

MappedFile::MappedFile(const QString& path)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY);
    if (fd < 0)
        return;
    const off_t size = lseek(fd, 0, SEEK_END);
    void* map = mmap(nullptr, size_t(size), PROT_READ, MAP_SHARED | MAP_POPULATE, fd, 0);
    ::close(fd);
    if (map == MAP_FAILED)
        return;
    bytes = static_cast<uchar*>(map);
    length = size;
}

MappedFile::~MappedFile()
{
    if (bytes)
        munmap(bytes, size_t(length));
}

QImage MappedFile::grey16() const
{
    if (length < Pixels * 2)
        return QImage();
    return QImage(bytes, Width, Height, Width * 2, QImage::Format_Grayscale16);
}

void printResult(const QString& name, double value, const QString& unit, const QStringList& ratios)
{
    QString line =
        QString("BENCH %1 %2 %3").arg(name, QString::number(value, 'f', value < 10 ? 3 : 1), unit);
    for (const QString& ratio : ratios)
        line += ' ' + ratio;
    std::printf("%s\n", qPrintable(line));
    std::fflush(stdout);
}

QString machine()
{
    QString model = "unknown processor";
    QFile cpuinfo("/proc/cpuinfo");
    if (cpuinfo.open(QIODevice::ReadOnly))
        for (const QByteArray& line : cpuinfo.readAll().split('\n'))
            if (line.startsWith("model name")) {
                model = QString::fromUtf8(line.mid(line.indexOf(':') + 1)).trimmed();
                break;
            }
    return QString("%1, %2 threads").arg(model).arg(QThread::idealThreadCount());
}

} // namespace Bench
