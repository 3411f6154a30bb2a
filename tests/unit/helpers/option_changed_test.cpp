#include "helpers/option_changed.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "helpers/portrait_option.h"

namespace rvo_calyr {
namespace {

TEST(PortraitOption, NamesNothingThatCanBeMadeUntilItIsSet) {
    const _CalyrPortraitOption option;
    EXPECT_EQ(option.flag0, 1);
    EXPECT_EQ(option.flag1, 0);
    EXPECT_EQ(option.flag2, 1);
    EXPECT_EQ(option.deviceType, 2);
    EXPECT_EQ(option.modelQuality, 3);
    EXPECT_EQ(option.modelType, 0);
    for (const char* const text : {option.modelPath, option.enginePath, option.gpuCachePath})
        EXPECT_STREQ(text, "");
}

// On the heap, one block each, so that a read beyond the last text is a read beyond a block.
class Options : public ::testing::Test {
 protected:
    // Asked both ways: which option is the newer one makes no difference.
    bool Changed() const {
        const bool changed = OptionChanged(*m_left, *m_right);
        EXPECT_EQ(OptionChanged(*m_right, *m_left), changed);
        return changed;
    }

    std::unique_ptr<_CalyrPortraitOption> m_left = std::make_unique<_CalyrPortraitOption>();
    std::unique_ptr<_CalyrPortraitOption> m_right = std::make_unique<_CalyrPortraitOption>();
};

using OptionChange = Options;

TEST_F(OptionChange, IsNoneBetweenEqualOptions) {
    EXPECT_FALSE(Changed());
    for (_CalyrPortraitOption* const option : {m_left.get(), m_right.get()}) {
        std::strcpy(option->enginePath, "engine");
        std::strcpy(option->modelPath, "models");
        std::strcpy(option->gpuCachePath, "cache");
        option->modelQuality = 1;
        option->deviceType = 3;
    }
    EXPECT_FALSE(Changed());
}

TEST_F(OptionChange, IsAnotherFolderOfTheEngine) {
    std::strcpy(m_left->enginePath, "a");
    std::strcpy(m_right->enginePath, "b");
    EXPECT_TRUE(Changed());
}

TEST_F(OptionChange, IsAnotherFolderOfTheModels) {
    std::strcpy(m_right->modelPath, "b");
    EXPECT_TRUE(Changed());
}

TEST_F(OptionChange, IsAnotherFolderOfTheCache) {
    std::strcpy(m_left->gpuCachePath, "cache");
    std::strcpy(m_right->gpuCachePath, "cache2");
    EXPECT_TRUE(Changed());
}

TEST_F(OptionChange, IsAnotherModelQuality) {
    m_left->modelQuality = 1;
    m_right->modelQuality = 0;
    EXPECT_TRUE(Changed());
}

TEST_F(OptionChange, IsAnotherDevice) {
    m_left->deviceType = 0;
    m_right->deviceType = 1;
    EXPECT_TRUE(Changed());
}

TEST_F(OptionChange, IsNotTheModelTypeNorAFlagNorTheReservedPath) {
    m_right->modelType = 2;
    m_right->flag0 = 9;
    m_right->flag1 = 9;
    m_right->flag2 = 9;
    std::strcpy(m_right->reservedPath, "reserved");
    EXPECT_FALSE(Changed());
}

TEST_F(OptionChange, ComparesBytesAndNotNames) {
    std::strcpy(m_left->modelPath, "Models");
    std::strcpy(m_right->modelPath, "models");
    EXPECT_TRUE(Changed());
    std::strcpy(m_left->modelPath, "\xFF");
    std::strcpy(m_right->modelPath, "\x7F");
    EXPECT_TRUE(Changed());
}

TEST_F(OptionChange, DoesNotLookBehindTheEndOfAText) {
    std::memcpy(m_left->enginePath, "engine\0x", 9);
    std::memcpy(m_right->enginePath, "engine\0y", 9);
    EXPECT_FALSE(Changed());
}

TEST_F(OptionChange, ReadsATextWithoutTerminatorUpToItsLastByteAndNoFurther) {
    for (_CalyrPortraitOption* const option : {m_left.get(), m_right.get()}) {
        std::memset(option->modelPath, 'm', kPathBytes);  // the engine's folder stands behind it
        std::memset(option->enginePath, 'e', kPathBytes);
        std::memset(option->gpuCachePath, 'c', kPathBytes);  // nothing stands behind it
    }
    std::strcpy(m_left->reservedPath, "behind the engine's folder");
    EXPECT_FALSE(Changed());

    m_left->enginePath[kPathBytes - 1] = 'E';
    EXPECT_TRUE(Changed());
    m_left->enginePath[kPathBytes - 1] = 'e';
    m_left->modelPath[kPathBytes - 1] = 'M';
    EXPECT_TRUE(Changed());
    m_left->modelPath[kPathBytes - 1] = 'm';
    m_left->gpuCachePath[kPathBytes - 1] = 'C';
    EXPECT_TRUE(Changed());
}

}  // namespace
}  // namespace rvo_calyr
