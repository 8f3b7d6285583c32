// The per-pixel loops of the NUC core, written once and compiled once per
// instruction set (NucKernelsGeneric.cpp, NucKernelsAvx2.cpp). Every loop is
// shaped for the auto-vectoriser and gives bit for bit the result of the plain
// loops in NucKernels.cpp.
//
// Deliberately includes no library header (NucKernels.h includes none either):
// a translation unit built for a wider instruction set must not emit inline
// library functions that the linker could then pick for the rest of the
// program.
//
// Include only after defining NUC_KERNEL_NAMESPACE.

#include "NucKernels.h"

#ifndef NUC_KERNEL_NAMESPACE
#error "NUC_KERNEL_NAMESPACE must name the namespace of this instruction set"
#endif

namespace NucKernels {
namespace NUC_KERNEL_NAMESPACE {

// Vectors of the GCC/Clang vector extension: each target lowers them to its
// own registers (two SSE2 or NEON halves, one AVX2 register).
// As many lanes as the target's registers hold: vectors wider than the
// registers are split by the compiler, often badly.
#if defined(__AVX2__)
constexpr int Lanes = 8;
#define NUC_LOW_HALF(v) __builtin_shufflevector(v, v, 0, 1, 2, 3)
#define NUC_HIGH_HALF(v) __builtin_shufflevector(v, v, 4, 5, 6, 7)
#define NUC_JOIN(a, b) __builtin_shufflevector(a, b, 0, 1, 2, 3, 4, 5, 6, 7)
#else
constexpr int Lanes = 4;
#define NUC_LOW_HALF(v) __builtin_shufflevector(v, v, 0, 1)
#define NUC_HIGH_HALF(v) __builtin_shufflevector(v, v, 2, 3)
#define NUC_JOIN(a, b) __builtin_shufflevector(a, b, 0, 1, 2, 3)
#endif
typedef float vf __attribute__((vector_size(4 * Lanes)));
typedef i32 vi __attribute__((vector_size(4 * Lanes)));
typedef u32 vu __attribute__((vector_size(4 * Lanes)));
typedef u16 vs __attribute__((vector_size(2 * Lanes)));
typedef u8 vb __attribute__((vector_size(Lanes)));
typedef double vhd __attribute__((vector_size(4 * Lanes))); // half the lanes
typedef i32 vhi __attribute__((vector_size(2 * Lanes)));
typedef float vhf __attribute__((vector_size(2 * Lanes)));

// Each half of a float vector as doubles. GCC widens with
// __builtin_convertvector two lanes at a time through the stack; AVX has one
// instruction for four lanes.
#if defined(__AVX__) && !defined(__clang__)
typedef float vq __attribute__((vector_size(16)));
#define NUC_WIDEN_LOW(v) ((vhd)__builtin_ia32_cvtps2pd256((vq)NUC_LOW_HALF(v)))
#define NUC_WIDEN_HIGH(v) ((vhd)__builtin_ia32_cvtps2pd256((vq)NUC_HIGH_HALF(v)))
#else
#define NUC_WIDEN_LOW(v) __builtin_convertvector(NUC_LOW_HALF(v), vhd)
#define NUC_WIDEN_HIGH(v) __builtin_convertvector(NUC_HIGH_HALF(v), vhd)
#endif

template <typename V, typename T> static inline __attribute__((always_inline)) V load(const T* from)
{
    V v;
    __builtin_memcpy(&v, from, sizeof v);
    return v;
}

template <typename V, typename T>
static inline __attribute__((always_inline)) void store(T* to, V v)
{
    __builtin_memcpy(to, &v, sizeof v);
}

// The quotient comes from the float mean that has to be computed anyway. With
// |total| <= 65535 * (n + 2) the true quotient is below 2^18, where the two
// float roundings put the truncated mean at most one off; a single step fixes
// it. Remainders carry the sign of the total, as C++ division does.
template <int Mode, typename Sample, typename Quotient, bool StoreQuotient>
static inline __attribute__((always_inline)) void
accumulate(Quotient* __restrict quotients, Sample* __restrict remainders, float* __restrict mean,
           const Sample* __restrict samples, size pixels, i32 n)
{
    const i32 previous = n - Mode;
    const float nf = float(n);
    for (size i = 0; i < pixels; ++i) {
        const i32 total =
            i32(remainders[i]) + i32(quotients[i]) * previous + i32(samples[i]) * Mode;
        const float m = float(total) / nf;
        mean[i] = m;
        i32 k = i32(m);
        i32 rest = total - k * n;
        if constexpr (Mode == 1) {
            // Totals are never negative when adding.
            const i32 low = rest < 0 ? 1 : 0;
            const i32 high = rest >= n ? 1 : 0;
            k += high - low;
            rest += (low ? n : 0) - (high ? n : 0);
        } else {
            const bool negative = total < 0;
            const i32 low = (negative ? rest <= -n : rest < 0) ? 1 : 0;
            const i32 high = (negative ? rest > 0 : rest >= n) ? 1 : 0;
            k += high - low;
            rest += (low ? n : 0) - (high ? n : 0);
        }
        remainders[i] = Sample(rest);
        if constexpr (StoreQuotient)
            quotients[i] = Quotient(k);
    }
}

// The same for colour pixels: the sample is the truncated float average of the
// first three bytes of each four.
template <int Mode>
static inline __attribute__((always_inline)) void
accumulateRgb32(const u8* __restrict quotients, u8* __restrict remainders, float* __restrict mean,
                const u8* __restrict pixels4, size pixels, i32 n)
{
    const i32 previous = n - Mode;
    const float nf = float(n);
    for (size i = 0; i < pixels; ++i) {
        const u8* px = pixels4 + 4 * i;
        const i32 p = i32(float(i32(px[0]) + i32(px[1]) + i32(px[2])) / 3.0f);
        const i32 total = i32(remainders[i]) + i32(quotients[i]) * previous + p * Mode;
        const float m = float(total) / nf;
        mean[i] = m;
        i32 k = i32(m);
        i32 rest = total - k * n;
        const bool negative = total < 0;
        const i32 low = (negative ? rest <= -n : rest < 0) ? 1 : 0;
        const i32 high = (negative ? rest > 0 : rest >= n) ? 1 : 0;
        rest += (low ? n : 0) - (high ? n : 0);
        remainders[i] = u8(rest);
    }
}

template <typename Sample> struct SampleVector;
template <> struct SampleVector<u16>
{
    typedef vs type;
};
template <> struct SampleVector<u8>
{
    typedef vb type;
};

// Lanes pixels per step with the fix-up written as lane masks; the scalar loop
// above finishes the last few.
template <int Mode, typename Sample, typename Quotient, bool StoreQuotient>
static inline __attribute__((always_inline)) void
accumulate8Wide(Quotient* __restrict quotients, Sample* __restrict remainders,
                float* __restrict mean, const Sample* __restrict samples, size pixels, i32 n)
{
    typedef typename SampleVector<Sample>::type narrow;
    const vi none = {};
    const vi nv = none + n;
    const vi previous = none + (n - Mode);
    const vf nf = __builtin_convertvector(nv, vf);
    size i = 0;
    for (; i + Lanes <= pixels; i += Lanes) {
        const vi r = __builtin_convertvector(load<narrow>(remainders + i), vi);
        const vi q = __builtin_convertvector(load<narrow>(quotients + i), vi);
        const vi p = __builtin_convertvector(load<narrow>(samples + i), vi);
        const vi total = Mode == 1 ? r + q * previous + p : r + q * previous - p;
        const vf m = __builtin_convertvector(total, vf) / nf;
        store(mean + i, m);
        vi k = __builtin_convertvector(m, vi);
        vi rest = total - k * nv;
        vi low, high; // -1 where the quotient is one too high / too low
        if constexpr (Mode == 1) {
            low = rest < 0;
            high = rest >= nv;
        } else {
            const vi negative = total < 0;
            low = (negative & (rest <= -nv)) | (~negative & (rest < 0));
            high = (negative & (rest > 0)) | (~negative & (rest >= nv));
        }
        k += low - high;
        rest += (low & nv) - (high & nv);
        store(remainders + i, __builtin_convertvector(rest, narrow));
        if constexpr (StoreQuotient)
            store(quotients + i, __builtin_convertvector(k, narrow));
    }
    accumulate<Mode, Sample, Quotient, StoreQuotient>(quotients + i, remainders + i, mean + i,
                                                      samples + i, pixels - i, n);
}

void add16(u16* q, u16* r, float* mean, const u16* p, size pixels, i32 n)
{
    accumulate8Wide<1, u16, u16, true>(q, r, mean, p, pixels, n);
}

void remove16(u16* q, u16* r, float* mean, const u16* p, size pixels, i32 n)
{
    accumulate8Wide<-1, u16, u16, true>(q, r, mean, p, pixels, n);
}

// Fresh buffers are only written: reading them first would fault every page
// in twice, once for the read and once for the write.
void start16(u16* __restrict q, u16* __restrict r, float* __restrict mean, const u16* __restrict p,
             size pixels)
{
    for (size i = 0; i < pixels; ++i) {
        q[i] = p[i];
        r[i] = 0;
        mean[i] = float(p[i]);
    }
}

void add8(const u8* q, u8* r, float* mean, const u8* p, size pixels, i32 n)
{
    accumulate8Wide<1, u8, const u8, false>(q, r, mean, p, pixels, n);
}

void remove8(const u8* q, u8* r, float* mean, const u8* p, size pixels, i32 n)
{
    accumulate8Wide<-1, u8, const u8, false>(q, r, mean, p, pixels, n);
}

void addRgb32(const u8* q, u8* r, float* mean, const u8* p, size pixels, i32 n)
{
    accumulateRgb32<1>(q, r, mean, p, pixels, n);
}

void removeRgb32(const u8* q, u8* r, float* mean, const u8* p, size pixels, i32 n)
{
    accumulateRgb32<-1>(q, r, mean, p, pixels, n);
}

void darkMap8(float* __restrict map, const float* __restrict mean, size pixels, float s, float o,
              i32 levels)
{
    for (size i = 0; i < pixels; ++i) {
        i32 v = i32(__builtin_fmaf(s, mean[i], -o));
        v = v < 0 ? 0 : v;
        v = v >= levels ? levels - 1 : v;
        // Divided unconditionally so that the loop has no branch.
        const float value = float(v) / s;
        map[i] = mean[i] > 200.0f ? 0.0f : value;
    }
}

// Gathers what decides whether values can be summed in any order: each value
// is an integer multiple of a power of two (minStep, a sum of two biased
// exponents; 2^(minStep - 277)), and no partial sum exceeds head * 2^(maxExponent
// - 126). When that bound stays within the 53 bits of a double above the
// smallest step, every partial sum is exact, so the lane sums add up to the
// plain index-order sum. block(i) gives the values i .. i + Lanes - 1; returns
// where the whole vectors end.
template <typename Block>
static inline __attribute__((always_inline)) size gatherSumFacts(size pixels, SumFacts* facts,
                                                                 Block block)
{
    vhd sumLow = {}, sumHigh = {};
    // Signed lanes throughout: SSE2 has signed comparisons only.
    const vi none = {};
    vi maxExponent = none;
    vi minStep = none + 0x7fffffff;
    vi special = none;
    size i = 0;
    for (; i + Lanes <= pixels; i += Lanes) {
        const vf v = block(i);
        sumLow += NUC_WIDEN_LOW(v);
        sumHigh += NUC_WIDEN_HIGH(v);

        const vi bits = (vi)v;
        const vi exponent = (bits >> 23) & 0xff;
        const vi mantissa = bits & 0x7fffff;
        // Subnormals and NaN/infinity leave the fast sum; zero is neutral.
        special |= (exponent == 0xff) | ((exponent == 0) & (mantissa != 0));
        maxExponent = exponent > maxExponent ? exponent : maxExponent;
        // Lowest set bit of the full significand, as a power of two whose own
        // exponent field tells its position.
        const vi significand = mantissa | 0x800000;
        const vi lowBit = (vi) __builtin_convertvector(significand & -significand, vf);
        // Zero (exponent 0) gets the largest step and so never decides.
        const vi step = exponent == 0 ? none + 0x7fffffff : exponent + ((lowBit >> 23) & 0xff);
        minStep = step < minStep ? step : minStep;
    }
    double sum = 0.0;
    for (int l = 0; l < Lanes / 2; ++l)
        sum += sumLow[l] + sumHigh[l];
    i32 maxAll = 0, minAll = 0x7fffffff, specialAll = 0;
    for (int l = 0; l < Lanes; ++l) {
        maxAll = maxExponent[l] > maxAll ? maxExponent[l] : maxAll;
        minAll = minStep[l] < minAll ? minStep[l] : minAll;
        specialAll |= special[l];
    }
    facts->laneSum = sum;
    facts->head = i;
    facts->maxExponent = u32(maxAll);
    facts->minStep = minAll == 0x7fffffff ? 0xffffffffu : u32(minAll);
    facts->special = specialAll != 0;
    return i;
}

// Subtracts the dark map in place and gathers the results' sum facts.
template <typename DarkBlock, typename DarkOne>
static inline __attribute__((always_inline)) void
subtractAndGather(float* __restrict mean, size pixels, SumFacts* facts, DarkBlock darkBlock,
                  DarkOne darkOne)
{
    size i = gatherSumFacts(pixels, facts, [=](size at) {
        const vf v = load<vf>(mean + at) - darkBlock(at);
        store(mean + at, v);
        return v;
    });
    for (; i < pixels; ++i)
        mean[i] -= darkOne(i);
}

void subtractDark(float* __restrict mean, const float* __restrict dark, size pixels,
                  SumFacts* facts)
{
    subtractAndGather(
        mean, pixels, facts, [dark](size i) { return load<vf>(dark + i); },
        [dark](size i) { return dark[i]; });
}

// The offset map of a 16-bit dark series (each value code * s, the code
// trunc((mean - o) / s) clamped to the levels), subtracted from the bright
// mean of the same size in the same pass, while it is still in registers;
// gathers the results' sum facts as subtractDark does.
void darkMap16Subtract(float* __restrict map, const float* __restrict darkMean,
                       float* __restrict mean, size pixels, float s, float o, i32 levels,
                       SumFacts* facts)
{
    const vi none = {};
    const vf zero = {};
    const vf s8 = zero + s, o8 = zero + o;
    const vi top = none + (levels - 1);
    subtractAndGather(
        mean, pixels, facts,
        [=](size i) {
            vi v = __builtin_convertvector((load<vf>(darkMean + i) - o8) / s8, vi);
            v = v < 0 ? none : v;
            v = v > top ? top : v;
            const vf d = __builtin_convertvector(v, vf) * s8;
            store(map + i, d);
            return d;
        },
        [=](size i) {
            i32 v = i32((darkMean[i] - o) / s);
            v = v < 0 ? 0 : v;
            v = v >= levels ? levels - 1 : v;
            return map[i] = float(v) * s;
        });
}

double sumInOrder(const float* values, size pixels)
{
    double sum = 0.0;
    for (size i = 0; i < pixels; ++i)
        sum += values[i];
    return sum;
}

// The gain of a corrected mean m against target: clamped to 1 .. 2, 2 for a
// zero mean; NaN fails both comparisons and passes through.
static inline __attribute__((always_inline)) vf gainOf(vf m, vf target)
{
    const vf zero = {};
    const vf one = zero + 1.0f, two = zero + 2.0f;
    vf g = target / m;
    g = g < one ? one : g;
    g = g > two ? two : g;
    return m == zero ? two : g;
}

static inline __attribute__((always_inline)) float gainOf(float m, float target)
{
    float g = target / m;
    g = g < 1.0f ? 1.0f : g;
    g = g > 2.0f ? 2.0f : g;
    return m == 0.0f ? 2.0f : g;
}

void gainMap(float* __restrict map, const float* __restrict mean, size pixels, float target)
{
    for (size i = 0; i < pixels; ++i)
        map[i] = gainOf(mean[i], target);
}

static inline __attribute__((always_inline)) u32 word(float gain, float dark, float step, i32 scale,
                                                      i32 levels, bool sixteenBit)
{
    // Clamped before truncating, which gives the same codes as truncating
    // first and needs no branch; NaN fails the comparison and packs to 0.
    double g = (double(gain) - 1.0) * double(scale);
    g = g > 0.0 ? g : 0.0;
    g = g < double(scale - 1) ? g : double(scale - 1);
    float o = sixteenBit ? dark / step : step * dark;
    o = o > 0.0f ? o : 0.0f;
    o = o < float(levels - 1) ? o : float(levels - 1);
    return u32(i32(g)) | (u32(i32(o)) << 10);
}

// A positive normal power of two, whose reciprocal is exact.
static inline __attribute__((always_inline)) bool isPowerOfTwo(float x)
{
    const u32 bits = __builtin_bit_cast(u32, x);
    const u32 exponent = bits >> 23;
    return (bits & 0x7fffffu) == 0 && exponent > 0 && exponent < 254;
}

// A gain and the dark map value it is packed with, for Lanes pixels or one.
struct GainDark
{
    vf gain, dark;
};
struct GainDarkOne
{
    float gain, dark;
};

// SixteenBit: the depth's offset rule. StepIsPowerOfTwo: the offset step's
// division is a multiplication by its reciprocal, which is exact.
// FloatGainCode: every gain lies between 1 and 2 (or is NaN) and the scale is
// a power of two, so (gain - 1) * scale is exact in float as in double.
template <bool SixteenBit, bool StepIsPowerOfTwo, bool FloatGainCode, typename Block, typename One>
static inline __attribute__((always_inline)) u32
packWords(u16* __restrict out, size pixels, float step, i32 scale, i32 levels, Block block, One one)
{
    const vhd zero4 = {}, one4 = zero4 + 1.0;
    const vhd scale4 = zero4 + double(scale);
    const vhd top4 = scale4 - one4;
    const vf zero8 = {};
    const float topO = float(levels - 1);
    const vf top8 = zero8 + topO;
    const vf step8 = zero8 + step;
    vu sums = {};
    size i = 0;
    for (; i + Lanes <= pixels; i += Lanes) {
        const GainDark in = block(i);
        vi G;
        if constexpr (FloatGainCode) {
            vf g = (in.gain - 1.0f) * float(scale);
            g = g > zero8 ? g : zero8;
            g = g < zero8 + float(scale - 1) ? g : zero8 + float(scale - 1);
            G = __builtin_convertvector(g, vi);
        } else {
            vhd g0 = (NUC_WIDEN_LOW(in.gain) - one4) * scale4;
            vhd g1 = (NUC_WIDEN_HIGH(in.gain) - one4) * scale4;
            g0 = g0 > zero4 ? g0 : zero4;
            g1 = g1 > zero4 ? g1 : zero4;
            g0 = g0 < top4 ? g0 : top4;
            g1 = g1 < top4 ? g1 : top4;
            const vhi G0 = __builtin_convertvector(g0, vhi);
            const vhi G1 = __builtin_convertvector(g1, vhi);
            G = NUC_JOIN(G0, G1);
        }

        // Dividing by a power of two is multiplying by its reciprocal exactly.
        vf o = !SixteenBit        ? step8 * in.dark
               : StepIsPowerOfTwo ? in.dark * (zero8 + 1.0f / step)
                                  : in.dark / step8;
        o = o > zero8 ? o : zero8;
        o = o < top8 ? o : top8;
        const vu w = (vu)G | ((vu) __builtin_convertvector(o, vi) << 10);
        store(out + i, __builtin_convertvector(w, vs));
        sums += w;
    }
    // Lanes alternate between the low and the high half of a 32-bit word.
    u32 sum = 0;
    for (int l = 0; l < Lanes; l += 2)
        sum += sums[l] + (sums[l + 1] << 16);
    for (; i < pixels; ++i) {
        const GainDarkOne in = one(i);
        const u32 w = word(in.gain, in.dark, step, scale, levels, SixteenBit);
        out[i] = u16(w);
        sum += (i & 1) ? w << 16 : w;
    }
    return sum;
}

// Packs with the rules of the depth. The usual map (16-bit rules, offset step
// 4, gain scale 1024) takes the loop without divisions and, where the gains are
// known to lie between 1 and 2, without doubles.
template <bool GainsInRange, typename Block, typename One>
static inline __attribute__((always_inline)) u32 packAny(u16* __restrict out, size pixels,
                                                         float step, i32 scale, i32 levels,
                                                         bool sixteenBit, Block block, One one)
{
    if (sixteenBit && isPowerOfTwo(step) && (!GainsInRange || isPowerOfTwo(float(scale))))
        return packWords<true, true, GainsInRange>(out, pixels, step, scale, levels, block, one);
    if (sixteenBit)
        return packWords<true, false, false>(out, pixels, step, scale, levels, block, one);
    return packWords<false, false, false>(out, pixels, step, scale, levels, block, one);
}

// Packs and returns the sum of the words taken as little-endian 32-bit pairs
// (a lone last word counts as its own low half).
u32 pack(u16* __restrict out, const float* __restrict dark, const float* __restrict gain,
         size pixels, float step, i32 scale, i32 levels, bool sixteenBit)
{
    auto block = [=](size i) { return GainDark{load<vf>(gain + i), load<vf>(dark + i)}; };
    auto one = [=](size i) { return GainDarkOne{gain[i], dark[i]}; };
    // Imported maps bring any gain.
    return packAny<false>(out, pixels, step, scale, levels, sixteenBit, block, one);
}

// gainMap and pack in one pass: each gain is packed while still in registers.
u32 gainPackOnly(u16* __restrict out, const float* __restrict mean, const float* __restrict dark,
                 size pixels, float target, float step, i32 scale, i32 levels, bool sixteenBit)
{
    const vf target8 = vf{} + target;
    auto block = [=](size i) {
        return GainDark{gainOf(load<vf>(mean + i), target8), load<vf>(dark + i)};
    };
    auto one = [=](size i) { return GainDarkOne{gainOf(mean[i], target), dark[i]}; };
    return packAny<true>(out, pixels, step, scale, levels, sixteenBit, block, one);
}

void sumStart16(u32* __restrict sums, const u16* __restrict p, size pixels)
{
    for (size i = 0; i < pixels; ++i)
        sums[i] = p[i];
}

void sumAdd16(u32* __restrict sums, const u16* __restrict p, size pixels)
{
    for (size i = 0; i < pixels; ++i)
        sums[i] += p[i];
}

// What a pass over two series' sums needs, prepared once.
//
// A mean is float(sum) / float(count), which the loop takes without dividing:
// the float sum times the reciprocal of the count, both in double, rounded to
// float, is the same float. The exact quotient is never a midpoint between two
// floats (its odd part would need more than 24 bits) and lies at least 2^-40 of
// its size from one (count <= 32766), while the double product is within 2^-52
// of it.
struct SumsPass
{
    // Copies, not references into in: the loop stores through the pointers,
    // and the compiler would otherwise read every field again after each store.
    u32* dark;
    u32* bright;
    size pixels;
    double darkScale, brightScale; // reciprocals of the counts
    float step, stepScale;         // stepScale = 1 / step, used when step is a power of two
    float offset;
    i32 levels;

