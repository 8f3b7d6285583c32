// acquire_sim_12mp and verify_sim_12mp: frames of a simulated 4096 x 3000
// Mono16 camera through the SDK and the camera layer, as the panel and
// orvex-nuc take them.
//   acquire_sim_12mp FRAMES ROUNDS: frames into a fresh bright series
//     (CameraFrameSource, NucAcquisition: the exact running mean), in frames
//     per second; vs_target is that rate over the 10 fps a camera of this
//     size delivers.
//   verify_sim_12mp FRAMES ROUNDS: a verification with FRAMES frames per
//     side (correction off, then a map on, the setting put back) and its
//     report, in frames per second over both sides.
// The simulator's configuration and state live in a temporary folder.
#include "BenchSupport.h"
#include "CameraFrameSource.h"
#include "CorrectionVerification.h"
#include "NucAcquisition.h"
#include "NucCorrectionReport.h"
#include "NucImageInput.h"
#include "NucMapFile.h"
#include "OxCamera.h"
#include "SimBenchCamera.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonObject>

#include <cstdio>

namespace {

const char* const CameraId = "BENCH-CAM-1";

// The simulated camera of the run, as an entry of the simulator's configuration.
QJsonObject cameraEntry()
{
    QJsonObject slot{{"selector", "ShadingMap0"}, {"kind", "shadingMap"}, {"chunkId", 8193}};
    return QJsonObject{{"id", CameraId},           {"transport", "GigE"},
                       {"width", Bench::Width},    {"height", Bench::Height},
                       {"pixelFormat", "Mono16"},  {"shadingControl", true},
                       {"files", QJsonArray{slot}}};
}

// Frames into a fresh series per round.
bool acquireRound(OxCamera& camera, int frames, double* seconds, double* grabbing)
{
    NucImageInput input;
    CameraFrameSource source(&camera);
    NucAcquisition acquisition(input, NucImageInput::Bright, frames);
    *grabbing = 0.0;
    const double start = Bench::seconds();
    for (int k = 0; k < frames; ++k) {
        QImage frame;
        QString error;
        const double before = Bench::seconds();
        if (!source.grab(&frame, &error))
            return false;
        *grabbing += Bench::seconds() - before;
        if (!acquisition.add(frame, &error))
            return false;
    }
    *seconds = Bench::seconds() - start;
    acquisition.commit();
    return input.brightParams.count == quint32(frames);
}

bool verifyRound(OxCamera& camera, int frames, const QVector<quint16>& words, double* seconds)
{
    const double start = Bench::seconds();
    CorrectionVerification verification(&camera, "ShadingMap0", frames);
    if (!verification.run(false))
        return false;
    NucCorrectionReport::Inputs in;
    in.fullScale = 65535;
    in.before = &verification.before();
    in.after = &verification.after();
    in.mapWords = words;
    const NucCorrectionReport report = NucCorrectionReport::compute(in);
    *seconds = Bench::seconds() - start;
    return report.error.isEmpty();
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QString name = app.arguments().value(1);
    const int frames = qMax(app.arguments().value(2).toInt(), 2);
    const int rounds = qMax(app.arguments().value(3).toInt(), 1);
    if (name != "acquire_sim_12mp" && name != "verify_sim_12mp") {
        std::fprintf(stderr, "usage: orvex-bench-acquire acquire_sim_12mp|verify_sim_12mp "
                             "FRAMES ROUNDS\n");
        return 2;
    }
    std::fprintf(stderr, "%s on %s\n", qPrintable(name), qPrintable(Bench::machine()));

    SimBenchCamera sim(cameraEntry());
    int status = 1;
    if (!sim.camera()) {
        std::fprintf(stderr, "%s: cannot open the simulated camera\n", qPrintable(name));
    } else {
        OxCamera& camera = *sim.camera();
        // A map that is not neutral, so the corrected side costs what it does.
        QVector<quint16> words(int(Bench::Pixels));
        for (int i = 0; i < words.size(); ++i)
            words[i] = quint16((200 + (i * 2654435761u >> 24)) | 48 << 10);
        const QByteArray map = NucMapFile::binFile(8193, Bench::Width, Bench::Height, words);
        long written = 0;
        bool ok = camera.UploadBuffer(std::vector<unsigned char>(map.begin(), map.end()), "",
                                      "ShadingMap0", &written) &&
                  written == long(map.size());
        std::vector<double> rates;
        for (int r = 0; ok && r <= rounds; ++r) { // round 0 only warms up
            double seconds = 0.0, grabbing = 0.0;
            if (name == "acquire_sim_12mp") {
                ok = acquireRound(camera, frames, &seconds, &grabbing);
                if (ok && r > 0)
                    std::fprintf(stderr,
                                 "  round %d: %.2f fps (%.0f ms a frame from the "
                                 "camera, %.0f ms into the series)\n",
                                 r, frames / seconds, grabbing / frames * 1e3,
                                 (seconds - grabbing) / frames * 1e3);
            } else {
                ok = verifyRound(camera, frames, words, &seconds);
                if (ok && r > 0)
                    std::fprintf(stderr, "  round %d: %.2f fps (%.2f s)\n", r, 2 * frames / seconds,
                                 seconds);
            }
            if (ok && r > 0)
                rates.push_back((name == "acquire_sim_12mp" ? frames : 2 * frames) / seconds);
        }
        if (!ok) {
            std::fprintf(stderr, "%s: a round failed\n", qPrintable(name));
        } else {
            const double fps = Bench::median(rates);
            Bench::printResult(name, fps, "fps",
                               {QString("vs_target=%1").arg(fps / 10.0, 0, 'f', 2)});
            status = 0;
        }
    }
    return status;
}
