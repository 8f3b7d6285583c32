#include "NucKernels.h"
#include "NucParallel.h"

#include <QRandomGenerator>
#include <QtTest>

#include <cstring>
#include <functional>
#include <vector>

using namespace NucKernels;

namespace {

// The accumulation step exactly as the series define it, written out here
// independently of the core: total = r + q * (n - mode) + p * mode in 32-bit
// two's complement, the float mean, truncating division.
struct Expected
{
    std::vector<u16> q, r;
    std::vector<float> mean;
};

template <typename T>
Expected reference(const std::vector<T>& q, const std::vector<T>& r, const std::vector<i32>& p,
                   i32 n, i32 mode, bool storeQuotient)
{
    Expected e;
    e.q.resize(q.size());
    e.r.resize(q.size());
    e.mean.resize(q.size());
    for (size_t i = 0; i < q.size(); ++i) {
        const qint64 wide = qint64(r[i]) + qint64(q[i]) * (qint64(n) - mode) + qint64(p[i]) * mode;
        const i32 total = i32(u32(quint64(wide)));
        e.mean[i] = float(total) / float(n);
        const i32 quotient = total / n;
        e.r[i] = u16(T(total - quotient * n));
        e.q[i] = storeQuotient ? u16(T(quotient)) : u16(q[i]);
    }
    return e;
}

// One implementation of the 16-bit accumulation under test: a kernel set's
// add16/remove16, the core's dispatch or its plain loop.
using Accumulate16 = std::function<void(u16*, u16*, float*, const u16*, size, i32, i32)>;
using Accumulate8 = std::function<void(const u8*, u8*, float*, const u8*, size, i32, i32)>;

// The dispatch with every pass split between the threads, at whatever size.
template <typename F> auto split(F f)
{
    return [f](auto... args) {
        NucParallel::setMode(NucParallel::Mode::Split);
        f(args...);
        NucParallel::setMode(NucParallel::Mode::Auto);
    };
}

QList<QPair<QString, Accumulate16>> implementations16()
{
    QList<QPair<QString, Accumulate16>> list;
    for (int v = 0; v < variantCount(); ++v) {
        const KernelSet* set = &variant(v);
        list.append(
            {set->name, [set](u16* q, u16* r, float* m, const u16* p, size n, i32 c, i32 mode) {
                 (mode == 1 ? set->add16 : set->remove16)(q, r, m, p, n, c);
             }});
    }
    list.append({"dispatch", &NucKernels::accumulate16});
    list.append({"split", split(&NucKernels::accumulate16)});
    list.append({"plain", &NucKernels::plain::accumulate16});
    return list;
}

QList<QPair<QString, Accumulate8>> implementations8(bool rgb)
{
    QList<QPair<QString, Accumulate8>> list;
    for (int v = 0; v < variantCount(); ++v) {
        const KernelSet* set = &variant(v);
        list.append({set->name, [set, rgb](const u8* q, u8* r, float* m, const u8* p, size n, i32 c,
                                           i32 mode) {
                         if (rgb)
                             (mode == 1 ? set->addRgb32 : set->removeRgb32)(q, r, m, p, n, c);
                         else
                             (mode == 1 ? set->add8 : set->remove8)(q, r, m, p, n, c);
                     }});
    }
    list.append({"dispatch", rgb ? &NucKernels::accumulateRgb32 : &NucKernels::accumulate8});
    list.append({"split", split(rgb ? &NucKernels::accumulateRgb32 : &NucKernels::accumulate8)});
    list.append(
        {"plain", rgb ? &NucKernels::plain::accumulateRgb32 : &NucKernels::plain::accumulate8});
    return list;
}

// First index where the outputs differ, for a readable failure.
QString firstDifference(const Expected& e, const std::vector<u16>& q, const std::vector<u16>& r,
                        const std::vector<float>& mean)
{
    for (size_t i = 0; i < e.q.size(); ++i) {
        u32 a, b;
        std::memcpy(&a, &e.mean[i], 4);
        std::memcpy(&b, &mean[i], 4);
        if (e.q[i] != q[i] || e.r[i] != r[i] || a != b)
            return QString("pixel %1: expected q %2 r %3 mean %4, got q %5 r %6 mean %7")
                .arg(i)
                .arg(e.q[i])
                .arg(e.r[i])
                .arg(double(e.mean[i]), 0, 'g', 9)
                .arg(q[i])
                .arg(r[i])
                .arg(double(mean[i]), 0, 'g', 9);
    }
    return QString();
}

// 16-bit inputs r, q, p whose total r + q * (n - mode) + p * mode is t;
// false when no such inputs exist.
bool inputsForTotal(i32 n, i32 mode, qint64 t, u16* q, u16* r, u16* p)
{
    const i32 weight = n - mode;
    const qint64 qi = weight > 0 ? qBound<qint64>(0, t / weight, 65535) : 0;
    const qint64 rest = t - qi * weight;
    if (mode == 1) {
        if (rest < 0 || rest > 131070)
            return false;
        *r = u16(qMin<qint64>(rest, 65535));
        *p = u16(rest - *r);
    } else {
        if (rest < -65535 || rest > 65535)
            return false;
        *r = u16(qMax<qint64>(rest, 0));
        *p = u16(qMax<qint64>(-rest, 0));
    }
    *q = u16(qi);
    return true;
}

// Runs every implementation on copies of the inputs; the first one whose
// outputs differ from the reference, or an empty string. Kernel sets are
// only called within their domain: n up to the fast limit, mode 1 or -1.
template <typename T, typename Impl>
QString firstFailure(const QList<QPair<QString, Impl>>& impls, const std::vector<T>& q0,
                     const std::vector<T>& r0, const T* p, const std::vector<i32>& pWide, i32 n,
                     i32 mode)
{
    const Expected e = reference(q0, r0, pWide, n, mode, sizeof(T) == 2);
    for (const auto& impl : impls) {
        const bool kernelOnly =
            impl.first != "dispatch" && impl.first != "split" && impl.first != "plain";
        if (kernelOnly && (n > FastCountLimit || (mode != 1 && mode != -1)))
            continue;
        std::vector<T> q = q0, r = r0;
        std::vector<float> mean(q.size(), -1.0f);
        impl.second(q.data(), r.data(), mean.data(), p, q.size(), n, mode);
        const QString diff = firstDifference(e, std::vector<u16>(q.begin(), q.end()),
                                             std::vector<u16>(r.begin(), r.end()), mean);
        if (!diff.isEmpty())
            return QString("%1, n %2, mode %3: %4").arg(impl.first).arg(n).arg(mode).arg(diff);
    }
    return QString();
}
#define VERIFY_ALL(...)                                                                            \
    do {                                                                                           \
        const QString failure = firstFailure(__VA_ARGS__);                                         \
        QVERIFY2(failure.isEmpty(), qPrintable(failure));                                          \
    } while (false)

} // namespace