    explicit SumsPass(const SeriesSums& in)
        : dark(in.dark), bright(in.bright), pixels(in.pixels),
          darkScale(1.0 / double(in.darkCount)), brightScale(1.0 / double(in.brightCount)),
          step(in.step), stepScale(1.0f / in.step), offset(in.offset), levels(in.levels)
    {
    }
};

static inline __attribute__((always_inline)) vf meanOf(vi sums, double scale)
{
    const vf x = __builtin_convertvector(sums, vf);
    const vhd low = NUC_WIDEN_LOW(x) * scale;
    const vhd high = NUC_WIDEN_HIGH(x) * scale;
    return NUC_JOIN(__builtin_convertvector(low, vhf), __builtin_convertvector(high, vhf));
}

static inline __attribute__((always_inline)) float meanOf(u32 sum, double scale)
{
    return float(double(float(i32(sum))) * scale);
}

// The dark map value (as darkMap16Subtract makes it) and the corrected
// bright mean (the bright mean less that value) of Lanes pixels, or of one,
// from the sums.
struct Corrected
{
    vf dark, value;
};
struct CorrectedOne
{
    float dark, value;
};

template <bool StepIsPowerOfTwo>
static inline __attribute__((always_inline)) Corrected correctedBlock(const SumsPass& pass, size i)
{
    const vi none = {};
    const vf zero = {};
    const vf above = meanOf(load<vi>(pass.dark + i), pass.darkScale) - pass.offset;
    vi v = __builtin_convertvector(
        StepIsPowerOfTwo ? above * (zero + pass.stepScale) : above / (zero + pass.step), vi);
    v = v < 0 ? none : v;
    v = v > pass.levels - 1 ? none + (pass.levels - 1) : v;
    const vf dark = __builtin_convertvector(v, vf) * (zero + pass.step);
    return {dark, meanOf(load<vi>(pass.bright + i), pass.brightScale) - dark};
}

static inline __attribute__((always_inline)) CorrectedOne correctedOne(const SumsPass& pass, size i)
{
    i32 v = i32((meanOf(pass.dark[i], pass.darkScale) - pass.offset) / pass.step);
    v = v < 0 ? 0 : v;
    v = v >= pass.levels ? pass.levels - 1 : v;
    const float dark = float(v) * pass.step;
    return {dark, meanOf(pass.bright[i], pass.brightScale) - dark};
}

template <bool StepIsPowerOfTwo>
static inline __attribute__((always_inline)) void correctSums(const SumsPass pass, SumFacts* facts)
{
    size i = gatherSumFacts(pass.pixels, facts, [pass](size at) {
        const Corrected c = correctedBlock<StepIsPowerOfTwo>(pass, at);
        store(pass.dark + at, c.dark);
        store(pass.bright + at, c.value);
        return c.value;
    });
    for (; i < pass.pixels; ++i) {
        const CorrectedOne c = correctedOne(pass, i);
        __builtin_memcpy(pass.dark + i, &c.dark, 4);
        __builtin_memcpy(pass.bright + i, &c.value, 4);
    }
}

void correctSums16(const SeriesSums& in, SumFacts* facts)
{
    const SumsPass pass(in);
    if (isPowerOfTwo(in.step))
        correctSums<true>(pass, facts);
    else
        correctSums<false>(pass, facts);
}

} // namespace NUC_KERNEL_NAMESPACE
} // namespace NucKernels

namespace NucKernels {
namespace NUC_KERNEL_NAMESPACE {

extern const KernelSet set;
const KernelSet set = {
    NUC_KERNEL_NAME, add16,       start16,    remove16,          add8,          remove8,
    addRgb32,        removeRgb32, darkMap8,   darkMap16Subtract, subtractDark,  sumInOrder,
    gainMap,         pack,        sumStart16, sumAdd16,          correctSums16, gainPackOnly,
};

} // namespace NUC_KERNEL_NAMESPACE
} // namespace NucKernels
