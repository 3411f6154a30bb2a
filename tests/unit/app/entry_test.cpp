#include "app/entry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "platform/string_resources.h"

namespace app {
namespace {

class RecordingResources final : public platform::StringResources {
 public:
    struct Asked {
        void* instance;
        std::uint32_t id;
        int capacity;
    };

    int Load(void* instance, std::uint32_t id, wchar_t* buffer, int capacity) override {
        asked.push_back({instance, id, capacity});
        buffer[0] = 0;
        return 0;
    }

    std::vector<Asked> asked;
};

TEST(LoadStartStrings, AsksForBothStringsInTheirOrderAndTakesThatThereAreNone) {
    RecordingResources resources;
    StartStrings strings;
    int instance = 0;

    LoadStartStrings(&instance, resources, strings);

    ASSERT_EQ(resources.asked.size(), 2U);
    EXPECT_EQ(resources.asked[0].id, 103U);
    EXPECT_EQ(resources.asked[1].id, 109U);
    for (const RecordingResources::Asked& asked : resources.asked) {
        EXPECT_EQ(asked.instance, &instance);
        EXPECT_EQ(asked.capacity, 100);
    }
    EXPECT_EQ(strings.first[0], 0);
    EXPECT_EQ(strings.second[0], 0);
}

}  // namespace
}  // namespace app
