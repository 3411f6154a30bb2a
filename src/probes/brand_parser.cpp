#include "probes/brand_parser.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "probes/number_parsing.h"
#include "probes/split_text.h"

namespace probes {
namespace {

using Tokens = std::vector<std::string>;

// The model's name in two pieces.
struct Model {
    std::string suffix;
    std::string gen;  // its number, and what may stand behind it
};

bool Has(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

// Bytes above 127 are no digits.
bool IsDigit(char one) {
    return one >= '0' && one <= '9';
}

std::uint32_t NumberOf(const std::string& digits) {
    return static_cast<std::uint32_t>(ParseInteger(digits));
}

// Looks for the family's word in the whole brand, the first that hits. False, with nothing written, without a hit.
bool FindFamily(std::string_view brand, std::string& family) {
    if (Has(brand, "Core(TM)")) {
        family = Has(brand, "Core(TM)2") ? "Core(TM)2" : "Core(TM)";
        return true;
    }
    for (const std::string_view name : {"Xeon(R)", "Celeron(R)", "Pentium(R)"}) {
        if (!Has(brand, name)) continue;
        family = name;
        return true;
    }
    return false;
}

// The line of bare names, as N100: the word that stands where others have their family.
bool ParseBareName(std::uint32_t& generation, std::string& family) {
    if (family.size() < 2 || family.front() != 'N') return false;
    const auto end = std::find_if_not(family.begin() + 1, family.end(), IsDigit);
    generation = NumberOf("0" + std::string(family.begin() + 1, end));
    if (generation == 0) return false;
    family = "N";
    return true;
}

// The first token from the third on with a "-" in it. Empty without one.
std::string ModelWord(const Tokens& tokens) {
    const auto found = std::find_if(tokens.begin() + 2, tokens.end(), [](const auto& one) { return Has(one, "-"); });
    return found == tokens.end() ? std::string() : *found;
}

// Finds the model by its hyphen, or else by its place. False, with nothing written, when it is nowhere.
bool FindModel(const Tokens& tokens, Model& model) {
    const Tokens pieces = SplitText(ModelWord(tokens), '-');
    if (pieces.size() >= 2) {
        model = {pieces[0], pieces[1]};
        if (model.gen.size() >= 2 && model.gen[1] == 'Y') model.gen[1] = '0';  // 7Y30 is read as 7030
        return true;
    }
    if (tokens.size() == 4) {
        model = {tokens[2], tokens[3]};
        return true;
    }
    if (tokens.size() < 5) return false;
    if (tokens[3] == "CPU") {
        model = {tokens[2], tokens[4]};
        return true;
    }
    if (tokens[2] == "Ultra") {
        model = {tokens[3], tokens[4]};
        return true;
    }
    return false;
}

bool ParseIntel(const std::string& brand, std::string& suffix, std::uint32_t& generation, std::string& family) {
    const Tokens tokens = SplitText(brand, ' ');
    if (tokens.size() < 2) return false;
    family = tokens[1];
    if (!FindFamily(brand, family) && ParseBareName(generation, family)) return true;
    Model model;
    if (!FindModel(tokens, model)) return false;
    suffix = model.suffix;
    const bool isNumber = !model.gen.empty() && IsDigit(model.gen.front());
    generation = isNumber ? NumberOf(model.gen) : 0;
    return true;
}

// The model's first digit: eight chars behind the start of "Ryzen", with the word, a blank, the tier's digit and
// another blank before it. All in 32 bits, where "Ryzen" that is missing stands at the highest number, so that the
// brand's eighth char is read instead. So it is meant; the tests pin it.
std::string RyzenDigits(const std::string& brand) {
    const auto start = static_cast<std::uint32_t>(brand.find("Ryzen"));
    std::string gen;
    for (std::uint32_t i = start + 8; i < brand.size() && IsDigit(brand[i]); ++i) {
        if (static_cast<std::int32_t>(i - start) > 8) break;
        gen += brand[i];
    }
    return gen;
}

}  // namespace

bool ParseProcessorBrand(const std::string& brand, std::string& suffix, std::uint32_t& generation, bool& isIntel,
                         std::string& family) {
    isIntel = Has(brand, "Intel");
    if (isIntel) return ParseIntel(brand, suffix, generation, family);
    generation = NumberOf("0" + (Has(brand, "AMD") ? RyzenDigits(brand) : std::string()));
    return true;
}

std::int32_t ParseSuffixNumber(const std::string& suffix) {
    if (suffix.size() < 2) return 0;
    try {
        return ParseInteger(std::string_view(suffix).substr(1));
    } catch (const std::logic_error&) {
        return 0;  // no number, or one out of range
    }
}

}  // namespace probes
