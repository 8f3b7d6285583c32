// transfer_sim: a 4096 x 3000 shading map file uploaded into a simulated
// camera's map slot through GenICam File Access and downloaded again, with
// the camera layer the panel uses (OxCamera) and commands that complete at
// once. The simulator is the only camera involved: its configuration and
// state live in a temporary folder of this run.
#include "BenchSupport.h"
#include "NucMapFile.h"
#include "OxCamera.h"
#include "SimBenchCamera.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonObject>

#include <cstdio>
#include <memory>

namespace {

const char* const CameraId = "BENCH-MAP-1";
const char* const Slot = "ShadingMap0";
constexpr quint32 MapId = 8193;

// The simulated camera of the run, as an entry of the simulator's configuration.
QJsonObject cameraEntry()
{
    QJsonObject slot{{"selector", Slot}, {"kind", "shadingMap"}, {"chunkId", int(MapId)}};
    return QJsonObject{{"id", CameraId},          {"transport", "GigE"},
                       {"width", Bench::Width},   {"height", Bench::Height},
                       {"pixelFormat", "Mono12"}, {"files", QJsonArray{slot}}};
}

// A map file of the sensor's size with a checksum that holds, as the panel
// uploads it; words vary so that nothing compresses or repeats.
std::vector<unsigned char> mapFile()
{
    QVector<quint16> words(int(Bench::Pixels));
    for (int i = 0; i < words.size(); ++i)
        words[i] = quint16((i * 2654435761u) >> 16);
    const QByteArray file = NucMapFile::binFile(MapId, Bench::Width, Bench::Height, words);
    return std::vector<unsigned char>(file.begin(), file.end());
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int rounds = qMax(app.arguments().value(1).toInt(), 1);
    std::fprintf(stderr, "transfer_sim on %s\n", qPrintable(Bench::machine()));

    SimBenchCamera sim(cameraEntry());
    int status = 1;
    if (!sim.camera()) {
        std::fprintf(stderr, "transfer_sim: cannot open the simulated camera\n");
    } else {
        OxCamera& camera = *sim.camera();
        const std::vector<unsigned char> upload = mapFile();
        const QString downloaded = sim.filePath("downloaded.bin");
        std::vector<double> rates, ups, downs;
        bool ok = camera.IsFileAccessSupported();
        for (int r = 0; ok && r <= rounds; ++r) {
            long written = 0, read = 0;
            // The upload takes its buffer by value; handing over a copy
            // made beforehand keeps the copy out of the clock.
            std::vector<unsigned char> buffer = upload;
            const double start = Bench::seconds();
            ok = camera.UploadBuffer(std::move(buffer), "", Slot, &written);
            const double uploaded = Bench::seconds();
            ok = ok && camera.DownloadDeviceFile(QFile::encodeName(downloaded).constData(), "",
                                                 Slot, &read);
            const double elapsed = Bench::seconds() - start;
            ok = ok && written == long(upload.size()) && read == long(upload.size());
            // The camera kept exactly what was sent (checked outside the clock).
            QFile back(downloaded);
            ok = ok && back.open(QIODevice::ReadOnly) &&
                 back.readAll() ==
                     QByteArray(reinterpret_cast<const char*>(upload.data()), int(upload.size()));
            if (ok && r > 0) { // the first round only warms up
                rates.push_back(2.0 * double(upload.size()) / elapsed / 1e6);
                ups.push_back(uploaded - start);
                downs.push_back(elapsed - ups.back());
                std::fprintf(stderr, "  round %d: %.0f MB/s (upload %.0f ms, download %.0f ms)\n",
                             r, rates.back(), ups.back() * 1e3, downs.back() * 1e3);
            }
        }
        if (!ok) {
            std::fprintf(stderr, "transfer_sim: a transfer failed or came back different\n");
        } else {
            std::fprintf(stderr, "  %d rounds of %.1f MB up and down\n", rounds,
                         double(upload.size()) / 1e6);
            Bench::printResult("transfer_sim", Bench::median(rates), "MB/s");
            status = 0;
        }
    }
    return status;
}
