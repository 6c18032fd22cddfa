// The loops of row_kernels.h. Included once per level, with KEL_KERNEL_LEVEL naming the namespace.
// Only headers without inline code of their own may be included here: code that the compiler makes
// for one level must never serve another.
#include "row_kernels.h"

#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace kel::detail::KEL_KERNEL_LEVEL {
namespace {

// The defining rule, one sample at a time.
inline uint8_t luminanceOf(uint8_t r, uint8_t g, uint8_t b) {
    return static_cast<uint8_t>(static_cast<int>((0.299 * r + 0.587 * g) + 0.114 * b));
}

void luminanceInDouble(const uint8_t* r, const uint8_t* g, const uint8_t* b, uint8_t* out,
                       size_t count) {
    for (size_t i = 0; i < count; ++i)
        out[i] = luminanceOf(r[i], g[i], b[i]);
}

#if defined(__AVX2__)

// Interleaved pixels are handled 32 at a time as three registers of two lanes each: the low lanes
// hold pixels 0 to 15, the high lanes pixels 16 to 31. Byte i of register k belongs to colour
// (16 k + i) mod 3, so for one colour the three registers never claim the same byte: two blends
// gather a colour, and one shuffle puts it in order (or the other way round).
struct LaneTable {
    alignas(16) uint8_t bytes[16];
};

// 0xff at every third byte, from `first` on.
constexpr LaneTable everyThird(int first) {
    LaneTable t{};
    for (int i = first; i < 16; i += 3)
        t.bytes[i] = 0xff;
    return t;
}

// Where, in the blended register, pixel p of a colour lies.
constexpr LaneTable gatherOrder(int colour) {
    LaneTable t{};
    for (int p = 0; p < 16; ++p)
        t.bytes[p] = static_cast<uint8_t>((3 * p + colour) % 16);
    return t;
}

// The inverse: which pixel goes to byte i.
constexpr LaneTable scatterOrder(int colour) {
    LaneTable t{};
    for (int p = 0; p < 16; ++p)
        t.bytes[(3 * p + colour) % 16] = static_cast<uint8_t>(p);
    return t;
}

constexpr LaneTable kThird[3] = {everyThird(0), everyThird(1), everyThird(2)};
constexpr LaneTable kGather[3] = {gatherOrder(0), gatherOrder(1), gatherOrder(2)};
constexpr LaneTable kScatter[3] = {scatterOrder(0), scatterOrder(1), scatterOrder(2)};

inline __m256i bothLanes(const LaneTable& t) {
    return _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(t.bytes)));
}

inline __m256i load32(const uint8_t* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

// Results that will not fit into the caches go past them, to an aligned address.
enum class Store { cached, streamed };

template <Store kind = Store::cached>
inline void store32(uint8_t* p, __m256i v) {
    if (kind == Store::streamed)
        _mm256_stream_si256(reinterpret_cast<__m256i*>(p), v);
    else
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
}

inline __m256i loadLanes(const uint8_t* low, const uint8_t* high) {
    const __m128i l = _mm_loadu_si128(reinterpret_cast<const __m128i*>(low));
    const __m128i h = _mm_loadu_si128(reinterpret_cast<const __m128i*>(high));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(l), h, 1);
}

inline bool isAligned32(const uint8_t* p) {
    return reinterpret_cast<uintptr_t>(p) % 32 == 0;
}

template <Store kind>
void deinterleave32(const uint8_t* bgr, uint8_t* const planes[3], size_t begin, size_t end) {
    const __m256i third[3] = {bothLanes(kThird[0]), bothLanes(kThird[1]), bothLanes(kThird[2])};
    const __m256i order[3] = {bothLanes(kGather[0]), bothLanes(kGather[1]), bothLanes(kGather[2])};
    for (size_t i = begin; i + 32 <= end; i += 32) {
        const uint8_t* p = bgr + 3 * i;
        const __m256i v0 = loadLanes(p, p + 48);
        const __m256i v1 = loadLanes(p + 16, p + 64);
        const __m256i v2 = loadLanes(p + 32, p + 80);
        // Register k holds colour c at the bytes of `third[(c - k) mod 3]`.
        const __m256i b = _mm256_blendv_epi8(_mm256_blendv_epi8(v2, v1, third[2]), v0, third[0]);
        const __m256i g = _mm256_blendv_epi8(_mm256_blendv_epi8(v2, v1, third[0]), v0, third[1]);
        const __m256i r = _mm256_blendv_epi8(_mm256_blendv_epi8(v2, v1, third[1]), v0, third[2]);
        store32<kind>(planes[0] + i, _mm256_shuffle_epi8(b, order[0]));
        store32<kind>(planes[1] + i, _mm256_shuffle_epi8(g, order[1]));
        store32<kind>(planes[2] + i, _mm256_shuffle_epi8(r, order[2]));
    }
}

