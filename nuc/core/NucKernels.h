#pragma once

// The per-pixel work of the NUC core: accumulating a series, deriving the
// offset and gain maps, packing map words. Each loop exists as a plain scalar
// loop (the definition) and as vectorised variants compiled for the
// architecture's baseline and, on x86-64, for SSE4.1 and for AVX2+FMA, picked
// at run time so one build runs on any x86-64 or 64-bit ARM machine. All
// variants give bit for bit the plain result.
//
// This header includes nothing, so the per-instruction-set translation units
// that include it pull in no inline library code.
namespace NucKernels {

using u8 = unsigned char;
using u16 = unsigned short;
using i32 = int;
using u32 = unsigned int;
using size = decltype(sizeof(0));

// Largest count for which the vectorised accumulation is used: every total
// r + q * (n +- 1) +- p of 16-bit samples then fits in 32 bits. Beyond it (and
// for modes other than +1/-1) the plain loop runs.
constexpr i32 FastCountLimit = 32766;

// What subtractDark learns about the values it writes.
struct SumFacts
{
    double laneSum = 0.0;      // sum of the first head values, lane by lane
    size head = 0;             // values covered by laneSum (whole vectors)
    u32 maxExponent = 0;       // largest biased float exponent among them
    u32 minStep = 0xffffffffu; // smallest biased exponent sum of a lowest set bit
    bool special = false;      // a NaN, infinity or subnormal among them
};

// Two 16-bit series kept as exact sums (NucSeriesSum), of the same size. Each
// mean is taken as the series take it, float(sum) / float(count); sums are
// below 2^31.
struct SeriesSums
{
    u32* dark;
    u32* bright;
    size pixels;
    float darkCount;
    float brightCount;
    float step;   // offset step s
    float offset; // target offset times s
    i32 levels;
};

// One instruction set's loops. Accumulation functions take the count after
// the step (n >= 1, n <= FastCountLimit).
struct KernelSet
{
    const char* name;
    void (*add16)(u16* q, u16* r, float* mean, const u16* p, size pixels, i32 n);
    // The first image of a 16-bit series: what add16 gives for n = 1 with every
    // remainder 0 (quotient = sample, remainder 0, mean = sample), without
    // reading the quotients or remainders.
    void (*start16)(u16* q, u16* r, float* mean, const u16* p, size pixels);
    void (*remove16)(u16* q, u16* r, float* mean, const u16* p, size pixels, i32 n);
    void (*add8)(const u8* q, u8* r, float* mean, const u8* p, size pixels, i32 n);
    void (*remove8)(const u8* q, u8* r, float* mean, const u8* p, size pixels, i32 n);
    void (*addRgb32)(const u8* q, u8* r, float* mean, const u8* p, size pixels, i32 n);
    void (*removeRgb32)(const u8* q, u8* r, float* mean, const u8* p, size pixels, i32 n);
    void (*darkMap8)(float* map, const float* mean, size pixels, float s, float o, i32 levels);
    // The 16-bit dark map into map, then subtractDark of it from mean, in one
    // pass.
    void (*darkMap16Subtract)(float* map, const float* darkMean, float* mean, size pixels, float s,
                              float o, i32 levels, SumFacts* facts);
    void (*subtractDark)(float* mean, const float* dark, size pixels, SumFacts* facts);
    double (*sumInOrder)(const float* values, size pixels);
    void (*gainMap)(float* map, const float* mean, size pixels, float target);
    // Returns the sum of the packed words as little-endian 32-bit pairs.
    u32 (*pack)(u16* out, const float* dark, const float* gain, size pixels, float step, i32 scale,
                i32 levels, bool sixteenBit);
    // A 16-bit series kept as exact sums: the first image, then each further
    // one (sums then stay below 2^31 for FastCountLimit images).
    void (*sumStart16)(u32* sums, const u16* p, size pixels);
    void (*sumAdd16)(u32* sums, const u16* p, size pixels);
    // Overwrites, as floats, each dark sum with the pixel's dark map value
    // (as darkMap16Subtract makes it of the dark mean) and each bright sum
    // with its corrected bright mean (the mean less that value), gathering
    // the corrected values as subtractDark does.
    void (*correctSums16)(const SeriesSums& in, SumFacts* facts);
    // gainMap and then pack of its gains, in one pass, without keeping the
    // gain map.
    u32 (*gainPackOnly)(u16* out, const float* mean, const float* dark, size pixels, float target,
                        float step, i32 scale, i32 levels, bool sixteenBit);
};

// The fastest set this processor runs.
const KernelSet& best();
// Every set this processor runs, best last; tests hold each to the definition.
int variantCount();
const KernelSet& variant(int index);

// The plain definitions. Totals wrap in 32 bits as two's complement, so the
// result is defined for every count and mode.
namespace plain {
void accumulate16(u16* q, u16* r, float* mean, const u16* p, size pixels, i32 n, i32 mode);
void accumulate8(const u8* q, u8* r, float* mean, const u8* p, size pixels, i32 n, i32 mode);
void accumulateRgb32(const u8* q, u8* r, float* mean, const u8* p, size pixels, i32 n, i32 mode);
} // namespace plain

// What the series call: the best vectorised set when mode is +1 or -1 and n is
// within FastCountLimit, the plain loop otherwise. The vectorised loops of
// these and of the four below are spread over the processor's threads where
// that is faster (NucParallel), with the same result.
void accumulate16(u16* q, u16* r, float* mean, const u16* p, size pixels, i32 n, i32 mode);
void accumulate8(const u8* q, u8* r, float* mean, const u8* p, size pixels, i32 n, i32 mode);
void accumulateRgb32(const u8* q, u8* r, float* mean, const u8* p, size pixels, i32 n, i32 mode);
// The best set's start16, sumStart16 and sumAdd16.
void start16(u16* q, u16* r, float* mean, const u16* p, size pixels);
void sumStart16(u32* sums, const u16* p, size pixels);
void sumAdd16(u32* sums, const u16* p, size pixels);

// Subtracts dark from mean in place and returns the sum of the results as the
// plain loop (double, index order) would: from the lane sums when every partial
// sum is provably exact, otherwise by summing again in order.
double subtractDarkAndSum(const KernelSet& set, float* mean, const float* dark, size pixels);

// The sum the plain loop would take of values, given what subtractDark (or
// darkMap16Subtract) learnt while writing them.
double sumAfter(const KernelSet& set, const SumFacts& facts, const float* values, size pixels);

} // namespace NucKernels
