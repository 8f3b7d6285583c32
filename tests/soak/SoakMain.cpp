// orvex-soak [--cycles N] [--seed S]
//
// Soak run of orvex-nuc against the simulated transport layer. Every cycle
// uploads a new 1280 x 1024 shading map file and downloads the entry again,
// each transfer a child process of its own with a fault injected at random
// (seeded; the seed is printed, so a run can be repeated). After every cycle
// the camera must hold exactly one whole map that was uploaded (the new one
// when the upload succeeded), a transfer must fail exactly when it had a
// fault, and a failed download must name the file that holds what it read.
// At the end the children's peak memory in the first hundred cycles and in
// the whole run, and the camera's state folder, are compared.
#include "NucMapFile.h"
#include "TestFiles.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QMap>
#include <QProcess>

#include <sys/resource.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <iterator>
#include <random>

namespace {

constexpr int kWidth = 1280;
constexpr int kHeight = 1024;
constexpr int kMapBytes = NucMapFile::BinHeaderSize + 2 * kWidth * kHeight;
constexpr int kChunks = (kMapBytes + 65535) / 65536;
// The peak memory of the children of the whole run may exceed that of the
// first hundred cycles by this share before it counts as growth.
constexpr double kRssTolerance = 0.05;

// Runs orvex-nuc with arguments and waits for it: its exit status (-1 when
// it crashed) and the last line of its standard error.
int runNuc(const QStringList& arguments, QString* lastError)
{
    QProcess child;
    child.setStandardOutputFile(QProcess::nullDevice());
    child.start(ORVEX_NUC_BINARY, arguments);
    child.waitForFinished(-1);
    const QStringList lines =
        QString::fromUtf8(child.readAllStandardError()).split('\n', Qt::SkipEmptyParts);
    *lastError = lines.isEmpty() ? QString() : lines.last();
    return child.exitStatus() == QProcess::NormalExit ? child.exitCode() : -1;
}

// The peak memory of the largest child so far, in KiB.
long childrenPeakRss()
{
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return usage.ru_maxrss;
}

// The faults a transfer may meet, as the simulator's "faults" object: a
// failing open, chunk, buffer access or close, a chunk or close that fails
// only in its reported status, a chunk that moves fewer bytes (fewer than
// any chunk, the last of 32 bytes too), a close that hangs, commands that
// never complete, a camera that leaves after 0 .. chunks - 1 chunks. OP is
// the transfer's operation, CHUNK a random chunk, ACCESS how the buffer is
// used.
const std::pair<QString, const char*> kFaults[] = {
    {"open", R"({"failOperations": [{"operation": "Open", "chunk": 0}]})"},
    {"chunk", R"({"failOperations": [{"operation": "OP", "chunk": CHUNK}]})"},
    {"chunk status",
     R"({"failOperations": [{"operation": "OP", "chunk": CHUNK, "statusOnly": true}]})"},
    {"short chunk", R"({"failOperations": [{"operation": "OP", "chunk": CHUNK, "bytes": 16}]})"},
    {"buffer", R"({"failFeatures": [{"feature": "FileAccessBuffer", "op": "ACCESS"}]})"},
    {"close", R"({"failOperations": [{"operation": "Close", "chunk": 0}]})"},
    {"close status",
     R"({"failOperations": [{"operation": "Close", "chunk": 0, "statusOnly": true}]})"},
    {"close hangs", R"({"failOperations": [{"operation": "Close", "chunk": 0, "hang": true}]})"},
    {"nothing completes", R"({"commandLatencyMs": {"FileOperationExecute": -1}})"},
    {"camera drops off", R"({"disconnectAfterChunks": CHUNK - 1})"},
};

// Half of the transfers run without a fault ("none"); the others get one
// kind, chosen evenly, at a random chunk where the kind has one.
QString pickFault(std::mt19937_64& random, bool upload, QString* faults)
{
    std::uniform_int_distribution<int> coin(0, 1), kind(0, int(std::size(kFaults)) - 1),
        chunk(1, kChunks);
    if (coin(random) == 0)
        return "none";
    const auto& [name, text] = kFaults[kind(random)];
    *faults = QString(text)
                  .replace("OP", upload ? "Write" : "Read")
                  .replace("ACCESS", upload ? "set" : "get");
    if (faults->contains("CHUNK - 1"))
        faults->replace("CHUNK - 1", QString::number(chunk(random) - 1));
    else if (faults->contains("CHUNK"))
        faults->replace("CHUNK", QString::number(chunk(random)));
    return name;
}

QByteArray mapOfCycle(quint64 seed, int cycle)
{
    std::mt19937_64 random(seed * 1000003u + quint64(cycle));
    std::uniform_int_distribution<int> word(0, 0xFFFF);
    QVector<quint16> words(kWidth * kHeight);
    for (quint16& w : words)
        w = quint16(word(random));
    return NucMapFile::binFile(8193, kWidth, kHeight, words);
}

// Every file below folder with its size, by relative path.
QMap<QString, qint64> filesBelow(const QString& folder)
{
    QMap<QString, qint64> files;
    QDirIterator it(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        files.insert(QDir(folder).relativeFilePath(it.filePath()), it.fileInfo().size());
    }
    return files;
}

class Soak
{
public:
    Soak(quint64 seed, const QString& root, const QString& state)
        : m_random(seed), m_seed(seed), m_root(root), m_state(state)
    {
    }

