#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "facade_fixture.h"

namespace facade_tests {
namespace {

using hvq::inference::PluginEngine;
using testing::ElementsAre;

static_assert(!std::is_copy_constructible_v<PluginEngine> && !std::is_copy_assignable_v<PluginEngine>);
static_assert(!std::is_move_constructible_v<PluginEngine> && !std::is_move_assignable_v<PluginEngine>);
static_assert(!std::is_polymorphic_v<PluginEngine>);

TEST(EngineDestruction, DestroysTheEngineBeforeItUnloadsTheLibrary) {
    Facade facade;
    auto engine = std::make_unique<PluginEngine>(facade.Seams());
    engine->Create(facade.library.Path(), nullptr, nullptr);
    facade.library.ForgetCalls();
    std::vector<std::string> callsBeforeUnload;
    facade.loader.BeforeUnload([&] { callsBeforeUnload = facade.library.CallTexts(); });

    engine.reset();

    EXPECT_THAT(callsBeforeUnload, ElementsAre("hvqDestory 2"));
    EXPECT_THAT(facade.loader.Loads(), ElementsAre("LoadW", "Unload", "LoadA", "Unload"));
    EXPECT_THAT(facade.library.CallTexts(), ElementsAre("hvqDestory 2")) << "once";
}

TEST(EngineDestruction, DestroysTheVersionProbesEngineBeforeItUnloadsTheLibrary) {
    std::vector<std::string> callsBeforeUnload;  // before the facade, whose end unloads too
    Facade facade;
    facade.loader.BeforeUnload([&] { callsBeforeUnload = facade.library.CallTexts(); });

    facade.engine.Create(facade.library.Path(), nullptr, nullptr);

    ASSERT_FALSE(callsBeforeUnload.empty());
    EXPECT_EQ(callsBeforeUnload.back(), "hvqDestory 1");
}

TEST(EngineDestruction, LeavesNetworksAndModelsToTheLibrary) {
    Facade facade;
    auto engine = std::make_unique<PluginEngine>(facade.Seams());
    engine->Create(facade.library.Path(), nullptr, nullptr);
    engine->RegisterModel("m", facade.library.Scratch().Put("model", "").string());
    engine->CreateNetwork("OpenVINO", "n", "CPU", "m", {});
    facade.library.ForgetCalls();

    engine.reset();

    EXPECT_THAT(facade.library.CallTexts(), ElementsAre("hvqDestory 2"));
}

TEST(EngineDestruction, OfAnObjectThatWasNeverCreatedTouchesNoLibrary) {
    Facade facade;
    { const PluginEngine engine(facade.Seams()); }

    EXPECT_TRUE(facade.loader.Loads().empty());
}

TEST(EngineDestruction, AfterAFailedCreationLeavesNothingLoaded) {
    Facade facade("null hvqCreateWithLibraryLoader 2+");
    {
        PluginEngine engine(facade.Seams());
        EXPECT_THROW(engine.Create(facade.library.Path(), nullptr, nullptr), std::runtime_error);
    }

    int balance = 0;
    for (const std::string& load : facade.loader.Loads())
        balance += load == "Unload" ? -1 : 1;
    EXPECT_EQ(balance, 0);
}

}  // namespace
}  // namespace facade_tests
