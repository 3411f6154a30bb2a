#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "standin_support/test_engine.h"

namespace standin_support {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

// What one start of a network came to.
struct Start {
    std::string error;
    std::vector<std::string> remarks;
    std::vector<float> mask;
};

class Cache : public testing::Test {
 protected:
    TemporaryFolder folder;

    static Start StartWith(const std::filesystem::path& cache, const std::string& network = "reference_256x144") {
        TestEngine engine;
        const std::vector<std::string>& remarks = engine.Remarks();
        if (!cache.empty()) engine.SetCacheFolder(network, cache);
        engine.CreateNetwork(network);
        Start start{engine.TakeError(), remarks, {}};
        const std::vector<float> planes = Planes(256, 144);
        engine.SetLayer("input", planes.data());
        Library().hvqInfer(engine.Handle());
        const float* const mask = engine.Floats("segmentation");
        if (mask != nullptr) start.mask.assign(mask, mask + 256 * 144);
        return start;
    }

    [[nodiscard]] std::filesystem::path OnlyFile() const {
        const auto files = folder.Files();
        return files.size() == 1 ? files[0] : std::filesystem::path();
    }
};

TEST_F(Cache, IsNotUsedUnlessItIsAskedFor) {
    EXPECT_THAT(StartWith("").remarks, IsEmpty());
}

TEST_F(Cache, KeepsTheOptimisedNetworkForTheSecondStart) {
    const Start plain = StartWith("");
    const Start first = StartWith(folder.Path());
    ASSERT_THAT(folder.Files(), SizeIs(1));
    const std::string kept = ReadText(OnlyFile());

    const Start second = StartWith(folder.Path());

    EXPECT_EQ(first.error, "");
    EXPECT_THAT(first.remarks, ElementsAre(StartsWith("2 optimised network kept in ")));
    EXPECT_EQ(second.error, "");
    EXPECT_THAT(second.remarks, ElementsAre(StartsWith("2 optimised network taken from ")));
    EXPECT_THAT(second.remarks[0], HasSubstr(OnlyFile().filename().string()));
    EXPECT_EQ(ReadText(OnlyFile()), kept);
    ASSERT_THAT(plain.mask, SizeIs(256 * 144));
    EXPECT_EQ(first.mask, plain.mask);
    EXPECT_EQ(second.mask, plain.mask);
}

TEST_F(Cache, RunsWhatIsInItsFile) {
    (void)StartWith(folder.Path(), "family2_256x144");
    const std::filesystem::path family = OnlyFile();
    const std::string kept = ReadText(family);
    std::filesystem::remove(family);
    (void)StartWith(folder.Path());

    // What is kept for one network isn't taken for another one, even under its name.
    WriteText(OnlyFile(), kept);
    const Start start = StartWith(folder.Path());

    EXPECT_THAT(start.remarks, ElementsAre(StartsWith("2 optimised network kept in ")));
    EXPECT_EQ(start.mask, StartWith("").mask);
}

TEST_F(Cache, KeepsNetworksApart) {
    (void)StartWith(folder.Path(), "family0_256x144");
    (void)StartWith(folder.Path(), "family2_256x144");

    EXPECT_THAT(folder.Files(), SizeIs(2));
    EXPECT_THAT(StartWith(folder.Path(), "family0_256x144").remarks,
                ElementsAre(StartsWith("2 optimised network taken")));
    EXPECT_THAT(StartWith(folder.Path(), "family2_256x144").remarks,
                ElementsAre(StartsWith("2 optimised network taken")));
}

TEST_F(Cache, RecoversFromADamagedFile) {
    const Start first = StartWith(folder.Path());
    const std::filesystem::path file = OnlyFile();
    const std::string kept = ReadText(file);
    std::vector<std::string> damaged = {
        "",        "x", kept.substr(0, 39), kept.substr(0, 40), kept.substr(0, 41), kept.substr(0, kept.size() - 1),
        kept + "x"};
    for (const std::size_t at :
         {std::size_t{0}, std::size_t{10}, std::size_t{30}, std::size_t{40}, kept.size() / 2, kept.size() - 1}) {
        damaged.push_back(kept);
        damaged.back()[at] = static_cast<char>(damaged.back()[at] ^ 1);
    }
    for (std::size_t i = 0; i < damaged.size(); ++i) {
        SCOPED_TRACE(i);
        WriteText(file, damaged[i]);

        const Start start = StartWith(folder.Path());

        EXPECT_EQ(start.error, "");
        EXPECT_THAT(start.remarks, ElementsAre(StartsWith("2 optimised network kept in ")));
        EXPECT_EQ(start.mask, first.mask);
        EXPECT_THAT(folder.Files(), ElementsAre(file));
        EXPECT_THAT(StartWith(folder.Path()).remarks, ElementsAre(StartsWith("2 optimised network taken")));
    }
}

TEST_F(Cache, MakesItsFolder) {
    const std::filesystem::path deep = folder.Path() / u8"a \u00E4" / "b";

    const Start start = StartWith(deep);

    EXPECT_EQ(start.error, "");
    EXPECT_THAT(start.remarks, ElementsAre(StartsWith("2 optimised network kept in ")));
    EXPECT_FALSE(std::filesystem::is_empty(deep));
}

TEST_F(Cache, ThatCannotBeIsLeftOut) {
    WriteText(folder.Path() / "file", "in the way");

    const Start start = StartWith(folder.Path() / "file");

    EXPECT_EQ(start.error, "");
    EXPECT_THAT(start.remarks,
                ElementsAre(testing::AllOf(StartsWith("1 "), HasSubstr("reference_256x144.onnx: not cached: "))));
    EXPECT_THAT(start.mask, SizeIs(256 * 144));
}

TEST_F(Cache, WhoseFileCannotBeReplacedIsLeftOut) {
    (void)StartWith(folder.Path());
    const std::filesystem::path file = OnlyFile();
    std::filesystem::remove(file);
    std::filesystem::create_directories(file / "in the way");  // a folder of its name

    const Start start = StartWith(folder.Path());

    EXPECT_EQ(start.error, "");
    EXPECT_THAT(start.remarks, ElementsAre(testing::AllOf(StartsWith("1 "), HasSubstr("not cached"))));
    EXPECT_THAT(start.mask, SizeIs(256 * 144));
    EXPECT_THAT(folder.Files(), ElementsAre(file));  // nothing half-made beside it
}

TEST_F(Cache, DoesNotHideThatAFileIsNoNetwork) {
    const std::filesystem::path bad = folder.Path() / "bad.onnx";
    WriteText(bad, "nonsense");
    TestEngine engine;
    engine.SetCacheFolder("n", folder.Path() / "cache");

    Library().hvqCreateNetByFilesWithWstring(engine.Handle(), L"OpenVINO", L"n", L"CPU", WideName(bad).c_str(),
                                             nullptr);

    EXPECT_THAT(engine.TakeError(), HasSubstr("bad.onnx: it is no network that can run here"));
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path() / "cache"));
}

}  // namespace
}  // namespace standin_support