    int run(int cycles);

private:
    __attribute__((format(printf, 3, 4))) void violation(int cycle, const char* format, ...)
    {
        char text[512];
        std::va_list args;
        va_start(args, format);
        std::vsnprintf(text, sizeof text, format, args);
        va_end(args);
        if (++m_violations <= 10)
            qInfo("VIOLATION in cycle %d: %s", cycle, text);
    }
    // One orvex-nuc upload or download of the camera's map entry with a
    // fault picked at random; whether it succeeded.
    bool transfer(int cycle, bool upload, const QString& path, QString* lastError);
    void upload(int cycle, const QByteArray& map);
    void download(int cycle);

    std::mt19937_64 m_random;
    quint64 m_seed;
    QString m_root, m_state;
    QString m_stored = m_state + "/SOAK-1/ShadingMap0";
    QString m_mapPath = m_root + "/map.bin";
    QString m_localPath = m_root + "/download.bin";
    QByteArray m_previous; // what the camera held after the last cycle
    int m_violations = 0;
    QMap<QString, int> m_injected; // "upload: chunk" -> count
    QMap<QString, int> m_failed;   // "upload" -> count
};

bool Soak::transfer(int cycle, bool upload, const QString& path, QString* lastError)
{
    const QString command = upload ? "upload" : "download";
    QString faults = "{}";
    const QString kind = cycle == 0 ? "none" : pickFault(m_random, upload, &faults);
    const QString config = QString::asprintf(R"({"cameras": [{"id": "SOAK-1", "transport": "GigE",
        "model": "kva640MXGE", "width": %d, "height": %d, "faults": %s,
        "files": [{"selector": "ShadingMap0", "kind": "shadingMap", "chunkId": 8193}]}]})",
                                             kWidth, kHeight, qPrintable(faults));
    if (!writeFile(m_root + "/sim.json", config.toUtf8()))
        violation(cycle, "cannot write the simulator's configuration");
    // An upload's backup is a download, which the download of the cycle meets.
    QStringList arguments{command, "--camera", "SOAK-1", "--entry", "ShadingMap0", path};
    if (upload)
        arguments << "--no-backup";
    const int status = runNuc(arguments, lastError);
    const bool ok = status == 0;
    if (cycle == 0)
        return ok;
    ++m_injected[command + ": " + kind];
    m_failed[command] += ok ? 0 : 1;
    if (ok != (kind == "none"))
        violation(cycle, "%s with fault '%s' ended with %d: %s", qPrintable(command),
                  qPrintable(kind), status, qPrintable(*lastError));
    return ok;
}

void Soak::upload(int cycle, const QByteArray& map)
{
    QString told;
    if (!writeFile(m_mapPath, map))
        return violation(cycle, "cannot write %s", qPrintable(m_mapPath));
    const bool ok = transfer(cycle, true, m_mapPath, &told);
    if (!ok && told != "orvex-nuc upload: camera sim::SOAK-1 did not complete the upload to "
                       "ShadingMap0")
        violation(cycle, "upload failure reported as: %s", qPrintable(told));
    const QByteArray stored = readFile(m_stored);
    // A failed upload may still have left the new map whole (a failed close).
    if (stored != map && (ok || stored != m_previous))
        violation(cycle,
                  "after an upload that %s the camera holds %d bytes that are neither the "
                  "previous map nor the new one",
                  ok ? "succeeded" : "failed", int(stored.size()));
    m_previous = stored;
}

