#include "probes/number_parsing.h"

#include <gmock/gmock.h>

#include <clocale>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

namespace probes {
namespace {

template <class Error, class Function>
std::string TextOf(Function function) {
    try {
        (void)function();
    } catch (const Error& error) {
        return error.what();
    }
    return "nothing was thrown";
}

TEST(ParseInteger, StopsAtTheFirstCharThatDoesNotFit) {
    EXPECT_EQ(ParseInteger("8650U"), 8650);
    EXPECT_EQ(ParseInteger("1165G7"), 1165);
    EXPECT_EQ(ParseInteger("007"), 7);
    EXPECT_EQ(ParseInteger("7\xB2"), 7);
    EXPECT_EQ(ParseInteger("0x10"), 0);
}

TEST(ParseInteger, TakesWhiteSpaceAndOneSign) {
    EXPECT_EQ(ParseInteger(" \t\n\v\f\r42"), 42);
    EXPECT_EQ(ParseInteger("+42"), 42);
    EXPECT_EQ(ParseInteger(" -42 "), -42);
}

TEST(ParseInteger, HoldsAll32Bits) {
    EXPECT_EQ(ParseInteger("2147483647"), std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(ParseInteger("-2147483648"), std::numeric_limits<std::int32_t>::min());
}

TEST(ParseInteger, RefusesWhatIsNoNumber) {
    for (const char* const text : {"", " ", "U8650", "-", "+-4", "--4", "- 4", "\xB2",
                                   "\xA0"
                                   "4"}) {
        EXPECT_EQ(TextOf<std::invalid_argument>([text] { return ParseInteger(text); }), "invalid stoi argument")
            << text;
    }
}

TEST(ParseInteger, RefusesWhatDoesNotFit32Bits) {
    for (const char* const text : {"2147483648", "-2147483649", "4294967296", "9223372036854775807",
                                   "-9223372036854775808", "99999999999999999999", "-99999999999999999999"}) {
        EXPECT_EQ(TextOf<std::out_of_range>([text] { return ParseInteger(text); }), "stoi argument out of range")
            << text;
    }
}

TEST(ParseFloat, ReadsDecimalNumbers) {
    EXPECT_EQ(ParseFloat(" 2.40"), 2.4f);
    EXPECT_EQ(ParseFloat("2."), 2.0f);
    EXPECT_EQ(ParseFloat(".5"), 0.5f);
    EXPECT_EQ(ParseFloat("+1.5e2x"), 150.0f);
    EXPECT_EQ(ParseFloat("-1.5E-1"), -0.15f);
    EXPECT_EQ(ParseFloat("2.4.5"), 2.4f);
    EXPECT_EQ(ParseFloat("3e"), 3.0f);
    EXPECT_EQ(ParseFloat("2,5"), 2.0f);
}

TEST(ParseFloat, ReadsHexadecimalNumbers) {
    EXPECT_EQ(ParseFloat("0x1.8p1"), 3.0f);
    EXPECT_EQ(ParseFloat("-0XA"), -10.0f);
    EXPECT_EQ(ParseFloat("0x.8"), 0.5f);
}

TEST(ParseFloat, TakesAPrefixWithoutDigitsForAZero) {
    EXPECT_EQ(ParseFloat("0x"), 0.0f);
    EXPECT_EQ(ParseFloat("0xg"), 0.0f);
    EXPECT_EQ(ParseFloat("0x."), 0.0f);
    EXPECT_EQ(ParseFloat("0x-1"), 0.0f);
    EXPECT_EQ(ParseFloat("0xinf"), 0.0f);
}

TEST(ParseFloat, ReadsTheWordsForWhatIsNoFiniteNumber) {
    EXPECT_EQ(ParseFloat("inf"), std::numeric_limits<float>::infinity());
    EXPECT_EQ(ParseFloat("-INFINITY"), -std::numeric_limits<float>::infinity());
    EXPECT_TRUE(std::isnan(ParseFloat("nan")));
}

TEST(ParseFloat, RefusesWhatIsNoNumber) {
    for (const char* const text : {"", " ", "GHz", "-", ".", "e5", "+-1", "--1", "\xB2"}) {
        EXPECT_EQ(TextOf<std::invalid_argument>([text] { return ParseFloat(text); }), "invalid stof argument") << text;
    }
}

TEST(ParseFloat, RefusesWhatSinglePrecisionCannotHold) {
    EXPECT_EQ(ParseFloat("3.4028234e38"), std::numeric_limits<float>::max());
    for (const char* const text : {"3.5e38", "-1e39", "1e99999", "1e-99999"}) {
        EXPECT_EQ(TextOf<std::out_of_range>([text] { return ParseFloat(text); }), "stof argument out of range") << text;
    }
}

// A locale that writes a comma for the point exists on few machines; where there is none this holds as well.
TEST(ParseFloat, DoesNotAskTheLocale) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    for (const char* const name : {"de_DE.UTF-8", "de_DE.utf8", "German", "fr_FR.UTF-8", ""})
        if (std::setlocale(LC_ALL, name) != nullptr) break;

    EXPECT_EQ(ParseFloat("2.40"), 2.4f);
    EXPECT_EQ(ParseFloat("2,40"), 2.0f);

    std::setlocale(LC_ALL, before.c_str());
}

}  // namespace
}  // namespace probes
