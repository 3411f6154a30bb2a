// Compiled for processors with AVX2 and POPCNT. Includes only headers whose functions are intrinsics or templates over
// the type below: nothing here may be used by a processor that lacks them.
#include <immintrin.h>

#include "helpers/kernels/vector_kernels.h"
#include "helpers/kernels/x86_kernels.h"

namespace rvo_calyr::kernels {

namespace {

// The operations of sse2_kernels.cpp, twice as wide. Packing and unpacking stay within each half of a vector.
struct Avx2 {
    using Block = __m256i;
    static constexpr std::size_t kBytes = sizeof(Block);

    static Block LoadAny(const void* bytes) { return _mm256_loadu_si256(static_cast<const Block*>(bytes)); }
    static void StoreAny(void* bytes, Block block) { _mm256_storeu_si256(static_cast<Block*>(bytes), block); }
    static Block Load(const std::uint8_t* bytes) { return LoadAny(bytes); }
    static void Store(std::uint8_t* bytes, Block block) { StoreAny(bytes, block); }
    static Block LoadWords(const std::uint64_t* words) { return LoadAny(words); }
    static void StoreWords(std::uint64_t* words, Block block) { StoreAny(words, block); }

    static Block Zero() { return _mm256_setzero_si256(); }
    static Block Ones() { return _mm256_set1_epi8(1); }
    static Block And(Block a, Block b) { return _mm256_and_si256(a, b); }
    static Block Or(Block a, Block b) { return _mm256_or_si256(a, b); }
    static Block AndNot(Block inverted, Block b) { return _mm256_andnot_si256(inverted, b); }
    template <int kBits>
    static Block ShiftUp(Block words) {
        return _mm256_slli_epi64(words, kBits);
    }
    template <int kBits>
    static Block ShiftDown(Block words) {
        return _mm256_srli_epi64(words, kBits);
    }
    static Block IsByteZero(Block bytes) { return _mm256_cmpeq_epi8(bytes, Zero()); }
    static bool IsZero(Block block) { return _mm256_testz_si256(block, block) != 0; }

    static Block AddSaturated(Block a, Block b) { return _mm256_adds_epu8(a, b); }
    static Block SubtractSaturated(Block a, int b) {
        return _mm256_subs_epu8(a, _mm256_set1_epi8(static_cast<char>(b)));
    }
    static Block AbsoluteDifference(Block a, Block b) { return Or(_mm256_subs_epu8(a, b), _mm256_subs_epu8(b, a)); }

    static Block AddByteSums(Block sums, Block bytes) { return _mm256_add_epi64(sums, _mm256_sad_epu8(bytes, Zero())); }
    static std::uint64_t Total(Block sums) {
        std::uint64_t words[4];
        StoreWords(words, sums);
        return words[0] + words[1] + words[2] + words[3];
    }

    static void Widen(const std::uint8_t* bytes, float* floats) {
        for (std::size_t i = 0; i < 32; i += 8) {
            const void* const eight = bytes + i;
            const Block integers = _mm256_cvtepu8_epi32(_mm_loadl_epi64(static_cast<const __m128i*>(eight)));
            _mm256_storeu_ps(floats + i, _mm256_cvtepi32_ps(integers));
        }
    }

    static Block TruncateToLowBytes(const float* floats) {
        return And(_mm256_cvttps_epi32(_mm256_loadu_ps(floats)), _mm256_set1_epi32(0xFF));
    }
    static Block TruncateToBytes(const float* floats) {
        const Block low = _mm256_packs_epi32(TruncateToLowBytes(floats), TruncateToLowBytes(floats + 8));
        const Block high = _mm256_packs_epi32(TruncateToLowBytes(floats + 16), TruncateToLowBytes(floats + 24));
        // Packed half by half, so the groups of four stand as 0 2 4 6, 1 3 5 7.
        return _mm256_permutevar8x32_epi32(_mm256_packus_epi16(low, high), _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    }
    static std::uint8_t TruncateToByte(float value) {
        return static_cast<std::uint8_t>(static_cast<std::uint32_t>(_mm_cvttss_si32(_mm_set_ss(value))) & 0xFFu);
    }

    static std::uint64_t Above(const std::uint8_t* bytes, int threshold) {
        const int tooMuch = threshold - 127;
        const int low = _mm256_movemask_epi8(SubtractSaturated(Load(bytes), tooMuch));
        const int high = _mm256_movemask_epi8(SubtractSaturated(Load(bytes + 32), tooMuch));
        return std::uint64_t{static_cast<std::uint32_t>(low)} | std::uint64_t{static_cast<std::uint32_t>(high)} << 32;
    }

    static void StoreOnes(std::uint8_t* bytes, std::uint64_t bits) {
        const Block bitOfByte = _mm256_set1_epi64x(static_cast<long long>(0x8040201008040201u));
        const Block byteOfCopies = _mm256_setr_epi8(0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1,  //
                                                    2, 2, 2, 2, 2, 2, 2, 2, 3, 3, 3, 3, 3, 3, 3, 3);
        for (std::size_t i = 0; i < 64; i += 32) {
            const Block word = _mm256_set1_epi32(static_cast<int>(static_cast<std::uint32_t>(bits >> i)));
            const Block copies = _mm256_shuffle_epi8(word, byteOfCopies);
            const Block set = _mm256_cmpeq_epi8(And(copies, bitOfByte), bitOfByte);
            Store(bytes + i, _mm256_blendv_epi8(Load(bytes + i), Ones(), set));
        }
    }

    static std::uint32_t CountBits(std::uint64_t bits) { return static_cast<std::uint32_t>(_mm_popcnt_u64(bits)); }
};

}  // namespace

constinit const Kernels kAvx2Kernels = MakeKernels<Avx2>("avx2");

}  // namespace rvo_calyr::kernels
