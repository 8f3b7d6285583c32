// orvex-soak [--cycles N] [--seed S]
//
// Soak run of orvex-nuc against the simulated transport layer. Every cycle
// uploads a new 1280 x 1024 shading map file and downloads the entry again,
// each transfer a child process of its own with a fault injected at random
// (seeded; the seed is printed, so a run can be repeated). After every cycle
// the camera must hold exactly one whole map that was uploaded (the new one
// when the upload succeeded), a transfer must fail exactly when it had a
// fault, and a failed download must name the file that holds what it read.
// At the end the children's peak memory in the first and the last hundred
// cycles and the camera's state folder are compared. Runs in a temporary
// folder of its own (HOME, XDG folders, simulator configuration and state).
#include "ChildRun.h"
#include "NucMapFile.h"
#include "SoakFaults.h"
#include "TestFiles.h"

#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMap>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <numeric>
#include <random>
#include <vector>

namespace {

constexpr int kWidth = 1280;
constexpr int kHeight = 1024;
constexpr int kMapBytes = NucMapFile::BinHeaderSize + 2 * kWidth * kHeight;
constexpr int kChunks = (kMapBytes + 65535) / 65536;
// Peak memory of the fault-free children of the last hundred cycles may
// exceed that of the first hundred by this share before it counts as growth.
constexpr double kRssTolerance = 0.05;

void say(const QString& line)
{
    std::printf("soak: %s\n", qPrintable(line));
    std::fflush(stdout);
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

// The camera, with the faults the next child will meet.
bool writeConfig(const QString& path, const QJsonObject& faults)
{
    QJsonObject camera{
        {"id", "SOAK-1"},
        {"transport", "GigE"},
        {"model", "kva640MXGE"},
        {"width", kWidth},
        {"height", kHeight},
        {"files", QJsonArray{QJsonObject{
                      {"selector", "ShadingMap0"}, {"kind", "shadingMap"}, {"chunkId", 8193}}}}};
    if (!faults.isEmpty())
        camera.insert("faults", faults);
    return writeFile(path, QJsonDocument(QJsonObject{{"cameras", QJsonArray{camera}}}).toJson());
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

QString lastLine(const QString& text)
{
    const QStringList lines = text.split('\n', Qt::SkipEmptyParts);
    return lines.isEmpty() ? QString() : lines.last();
}

// Peak memory of the children of some cycles, in KiB. Only fault-free
// children count: they all do the same work, while a fault ends a child
// anywhere on its way.
struct Rss
{
    int children = 0;
    long max = 0;
    long mean = 0;
};

Rss rssOf(const std::vector<long>& peaks, size_t from, size_t count)
{
    Rss r;
    double sum = 0;
    for (size_t i = from; i < from + count && i < peaks.size(); ++i) {
        if (peaks[i] <= 0) // a child with a fault
            continue;
        ++r.children;
        r.max = std::max(r.max, peaks[i]);
        sum += double(peaks[i]);
    }
    r.mean = r.children > 0 ? long(sum / r.children + 0.5) : 0;
    return r;
}

class Soak
{
public:
    Soak(int cycles, quint64 seed, const QString& root)
        : m_cycles(cycles), m_seed(seed), m_root(root)
    {
        m_config = root + "/sim.json";
        m_state = root + "/state";
        m_stored = m_state + "/SOAK-1/ShadingMap0";
        m_mapPath = root + "/map.bin";
        m_localPath = root + "/download.bin";
    }

    int run();

private:
    void violation(int cycle, const QString& text)
    {
        if (++m_violations <= 10)
            say(QString("VIOLATION in cycle %1: %2").arg(cycle).arg(text));
    }
    ChildRun child(const QStringList& arguments, const QJsonObject& faults)
    {
        if (!writeConfig(m_config, faults))
            return ChildRun();
        return runChild(ORVEX_NUC_BINARY, arguments, m_root);
    }
    void upload(int cycle, const QByteArray& map);
    void download(int cycle);

    int m_cycles;
    quint64 m_seed;
    QString m_root, m_config, m_state, m_stored, m_mapPath, m_localPath;
    std::mt19937_64 m_random;
    QByteArray m_previous; // what the camera held after the last cycle
    int m_violations = 0;
    int m_newWholeAfterFailure = 0;
    QMap<QString, int> m_injected; // "upload: chunk" -> count
    QMap<QString, int> m_failed;   // "upload" -> count
    std::vector<long> m_uploadRss, m_downloadRss;
};

void Soak::upload(int cycle, const QByteArray& map)
{
    const SoakFaults::Fault fault = SoakFaults::pick(m_random, true, kChunks);
    ++m_injected["upload: " + fault.kind];
    if (!writeFile(m_mapPath, map))
        return violation(cycle, "cannot write " + m_mapPath);
    const ChildRun run =
        child({"upload", "--camera", "SOAK-1", "--entry", "ShadingMap0", m_mapPath}, fault.faults);
    m_uploadRss.push_back(fault.kind == "none" ? run.peakRssKiB : 0);
    const bool ok = run.exitCode == 0;
    m_failed["upload"] += ok ? 0 : 1;
    if (ok != (fault.kind == "none"))
        violation(cycle, QString("upload with fault '%1' ended with %2: %3")
                             .arg(fault.kind)
                             .arg(run.exitCode)
                             .arg(lastLine(run.err)));
    if (!ok && lastLine(run.err) != "orvex-nuc upload: camera sim::SOAK-1 did not complete "
                                    "the upload to ShadingMap0")
        violation(cycle, "upload failure reported as: " + lastLine(run.err));

    const QByteArray stored = readFile(m_stored);
    if (stored == map && !ok)
        ++m_newWholeAfterFailure;
    else if (stored != (ok ? map : m_previous))
        violation(cycle, QString("after an upload that %1 the camera holds %2 bytes that are "
                                 "neither the previous map nor the new one")
                             .arg(ok ? "succeeded" : "failed")
                             .arg(stored.size()));
    m_previous = stored;
}

void Soak::download(int cycle)
{
    const SoakFaults::Fault fault = SoakFaults::pick(m_random, false, kChunks);
    ++m_injected["download: " + fault.kind];
    QFile::remove(m_localPath);
    const ChildRun run = child(
        {"download", "--camera", "SOAK-1", "--entry", "ShadingMap0", m_localPath}, fault.faults);
    m_downloadRss.push_back(fault.kind == "none" ? run.peakRssKiB : 0);
    const bool ok = run.exitCode == 0;
    m_failed["download"] += ok ? 0 : 1;
    if (ok != (fault.kind == "none"))
        violation(cycle, QString("download with fault '%1' ended with %2: %3")
                             .arg(fault.kind)
                             .arg(run.exitCode)
                             .arg(lastLine(run.err)));
    if (readFile(m_stored) != m_previous)
        violation(cycle, "a download changed the camera's map");
    const QByteArray local = readFile(m_localPath);
    if (ok && local != m_previous)
        violation(cycle, QString("download brought %1 bytes that differ from the camera's map")
                             .arg(local.size()));
    if (!ok) {
        if (local != m_previous.left(local.size()))
            violation(cycle, "the partial download is not the start of the camera's map");
        const QString told = QString("orvex-nuc download: the download of ShadingMap0 from "
                                     "camera sim::SOAK-1 failed after %1 bytes; %2 holds what "
                                     "was read")
                                 .arg(local.size())
                                 .arg(m_localPath);
        if (lastLine(run.err) != told)
            violation(cycle, "download failure reported as: " + lastLine(run.err));
    }
}

int Soak::run()
{
    QElapsedTimer clock;
    clock.start();
    m_random.seed(m_seed);
    say(QString("seed %1, %2 cycles of upload + download of a %3 x %4 map (%5 bytes, %6 chunks) "
                "through %7")
            .arg(m_seed)
            .arg(m_cycles)
            .arg(kWidth)
            .arg(kHeight)
            .arg(kMapBytes)
            .arg(kChunks)
            .arg(ORVEX_NUC_BINARY));

    // A first map without faults, so that "the previous map" is one that was
    // uploaded whole from the first cycle on.
    const QByteArray first = mapOfCycle(m_seed, 0);
    if (!writeFile(m_mapPath, first) ||
        child({"upload", "--camera", "SOAK-1", "--entry", "ShadingMap0", m_mapPath}, {}).exitCode !=
            0 ||
        readFile(m_stored) != first) {
        say("FAIL: the first upload without faults did not go through");
        return 1;
    }
    m_previous = first;
    const QMap<QString, qint64> stateAtStart = filesBelow(m_state);

    for (int cycle = 1; cycle <= m_cycles; ++cycle) {
        upload(cycle, mapOfCycle(m_seed, cycle));
        download(cycle);
        if (cycle % 100 == 0 || cycle == m_cycles)
            say(QString("cycle %1: %2 violations, %3 uploads and %4 downloads failed, %5 s")
                    .arg(cycle)
                    .arg(m_violations)
                    .arg(m_failed.value("upload"))
                    .arg(m_failed.value("download"))
                    .arg(clock.elapsed() / 1000));
    }

    // Figures.
    for (const char* command : {"upload", "download"}) {
        QStringList counts;
        for (const QString& kind : QStringList{"none"} + SoakFaults::kinds())
            counts << QString("%1 %2").arg(kind).arg(m_injected.value(command + (": " + kind)));
        say(QString("faults injected into %1s: %2").arg(command, counts.join(", ")));
    }
    say(QString("failures seen: %1 uploads, %2 downloads (every one with a fault); %3 failed "
                "uploads left the new map whole")
            .arg(m_failed.value("upload"))
            .arg(m_failed.value("download"))
            .arg(m_newWholeAfterFailure));

    bool grew = false;
    const size_t window = std::min<size_t>(100, size_t(m_cycles) / 2);
    for (const auto& [command, rss] :
         {std::pair<const char*, const std::vector<long>&>{"upload", m_uploadRss},
          {"download", m_downloadRss}}) {
        const Rss head = rssOf(rss, 0, window), tail = rssOf(rss, rss.size() - window, window);
        if (head.children > 0 && tail.children > 0)
            grew = grew || double(tail.max) > double(head.max) * (1.0 + kRssTolerance);
        say(QString("peak RSS of fault-free %1 children (KiB): first %2 cycles %3 children, max "
                    "%4, mean %5; last %2 cycles %6 children, max %7, mean %8")
                .arg(command)
                .arg(window)
                .arg(head.children)
                .arg(head.max)
                .arg(head.mean)
                .arg(tail.children)
                .arg(tail.max)
                .arg(tail.mean));
    }
    const QMap<QString, qint64> stateAtEnd = filesBelow(m_state);
    const qint64 startBytes = std::accumulate(stateAtStart.begin(), stateAtStart.end(), qint64(0));
    const qint64 endBytes = std::accumulate(stateAtEnd.begin(), stateAtEnd.end(), qint64(0));
    say(QString("camera state folder: %1 files, %2 bytes after the first upload; %3 files, %4 "
                "bytes at the end")
            .arg(stateAtStart.size())
            .arg(startBytes)
            .arg(stateAtEnd.size())
            .arg(endBytes));
    grew = grew || stateAtEnd != stateAtStart;
    say(QString("wall time %1 s").arg(clock.elapsed() / 1000));

    if (m_violations > 0 || grew) {
        say(QString("FAIL: %1 violations%2")
                .arg(m_violations)
                .arg(grew ? ", memory or state grew" : ""));
        return 1;
    }
    say("PASS");
    return 0;
}

// A private home for the children: nothing they do reaches the user's files.
bool isolate(const QString& root)
{
    for (const char* sub : {"home/.config", "home/.local/share", "home/.cache", "runtime", "state"})
        if (!QDir().mkpath(root + "/" + sub))
            return false;
    QFile::setPermissions(root + "/runtime",
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("HOME", QFile::encodeName(root + "/home"));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(root + "/home/.config"));
    qputenv("XDG_DATA_HOME", QFile::encodeName(root + "/home/.local/share"));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(root + "/home/.cache"));
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(root + "/runtime"));
    qputenv("HVX_SIM_CONFIG", QFile::encodeName(root + "/sim.json"));
    qputenv("HVX_SIM_STATE", QFile::encodeName(root + "/state"));
    // A close that hangs is given up after one poll instead of three minutes.
    qputenv("ORVEX_FILE_CLOSE_WAIT_MS", "100");
    qunsetenv("DISPLAY");
    qunsetenv("WAYLAND_DISPLAY");
    return true;
}

} // namespace

int main(int argc, char** argv)
{
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
    QTemporaryDir root(QDir::tempPath() + "/orvex-soak-XXXXXX");
    if (!root.isValid() || !isolate(root.path())) {
        std::fprintf(stderr, "orvex-soak: cannot make a temporary folder\n");
        return 1;
    }
    return Soak(cycles, seed, root.path()).run();
}