template <Store kind>
void interleave32(const uint8_t* const planes[3], uint8_t* bgr, size_t begin, size_t end) {
    const __m256i third[3] = {bothLanes(kThird[0]), bothLanes(kThird[1]), bothLanes(kThird[2])};
    const __m256i order[3] = {bothLanes(kScatter[0]), bothLanes(kScatter[1]),
                              bothLanes(kScatter[2])};
    for (size_t i = begin; i + 32 <= end; i += 32) {
        const __m256i b = _mm256_shuffle_epi8(load32(planes[0] + i), order[0]);
        const __m256i g = _mm256_shuffle_epi8(load32(planes[1] + i), order[1]);
        const __m256i r = _mm256_shuffle_epi8(load32(planes[2] + i), order[2]);
        const __m256i v0 = _mm256_blendv_epi8(_mm256_blendv_epi8(r, g, third[1]), b, third[0]);
        const __m256i v1 = _mm256_blendv_epi8(_mm256_blendv_epi8(r, g, third[0]), b, third[2]);
        const __m256i v2 = _mm256_blendv_epi8(_mm256_blendv_epi8(r, g, third[2]), b, third[1]);
        store32<kind>(bgr + 3 * i, _mm256_permute2x128_si256(v0, v1, 0x20));
        store32<kind>(bgr + 3 * i + 32, _mm256_permute2x128_si256(v2, v0, 0x30));
        store32<kind>(bgr + 3 * i + 64, _mm256_permute2x128_si256(v1, v2, 0x31));
    }
}

// First index from which `out` + `step` * index is aligned; `step` is odd.
size_t firstAligned(const uint8_t* out, size_t step) {
    size_t i = 0;
    while (!isAligned32(out + step * i))
        ++i;
    return i;
}

// Both walk a row as: one unaligned block, aligned blocks, one unaligned block at the end. The
// blocks may cover the same pixels twice, with the same result.
size_t deinterleaveBlocks(const uint8_t* bgr, uint8_t* const planes[3], size_t count, bool stream) {
    if (count < 32) return 0;
    deinterleave32<Store::cached>(bgr, planes, 0, 32);
    const size_t begin = firstAligned(planes[0], 1);
    if (stream && isAligned32(planes[1] + begin) && isAligned32(planes[2] + begin)) {
        deinterleave32<Store::streamed>(bgr, planes, begin, count);
        _mm_sfence();
    } else {
        deinterleave32<Store::cached>(bgr, planes, begin, count);
    }
    deinterleave32<Store::cached>(bgr, planes, count - 32, count);
    return count;
}

size_t interleaveBlocks(const uint8_t* const planes[3], uint8_t* bgr, size_t count, bool stream) {
    if (count < 32) return 0;
    interleave32<Store::cached>(planes, bgr, 0, 32);
    const size_t begin = firstAligned(bgr, 3);
    if (stream) {
        interleave32<Store::streamed>(planes, bgr, begin, count);
        _mm_sfence();
    } else {
        interleave32<Store::cached>(planes, bgr, begin, count);
    }
    interleave32<Store::cached>(planes, bgr, count - 32, count);
    return count;
}

// Exact luminance in 16-bit integers. With S = 299 r + 587 g + 114 b the double expression
// truncates to floor(S / 1000), save where S is a multiple of 1000 and rounding on the way may have
// lost the last bit: 3464 of 16774 such triples come out one lower. Quotient and remainder come
// from 8-bit multiplies. An estimate with the weights 76, 150 and 29 of 256 is exact or one too
// low, and the remainder, known modulo 65536, tells which. A zero remainder goes to kNeutralLower
// for a neutral pixel (paper, mostly), and otherwise the block is done again in double.

// Bit v mod 8 of byte v / 8: the neutral level v comes out as v - 1.
struct NeutralLower {
    LaneTable half[2];
};

constexpr NeutralLower neutralLower() {
    NeutralLower t{};
    for (int v = 0; v < 256; ++v)
        if (static_cast<int>((0.299 * v + 0.587 * v) + 0.114 * v) < v)
            t.half[v / 128].bytes[v / 8 % 16] |= static_cast<uint8_t>(1 << v % 8);
    return t;
}

constexpr NeutralLower kNeutralLower = neutralLower();
constexpr LaneTable kBitOfLow3 = {{1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128}};

