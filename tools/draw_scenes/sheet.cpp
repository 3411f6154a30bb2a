#include "draw_scenes_tool/sheet.h"

#include "velmo_scenes/clip.h"
#include "velmo_scenes/scene.h"

namespace draw_scenes {
namespace {

constexpr double kStepSeconds = 0.2;

class Sheet {
 public:
    Sheet(int width, int height)
        : m_width(width),
          m_height(height),
          m_rgb(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3U, '\0') {}

    void Put(const scenes::Frame& frame, int left, int top, bool mask) {
        for (int y = 0; y < frame.height; ++y) {
            for (int x = 0; x < frame.width; ++x) {
                const std::size_t from =
                    static_cast<std::size_t>(y) * static_cast<std::size_t>(frame.width) + static_cast<std::size_t>(x);
                const std::size_t to = (static_cast<std::size_t>(top + y) * static_cast<std::size_t>(m_width) +
                                        static_cast<std::size_t>(left + x)) *
                                       3U;
                for (std::size_t c = 0; c < 3; ++c) {
                    m_rgb[to + c] = static_cast<char>(mask ? frame.mask[from] : frame.rgb[from * 3U + c]);
                }
            }
        }
    }

    std::string Ppm() const {
        return "P6\n" + std::to_string(m_width) + " " + std::to_string(m_height) + "\n255\n" + m_rgb;
    }

 private:
    int m_width;
    int m_height;
    std::string m_rgb;
};

}  // namespace

std::string DrawSheet(const SheetOptions& options) {
    const int cellWidth = options.size.width * (options.masks ? 2 : 1);
    Sheet sheet(cellWidth * options.columns, options.size.height * options.rows);
    scenes::Frame frame;
    for (int i = 0; i < options.columns * options.rows; ++i) {
        const auto index = static_cast<std::uint64_t>(i);
        const std::uint64_t seed = options.asSequence ? options.seed : options.seed + index;
        scenes::Scene scene(options.clips ? scenes::StageClip({seed, false}) : scenes::DrawStaging(seed));
        scene.Draw(options.seconds + (options.asSequence ? kStepSeconds * i : 0.0), options.size.width,
                   options.size.height, frame);
        const int left = i % options.columns * cellWidth;
        const int top = i / options.columns * options.size.height;
        sheet.Put(frame, left, top, false);
        if (options.masks) sheet.Put(frame, left + options.size.width, top, true);
    }
    return sheet.Ppm();
}

}  // namespace draw_scenes
