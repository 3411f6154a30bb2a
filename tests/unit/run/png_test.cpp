#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <numeric>
#include <optional>
#include <span>

#include "failure_of.h"
#include "scratch_folder.h"
#include "velmo_media/path_name.h"
#include "velmo_media/png_codec.h"
#include "velmo_media/png_folder.h"

namespace run_tests {
namespace {

using testing::HasSubstr;
using velmo_media::ColourModel;
using velmo_media::ColourRange;
using velmo_media::Overwriting;
using velmo_media::Picture;
using velmo_media::PngFolderSink;
using velmo_media::PngFolderSource;
using velmo_media::Size;

constexpr velmo_media::PixelFormat kRgb{ColourModel::Rgb, 0, 0, ColourRange::Full};
constexpr velmo_media::PixelFormat kGrey{ColourModel::Grey, 0, 0, ColourRange::Full};

Picture Counting(const velmo_media::PixelFormat& format, Size size, int first = 0) {
    Picture picture(format, size);
    std::iota(picture.Bytes().begin(), picture.Bytes().end(), static_cast<std::uint8_t>(first));
    return picture;
}

std::vector<std::uint8_t> Png(const Picture& picture) {
    std::vector<std::uint8_t> file;
    velmo_media::EncodePng(picture, file);
    return file;
}

Picture DecodePng(std::span<const std::uint8_t> file) {
    Picture picture;
    velmo_media::DecodePng(file, picture);
    return picture;
}

TEST(Png, ComesBackAsItWas) {
    for (const Size size : {Size{1, 1}, Size{7, 3}, Size{64, 5}}) {
        const Picture picture = Counting(kRgb, size);
        const Picture read = DecodePng(Png(picture));
        EXPECT_EQ(read.Dimensions(), size);
        EXPECT_TRUE(std::ranges::equal(read.Bytes(), picture.Bytes()));
    }
}

TEST(Png, OfGreyHasThreeEqualPlanes) {
    const Picture picture = Counting(kGrey, {5, 4});
    const Picture read = DecodePng(Png(picture));
    for (std::size_t plane = 0; plane < 3; ++plane)
        EXPECT_TRUE(std::ranges::equal(read.Plane(plane), picture.Plane(0)));
}

TEST(Png, ThatIsDamagedIsRefused) {
    std::vector<std::uint8_t> file = Png(Counting(kRgb, {16, 16}));
    EXPECT_THAT(FailureOf([] { (void)DecodePng({}); }), HasSubstr("no PNG file"));
    file.resize(file.size() / 2);
    EXPECT_THAT(FailureOf([&] { (void)DecodePng(file); }), HasSubstr("no PNG file"));
    file[1] = 'X';
    EXPECT_THAT(FailureOf([&] { (void)DecodePng(file); }), HasSubstr("no PNG file"));
}

class PngFolder : public testing::Test {
 protected:
    void Put(const std::string& name, const Picture& picture) { Put(name, Png(picture)); }
    void Put(const std::string& name, const std::vector<std::uint8_t>& bytes) {
        std::ofstream(m_folder.Path() / name, std::ios::binary)
            .write(static_cast<const char*>(static_cast<const void*>(bytes.data())),
                   static_cast<std::streamsize>(bytes.size()));
    }

