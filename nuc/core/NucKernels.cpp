#include "NucKernels.h"

#include "NucParallel.h"

namespace NucKernels {

namespace generic {
extern const KernelSet set;
}
#if defined(__x86_64__)
namespace sse41 {
extern const KernelSet set;
}
namespace avx2 {
extern const KernelSet set;
}
#endif

namespace {

struct Variants
{
    const KernelSet* sets[3] = {&generic::set, nullptr, nullptr};
    int count = 1;

    Variants()
    {
#if defined(__x86_64__)
        __builtin_cpu_init();
        if (__builtin_cpu_supports("sse4.1"))
            sets[count++] = &sse41::set;
        if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"))
            sets[count++] = &avx2::set;
#endif
    }
};

const Variants& variants()
{
    static const Variants instance;
    return instance;
}

bool fastCase(i32 n, i32 mode)
{
    return (mode == 1 || mode == -1) && n >= 1 && n <= FastCountLimit;
}

// The definition: total = r + q * (n - mode) + p * mode in 32 bits, the float
// mean, truncating division, remainder in the element width.
template <typename Quotient, typename Sample, bool StoreQuotient, typename SampleOf>
void accumulatePlain(Quotient* q, Sample* r, float* mean, size pixels, i32 n, i32 mode,
                     SampleOf sampleOf)
{
    const u32 previous = u32(n) - u32(mode);
    for (size i = 0; i < pixels; ++i) {
        const i32 total = i32(u32(r[i]) + u32(q[i]) * previous + u32(sampleOf(i)) * u32(mode));
        mean[i] = float(total) / float(n);
        const i32 quotient = total / n;
        r[i] = Sample(total - quotient * n);
        if constexpr (StoreQuotient)
            q[i] = Quotient(quotient);
    }
}

} // namespace

const KernelSet& best()
{
    const Variants& v = variants();
    return *v.sets[v.count - 1];
}

int variantCount()
{
    return variants().count;
}

const KernelSet& variant(int index)
{
    return *variants().sets[index];
}

namespace plain {

void accumulate16(u16* q, u16* r, float* mean, const u16* p, size pixels, i32 n, i32 mode)
{
    accumulatePlain<u16, u16, true>(q, r, mean, pixels, n, mode, [p](size i) { return p[i]; });
}

void accumulate8(const u8* q, u8* r, float* mean, const u8* p, size pixels, i32 n, i32 mode)
{
    accumulatePlain<const u8, u8, false>(q, r, mean, pixels, n, mode, [p](size i) { return p[i]; });
}

void accumulateRgb32(const u8* q, u8* r, float* mean, const u8* p, size pixels, i32 n, i32 mode)
{
    accumulatePlain<const u8, u8, false>(q, r, mean, pixels, n, mode, [p](size i) {
        const u8* px = p + 4 * i;
        return i32(float(px[0] + px[1] + px[2]) / 3.0f);
    });
}

} // namespace plain

void accumulate16(u16* q, u16* r, float* mean, const u16* p, size pixels, i32 n, i32 mode)
{
    if (!fastCase(n, mode))
        return plain::accumulate16(q, r, mean, p, pixels, n, mode);
    static NucParallel::Pass adding, removing;
    const auto loop = mode == 1 ? best().add16 : best().remove16;
    (mode == 1 ? adding : removing).run(pixels, [=](size b, size e) {
        loop(q + b, r + b, mean + b, p + b, e - b, n);
    });
}

void accumulate8(const u8* q, u8* r, float* mean, const u8* p, size pixels, i32 n, i32 mode)
{
    if (!fastCase(n, mode))
        return plain::accumulate8(q, r, mean, p, pixels, n, mode);
    static NucParallel::Pass adding, removing;
    const auto loop = mode == 1 ? best().add8 : best().remove8;
    (mode == 1 ? adding : removing).run(pixels, [=](size b, size e) {
        loop(q + b, r + b, mean + b, p + b, e - b, n);
    });
}

void accumulateRgb32(const u8* q, u8* r, float* mean, const u8* p, size pixels, i32 n, i32 mode)
{
    if (!fastCase(n, mode))
        return plain::accumulateRgb32(q, r, mean, p, pixels, n, mode);
    static NucParallel::Pass adding, removing;
    const auto loop = mode == 1 ? best().addRgb32 : best().removeRgb32;
    (mode == 1 ? adding : removing).run(pixels, [=](size b, size e) {
        loop(q + b, r + b, mean + b, p + 4 * b, e - b, n);
    });
}

void start16(u16* q, u16* r, float* mean, const u16* p, size pixels)
{
    static NucParallel::Pass pass;
    const auto loop = best().start16;
    pass.run(pixels, [=](size b, size e) { loop(q + b, r + b, mean + b, p + b, e - b); });
}

void sumStart16(u32* sums, const u16* p, size pixels)
{
    static NucParallel::Pass pass;
    const auto loop = best().sumStart16;
    pass.run(pixels, [=](size b, size e) { loop(sums + b, p + b, e - b); });
}

void sumAdd16(u32* sums, const u16* p, size pixels)
{
    static NucParallel::Pass pass;
    const auto loop = best().sumAdd16;
    pass.run(pixels, [=](size b, size e) { loop(sums + b, p + b, e - b); });
}

double subtractDarkAndSum(const KernelSet& set, float* mean, const float* dark, size pixels)
{
    SumFacts facts;
    set.subtractDark(mean, dark, pixels, &facts);
    return sumAfter(set, facts, mean, pixels);
}

namespace {

// Every value is a multiple of 2^(minStep - 277) and below 2^(maxExponent -
// 126) in magnitude; with head values no partial sum needs more than
// log2(head) + maxExponent + 151 - minStep bits, and within the 53 of a double
// all of them are exact, whatever the order.
bool laneSumIsExact(const SumFacts& facts)
{
    if (facts.special)
        return false;
    if (facts.head == 0 || facts.minStep == 0xffffffffu)
        return true;
    int headBits = 0;
    while ((size(1) << headBits) < facts.head)
        ++headBits;
    return long(headBits) + long(facts.maxExponent) + 151 - long(facts.minStep) <= 53;
}

} // namespace

double sumAfter(const KernelSet& set, const SumFacts& facts, const float* mean, size pixels)
{
    double sum = laneSumIsExact(facts) ? facts.laneSum : set.sumInOrder(mean, facts.head);
    for (size i = facts.head; i < pixels; ++i)
        sum += mean[i];
    return sum;
}

} // namespace NucKernels