void Soak::download(int cycle)
{
    QString told;
    QFile::remove(m_localPath);
    const bool ok = transfer(cycle, false, m_localPath, &told);
    if (readFile(m_stored) != m_previous)
        violation(cycle, "a download changed the camera's map");
    const QByteArray local = readFile(m_localPath);
    if (ok && local != m_previous)
        violation(cycle, "download brought %d bytes that differ from the camera's map",
                  int(local.size()));
    if (!ok && local != m_previous.left(local.size()))
        violation(cycle, "the partial download is not the start of the camera's map");
    if (!ok && told != QString("orvex-nuc download: the download of ShadingMap0 from camera "
                               "sim::SOAK-1 failed after %1 bytes; %2 holds what was read")
                           .arg(local.size())
                           .arg(m_localPath))
        violation(cycle, "download failure reported as: %s", qPrintable(told));
}

int Soak::run(int cycles)
{
    QElapsedTimer clock;
    clock.start();
    qInfo(
        "seed %llu, %d cycles of upload + download of a %d x %d map (%d bytes, %d chunks) through "
        "%s",
        (unsigned long long)m_seed, cycles, kWidth, kHeight, kMapBytes, kChunks, ORVEX_NUC_BINARY);

    // A first map without faults (cycle 0), so that "the previous map" is one
    // that was uploaded whole from the first cycle on.
    const QByteArray first = mapOfCycle(m_seed, 0);
    QString told;
    if (!writeFile(m_mapPath, first) || !transfer(0, true, m_mapPath, &told) ||
        readFile(m_stored) != first) {
        qInfo("FAIL: the first upload without faults did not go through: %s", qPrintable(told));
        return 1;
    }
    m_previous = first;
    const QMap<QString, qint64> stateAtStart = filesBelow(m_state);

    const int window = std::min(100, cycles / 2);
    long firstRss = childrenPeakRss();
    for (int cycle = 1; cycle <= cycles; ++cycle) {
        upload(cycle, mapOfCycle(m_seed, cycle));
        download(cycle);
        if (cycle == window)
            firstRss = childrenPeakRss();
        if (cycle % 100 == 0 || cycle == cycles)
            qInfo("cycle %d: %d violations, %d uploads and %d downloads failed, %lld s", cycle,
                  m_violations, m_failed.value("upload"), m_failed.value("download"),
                  clock.elapsed() / 1000);
    }

    QStringList counts;
    for (auto it = m_injected.begin(); it != m_injected.end(); ++it)
        counts << QString("%1 %2").arg(it.key()).arg(it.value());
    qInfo("faults injected: %s", qPrintable(counts.join(", ")));
    const long lastRss = childrenPeakRss();
    bool grew = lastRss > firstRss * (1.0 + kRssTolerance);
    qInfo("peak RSS of a child (KiB): %ld in the first %d cycles, %ld in all", firstRss, window,
          lastRss);
    const QMap<QString, qint64> stateAtEnd = filesBelow(m_state);
    grew = grew || stateAtEnd != stateAtStart;
    qInfo("camera state folder: %d files after the first upload, %d at the end%s",
          int(stateAtStart.size()), int(stateAtEnd.size()),
          stateAtEnd == stateAtStart ? "" : ", which differ");
    qInfo("wall time %lld s", clock.elapsed() / 1000);
    if (m_violations == 0 && !grew) {
        qInfo("PASS");
        return 0;
    }
    qInfo("FAIL: %d violations%s", m_violations, grew ? ", memory or state grew" : "");
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    qSetMessagePattern("soak: %{message}");
    int cycles = 1000;
    quint64 seed = std::random_device()();
    for (int i = 1; i < argc; ++i) {
        const QByteArray arg = argv[i];
        bool ok = i + 1 < argc;
        if (arg == "--cycles" && ok)
            cycles = QByteArray(argv[++i]).toInt(&ok);
        else if (arg == "--seed" && ok)
            seed = QByteArray(argv[++i]).toULongLong(&ok);
        else
            ok = false;
        if (!ok || cycles < 1) {
            std::fprintf(stderr, "usage: orvex-soak [--cycles N (>= 1)] [--seed S]\n");
            return 2;
        }
    }
    // tools/soak runs it through tests/support/isolated: a private home and
    // simulator state, removed afterwards, so nothing reaches the user's files.
    const QString root = qEnvironmentVariable("ORVEX_TEST_TMP");
    const QString state = qEnvironmentVariable("HVX_SIM_STATE");
    if (root.isEmpty() || state.isEmpty() || !QDir().mkpath(state)) {
        std::fprintf(stderr,
                     "orvex-soak: run it through tests/support/isolated (tools/soak does)\n");
        return 2;
    }
    qputenv("HVX_SIM_CONFIG", QFile::encodeName(root + "/sim.json"));
    // A close that hangs is given up after one poll instead of three minutes.
    qputenv("ORVEX_FILE_CLOSE_WAIT_MS", "100");
    return Soak(seed, root, state).run(cycles);
}