    ScratchFolder m_folder;
};

TEST_F(PngFolder, IsReadInTheOrderOfNames) {
    Put("b.png", Counting(kRgb, {2, 1}, 20));
    Put("a10.PNG", Counting(kRgb, {2, 1}, 10));
    Put("a.txt", std::vector<std::uint8_t>{1});
    PngFolderSource source(m_folder.Path());
    EXPECT_EQ(source.CountHint(), 2u);
    EXPECT_EQ(source.Format().size, (Size{2, 1}));

    Picture picture;
    ASSERT_TRUE(source.Next(picture));
    EXPECT_EQ(source.FrameName(), "a10.PNG");
    EXPECT_EQ(picture.Bytes()[0], 10);
    ASSERT_TRUE(source.Next(picture));
    EXPECT_EQ(source.FrameName(), "b.png");
    EXPECT_EQ(picture.Bytes()[0], 20);
    EXPECT_FALSE(source.Next(picture));
}

TEST_F(PngFolder, NamesTheFileThatIsNoPictureOrHasAnotherSize) {
    EXPECT_THAT(FailureOf([&] { PngFolderSource source(m_folder.Path()); }), HasSubstr("no PNG file in the folder"));
    Put("a.png", Counting(kRgb, {2, 1}));
    Put("b.png", Counting(kRgb, {1, 2}));
    Put("c.png", std::vector<std::uint8_t>{1, 2, 3});
    PngFolderSource source(m_folder.Path());
    Picture picture;
    ASSERT_TRUE(source.Next(picture));
    const std::string otherSize = FailureOf([&] { (void)source.Next(picture); });
    EXPECT_THAT(otherSize, HasSubstr("b.png has 1 x 2 pixels, and those before it 2 x 1"));
    std::filesystem::remove(m_folder.Path() / "a.png");
    std::filesystem::remove(m_folder.Path() / "b.png");
    EXPECT_THAT(FailureOf([&] { PngFolderSource other(m_folder.Path()); }), HasSubstr("c.png: it is no PNG file"));
    EXPECT_THAT(FailureOf([&] { PngFolderSource other(m_folder.Path() / "nowhere"); }),
                HasSubstr("can't read the folder"));
}

TEST_F(PngFolder, IsWrittenByNamesOrNumbers) {
    PngFolderSink sink(m_folder.Path() / "new" / "masks", Overwriting::Refused);
    sink.Write(Counting(kGrey, {2, 2}, 1), "");
    sink.Write(Counting(kGrey, {2, 2}, 2), "scene.png");
    sink.Finish();
    EXPECT_EQ(velmo_media::ReadPngFile(m_folder.Path() / "new" / "masks" / "000000.png").Bytes()[0], 1);
    EXPECT_EQ(velmo_media::ReadPngFile(m_folder.Path() / "new" / "masks" / "scene.png").Bytes()[0], 2);
}

TEST_F(PngFolder, HasBlackAndWhiteOfEveryRangeAsAScreenHasThem) {
    PngFolderSink sink(m_folder.Path(), Overwriting::Refused);
    for (const ColourModel model : {ColourModel::Grey, ColourModel::Yuv, ColourModel::Rgb}) {
        for (const ColourRange range : {ColourRange::Limited, ColourRange::Full}) {
            if (model == ColourModel::Rgb && range == ColourRange::Limited) continue;
            const bool isFull = range == ColourRange::Full;
            Picture picture({model, 0, 0, range}, {2, 1});
            std::ranges::fill(picture.Bytes(), std::uint8_t{128});
            for (std::size_t plane = 0; plane < (model == ColourModel::Rgb ? 3U : 1U); ++plane) {
                picture.Plane(plane)[0] = isFull ? 0 : 16;
                picture.Plane(plane)[1] = isFull ? 255 : 235;
            }
            sink.Write(picture, "a.png");
            const Picture read = velmo_media::ReadPngFile(m_folder.Path() / "a.png");
            for (std::size_t plane = 0; plane < 3; ++plane)
                EXPECT_THAT(read.Plane(plane), testing::ElementsAre(0, 255))
                    << "model " << static_cast<int>(model) << ", full " << isFull;
        }
    }
}

TEST_F(PngFolder, IsCheckedWithoutBeingMade) {
    const auto failure = [&](Overwriting overwriting) {
        return FailureOf([&] { velmo_media::CheckPngFolder(m_folder.Path() / "new", overwriting); });
    };
    EXPECT_EQ(failure(Overwriting::Refused), "it worked");
    EXPECT_FALSE(std::filesystem::exists(m_folder.Path() / "new"));
}

TEST_F(PngFolder, IsReadFromFilesOfAnyLength) {
    // Above and below what is read at once, one behind the other.
    for (const Size size : {Size{400, 300}, Size{1, 1}, Size{400, 301}}) {
        Picture picture(kRgb, size);
        std::uint32_t noise = 1;
        for (std::uint8_t& byte : picture.Bytes()) {
            noise = noise * 1664525U + 1013904223U;  // which nothing can make small
            byte = static_cast<std::uint8_t>(noise >> 24);
        }
        Put("a.png", picture);
        PngFolderSource source(m_folder.Path());
        Picture read;
        ASSERT_TRUE(source.Next(read));
        EXPECT_TRUE(std::ranges::equal(read.Bytes(), picture.Bytes()));
    }
}

TEST_F(PngFolder, ThatHoldsPicturesIsNotOverwrittenUnlessThatIsAllowed) {
    Put("a.png", Counting(kGrey, {2, 2}));
    EXPECT_THAT(FailureOf([&] { PngFolderSink sink(m_folder.Path(), Overwriting::Refused); }), HasSubstr("--force"));
    PngFolderSink sink(m_folder.Path(), Overwriting::Allowed);
    sink.Write(Counting(kGrey, {2, 2}, 5), "a.png");
    EXPECT_EQ(velmo_media::ReadPngFile(m_folder.Path() / "a.png").Bytes()[0], 5);
}

TEST_F(PngFolder, ThatCannotBeWrittenIsTold) {
    PngFolderSink sink(m_folder.Path() / "gone", Overwriting::Refused);
    sink.Write(Counting(kGrey, {2, 2}), "");
    std::filesystem::remove_all(m_folder.Path() / "gone");
    const std::string failure = FailureOf([&] { sink.Write(Counting(kGrey, {2, 2}), ""); });
    EXPECT_THAT(failure, HasSubstr("can't write"));
    EXPECT_THAT(failure, HasSubstr("000001.png"));
    EXPECT_THAT(failure, HasSubstr("1 frames were written whole"));
}

}  // namespace
}  // namespace run_tests
