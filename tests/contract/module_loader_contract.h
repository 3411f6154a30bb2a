#pragma once

#include <gmock/gmock.h>

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/module_files.h"
#include "platform/module_loader.h"

// What everybody may expect of ModuleLoader, whoever stands behind it.
namespace contract {

struct LoaderUnderTest {
    platform::ModuleLoader* loader;
    std::string library;       // path of a library that is not loaded and exports "counting_library_next"
    std::wstring wideLibrary;  // the same
    std::shared_ptr<void> owner;
};

using LoaderFactory = std::function<LoaderUnderTest()>;

class ModuleLoaderContract : public testing::TestWithParam<LoaderFactory> {
 protected:
    static constexpr std::uint32_t kFlags = platform::kSearchModuleFolderAndDefaults;
    static constexpr char kSymbol[] = "counting_library_next";

    platform::ModuleLoader& Loader() { return *m_test.loader; }

    // What `name` becomes in a buffer of `capacity` characters, and what is answered.
    template <typename Text>
    Text FullPath(const Text& name, std::uint32_t capacity, std::uint32_t& answer) {
        using Char = typename Text::value_type;
        std::vector<Char> buffer(capacity + 1, Char{'#'});
        answer = Loader().FullPath(name, buffer.data(), capacity);
        EXPECT_EQ(buffer.back(), Char{'#'}) << "written behind the buffer";
        return answer != 0 && answer < capacity ? Text(buffer.data()) : Text();
    }

    std::string Folder() {
        std::array<char, 1024> buffer{};
        EXPECT_TRUE(Loader().CurrentDirectory(buffer.data(), static_cast<int>(buffer.size())));
        return buffer.data();
    }

    LoaderUnderTest m_test = GetParam()();
};

TEST_P(ModuleLoaderContract, ALibraryIsLoadedByEitherKindOfPathAndIsOneModule) {
    const platform::ModuleHandle narrow = Loader().Load(m_test.library, kFlags);
    const platform::ModuleHandle wide = Loader().Load(m_test.wideLibrary, kFlags);

    EXPECT_NE(narrow, nullptr) << Loader().LastError();
    EXPECT_EQ(narrow, wide);
    Loader().Unload(narrow);
    Loader().Unload(wide);
}

TEST_P(ModuleLoaderContract, TheOtherSearchOrderLoadsToo) {
    const platform::ModuleHandle module = Loader().Load(m_test.library, platform::kSearchByAlteredPath);

    ASSERT_NE(module, nullptr) << Loader().LastError();
    Loader().Unload(module);
}

TEST_P(ModuleLoaderContract, ALibraryStaysUntilItsLastUnload) {
    const platform::ModuleHandle module = Loader().Load(m_test.library, kFlags);
    ASSERT_NE(module, nullptr) << Loader().LastError();
    ASSERT_EQ(Loader().Load(m_test.library, kFlags), module);

    Loader().Unload(module);

    const platform::SymbolAddress symbol = Loader().Symbol(module, kSymbol);
    ASSERT_NE(symbol, nullptr);
    EXPECT_GT(reinterpret_cast<int (*)()>(symbol)(), 0);
    Loader().Unload(module);
}

TEST_P(ModuleLoaderContract, WhatIsNotThereIsNotLoadedForAReason) {
    Loader().SetLastError(0);
    EXPECT_EQ(Loader().Load(m_test.library + "2", kFlags), nullptr);
    EXPECT_NE(Loader().LastError(), 0U);
    EXPECT_NE(Loader().LastError(), platform::kInvalidParameter);

    Loader().SetLastError(0);
    EXPECT_EQ(Loader().Load(m_test.wideLibrary + L"2", kFlags), nullptr);
    EXPECT_NE(Loader().LastError(), 0U);
}

TEST_P(ModuleLoaderContract, ASymbolThatTheLibraryLacksIsNotFoundForAReason) {
    const platform::ModuleHandle module = Loader().Load(m_test.library, kFlags);
    ASSERT_NE(module, nullptr) << Loader().LastError();
    Loader().SetLastError(0);

    EXPECT_EQ(Loader().Symbol(module, "counting_library_previous"), nullptr);

    EXPECT_NE(Loader().LastError(), 0U);
    Loader().Unload(module);
}

TEST_P(ModuleLoaderContract, ARelativePathStartsFromTheCurrentFolder) {
    const std::string expected = Folder() + platform::kPathSeparator + "some file.dll";
    std::uint32_t length = 0;

    EXPECT_EQ(FullPath(std::string("some file.dll"), 1000, length), expected);
    EXPECT_EQ(length, expected.size());
    EXPECT_EQ(FullPath(std::wstring(L"some file.dll"), 1000, length), std::wstring(expected.begin(), expected.end()));
    EXPECT_EQ(length, expected.size());
}

TEST_P(ModuleLoaderContract, AnAbsolutePathStaysAsItIs) {
    std::uint32_t length = 0;

    EXPECT_EQ(FullPath(m_test.library, 1000, length), m_test.library);
    EXPECT_EQ(FullPath(m_test.wideLibrary, 1000, length), m_test.wideLibrary);
}

TEST_P(ModuleLoaderContract, ABufferWithoutRoomForTheTerminatorIsTooSmall) {
    const auto size = static_cast<std::uint32_t>(m_test.library.size());
    std::uint32_t answer = 0;

    EXPECT_EQ(FullPath(m_test.library, size + 1, answer), m_test.library);
    EXPECT_EQ(answer, size);
    (void)FullPath(m_test.library, size, answer);
    EXPECT_EQ(answer, size + 1);

    const auto wideSize = static_cast<std::uint32_t>(m_test.wideLibrary.size());
    EXPECT_EQ(FullPath(m_test.wideLibrary, wideSize + 1, answer), m_test.wideLibrary);
    EXPECT_EQ(answer, wideSize);
    (void)FullPath(m_test.wideLibrary, wideSize, answer);
    EXPECT_EQ(answer, wideSize + 1);
}

// Not every system gives a reason.
TEST_P(ModuleLoaderContract, AnEmptyPathHasNoFullForm) {
    std::uint32_t answer = 1;

    (void)FullPath(std::string(), 1000, answer);
    EXPECT_EQ(answer, 0U);
    answer = 1;
    (void)FullPath(std::wstring(), 1000, answer);
    EXPECT_EQ(answer, 0U);
}

TEST_P(ModuleLoaderContract, TheCurrentFolderNeedsRoomForItsTerminator) {
    const std::string folder = Folder();
    std::vector<char> buffer(folder.size() + 1);

    EXPECT_TRUE(Loader().CurrentDirectory(buffer.data(), static_cast<int>(folder.size()) + 1));
    EXPECT_EQ(folder, buffer.data());
    EXPECT_FALSE(Loader().CurrentDirectory(buffer.data(), static_cast<int>(folder.size())));
}

TEST_P(ModuleLoaderContract, AnErrorNumberCanBeSet) {
    Loader().SetLastError(platform::kInvalidParameter);

    EXPECT_EQ(Loader().LastError(), platform::kInvalidParameter);
}

}  // namespace contract