// A constant that stays in a register as it is. Left alone, the compiler makes some of these anew
// for every block, and turns the product with 1000 into six steps (a fifth slower in all).
inline __m256i held(__m256i v) {
    __asm__("" : "+x"(v));
    return v;
}

inline __m256i heldPair(int first, int second) {
    return held(_mm256_set1_epi16(static_cast<short>(second << 8 | first)));
}

inline __m256i heldWord(int v) {
    return held(_mm256_set1_epi16(static_cast<short>(v)));
}

struct LuminanceConstants {
    __m256i zero = _mm256_setzero_si256();
    __m256i signBit = held(_mm256_set1_epi8(-128));
    __m256i estimateRg = heldPair(76, 150);
    __m256i estimateB = heldPair(29, 0);
    __m256i estimateShift = heldWord(128 * (76 + 150 + 29));
    __m256i lowRg = heldPair(43, 75);  // 299 = 256 + 43, 587 = 2 * 256 + 75
    __m256i highRg = heldPair(1, 2);
    __m256i lowB = heldPair(114, 0);
    __m256i thousand = heldWord(1000);
    __m256i lastRemainder = heldWord(999);
    __m256i low3 = held(_mm256_set1_epi8(7));
    __m256i low4 = held(_mm256_set1_epi8(15));
    __m256i neutralLowerHalf[2] = {held(bothLanes(kNeutralLower.half[0])),
                                   held(bothLanes(kNeutralLower.half[1]))};
    __m256i bitOfLow3 = held(bothLanes(kBitOfLow3));
};

struct Luminance16 {
    __m256i quotient;
    __m256i remainderIsZero;
};

// 16 pixels: `rg` holds r and g in turn, `bz` b and 0.
inline Luminance16 luminance16(const LuminanceConstants& k, __m256i rg, __m256i bz) {
    // The multiply takes one unsigned factor. 150 needs to be it, so the samples lose 128 first.
    __m256i quotient =
        _mm256_add_epi16(_mm256_maddubs_epi16(k.estimateRg, _mm256_xor_si256(rg, k.signBit)),
                         _mm256_maddubs_epi16(k.estimateB, _mm256_xor_si256(bz, k.signBit)));
    quotient = _mm256_srli_epi16(_mm256_add_epi16(quotient, k.estimateShift), 8);
    __m256i sum =
        _mm256_add_epi16(_mm256_maddubs_epi16(rg, k.lowRg), _mm256_maddubs_epi16(bz, k.lowB));
    sum = _mm256_add_epi16(sum, _mm256_slli_epi16(_mm256_maddubs_epi16(rg, k.highRg), 8));
    const __m256i rest = _mm256_sub_epi16(sum, _mm256_mullo_epi16(quotient, k.thousand));
    const __m256i tooLow = _mm256_cmpgt_epi16(rest, k.lastRemainder);
    return {
        _mm256_sub_epi16(quotient, tooLow),
        _mm256_or_si256(_mm256_cmpeq_epi16(rest, k.zero), _mm256_cmpeq_epi16(rest, k.thousand))};
}

// 0xff where the neutral level in a byte comes out one lower.
inline __m256i neutralComesLower(const LuminanceConstants& k, __m256i level) {
    const __m256i row = _mm256_and_si256(_mm256_srli_epi16(level, 3), k.low4);
    const __m256i bits = _mm256_blendv_epi8(_mm256_shuffle_epi8(k.neutralLowerHalf[0], row),
                                            _mm256_shuffle_epi8(k.neutralLowerHalf[1], row), level);
    const __m256i bit = _mm256_shuffle_epi8(k.bitOfLow3, _mm256_and_si256(level, k.low3));
    return _mm256_cmpeq_epi8(_mm256_and_si256(bits, bit), bit);
}

// 32 pixels. False where a coloured pixel needs the double rule; `result` is then incomplete.
inline bool luminance32(const LuminanceConstants& k, __m256i r, __m256i g, __m256i b,
                        __m256i* result) {
    const Luminance16 low =
        luminance16(k, _mm256_unpacklo_epi8(r, g), _mm256_unpacklo_epi8(b, k.zero));
    const Luminance16 high =
        luminance16(k, _mm256_unpackhi_epi8(r, g), _mm256_unpackhi_epi8(b, k.zero));
    *result = _mm256_packus_epi16(low.quotient, high.quotient);
    const __m256i exact = _mm256_packs_epi16(low.remainderIsZero, high.remainderIsZero);
    if (_mm256_testz_si256(exact, exact)) return true;

    const __m256i neutral = _mm256_and_si256(_mm256_cmpeq_epi8(r, g), _mm256_cmpeq_epi8(g, b));
    if (!_mm256_testc_si256(neutral, exact)) return false;
    // Neutral pixels always have remainder zero, so `exact` and `neutral` are the same here.
    *result = _mm256_add_epi8(*result, _mm256_and_si256(exact, neutralComesLower(k, r)));
    return true;
}

