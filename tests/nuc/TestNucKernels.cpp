#include "NUShadingParams.h"
#include "NucKernels.h"
#include "NucParallel.h"
#include "TestImages.h"

#include <QRandomGenerator>
#include <QtTest>

#include <cstring>
#include <functional>
#include <vector>

using namespace NucKernels;

namespace {

// Quotients (16-bit only; 8-bit ones stay in the caller's mean image),
// remainders and float means of a series.
template <typename T> struct State
{
    std::vector<T> q, r;
    std::vector<float> mean;

    bool operator==(const State& o) const
    {
        return q == o.q && r == o.r && mean.size() == o.mean.size() &&
               std::memcmp(mean.data(), o.mean.data(), mean.size() * sizeof(float)) == 0;
    }
};

// The accumulation step exactly as the series define it, written out here
// independently of the core: total = r + q * (n - mode) + p * mode in 32-bit
// two's complement, the float mean, truncating division.
template <typename T>
State<T> reference(const std::vector<T>& q, const std::vector<T>& r, const std::vector<i32>& p,
                   i32 n, i32 mode)
{
    State<T> e{q, r, std::vector<float>(q.size())};
    for (size_t i = 0; i < q.size(); ++i) {
        const qint64 wide = qint64(r[i]) + qint64(q[i]) * (qint64(n) - mode) + qint64(p[i]) * mode;
        const i32 total = i32(u32(quint64(wide)));
        e.mean[i] = float(total) / float(n);
        const i32 quotient = total / n;
        e.r[i] = T(total - quotient * n);
        if (sizeof(T) == 2)
            e.q[i] = T(quotient);
    }
    return e;
}

// The implementations of one accumulation under test: each kernel set's,
// the core's dispatch, the dispatch with every pass split between the
// threads at whatever size, and the plain loop.
template <typename T>
using Accumulate = std::function<void(T*, T*, float*, const T*, size, i32, i32)>;
template <typename T> using Implementations = QList<QPair<QString, Accumulate<T>>>;

template <typename F> auto split(F f)
{
    return [f](auto... args) {
        NucParallel::setMode(NucParallel::Mode::Split);
        f(args...);
        NucParallel::setMode(NucParallel::Mode::Auto);
    };
}

template <typename T, typename Dispatch, typename Plain, typename Kernel>
Implementations<T> implementations(Dispatch dispatch, Plain plain, Kernel kernel)
{
    Implementations<T> list;
    for (int v = 0; v < variantCount(); ++v) {
        const KernelSet* set = &variant(v);
        list.append({set->name, [set, kernel](T* q, T* r, float* m, const T* p, size n, i32 c,
                                              i32 mode) { kernel(*set, mode)(q, r, m, p, n, c); }});
    }
    list.append({"dispatch", dispatch});
    list.append({"split", split(dispatch)});
    list.append({"plain", plain});
    return list;
}

Implementations<u16> implementations16()
{
    return implementations<u16>(
        &NucKernels::accumulate16, &NucKernels::plain::accumulate16,
        [](const KernelSet& s, i32 mode) { return mode == 1 ? s.add16 : s.remove16; });
}

Implementations<u8> implementations8(bool rgb)
{
    if (rgb)
        return implementations<u8>(
            &NucKernels::accumulateRgb32, &NucKernels::plain::accumulateRgb32,
            [](const KernelSet& s, i32 mode) { return mode == 1 ? s.addRgb32 : s.removeRgb32; });
    return implementations<u8>(
        &NucKernels::accumulate8, &NucKernels::plain::accumulate8,
        [](const KernelSet& s, i32 mode) { return mode == 1 ? s.add8 : s.remove8; });
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
template <typename T>
QString firstFailure(const Implementations<T>& impls, const std::vector<T>& q0,
                     const std::vector<T>& r0, const T* p, const std::vector<i32>& pWide, i32 n,
                     i32 mode)
{
    const State<T> expected = reference(q0, r0, pWide, n, mode);
    for (const auto& impl : impls) {
        const bool kernelOnly =
            impl.first != "dispatch" && impl.first != "split" && impl.first != "plain";
        if (kernelOnly && (n > FastCountLimit || (mode != 1 && mode != -1)))
            continue;
        State<T> s{q0, r0, std::vector<float>(q0.size(), -1.0f)};
        impl.second(s.q.data(), s.r.data(), s.mean.data(), p, q0.size(), n, mode);
        if (!(s == expected))
            return QString("%1, n %2, mode %3").arg(impl.first).arg(n).arg(mode);
    }
    return QString();
}

// The i-th sample of a 16-bit image, read as the series read it: rows as
// contiguous samples, padding included.
quint16 sample16(const QImage& image, int i)
{
    return reinterpret_cast<const quint16*>(image.constBits())[i];
}

// Random quotients and remainders, extremes among them, and samples of the
// kind: 16-bit, 8-bit or colour pixels (every byte sum, each about five
// times, the sample being the truncated float third of the first three bytes).
template <typename T> QString randomCase(QRandomGenerator& random, bool rgb, i32 n, i32 mode)
{
    const size pixels = 4099; // not a multiple of any vector width
    const int top = sizeof(T) == 2 ? 65535 : 255;
    auto any = [&](bool extreme) {
        return T(extreme ? top * random.bounded(2) : random.bounded(top + 1));
    };
    std::vector<T> q0(pixels), r0(pixels), p;
    std::vector<i32> pWide(pixels);
    for (size i = 0; i < pixels; ++i) {
        q0[i] = any(i % 5 == 0);
        r0[i] = any(false);
        const int sum = int(i % 766), b = qMin(sum, 255), g = qMin(sum - b, 255);
        if (rgb)
            p.insert(p.end(), {T(b), T(g), T(sum - b - g), any(false)});
        else
            p.push_back(any(i % 7 == 0));
        pWide[i] = rgb ? i32(float(sum) / 3.0f) : p[i];
    }
    if constexpr (sizeof(T) == 2)
        return firstFailure(implementations16(), q0, r0, p.data(), pWide, n, mode);
    else
        return firstFailure(implementations8(rgb), q0, r0, p.data(), pWide, n, mode);
}

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
                const QString failure =
                    firstFailure(implementations16(), q0, r0, p.data(), pWide, n, mode);
                QVERIFY2(failure.isEmpty(), qPrintable(failure));
            }
        }
    }

    void accumulateRandom_data()
    {
        QTest::addColumn<int>("bits");
        QTest::addColumn<bool>("rgb");
        QTest::newRow("16-bit") << 16 << false;
        QTest::newRow("8-bit") << 8 << false;
        QTest::newRow("RGB32") << 8 << true;
    }

    // Random inputs for counts around the wrap of the 8-bit remainder at 256
    // images, up to the fast limit and beyond it (where 16-bit totals wrap
    // and the plain loop must run), and for the modes no caller uses.
    void accumulateRandom()
    {
        QFETCH(int, bits);
        QFETCH(bool, rgb);
        QRandomGenerator random(20261122);
        QList<i32> counts = {1,    2,    3,     7,     8,     9,     255,   256,   257,   1000,
                             4095, 4096, 32764, 32765, 32766, 32767, 32768, 40000, 65537, 1000003};
        for (int k = 0; k < 30; ++k)
            counts << i32(random.bounded(1, FastCountLimit + 1));
        for (i32 n : counts)
            for (i32 mode : {1, -1, 0, 2}) {
                const QString failure = bits == 16 ? randomCase<u16>(random, rgb, n, mode)
                                                   : randomCase<u8>(random, rgb, n, mode);
                QVERIFY2(failure.isEmpty(), qPrintable(failure));
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
        const State<u16> expected = reference(zeros, zeros, pWide, 1, 1);
        for (int v = -1; v < variantCount(); ++v) {
            State<u16> s{std::vector<u16>(pixels, 0xdead), std::vector<u16>(pixels, 0xbeef),
                         std::vector<float>(pixels, -1.0f)};
            if (v < 0)
                split (&NucKernels::start16)(s.q.data(), s.r.data(), s.mean.data(), p.data(),
                                             pixels);
            else
                variant(v).start16(s.q.data(), s.r.data(), s.mean.data(), p.data(), pixels);
            QVERIFY2(s == expected, v < 0 ? "split" : variant(v).name);
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

    // The series above the kernels.
    void seriesPixelValueByFormat_data()
    {
        QTest::addColumn<QImage>("image");
        QTest::addColumn<float>("value");
        QImage rgb(4, 1, QImage::Format_RGB32);
        rgb.fill(qRgb(31, 20, 10)); // bytes B=10, G=20, R=31 in memory
        QTest::newRow("RGB32 averages first three bytes, truncated") << rgb << 20.0f;
        QTest::newRow("Indexed8 uses the raw index")
            << TestImages::palette8(4, 1, [](int, int) { return 5; }) << 5.0f;
    }

    void seriesPixelValueByFormat()
    {
        QFETCH(QImage, image);
        QFETCH(float, value);
        NUShadingParams series;
        QImage mean(image.width(), image.height(), QImage::Format_Grayscale8);
        mean.fill(0);
        QVERIFY(series.update(mean, image, 1));
        for (int i = 0; i < 4; ++i)
            QCOMPARE(series.meanBuffer[i], value);
    }

    void seriesRefusalChangesNothingButSize()
    {
        NUShadingParams series;
        QImage mean = TestImages::grey16(4, 2, [](int, int) { return 0; });
        QImage first = TestImages::grey16(4, 2, [](int, int) { return 7; });
        QVERIFY(series.update(mean, first, 1));

        QImage argb(6, 3, QImage::Format_ARGB32);
        argb.fill(0);
        QVERIFY(!series.update(mean, argb, 1));
        QCOMPARE(series.count, 1u);
        QCOMPARE(series.width, 6u);
        QCOMPARE(series.height, 3u);
        QCOMPARE(series.meanBuffer[0], 7.0f);

        // Another size is refused before the loops could read past the buffers.
        QImage large = TestImages::grey16(8, 8, [](int, int) { return 5; });
        QVERIFY(!series.update(mean, large, 1));
        QCOMPARE(series.count, 1u);
    }

    void seriesPaddingIsNotSkipped()
    {
        // A 16-bit image of width 3 has one padding sample per row; the series
        // reads the buffer as 6 contiguous samples, padding included.
        QImage image(3, 2, QImage::Format_Grayscale16);
        QCOMPARE(image.bytesPerLine(), 8);
        quint16* raw = reinterpret_cast<quint16*>(image.bits());
        for (int i = 0; i < 8; ++i)
            raw[i] = quint16(100 + i);
        QImage mean(3, 2, QImage::Format_Grayscale16);
        std::memset(mean.bits(), 0, size_t(mean.sizeInBytes()));
        NUShadingParams series;
        QVERIFY(series.update(mean, image, 1));
        for (int i = 0; i < 6; ++i)
            QCOMPARE(series.meanBuffer[i], float(100 + i));
        QCOMPARE(sample16(mean, 3), quint16(103)); // lands in row 0's padding
    }

    // The state is a function of the exact sum only: 21 random images
    // added, 9 of them removed again in a shuffled order.
    void seriesIsExactUnderRandomAddAndRemove()
    {
        QRandomGenerator random(20261122);
        const int w = 6, h = 4, n = w * h;
        auto randomImage = [&] {
            return TestImages::grey16(w, h, [&](int, int) { return random.bounded(65536); });
        };
        NUShadingParams series;
        QList<QImage> extra;
        QVector<qint64> sum(n, 0);
        QImage mean = randomImage(); // the first addition multiplies it by 0
        for (int k = 0; k < 21; ++k) {
            QImage image = randomImage();
            QVERIFY(series.update(mean, image, 1));
            if (k % 2 && extra.size() < 9)
                extra << image;
            else
                for (int i = 0; i < n; ++i)
                    sum[i] += sample16(image, i);
        }
        while (!extra.isEmpty()) {
            QImage image = extra.takeAt(random.bounded(extra.size()));
            QVERIFY(series.update(mean, image, -1));
        }
        QCOMPARE(series.count, 12u);
        for (int i = 0; i < n; ++i) {
            QCOMPARE(qint64(sample16(mean, i)), sum[i] / 12);
            QCOMPARE(qint64(series.remainder16[i]), sum[i] % 12);
            QCOMPARE(series.meanBuffer[i], float(sum[i]) / 12.0f);
        }

        // Removing the last image empties the series and drops its map;
        // removing from an empty series is harmless.
        series.makeNUCDark();
        QImage any = randomImage();
        for (int k = 0; k < 13; ++k)
            QVERIFY(series.update(mean, any, -1));
        QCOMPARE(series.count, 0u);
        QVERIFY(!series.meanBuffer && !series.remainder16 && !series.map);
    }
};

QTEST_GUILESS_MAIN(TestNucKernels)
#include "TestNucKernels.moc"
