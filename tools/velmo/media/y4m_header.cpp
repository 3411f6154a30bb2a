#include "velmo_media/y4m_header.h"

#include <charconv>
#include <optional>

#include "velmo_media/media_error.h"

namespace velmo_media {
namespace {

constexpr std::string_view kMagic = "YUV4MPEG2";

struct ChromaKind {
    std::string_view name;
    ColourModel model;
    std::uint8_t shiftX;
    std::uint8_t shiftY;
};

// The kinds of 420 differ in where colours are sampled, by half a pixel at most, which makes no difference here.
constexpr ChromaKind kChromaKinds[] = {
    {"420jpeg", ColourModel::Yuv, 1, 1}, {"420mpeg2", ColourModel::Yuv, 1, 1}, {"420paldv", ColourModel::Yuv, 1, 1},
    {"420", ColourModel::Yuv, 1, 1},     {"422", ColourModel::Yuv, 1, 0},      {"444", ColourModel::Yuv, 0, 0},
    {"411", ColourModel::Yuv, 2, 0},     {"mono", ColourModel::Grey, 0, 0},
};

std::string Quoted(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

std::optional<std::uint32_t> Number(std::string_view text) {
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

std::uint32_t Side(std::string_view parameter) {
    const auto side = Number(parameter.substr(1));
    if (!side || *side == 0 || *side > kMostSide) {
        throw MediaError("the size " + Quoted(parameter) + " in its header is none from 1 to " +
                         std::to_string(kMostSide));
    }
    return *side;
}

FrameRate Fraction(std::string_view parameter) {
    const std::size_t colon = parameter.find(':');
    if (colon != std::string_view::npos) {
        const auto numerator = Number(parameter.substr(1, colon - 1));
        const auto denominator = Number(parameter.substr(colon + 1));
        if (numerator && denominator) return {*numerator, *denominator};
    }
    throw MediaError(Quoted(parameter) + " in its header is no fraction");
}

void SetChroma(std::string_view parameter, VideoFormat& format) {
    const std::string_view name = parameter.substr(1);
    for (const ChromaKind& kind : kChromaKinds) {
        if (name != kind.name) continue;
        format.pixels.model = kind.model;
        format.pixels.chromaShiftX = kind.shiftX;
        format.pixels.chromaShiftY = kind.shiftY;
        format.chroma = name;
        return;
    }
    throw MediaError("its pixels are " + Quoted(parameter) +
                     ", which is not read here: 8 bits of C420, C422, C444, C411 or Cmono are");
}

void CheckInterlacing(std::string_view parameter) {
    if (parameter == "Ip" || parameter == "I?") return;
    throw MediaError("it is interlaced (" + Quoted(parameter) +
                     "); make it progressive first, as with ffmpeg -vf yadif");
}

void Take(std::string_view parameter, VideoFormat& format) {
    switch (parameter.front()) {
        case 'W':
            format.size.width = Side(parameter);
            break;
        case 'H':
            format.size.height = Side(parameter);
            break;
        case 'F':
            format.rate = Fraction(parameter);
            break;
        case 'A':
            format.aspect = Fraction(parameter);
            break;
        case 'I':
            CheckInterlacing(parameter);
            break;
        case 'C':
            SetChroma(parameter, format);
            break;
        case 'X':
            if (parameter == "XCOLORRANGE=FULL") format.pixels.range = ColourRange::Full;
            break;
        default:
            break;  // readers pass over what they don't know
    }
}

std::string FractionText(char letter, const FrameRate& fraction) {
    return std::string(" ") + letter + std::to_string(fraction.numerator) + ":" + std::to_string(fraction.denominator);
}

std::string ChromaName(const PixelFormat& pixels) {
    for (const ChromaKind& kind : kChromaKinds) {
        const bool isSame =
            kind.model == pixels.model && kind.shiftX == pixels.chromaShiftX && kind.shiftY == pixels.chromaShiftY;
        if (isSame) return std::string(kind.name);
    }
    throw MediaError("a Y4M stream has no name for these pixels");
}

}  // namespace

VideoFormat ParseY4mHeader(std::string_view line) {
    if (!line.starts_with(kMagic) || (line.size() > kMagic.size() && line[kMagic.size()] != ' ')) {
        throw MediaError("it is no Y4M stream: it does not begin with \"YUV4MPEG2\"");
    }
    VideoFormat format;
    format.pixels = {ColourModel::Yuv, 1, 1, ColourRange::Limited};
    std::string_view rest = line.substr(kMagic.size());
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(' '), rest.size());
        if (end > 0) Take(rest.substr(0, end), format);
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    if (format.size.width == 0 || format.size.height == 0) throw MediaError("its header tells no width or no height");
    if (format.size.Area() > kMostArea) throw MediaError("its pictures have too many pixels");
    return format;
}

std::string Y4mHeader(const VideoFormat& format) {
    std::string header(kMagic);
    header += " W" + std::to_string(format.size.width) + " H" + std::to_string(format.size.height);
    header += FractionText('F', format.rate) + " Ip" + FractionText('A', format.aspect);
    header += " C" + (format.chroma.empty() ? ChromaName(format.pixels) : format.chroma);
    header += format.pixels.range == ColourRange::Full ? " XCOLORRANGE=FULL" : " XCOLORRANGE=LIMITED";
    return header + "\n";
}

}  // namespace velmo_media