class TestNucKernels : public QObject
{
    Q_OBJECT
private slots:
    // For large counts the totals pass 2^24 and the float mean may round
    // either way across a whole quotient: every quotient with the totals
    // just below, at and above each multiple of n.
    void accumulate16EveryQuotientOfLargeCounts()
    {
        for (i32 n : {257, 1000, 4097, 20000, 32765, FastCountLimit}) {
            for (i32 mode : {1, -1}) {
                std::vector<u16> q0, r0, p;
                for (qint64 k = -1; k <= 65536 + 2; ++k)
                    for (qint64 d : {qint64(-1), qint64(0), qint64(1), qint64(n - 1)}) {
                        u16 qi, ri, pi;
                        if (inputsForTotal(n, mode, k * n + d, &qi, &ri, &pi)) {
                            q0.push_back(qi);
                            r0.push_back(ri);
                            p.push_back(pi);
                        }
                    }
                QVERIFY(q0.size() > 4 * 65536);
                std::vector<i32> pWide(p.begin(), p.end());
                VERIFY_ALL(implementations16(), q0, r0, p.data(), pWide, n, mode);
            }
        }
    }

    // Random 8-bit inputs for counts around the wrap of the 8-bit remainder
    // at 256 images, up to the fast limit; the quotient stays in the
    // caller's mean image.
    void accumulate8Random()
    {
        QRandomGenerator random(20261125);
        const size pixels = 4099;
        for (i32 n : {1, 2, 3, 7, 8, 9, 255, 256, 257, 1000, FastCountLimit}) {
            for (i32 mode : {1, -1}) {
                std::vector<u8> q0(pixels), r0(pixels), p(pixels);
                std::vector<i32> pWide(pixels);
                for (size i = 0; i < pixels; ++i) {
                    q0[i] = u8(i % 5 == 0 ? 255 * random.bounded(2) : random.bounded(256));
                    r0[i] = u8(random.bounded(256));
                    p[i] = u8(i % 7 == 0 ? 255 * random.bounded(2) : random.bounded(256));
                    pWide[i] = p[i];
                }
                VERIFY_ALL(implementations8(false), q0, r0, p.data(), pWide, n, mode);
            }
        }
    }

