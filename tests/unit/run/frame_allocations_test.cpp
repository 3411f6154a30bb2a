#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <memory>
#include <ostream>
#include <span>
#include <streambuf>
#include <vector>

#include "scratch_folder.h"
#include "support/allocation_counter.h"
#include "velmo_media/compositor.h"
#include "velmo_media/model_fit.h"
#include "velmo_media/picture_conversion.h"
#include "velmo_media/png_codec.h"
#include "velmo_media/png_folder.h"
#include "velmo_media/y4m_reader.h"
#include "velmo_media/y4m_writer.h"
#include "velmo_report/csv_writer.h"
#include "velmo_run/frame_writer.h"
#include "velmo_run/open_media.h"
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

constexpr Size kModel{256, 144};
constexpr velmo_media::PixelFormat kRgb{velmo_media::ColourModel::Rgb, 0, 0, velmo_media::ColourRange::Full};

// A frame's whole way but for the process: read, scaled for the model, its mask scaled back, composed and written.
class FrameWay {
 public:
    FrameWay(velmo_media::FrameSource& source, velmo_media::FrameSink& composites, velmo_media::FrameSink& masks,
             std::ostream& rows)
        : m_source(source),
          m_fit(source.Format().pixels, source.Format().size, kModel),
          m_compositor(velmo_media::BlurredBackground{}, source.Format().pixels, source.Format().size),
          m_csv(rows, "rows"),
          m_writer({&composites, &masks, &m_csv, nullptr}, m_fit, m_compositor, source.Format().size) {
        for (std::size_t plane = 0; plane < m_planes.size(); ++plane) {
            m_slot.planes[plane].resize(kModel.Area());
            m_planes[plane] = m_slot.planes[plane];
        }
        m_slot.mask.assign(kModel.Area(), 200);
    }

    void TakeOne() {
        ASSERT_TRUE(m_source.Next(m_slot.picture));
        m_slot.name = m_source.FrameName();
        m_fit.ToModel(m_slot.picture, m_planes);
        m_writer.Write(m_slot);
    }

 private:
    velmo_media::FrameSource& m_source;
    velmo_media::ModelFit m_fit;
    velmo_media::Compositor m_compositor;
    velmo_report::CsvWriter m_csv;
    velmo_run::FrameWriter m_writer;
    velmo_run::FrameSlot m_slot;
    std::array<std::span<std::uint8_t>, 3> m_planes;
};

velmo_media::VideoFormat MasksOf(velmo_media::VideoFormat format) {
    format.pixels = {velmo_media::ColourModel::Grey, 0, 0, velmo_media::ColourRange::Full};
    format.chroma.clear();
    return format;
}

TEST(FrameAllocations, AreNoneOnceTheBuffersStand) {
    std::istringstream in(Y4mStream("YUV4MPEG2 W321 H201 C420jpeg", 321 * 201 + 2 * 161 * 101, 6));
    velmo_media::Y4mReader reader(in, "clip");
    Nowhere nowhere;
    std::ostream out(&nowhere);
    velmo_media::Y4mWriter composites(out, "composites", reader.Format());
    velmo_media::Y4mWriter masks(out, "masks", MasksOf(reader.Format()));
    FrameWay way(reader, composites, masks, out);
    way.TakeOne();
    const std::int64_t before = AllocationCount();
    for (int frame = 0; frame < 5; ++frame)
        way.TakeOne();
    EXPECT_EQ(AllocationCount() - before, 0);
}

// A picture like a photograph: no two rows alike, and nothing that a file could do without.
velmo_media::Picture Noise(Size size) {
    velmo_media::Picture picture(kRgb, size);
    std::uint32_t noise = 1;
    for (std::uint8_t& byte : picture.Bytes()) {
        noise = noise * 1664525U + 1013904223U;
        byte = static_cast<std::uint8_t>(noise >> 24);
    }
    return picture;
}

// How often memory is taken for a few frames more, once the buffers stand.
template <class Action>
std::int64_t AllocationsOf(Action takeOne) {
    takeOne();
    const std::int64_t before = AllocationCount();
    for (int frame = 0; frame < 3; ++frame)
        takeOne();
    return AllocationCount() - before;
}

// What the library behind these allocates is its own, and not counted.
TEST(FrameAllocations, OfPngFilesAreThoseOfTheirLibraryAlone) {
    constexpr Size kSize{321, 201};
    const velmo_media::Picture rgb = Noise(kSize);
    velmo_media::Picture read;
    velmo_media::PngEncoder encoder;
    std::vector<std::uint8_t> file;
    EXPECT_EQ(AllocationsOf([&] {
                  encoder.Encode(rgb, file);
                  velmo_media::DecodePng(file, read);
              }),
              0);
}

TEST(FrameAllocations, OfConversionsAreNoneOnceTheBuffersStand) {
    constexpr Size kSize{321, 201};
    const velmo_media::Picture rgb = Noise(kSize);
    for (const velmo_media::PixelFormat& format :
         {velmo_media::PixelFormat{velmo_media::ColourModel::Yuv, 1, 1, velmo_media::ColourRange::Limited},
          velmo_media::PixelFormat{velmo_media::ColourModel::Yuv, 0, 0, velmo_media::ColourRange::Limited},
          velmo_media::PixelFormat{velmo_media::ColourModel::Grey, 0, 0, velmo_media::ColourRange::Limited}}) {
        velmo_media::RgbConverter converter(format, kSize);
        velmo_media::Picture video;
        velmo_media::Picture back;
        EXPECT_EQ(AllocationsOf([&] {
                      converter.Convert(rgb, video);
                      velmo_media::ConvertToRgb(video, back);
                  }),
                  0);
    }
}

// Folders in and out, with composites as a video: no memory for pixels is taken once the buffers stand, only that for
// names, which a path needs anew for each file.
TEST(FrameAllocations, OfFoldersOfPicturesAreTheirFilesNamesAlone) {
    constexpr std::size_t kLongestName = 1024;
    constexpr std::int64_t kMostNames = 50;  // for one frame, in any standard library
    const ScratchFolder folder;
    const velmo_media::Picture picture = Noise({321, 201});
    {
        velmo_media::PngFolderSink sink(folder.Path() / "in", velmo_media::Overwriting::Refused);
        for (int frame = 0; frame < 6; ++frame)
            sink.Write(picture, "");
    }
    Nowhere nowhere;
    std::istringstream in;
    std::ostream out(&nowhere);
    const velmo_run::StandardStreams streams{in, out};
    for (const std::string& output : {std::string("-"), folder.At("out")}) {
        const auto source = velmo_run::OpenSource(folder.At("in"), streams);
        const auto composites =
            velmo_run::OpenSink(output, source->Format(), velmo_media::Overwriting::Refused, streams);
        const auto masks = velmo_run::OpenSink(folder.At("masks"), MasksOf(source->Format()),
                                               velmo_media::Overwriting::Allowed, streams);
        FrameWay way(*source, *composites, *masks, out);
        way.TakeOne();
        const std::int64_t before = AllocationCount();
        const FailingAllocations none(kLongestName);
        for (int frame = 0; frame < 5; ++frame)
            EXPECT_NO_THROW(way.TakeOne());
        EXPECT_LE(AllocationCount() - before, 5 * kMostNames);
    }
}

}  // namespace
}  // namespace run_tests
