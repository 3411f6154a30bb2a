#include <gtest/gtest.h>

#include <array>
#include <ostream>
#include <span>
#include <streambuf>
#include <vector>

#include "support/allocation_counter.h"
#include "velmo_media/compositor.h"
#include "velmo_media/model_fit.h"
#include "velmo_media/y4m_reader.h"
#include "velmo_media/y4m_writer.h"
#include "velmo_report/csv_writer.h"
#include "velmo_run/frame_writer.h"
#include "y4m_bytes.h"

namespace run_tests {
namespace {

using velmo_media::Size;

// Takes everything and keeps nothing.
class Nowhere final : public std::streambuf {
 protected:
    int_type overflow(int_type one) override { return traits_type::not_eof(one); }
    std::streamsize xsputn(const char* /*text*/, std::streamsize count) override { return count; }
};

// A frame's whole way but for the process: read, scaled for the model, its mask scaled back, composed and written.
TEST(FrameAllocations, AreNoneOnceTheBuffersStand) {
    constexpr Size kModel{256, 144};
    std::istringstream in(Y4mStream("YUV4MPEG2 W321 H201 C420jpeg", 321 * 201 + 2 * 161 * 101, 6));
    velmo_media::Y4mReader reader(in, "clip");
    const velmo_media::VideoFormat& format = reader.Format();
    velmo_media::ModelFit fit(format.pixels, format.size, kModel);
    velmo_media::Compositor compositor(velmo_media::BlurredBackground{}, format.pixels, format.size);
    Nowhere nowhere;
    std::ostream out(&nowhere);
    velmo_media::VideoFormat maskFormat = format;
    maskFormat.pixels = {velmo_media::ColourModel::Grey, 0, 0, velmo_media::ColourRange::Full};
    maskFormat.chroma.clear();
    velmo_media::Y4mWriter composites(out, "composites", format);
    velmo_media::Y4mWriter masks(out, "masks", maskFormat);
    velmo_report::CsvWriter csv(out, "rows");
    velmo_run::FrameWriter writer({&composites, &masks, &csv, nullptr}, fit, compositor, format.size);

    velmo_run::FrameSlot slot;
    std::array<std::span<std::uint8_t>, 3> planes;
    for (std::size_t plane = 0; plane < planes.size(); ++plane) {
        slot.planes[plane].resize(kModel.Area());
        planes[plane] = slot.planes[plane];
    }
    slot.mask.assign(kModel.Area(), 200);
    const auto takeOne = [&] {
        ASSERT_TRUE(reader.Next(slot.picture));
        fit.ToModel(slot.picture, planes);
        writer.Write(slot);
    };
    takeOne();
    const std::int64_t before = AllocationCount();
    for (int frame = 0; frame < 5; ++frame)
        takeOne();
    EXPECT_EQ(AllocationCount() - before, 0);
}

}  // namespace
}  // namespace run_tests
