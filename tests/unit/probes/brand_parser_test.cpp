#include "probes/brand_parser.h"

#include <gmock/gmock.h>

#include <ostream>
#include <stdexcept>

namespace probes {
namespace {

struct Parsed {
    std::string family;
    std::string suffix;
    std::uint32_t generation = 0;
    bool result = false;
    bool isIntel = false;

    bool operator==(const Parsed&) const = default;
};

void PrintTo(const Parsed& parsed, std::ostream* out) {
    *out << "family \"" << parsed.family << "\", suffix \"" << parsed.suffix << "\", generation " << parsed.generation
         << (parsed.result ? ", true" : ", false") << (parsed.isIntel ? ", Intel" : "");
}

Parsed Parse(const std::string& brand) {
    Parsed parsed;
    parsed.result = ParseProcessorBrand(brand, parsed.suffix, parsed.generation, parsed.isIntel, parsed.family);
    return parsed;
}

constexpr bool kIntel = true;

TEST(ProcessorBrandParser, ReadsTheBrandsOfTheTable) {
    const struct {
        const char* brand;
        Parsed parsed;
    } rows[] = {
        {"Intel(R) Core(TM) i7-8650U CPU @ 1.90GHz", {"Core(TM)", "i7", 8650, true, kIntel}},
        {"Intel(R) Core(TM) m3-7Y30 CPU @ 1.00GHz", {"Core(TM)", "m3", 7030, true, kIntel}},
        {"Intel(R) Core(TM) i7 CPU 920 @ 2.67GHz", {"Core(TM)", "i7", 920, true, kIntel}},
        {"Intel(R) Core(TM) Ultra 7 155H", {"Core(TM)", "7", 155, true, kIntel}},
        {"12th Gen Intel(R) Core(TM) i5-1235U", {"Core(TM)", "i5", 1235, true, kIntel}},
        {"Intel(R) Core(TM)2 Quad CPU Q6600 @ 2.40GHz", {"Core(TM)2", "Quad", 0, true, kIntel}},
        {"Intel(R) Xeon(R) CPU E5-2680 v4 @ 2.40GHz", {"Xeon(R)", "E5", 2680, true, kIntel}},
        {"Intel(R) Xeon(R) Gold 6248 CPU @ 2.50GHz", {"Xeon(R)", "", 0, false, kIntel}},
        {"Intel(R) Celeron(R) CPU N3350 @ 1.10GHz", {"Celeron(R)", "", 0, false, kIntel}},
        {"Intel(R) N100", {"N", "", 100, true, kIntel}},
        {"AMD Ryzen 7 5800X 8-Core Processor", {"", "", 5, true}},
        {"AMD Ryzen 7 PRO 4750U w/ Radeon Graphics", {"", "", 0, true}},
        {"AMD FX-8350 Eight-Core Processor", {"", "", 8, true}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Parse(row.brand), row.parsed) << row.brand;
}

TEST(ProcessorBrandParser, TakesAnEmptyBrandForAnotherMakers) {
    EXPECT_EQ(Parse(""), (Parsed{"", "", 0, true, false}));
}

TEST(ProcessorBrandParser, GivesNothingForOtherMakers) {
    EXPECT_EQ(Parse("VIA Nano L3100"), (Parsed{"", "", 0, true, false}));
    EXPECT_EQ(Parse("Ryzen 7 5800X"), (Parsed{"", "", 0, true, false}));
    EXPECT_EQ(Parse("intel amd 12345678"), (Parsed{"", "", 0, true, false}));
}

TEST(ProcessorBrandParser, LeavesWhatItDoesNotFindAsItWas) {
    std::string suffix = "s";
    std::string family = "f";
    std::uint32_t generation = 9;
    bool isIntel = true;

    EXPECT_TRUE(ParseProcessorBrand("AMD Ryzen 5 3600", suffix, generation, isIntel, family));
    EXPECT_EQ(suffix, "s");
    EXPECT_EQ(family, "f");
    EXPECT_EQ(generation, 3u);
    EXPECT_FALSE(isIntel);

    EXPECT_FALSE(ParseProcessorBrand("Intel", suffix, generation, isIntel, family));
    EXPECT_EQ(family, "f");
    EXPECT_TRUE(isIntel);

    EXPECT_FALSE(ParseProcessorBrand("Intel(R) Xeon(R) Gold 6248 CPU", suffix, generation, isIntel, family));
    EXPECT_EQ(suffix, "s");
    EXPECT_EQ(family, "Xeon(R)");
    EXPECT_EQ(generation, 3u);
}

TEST(IntelBrand, NeedsTwoTokens) {
    EXPECT_EQ(Parse("Intel(R)"), (Parsed{"", "", 0, false, kIntel}));
    EXPECT_EQ(Parse("Intel(R) "), (Parsed{"", "", 0, false, kIntel}));
    EXPECT_EQ(Parse("Intel(R)  "), (Parsed{"", "", 0, false, kIntel}));  // the second one is empty
    EXPECT_EQ(Parse("Intel(R) CPU"), (Parsed{"CPU", "", 0, false, kIntel}));
}

TEST(IntelBrand, KeepsItsSecondWordAsFamilyWhenNoneFits) {
    EXPECT_EQ(Parse("Intel(R) Atom(TM) CPU D525"), (Parsed{"Atom(TM)", "CPU", 0, true, kIntel}));
    EXPECT_EQ(Parse("Genuine Intel(R) CPU 2160"), (Parsed{"Intel(R)", "CPU", 2160, true, kIntel}));
}

TEST(IntelBrand, IsFoundAnywhereAndBeforeAmd) {
    EXPECT_EQ(Parse("AMD Ryzen 7 5800X Intel"), (Parsed{"Ryzen", "", 0, false, kIntel}));
    EXPECT_EQ(Parse("AMD Intel i7-8700"), (Parsed{"Intel", "i7", 8700, true, kIntel}));
}

TEST(IntelBrand, LooksForFamiliesInTheirOrder) {
    EXPECT_EQ(Parse("Intel(R) Xeon(R) Core(TM) i7-8700").family, "Core(TM)");
    EXPECT_EQ(Parse("Intel(R) Pentium(R) Celeron(R) G-1").family, "Celeron(R)");
    EXPECT_EQ(Parse("Intel(R) Pentium(R) Celeron(R) Xeon(R) G-1").family, "Xeon(R)");
    EXPECT_EQ(Parse("Intel(R) Pentium(R) Gold G-5400").family, "Pentium(R)");
    EXPECT_EQ(Parse("Intel(R) Core(TM) Core(TM)2 G-1").family, "Core(TM)2");
}

TEST(IntelBrand, ShiftsItsTokensByLeadingBlanks) {
    EXPECT_EQ(Parse("  Intel(R) Core(TM) i7 CPU 920 @ 2.67GHz"), (Parsed{"Core(TM)", "", 0, false, kIntel}));
    EXPECT_EQ(Parse(" Intel(R) N100"), (Parsed{"Intel(R)", "", 0, false, kIntel}));
    // A hyphen is found all the same.
    EXPECT_EQ(Parse("  Intel(R) Core(TM) i7-8650U"), (Parsed{"Core(TM)", "i7", 8650, true, kIntel}));
}

TEST(IntelBareName, IsAnNAndANumber) {
    EXPECT_EQ(Parse("Intel(R) N97"), (Parsed{"N", "", 97, true, kIntel}));
    EXPECT_EQ(Parse("Intel(R) N200X CPU"), (Parsed{"N", "", 200, true, kIntel}));
    EXPECT_EQ(Parse("Intel(R) N1\xB2"), (Parsed{"N", "", 1, true, kIntel}));
}

TEST(IntelBareName, IsNoneWithoutANumberAboveZero) {
    EXPECT_EQ(Parse("Intel(R) N0"), (Parsed{"N0", "", 0, false, kIntel}));
    EXPECT_EQ(Parse("Intel(R) N"), (Parsed{"N", "", 0, false, kIntel}));
    EXPECT_EQ(Parse("Intel(R) Nx100"), (Parsed{"Nx100", "", 0, false, kIntel}));
    EXPECT_EQ(Parse("Intel(R) n100"), (Parsed{"n100", "", 0, false, kIntel}));
}

TEST(IntelBareName, GoesOnToTheModelWhenItIsNone) {
    EXPECT_EQ(Parse("Intel(R) Nano i3-5"), (Parsed{"Nano", "i3", 5, true, kIntel}));
    EXPECT_EQ(Parse("Intel(R) N0 a 12"), (Parsed{"N0", "a", 12, true, kIntel}));
}

TEST(IntelBareName, SetsGenerationToZeroOnTheWay) {
    std::string suffix;
    std::string family;
    std::uint32_t generation = 9;
    bool isIntel = false;
    EXPECT_FALSE(ParseProcessorBrand("Intel(R) N0", suffix, generation, isIntel, family));
    EXPECT_EQ(generation, 0u);
}

TEST(IntelModel, IsTheFirstHyphenatedWordFromTheThirdOn) {
    EXPECT_EQ(Parse("Intel(R) A-1 Core(TM) B-2 C-3"), (Parsed{"Core(TM)", "B", 2, true, kIntel}));
    EXPECT_EQ(Parse("Intel(R) Core(TM) i7-8650U-X"), (Parsed{"Core(TM)", "i7", 8650, true, kIntel}));
    EXPECT_EQ(Parse("Intel(R) Core(TM) -12"), (Parsed{"Core(TM)", "", 12, true, kIntel}));
    EXPECT_EQ(Parse("Intel(R) Core(TM) i7--12"), (Parsed{"Core(TM)", "i7", 0, true, kIntel}));  // an empty number
}

TEST(IntelModel, IsFoundByItsPlaceWhenTheHyphenSplitsNothing) {
    EXPECT_EQ(Parse("Intel(R) Core(TM) i7- 12"), (Parsed{"Core(TM)", "i7-", 12, true, kIntel}));
    EXPECT_EQ(Parse("Intel(R) Core(TM) - 12"), (Parsed{"Core(TM)", "-", 12, true, kIntel}));
    EXPECT_EQ(Parse("Intel(R) Core(TM) i7- x y-9"),
              (Parsed{"Core(TM)", "", 0, false, kIntel}));  // only the first counts
}

TEST(IntelModel, ReadsAYBehindTheFirstDigitAsZero) {
    EXPECT_EQ(Parse("Intel(R) Core(TM) m5-6Y54").generation, 6054u);
    EXPECT_EQ(Parse("Intel(R) Core(TM) m5-6Y").generation, 60u);
    EXPECT_EQ(Parse("Intel(R) Core(TM) m5-6y54").generation, 6u);
    EXPECT_EQ(Parse("Intel(R) Core(TM) m5-65Y4").generation, 65u);
    EXPECT_EQ(Parse("Intel(R) Core(TM) m5-Y").generation, 0u);
    EXPECT_EQ(Parse("Intel(R) Core(TM) m5 6Y54").generation, 6u);  // not without the hyphen
}

TEST(IntelModel, StandsAtTheEndOfFourTokens) {
    EXPECT_EQ(Parse("Intel(R) Core(TM)2 Duo 6400"), (Parsed{"Core(TM)2", "Duo", 6400, true, kIntel}));
    EXPECT_EQ(Parse("Intel(R) Core(TM) Ultra 7"), (Parsed{"Core(TM)", "Ultra", 7, true, kIntel}));
    EXPECT_EQ(Parse("Intel(R) Core(TM) i7"), (Parsed{"Core(TM)", "", 0, false, kIntel}));
}

TEST(IntelModel, StandsBehindCpuOrUltraInFiveTokensAndMore) {
    EXPECT_EQ(Parse("Intel(R) Core(TM) i7 CPU 920"), (Parsed{"Core(TM)", "i7", 920, true, kIntel}));
    EXPECT_EQ(Parse("Intel(R) Core(TM) Ultra 9 285K"), (Parsed{"Core(TM)", "9", 285, true, kIntel}));
    EXPECT_EQ(Parse("Intel(R) Core(TM) Ultra CPU 5"), (Parsed{"Core(TM)", "Ultra", 5, true, kIntel}));  // CPU first
    EXPECT_EQ(Parse("Intel(R) Core(TM) i7 cpu 920"), (Parsed{"Core(TM)", "", 0, false, kIntel}));
    EXPECT_EQ(Parse("Intel(R) Core(TM) ultra 9 285K"), (Parsed{"Core(TM)", "", 0, false, kIntel}));
}

TEST(IntelModel, HasGenerationZeroWithoutALeadingDigit) {
    EXPECT_EQ(Parse("Intel(R) Core(TM) i7-U8650"), (Parsed{"Core(TM)", "i7", 0, true, kIntel}));
    EXPECT_EQ(Parse("Intel(R) Core(TM) i7-\xB2"
                    "8650"),
              (Parsed{"Core(TM)", "i7", 0, true, kIntel}));
    EXPECT_EQ(Parse("Intel(R) Core(TM) i7-+5"), (Parsed{"Core(TM)", "i7", 0, true, kIntel}));
    EXPECT_EQ(Parse("Intel(R) Core(TM) i7  "), (Parsed{"Core(TM)", "i7", 0, true, kIntel}));  // an empty fourth token
}

TEST(IntelModel, HoldsNumbersUpTo31Bits) {
    EXPECT_EQ(Parse("Intel(R) Core(TM) i7-2147483647").generation, 2147483647u);
    EXPECT_EQ(Parse("Intel(R) Core(TM) i7-1165G7").generation, 1165u);
}

std::string ErrorOf(const std::string& brand, Parsed& parsed) {
    try {
        (void)ParseProcessorBrand(brand, parsed.suffix, parsed.generation, parsed.isIntel, parsed.family);
    } catch (const std::out_of_range& error) {
        return error.what();
    }
    return "nothing was thrown";
}

TEST(IntelModel, ThrowsWhenItsNumberIsOutOfRange) {
    Parsed parsed;
    parsed.generation = 5;
    EXPECT_EQ(ErrorOf("Intel(R) Core(TM) i7-2147483648", parsed), "stoi argument out of range");
    EXPECT_EQ(parsed, (Parsed{"Core(TM)", "i7", 5, false, kIntel}));  // what was found before it stands
}

TEST(IntelBareName, ThrowsWhenItsNumberIsOutOfRange) {
    Parsed parsed;
    EXPECT_EQ(ErrorOf("Intel(R) N2147483648", parsed), "stoi argument out of range");
    EXPECT_EQ(parsed, (Parsed{"N2147483648", "", 0, false, kIntel}));
}

TEST(RyzenBrand, GivesTheFirstDigitOfTheModelOnly) {
    EXPECT_EQ(Parse("AMD Ryzen 9 7950X").generation, 7u);
    EXPECT_EQ(Parse("AMD Ryzen 5 3600").generation, 3u);
    EXPECT_EQ(Parse("AMD Ryzen 3 9").generation, 9u);
    EXPECT_EQ(Parse("some AMD and Ryzen 7 5800X").generation, 5u);
}

TEST(RyzenBrand, GivesZeroWhereNoDigitStands) {
    EXPECT_EQ(Parse("AMD Ryzen 7").generation, 0u);
    EXPECT_EQ(Parse("AMD Ryzen").generation, 0u);
    EXPECT_EQ(Parse("AMD Ryzen 7 \xB9").generation, 0u);
    EXPECT_EQ(Parse("AMD Ryzen Threadripper 3990X").generation, 0u);
    EXPECT_EQ(Parse("AMD Ryzen 7  5800X").generation, 0u);  // one blank too many
}

// The place of the word that is missing is the highest number of 32 bits, and eight behind it is 7.
TEST(AmdBrandWithoutRyzen, GivesItsEighthChar) {
    EXPECT_EQ(Parse("AMD FX-8350").generation, 8u);
    EXPECT_EQ(Parse("AMD 45678901").generation, 7u);  // one digit, although more follow
    EXPECT_EQ(Parse("AMD EPYC 7763").generation, 0u);
    EXPECT_EQ(Parse("AMD").generation, 0u);
    EXPECT_EQ(Parse("AMD FX-").generation, 0u);   // 7 chars
    EXPECT_EQ(Parse("AMD FX-9").generation, 9u);  // 8 chars
}

TEST(SuffixNumber, StandsBehindTheFirstChar) {
    EXPECT_EQ(ParseSuffixNumber("i7"), 7);
    EXPECT_EQ(ParseSuffixNumber("m3"), 3);
    EXPECT_EQ(ParseSuffixNumber("E5"), 5);
    EXPECT_EQ(ParseSuffixNumber("i12x"), 12);
    EXPECT_EQ(ParseSuffixNumber("77"), 7);
    EXPECT_EQ(ParseSuffixNumber("i-7"), -7);
}

TEST(SuffixNumber, IsZeroWhenThereIsNone) {
    EXPECT_EQ(ParseSuffixNumber(""), 0);
    EXPECT_EQ(ParseSuffixNumber("7"), 0);
    EXPECT_EQ(ParseSuffixNumber("Quad"), 0);
    EXPECT_EQ(ParseSuffixNumber("i\xB7"), 0);
    EXPECT_EQ(ParseSuffixNumber("i2147483647"), 2147483647);
    EXPECT_EQ(ParseSuffixNumber("i2147483648"), 0);  // out of range
}

}  // namespace
}  // namespace probes
