#include <emmintrin.h>

#include "helpers/kernels/vector_kernels.h"
#include "helpers/kernels/x86_kernels.h"

namespace rvo_calyr::kernels {

namespace {

// The operations that VectorKernels and EdgeBits are made of. A block is a vector of bytes or of 64-bit words;
// addresses need no alignment.
struct Sse2 {
    using Block = __m128i;
    static constexpr std::size_t kBytes = sizeof(Block);

    static Block LoadAny(const void* bytes) { return _mm_loadu_si128(static_cast<const Block*>(bytes)); }
    static void StoreAny(void* bytes, Block block) { _mm_storeu_si128(static_cast<Block*>(bytes), block); }
    static Block Load(const std::uint8_t* bytes) { return LoadAny(bytes); }
    static void Store(std::uint8_t* bytes, Block block) { StoreAny(bytes, block); }
    static Block LoadWords(const std::uint64_t* words) { return LoadAny(words); }
    static void StoreWords(std::uint64_t* words, Block block) { StoreAny(words, block); }

    static Block Zero() { return _mm_setzero_si128(); }
    static Block Ones() { return _mm_set1_epi8(1); }
    static Block And(Block a, Block b) { return _mm_and_si128(a, b); }
    static Block Or(Block a, Block b) { return _mm_or_si128(a, b); }
    static Block AndNot(Block inverted, Block b) { return _mm_andnot_si128(inverted, b); }
    template <int kBits>
    static Block ShiftUp(Block words) {
        return _mm_slli_epi64(words, kBits);
    }
    template <int kBits>
    static Block ShiftDown(Block words) {
        return _mm_srli_epi64(words, kBits);
    }
    static Block IsByteZero(Block bytes) { return _mm_cmpeq_epi8(bytes, Zero()); }  // 255 where it is, else 0
    static bool IsZero(Block block) { return _mm_movemask_epi8(IsByteZero(block)) == 0xFFFF; }

    static Block AddSaturated(Block a, Block b) { return _mm_adds_epu8(a, b); }
    static Block SubtractSaturated(Block a, int b) { return _mm_subs_epu8(a, _mm_set1_epi8(static_cast<char>(b))); }
    static Block AbsoluteDifference(Block a, Block b) { return Or(_mm_subs_epu8(a, b), _mm_subs_epu8(b, a)); }

    // Sums of bytes are kept in the block's 64-bit words.
    static Block AddByteSums(Block sums, Block bytes) { return _mm_add_epi64(sums, _mm_sad_epu8(bytes, Zero())); }
    static std::uint64_t Total(Block sums) {
        std::uint64_t words[2];
        StoreWords(words, sums);
        return words[0] + words[1];
    }

    static void StoreFloats(float* floats, Block integers) { _mm_storeu_ps(floats, _mm_cvtepi32_ps(integers)); }
    static void Widen(const std::uint8_t* bytes, float* floats) {
        const Block block = Load(bytes);
        const Block low = _mm_unpacklo_epi8(block, Zero());
        const Block high = _mm_unpackhi_epi8(block, Zero());
        StoreFloats(floats, _mm_unpacklo_epi16(low, Zero()));
        StoreFloats(floats + 4, _mm_unpackhi_epi16(low, Zero()));
        StoreFloats(floats + 8, _mm_unpacklo_epi16(high, Zero()));
        StoreFloats(floats + 12, _mm_unpackhi_epi16(high, Zero()));
    }

    static Block TruncateToLowBytes(const float* floats) {
        return And(_mm_cvttps_epi32(_mm_loadu_ps(floats)), _mm_set1_epi32(0xFF));
    }
    static Block TruncateToBytes(const float* floats) {
        // All are 0 to 255, so the packing, which saturates, changes nothing.
        const Block low = _mm_packs_epi32(TruncateToLowBytes(floats), TruncateToLowBytes(floats + 4));
        const Block high = _mm_packs_epi32(TruncateToLowBytes(floats + 8), TruncateToLowBytes(floats + 12));
        return _mm_packus_epi16(low, high);
    }
    static std::uint8_t TruncateToByte(float value) {
        return static_cast<std::uint8_t>(static_cast<std::uint32_t>(_mm_cvttss_si32(_mm_set_ss(value))) & 0xFFu);
    }

    // Of 64 bytes, bit by bit, those above a threshold of 128: one less, they still have their highest bit.
    static std::uint64_t Above(const std::uint8_t* bytes, int threshold) {
        const int tooMuch = threshold - 127;
        std::uint64_t bits = 0;
        for (std::size_t i = 0; i < 64; i += 16) {
            const int sixteen = _mm_movemask_epi8(SubtractSaturated(Load(bytes + i), tooMuch));
            bits |= std::uint64_t{static_cast<std::uint32_t>(sixteen)} << i;
        }
        return bits;
    }

    // Writes 1 to those of 64 bytes whose bit is set; the others keep their value.
    static void StoreOnes(std::uint8_t* bytes, std::uint64_t bits) {
        const Block bitOfByte = _mm_set1_epi64x(static_cast<long long>(0x8040201008040201u));
        for (std::size_t i = 0; i < 64; i += 16) {
            // Eight copies of each of two bytes of bits.
            const Block two = _mm_cvtsi32_si128(static_cast<int>((bits >> i) & 0xFFFFu));
            const Block pairs = _mm_unpacklo_epi8(two, two);
            const Block copies = _mm_shuffle_epi32(_mm_shufflelo_epi16(pairs, 0x50), 0x50);
            const Block set = _mm_cmpeq_epi8(And(copies, bitOfByte), bitOfByte);
            Store(bytes + i, Or(AndNot(set, Load(bytes + i)), And(set, Ones())));
        }
    }

    // Sums of two, four and eight neighbours side by side, then all bytes' sum by the multiplication.
    static std::uint32_t CountBits(std::uint64_t bits) {
        bits -= (bits >> 1) & 0x5555555555555555u;
        bits = (bits & 0x3333333333333333u) + ((bits >> 2) & 0x3333333333333333u);
        bits = (bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0Fu;
        return static_cast<std::uint32_t>((bits * 0x0101010101010101u) >> 56);
    }
};

}  // namespace

constinit const Kernels kSse2Kernels = MakeKernels<Sse2>("sse2");

}  // namespace rvo_calyr::kernels
