#include <gmock/gmock.h>

#include <string>
#include <thread>

#include "platform/module_files.h"
#include "standin/runtime_library.h"
#include "standin_support/test_engine.h"
#include "support/watchdog.h"

namespace standin_support {
namespace {

using testing::HasSubstr;

std::string CreationError(const HvqLibrary& hvq) {
    if (hvq.hvqHasException(nullptr) == 0) return "";
    std::uint64_t length = 0;
    hvq.hvqGetExceptionStringLength(nullptr, &length);
    std::string text = TwoSteps(length, [&](char* buffer) { hvq.hvqGetExceptionString(nullptr, buffer); });
    hvq.hvqResetExceptionString(nullptr);
    return text;
}

// By hand, since copying over a file fails on Windows with some standard libraries, whatever is asked for.
void CopyLibrary(const std::filesystem::path& to) {
    std::filesystem::remove(to);
    std::filesystem::copy_file(ProgramFolder() / "hvq.dll", to);
}

TEST(Creation, SucceedsBothWays) {
    const HvqLibrary& hvq = Library();
    HvqEngine first = hvq.hvqCreate();
    HvqEngine second = hvq.hvqCreateWithLibraryLoader(nullptr, nullptr);

    EXPECT_NE(first, nullptr);
    EXPECT_NE(second, nullptr);
    EXPECT_NE(first, second);
    EXPECT_EQ(hvq.hvqHasException(nullptr), 0);

    hvq.hvqDestory(first);
    hvq.hvqDestory(second);
}

TEST(Creation, RefusesALoaderAndSaysSoUntilItIsReset) {
    const HvqLibrary& hvq = Library();
    int loader = 0;

    EXPECT_EQ(hvq.hvqCreateWithLibraryLoader(&loader, nullptr), nullptr);
    EXPECT_EQ(hvq.hvqHasException(nullptr), 1);
    EXPECT_EQ(hvq.hvqHasException(nullptr), 1);
    EXPECT_EQ(CreationError(hvq),
              "hvqCreateWithLibraryLoader: the loader pointers have to be null: this library takes no other loader");
    EXPECT_EQ(hvq.hvqHasException(nullptr), 0);

    EXPECT_EQ(hvq.hvqCreateWithLibraryLoader(nullptr, &loader), nullptr);
    EXPECT_NE(CreationError(hvq), "");
}

TEST(Creation, ThatSucceedsForgetsTheFailureBefore) {
    const HvqLibrary& hvq = Library();
    int loader = 0;
    ASSERT_EQ(hvq.hvqCreateWithLibraryLoader(&loader, nullptr), nullptr);

    HvqEngine engine = hvq.hvqCreate();

    EXPECT_EQ(hvq.hvqHasException(nullptr), 0);
    hvq.hvqDestory(engine);
}

TEST(Creation, FailsForTheCallingThreadAlone) {
    const support::Watchdog watchdog;
    const HvqLibrary& hvq = Library();
    int loader = 0;
    ASSERT_EQ(hvq.hvqCreateWithLibraryLoader(&loader, nullptr), nullptr);

    std::thread([&hvq] {
        EXPECT_EQ(hvq.hvqHasException(nullptr), 0);
        hvq.hvqResetExceptionString(nullptr);
    }).join();

    EXPECT_NE(CreationError(hvq), "");
}

TEST(Creation, NamesTheMissingRuntimeAndWhereItWasLookedFor) {
    TemporaryFolder folder;
    CopyLibrary(folder.Path() / "hvq.dll");
    {
        const HvqLibrary hvq(folder.Path() / "hvq.dll");

        EXPECT_EQ(hvq.hvqCreateWithLibraryLoader(nullptr, nullptr), nullptr);

        const std::string error = CreationError(hvq);
        EXPECT_THAT(error,
                    HasSubstr(std::string("ONNX Runtime's library ") + standin::RuntimeFileName() + " is missing"));
        EXPECT_THAT(error, HasSubstr(folder.Path().filename().string()));
    }
}

TEST(Creation, NamesARuntimeThatCannotBeLoadedAndTriesAgainTheNextTime) {
    TemporaryFolder folder;
    const std::filesystem::path runtime = folder.Path() / standin::RuntimeFileName();
    CopyLibrary(folder.Path() / "hvq.dll");
    WriteText(runtime, "not a library");
    {
        const HvqLibrary hvq(folder.Path() / "hvq.dll");

        EXPECT_EQ(hvq.hvqCreate(), nullptr);
        const std::string error = CreationError(hvq);
        EXPECT_THAT(error, HasSubstr(standin::RuntimeFileName()));
        EXPECT_THAT(error, HasSubstr("can't be loaded"));

        std::filesystem::remove(runtime);
        EXPECT_EQ(hvq.hvqCreate(), nullptr);
        EXPECT_THAT(CreationError(hvq), HasSubstr("is missing"));
    }
}

TEST(Creation, RefusesALibraryThatIsAnotherOne) {
    // What was loaded as the runtime stays loaded, and Windows then keeps its file: so this is no temporary folder.
    const std::filesystem::path folder = ProgramFolder() / "another-runtime";
    std::filesystem::create_directories(folder);
    for (const char* const name : {"hvq.dll", standin::RuntimeFileName()}) {
        CopyLibrary(folder / name);
    }
    const HvqLibrary hvq(folder / "hvq.dll");

    EXPECT_EQ(hvq.hvqCreate(), nullptr);

    EXPECT_THAT(CreationError(hvq), HasSubstr("it has no function OrtGetApiBase"));
}

TEST(Unloading, LeavesNothingOfTheLibraryAndItWorksAgainAfterwards) {
    const std::filesystem::path copy = ProgramFolder() / "hvq-unloading.dll";  // beside the runtime; nobody else has it
    CopyLibrary(copy);
    for (int round = 0; round < 3; ++round) {
        const void* inside = nullptr;
        {
            const HvqLibrary hvq(copy);
            inside = reinterpret_cast<const void*>(hvq.hvqInfer);
            EXPECT_TRUE(platform::SystemModuleFiles().FileOf(inside).has_value());
            TestEngine engine(hvq);
            engine.CreateNetwork("family2_256x144");
            const std::vector<float> planes = Planes(256, 144);
            engine.SetLayer("input", planes.data());
            hvq.hvqInfer(engine.Handle());
            EXPECT_EQ(engine.TakeError(), "");
            EXPECT_NE(engine.Floats("segmentation"), nullptr);
        }
        EXPECT_FALSE(platform::SystemModuleFiles().FileOf(inside).has_value()) << "round " << round;
    }
    std::filesystem::remove(copy);
}

TEST(Unloading, WorksOnAThreadThatSawAFailedCreation) {
    const support::Watchdog watchdog;
    const std::filesystem::path copy = ProgramFolder() / "hvq-thread.dll";
    CopyLibrary(copy);
    std::thread([&copy] {
        const HvqLibrary hvq(copy);
        int loader = 0;
        EXPECT_EQ(hvq.hvqCreateWithLibraryLoader(&loader, nullptr), nullptr);
    }).join();  // the thread ends behind the library
    std::filesystem::remove(copy);
}

}  // namespace
}  // namespace standin_support