// True when `out` starts so shortly behind `in` that a block would read what it must not yet see.
inline bool trailsWithinBlock(const uint8_t* out, const uint8_t* in) {
    return reinterpret_cast<uintptr_t>(out) - reinterpret_cast<uintptr_t>(in) - 1 < 31;
}

size_t luminanceBlocks(const uint8_t* r, const uint8_t* g, const uint8_t* b, uint8_t* out,
                       size_t count) {
    if (trailsWithinBlock(out, r) || trailsWithinBlock(out, g) || trailsWithinBlock(out, b))
        return 0;
    const LuminanceConstants k;
    const size_t whole = count & ~size_t{31};
    for (size_t i = 0; i < whole; i += 32) {
        __m256i result;
        if (luminance32(k, load32(r + i), load32(g + i), load32(b + i), &result)) {
            store32(out + i, result);
        } else {
            alignas(32) uint8_t redone[32];
            luminanceInDouble(r + i, g + i, b + i, redone, 32);
            store32(out + i, load32(redone));
        }
    }
    return whole;
}

#else  // no vector forms at this level: the plain loops do everything

size_t deinterleaveBlocks(const uint8_t*, uint8_t* const[3], size_t, bool) {
    return 0;
}
size_t interleaveBlocks(const uint8_t* const[3], uint8_t*, size_t, bool) {
    return 0;
}
size_t luminanceBlocks(const uint8_t*, const uint8_t*, const uint8_t*, uint8_t*, size_t) {
    return 0;
}

#endif

void deinterleaveBgr(const uint8_t* bgr, uint8_t* r, uint8_t* g, uint8_t* b, size_t count,
                     bool stream) {
    uint8_t* const planes[3] = {b, g, r};
    for (size_t i = deinterleaveBlocks(bgr, planes, count, stream); i < count; ++i) {
        b[i] = bgr[3 * i];
        g[i] = bgr[3 * i + 1];
        r[i] = bgr[3 * i + 2];
    }
}

void interleaveBgr(const uint8_t* r, const uint8_t* g, const uint8_t* b, uint8_t* bgr, size_t count,
                   bool stream) {
    const uint8_t* const planes[3] = {b, g, r};
    for (size_t i = interleaveBlocks(planes, bgr, count, stream); i < count; ++i) {
        bgr[3 * i] = b[i];
        bgr[3 * i + 1] = g[i];
        bgr[3 * i + 2] = r[i];
    }
}

void luminance(const uint8_t* r, const uint8_t* g, const uint8_t* b, uint8_t* out, size_t count) {
    const size_t done = luminanceBlocks(r, g, b, out, count);
    luminanceInDouble(r + done, g + done, b + done, out + done, count - done);
}

void greyOfBgr(const uint8_t* __restrict r, const uint8_t* __restrict g,
               const uint8_t* __restrict b, uint8_t* __restrict out, size_t count) {
    for (size_t i = 0; i < count; ++i)
        out[i] = static_cast<uint8_t>((3735 * b[i] + 19235 * g[i] + 9798 * r[i] + 16384) >> 15);
}

void threshold(const uint8_t* in, uint8_t* out, size_t count, uint8_t level, uint8_t whenAbove) {
    const auto otherwise = static_cast<uint8_t>(~whenAbove);
    for (size_t i = 0; i < count; ++i)
        out[i] = in[i] > level ? whenAbove : otherwise;
}

void sampleMeanCells(const uint8_t* __restrict above, const uint8_t* __restrict centre,
                     const uint8_t* __restrict below, uint16_t* __restrict cells, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        const auto sum = static_cast<uint16_t>(above[i] + above[i + 1] + above[i + 2] + centre[i] +
                                               centre[i + 1] + centre[i + 2] + below[i] +
                                               below[i + 1] + below[i + 2]);
        // 7282 / 65536 divides by 9 exactly up to 9 * 255.
        const auto mean = static_cast<uint16_t>(uint32_t{sum} * 7282U >> 16);
        cells[i] = static_cast<uint16_t>(centre[i + 1] << 8 | mean);
    }
}

}  // namespace

extern const RowKernels kTable;
const RowKernels kTable = {
    KEL_KERNEL_LEVEL_NAME, deinterleaveBgr, interleaveBgr, luminance, greyOfBgr, threshold,
    sampleMeanCells};

}  // namespace kel::detail::KEL_KERNEL_LEVEL
