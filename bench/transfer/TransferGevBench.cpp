// transfer_gev: a 1280 x 1024 shading map file uploaded and downloaded again
// through the camera layer (OxCamera) and the Aravis transport layer to
// orvex-sim-gev on 127.0.0.2, against the same transfer to the same camera
// simulated in-process, round for round. vs_packets compares with moving the
// same bytes through the camera's FileAccessBuffer alone (512-byte control
// packets, no File Access operations around them): the packet-rate limit.
// Only loopback is used; Aravis discovery stays off.
#include "BenchSupport.h"
#include "NucMapFile.h"
#include "OxCamera.h"

#include <Hvx/Camera.h>
#include <Hvx/Feature.h>
#include <Hvx/HvSystem.h>

#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>

namespace {

constexpr int Width = 1280, Height = 1024;
constexpr quint32 MapId = 8193;
const char* const Address = "127.0.0.2";

QString writeConfiguration(const QTemporaryDir& dir)
{
    QJsonObject slot{{"selector", "ShadingMap0"}, {"kind", "shadingMap"}, {"chunkId", int(MapId)}};
    QJsonObject camera{{"id", "BENCH-GEV-1"},     {"serial", "BENCH-GEV-1"},
                       {"width", Width},          {"height", Height},
                       {"pixelFormat", "Mono12"}, {"files", QJsonArray{slot}}};
    QFile file(dir.filePath("sim.json"));
    if (!file.open(QIODevice::WriteOnly))
        return {};
    file.write(QJsonDocument(QJsonObject{{"cameras", QJsonArray{camera}}}).toJson());
    return file.fileName();
}

std::vector<unsigned char> mapFile()
{
    QVector<quint16> words(Width * Height);
    for (int i = 0; i < words.size(); ++i)
        words[i] = quint16((i * 2654435761u) >> 20);
    const QByteArray file = NucMapFile::binFile(MapId, Width, Height, words);
    return std::vector<unsigned char>(file.begin(), file.end());
}

// Seconds for one upload and download, checked outside the clock; < 0 when
// the transfer failed or came back different.
double transfer(OxCamera& camera, const std::vector<unsigned char>& map, const QString& path)
{
    long written = 0, read = 0;
    std::vector<unsigned char> buffer = map;
    const double start = Bench::seconds();
    bool ok =
        camera.UploadBuffer(std::move(buffer), "", "ShadingMap0", &written) &&
        camera.DownloadDeviceFile(QFile::encodeName(path).constData(), "", "ShadingMap0", &read);
    const double elapsed = Bench::seconds() - start;
    QFile back(path);
    ok = ok && written == long(map.size()) && read == long(map.size()) &&
         back.open(QIODevice::ReadOnly) &&
         back.readAll() == QByteArray(reinterpret_cast<const char*>(map.data()), int(map.size()));
    return ok ? elapsed : -1;
}

// Seconds to write and read `bytes` through the FileAccessBuffer register in
// whole-register blocks.
double bufferOnly(Hvx::Camera& camera, size_t bytes)
{
    Hvx::FeaturePtr buffer;
    int64_t length = 0;
    if (camera.GetFeatureByName("FileAccessBuffer", buffer) != HvErrorSuccess ||
        buffer->GetRegisterLength(length) != HvErrorSuccess || length <= 0)
        return -1;
    std::vector<unsigned char> block(size_t(length), 0x5A);
    const double start = Bench::seconds();
    for (size_t done = 0; done < bytes; done += block.size())
        if (buffer->SetRegister(block.data(), unsigned(block.size())) != HvErrorSuccess ||
            buffer->GetRegister(block.data(), unsigned(block.size())) != HvErrorSuccess)
            return -1;
    return Bench::seconds() - start;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int rounds = qMax(app.arguments().value(1).toInt(), 1);
    std::fprintf(stderr, "transfer_gev on %s\n", qPrintable(Bench::machine()));

    QTemporaryDir dir;
    const QString config = dir.isValid() ? writeConfiguration(dir) : QString();
    if (config.isEmpty() || !QDir(dir.path()).mkpath("state") || !QDir(dir.path()).mkpath("gev"))
        return 1;
    QProcess gev;
    gev.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    gev.start(ORVEX_SIM_GEV, {"--address", Address, "--camera", "BENCH-GEV-1", "--config", config,
                              "--state", dir.filePath("gev")});
    if (!gev.waitForReadyRead(30000) || !gev.readLine().startsWith("ready")) {
        std::fprintf(stderr, "transfer_gev: orvex-sim-gev did not start\n");
        return 1;
    }
    qputenv("HVX_SIM_CONFIG", QFile::encodeName(config));
    qputenv("HVX_SIM_STATE", QFile::encodeName(dir.filePath("state")));
    qputenv("HVX_ARAVIS_INTERFACES", "none"); // the camera by its address only: no broadcast
    Hvx::HvSystem& system = Hvx::HvSystem::GetInstance();
    system.SelectModules(HvModuleSelectionAll);
    if (system.Startup() != HvErrorSuccess)
        return 1;
    int status = 1;
    {
        Hvx::CameraPtr wire, local;
        if (system.AddCameraByAddress(Address, wire) != HvErrorSuccess ||
            system.GetCameraByID("sim::BENCH-GEV-1", local) != HvErrorSuccess ||
            wire->Open(HvAccessModeFull) != HvErrorSuccess ||
            local->Open(HvAccessModeFull) != HvErrorSuccess) {
            std::fprintf(stderr, "transfer_gev: cannot open the cameras\n");
        } else {
            OxCamera overWire(wire, nullptr), inProcess(local, nullptr);
            const std::vector<unsigned char> map = mapFile();
            const QString path = dir.filePath("downloaded.bin");
            const double bytes = 2.0 * double(map.size());
            std::vector<double> rates, ratios, packets;
            bool ok = true;
            for (int r = 0; ok && r <= rounds; ++r) {
                const double gevSeconds = transfer(overWire, map, path);
                const double simSeconds = transfer(inProcess, map, path);
                const double bufferSeconds = bufferOnly(*wire, map.size());
                ok = gevSeconds > 0 && simSeconds > 0 && bufferSeconds > 0;
                if (ok && r > 0) { // the first round only warms up
                    rates.push_back(bytes / gevSeconds / 1e6);
                    ratios.push_back(simSeconds / gevSeconds);
                    packets.push_back(bufferSeconds / gevSeconds);
                    std::fprintf(stderr,
                                 "  round %d: %.1f MB/s on the wire, %.0f MB/s in-process, "
                                 "%.1f MB/s through the buffer register alone\n",
                                 r, rates.back(), bytes / simSeconds / 1e6,
                                 bytes / bufferSeconds / 1e6);
                }
            }
            if (!ok) {
                std::fprintf(stderr, "transfer_gev: a transfer failed or came back different\n");
            } else {
                std::fprintf(stderr, "  %d rounds of %.1f MB up and down\n", rounds,
                             double(map.size()) / 1e6);
                Bench::printResult(
                    "transfer_gev", Bench::median(rates), "MB/s",
                    {QString("vs_inprocess=%1").arg(Bench::median(ratios), 0, 'f', 3),
                     QString("vs_packets=%1").arg(Bench::median(packets), 0, 'f', 2)});
                status = 0;
            }
        }
        if (wire)
            wire->Close();
        if (local)
            local->Close();
    }
    system.Shutdown();
    gev.terminate();
    gev.waitForFinished();
    return status;
}
