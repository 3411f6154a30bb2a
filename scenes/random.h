#pragma once

#include <cstdint>

namespace scenes {

// Mixes 64 bits so that neighbouring values have nothing in common afterwards.
inline std::uint64_t Scramble(std::uint64_t value) {
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9ULL;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EBULL;
    return value ^ (value >> 31);
}

// Numbers drawn from a seed, the same on every system. Compilers differ in the order in which they work out a call's
// arguments and the two sides of an operator (a sum, a product, a comparison), so at most one draw stands among those,
// however deep inside: a ?: in one factor counts. What stands in braces, and what "?", "&&" and "||" part, is worked
// out in order.
// Thread: one at a time.
class Random {
 public:
    explicit Random(std::uint64_t seed) : m_state(Scramble(seed + kStep)) {}

    std::uint64_t Bits() {
        m_state += kStep;
        return Scramble(m_state);
    }

    // From 0, below 1.
    float Unit() { return static_cast<float>(Bits() >> 40) * (1.0F / 16777216.0F); }

    float Between(float low, float high) { return low + (high - low) * Unit(); }

    // Centred on 0 and at most 1 in amount, near 0 more often than far from it.
    float Bell() {
        float sum = Unit();
        sum += Unit();
        sum += Unit();
        return sum * (2.0F / 3.0F) - 1.0F;
    }

    // From 0 to `count` - 1; count is above 0.
    int Index(int count) { return static_cast<int>((Bits() >> 33) % static_cast<std::uint64_t>(count)); }

    bool Chance(float share) { return Unit() < share; }

    // A generator of its own, so that one part's draws don't shift those of another.
    Random Fork() { return Random(Bits()); }

 private:
    static constexpr std::uint64_t kStep = 0x9E3779B97F4A7C15ULL;
    std::uint64_t m_state;
};

}  // namespace scenes
