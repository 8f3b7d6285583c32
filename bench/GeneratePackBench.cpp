#include "BenchSupport.h"
#include "NucImageInput.h"
#include "NucMapFile.h"
#include "NucMapPipeline.h"

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

// generate_pack_12mp: one 4096 x 3000 map from a 16-bit dark and bright
// series, packed and encoded as a .bin file the way orvex-nuc does it (from
// the series' exact sums); interleaved with the panel's way (the map made
// in the series, then packed into the file) on series of the same images
// for comparison.
int runGeneratePack(int rounds)
{
    const QStringList dark = Bench::rawFrames(2, true);
    const QStringList bright = Bench::rawFrames(2, false);
    if (dark.size() != 2 || bright.size() != 2)
        return 1;
    NucImageInput input;
    std::vector<std::unique_ptr<Bench::MappedFile>> frames;
    for (int i = 0; i < 2; ++i) {
        frames.push_back(std::make_unique<Bench::MappedFile>(dark[i]));
        frames.push_back(std::make_unique<Bench::MappedFile>(bright[i]));
        if (!input.addLoadedImage(dark[i], frames[frames.size() - 2]->grey16(),
                                  NucImageInput::Dark) ||
            !input.addLoadedImage(bright[i], frames.back()->grey16(), NucImageInput::Bright))
            return 1;
    }
    // The panel subtracts the dark map from the bright mean in place, and a map
    // made from sums uses the sums up: each round starts again from the same
    // series, made before the clock starts.
    const size_t pixels = size_t(Bench::Pixels);
    std::vector<float> brightMean(input.brightParams.meanBuffer.get(),
                                  input.brightParams.meanBuffer.get() + pixels);
    auto restore = [&] {
        std::memcpy(input.brightParams.meanBuffer.get(), brightMean.data(), pixels * 4);
    };
    NucImageInput sums;
    auto sumsAgain = [&] {
        sums.reset();
        sums.sumsOnly = true;
        for (size_t i = 0; i < frames.size(); i += 2)
            if (!sums.addLoadedImage(dark[int(i / 2)], frames[i]->grey16(), NucImageInput::Dark) ||
                !sums.addLoadedImage(bright[int(i / 2)], frames[i + 1]->grey16(),
                                     NucImageInput::Bright))
                return false;
        return true;
    };
    const float gain = 1.1f;
    const quint16 offset = 16;
    const NucMapPipeline::FileLayout layout{NucMapFile::Kind::Bin, 8193, false};

    auto minorFaults = [] {
        struct rusage usage = {};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_minflt;
    };
    long faults = 0;
    auto fastRound = [&](QByteArray* file) {
        if (!sumsAgain())
            return -1.0;
        const long faultsBefore = minorFaults();
        const double start = Bench::seconds();
        const bool ok = NucMapPipeline::makeFile(sums, gain, offset, layout, file);
        const double elapsed = Bench::seconds() - start;
        faults = minorFaults() - faultsBefore;
        return ok ? elapsed : -1.0;
    };
    auto panelRound = [&](QByteArray* file) {
        restore();
        const double start = Bench::seconds();
        if (!NucMapPipeline::generate(input, gain, offset, true))
            return -1.0;
        *file = NucMapPipeline::fileImage(input, layout);
        return Bench::seconds() - start;
    };

    QByteArray fastFile, panelFile;
    fastRound(&fastFile);
    panelRound(&panelFile);
    if (fastFile != panelFile || NucMapFile::wordSum(fastFile) != 0) {
        std::fprintf(stderr,
                     "generate_pack_12mp: the file from the sums differs from the panel's\n");
        return 1;
    }
    std::vector<double> fast, panel;
    for (int r = 0; r < rounds; ++r) {
        fastFile.clear();
        panelFile.clear();
        fast.push_back(fastRound(&fastFile));
        panelFile.clear();
        panel.push_back(panelRound(&panelFile));
        if (fast.back() < 0 || panel.back() < 0)
            return 1;
    }
    const double fastMs = Bench::median(fast) * 1e3;
    const double panelMs = Bench::median(panel) * 1e3;
    std::fprintf(stderr,
                 "  %d rounds: from the sums %.1f ms (best %.1f, %ld page faults in the last), "
                 "the panel's way %.1f ms; same bytes\n",
                 rounds, fastMs, *std::min_element(fast.begin(), fast.end()) * 1e3, faults,
                 panelMs);
    Bench::printResult("generate_pack_12mp", fastMs, "ms",
                       {QString("vs_panel=%1").arg(fastMs / panelMs, 0, 'f', 2)});
    return 0;
}