    // Colour pixels: the sample is the truncated float third of the first
    // three bytes; every byte sum with remainders and quotients across the
    // 8-bit range, for counts around the wrap of the 8-bit remainder.
    void accumulateRgb32EverySum()
    {
        std::vector<u8> q0, r0, pixels4;
        std::vector<i32> pWide;
        QRandomGenerator random(7);
        for (int sum = 0; sum <= 765; ++sum)
            for (int k = 0; k < 64; ++k) {
                const int b = qMin(sum, 255), g = qMin(sum - b, 255), red = sum - b - g;
                pixels4.insert(pixels4.end(), {u8(b), u8(g), u8(red), u8(random.bounded(256))});
                pWide.push_back(i32(float(sum) / 3.0f));
                q0.push_back(u8(random.bounded(256)));
                r0.push_back(u8(random.bounded(256)));
            }
        for (i32 n : {1, 2, 3, 7, 255, 256, 257, 1000}) {
            for (i32 mode : {1, -1}) {
                VERIFY_ALL(implementations8(true), q0, r0, pixels4.data(), pWide, n, mode);
            }
        }
    }

    // The first image of a series, every sample value, through each variant's
    // start16: what adding it to zero remainders gives, whatever the buffers
    // held before.
    void start16EverySample()
    {
        const size pixels = 65536 + 7;
        std::vector<u16> zeros(pixels, 0), p(pixels);
        std::vector<i32> pWide(pixels);
        for (size i = 0; i < pixels; ++i)
            pWide[i] = p[i] = u16(i * 40503u); // odd factor: every value once
        const Expected e = reference(zeros, zeros, pWide, 1, 1, true);
        for (int v = -1; v < variantCount(); ++v) {
            std::vector<u16> q(pixels, 0xdead), r(pixels, 0xbeef);
            std::vector<float> mean(pixels, -1.0f);
            const auto splitStart = split(&NucKernels::start16);
            if (v < 0)
                splitStart(q.data(), r.data(), mean.data(), p.data(), pixels);
            else
                variant(v).start16(q.data(), r.data(), mean.data(), p.data(), pixels);
            const QString diff = firstDifference(e, q, r, mean);
            QVERIFY2(diff.isEmpty(),
                     qPrintable(QString(v < 0 ? "split" : variant(v).name) + ": " + diff));
        }
    }

    // The exact sums of a 16-bit series, one thread and split, against plain
    // addition, around the split's blocks.
    void sumsAddEverySample()
    {
        for (size pixels : {size(127), size(65536 + 7)})
            for (auto mode : {NucParallel::Mode::Single, NucParallel::Mode::Split}) {
                std::vector<u16> a(pixels), b(pixels);
                std::vector<u32> sums(pixels, 0xdeadbeef), expected(pixels);
                for (size i = 0; i < pixels; ++i)
                    expected[i] = (a[i] = u16(i * 40503u)) + 2u * (b[i] = u16(~i * 7u));
                NucParallel::setMode(mode);
                NucKernels::sumStart16(sums.data(), a.data(), pixels);
                NucKernels::sumAdd16(sums.data(), b.data(), pixels);
                NucKernels::sumAdd16(sums.data(), b.data(), pixels);
                NucParallel::setMode(NucParallel::Mode::Auto);
                QVERIFY(sums == expected);
            }
    }

    // Random inputs over the whole 16-bit range for counts up to the fast
    // limit and beyond it (where totals wrap and the plain loop must run),
    // and for the modes no caller uses.
    void accumulate16RandomFullRange()
    {
        QRandomGenerator random(20261122);
        QList<i32> counts = {1,     2,     255,   256,   4095,  4096,  32764,
                             32765, 32766, 32767, 32768, 40000, 65537, 1000003};
        for (int k = 0; k < 40; ++k)
            counts << i32(random.bounded(1, FastCountLimit + 1));
        const size pixels = 4099; // not a multiple of any vector width
        for (i32 n : counts) {
            for (i32 mode : {1, -1, 0, 2}) {
                std::vector<u16> q0(pixels), r0(pixels), p(pixels);
                std::vector<i32> pWide(pixels);
                for (size i = 0; i < pixels; ++i) {
                    q0[i] = u16(random.bounded(65536));
                    r0[i] = u16(random.bounded(65536));
                    p[i] = u16(random.bounded(65536));
                    // Extremes carry the corrections and the wrap.
                    if (i % 7 == 0)
                        q0[i] = random.bounded(2) ? 65535 : 0;
                    if (i % 11 == 0)
                        p[i] = random.bounded(2) ? 65535 : 0;
                    pWide[i] = p[i];
                }
                VERIFY_ALL(implementations16(), q0, r0, p.data(), pWide, n, mode);
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestNucKernels)
#include "TestNucKernels.moc"
