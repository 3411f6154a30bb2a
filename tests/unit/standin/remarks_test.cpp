#include <gmock/gmock.h>

#include <string>

#include "standin_support/test_engine.h"

namespace standin_support {
namespace {

using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

TEST(Remarks, GoToTheCallbackUntilItIsTakenAway) {
    const TemporaryFolder folder;
    TestEngine engine;
    const std::vector<std::string>& remarks = engine.Remarks();
    engine.SetCacheFolder("kinds", folder.Path());
    engine.SetCacheFolder("gather", folder.Path());

    engine.CreateNetwork("kinds");
    EXPECT_THAT(remarks, SizeIs(1));
    Library().hvqSetLogCallback(engine.Handle(), nullptr, nullptr);
    engine.CreateNetwork("gather");

    EXPECT_THAT(remarks, SizeIs(1));
    EXPECT_EQ(engine.TakeError(), "");
}

TEST(Remarks, OfOneEngineDoNotReachAnother) {
    const TemporaryFolder folder;
    TestEngine listening;
    const std::vector<std::string>& remarks = listening.Remarks();
    TestEngine other;
    other.SetCacheFolder("kinds", folder.Path());

    other.CreateNetwork("kinds");

    EXPECT_THAT(remarks, IsEmpty());
}

TEST(Remarks, OfTheRuntimeArriveToo) {
    TestEngine engine;
    const std::vector<std::string>& remarks = engine.Remarks();
    engine.CreateNetwork("gather");
    const std::int64_t bad = 3;
    engine.SetLayer("index", &bad);

    Library().hvqInfer(engine.Handle());

    EXPECT_THAT(remarks, Not(IsEmpty()));
    EXPECT_EQ(remarks[0].rfind("0 ONNX Runtime: ", 0), 0u) << remarks[0];
    EXPECT_NE(engine.TakeError(), "");
}

}  // namespace
}  // namespace standin_support
