#include <chrono>
#include <exception>
#include <functional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "facade_fixture.h"
#include "support/event_flag.h"
#include "support/watchdog.h"

namespace facade_tests {
namespace {

constexpr char kScript[] = "models OpenVINO m\nlayer input in 1 2";

// An operation, and the library's function in which it is held up.
struct HeldCase {
    const char* name;
    std::string gatedCall;  // function, and which of its calls
    std::function<void(Facade&)> act;
};

void PrintTo(const HeldCase& held, std::ostream* out) {
    *out << held.name;
}

std::string NameOf(const testing::TestParamInfo<HeldCase>& info) {
    return info.param.name;
}

const float kData[2] = {};

// Runs the operation on a thread of its own, held up inside the library, and meanwhile `other` on a second one.
class HeldUp {
 public:
    explicit HeldUp(const HeldCase& held) : facade(kScript) {
        facade.Create();
        facade.engine.CreateNetwork("OpenVINO", "n", "CPU", "m", {});
        facade.library.Add("gate " + held.gatedCall + " g");
        m_holder = std::thread([this, act = held.act] { Run([&] { act(facade); }); });
        EXPECT_TRUE(facade.library.AwaitGate("g"));
    }

    // Starts the other operation; what it throws counts as a failure.
    void Start(std::function<void()> other) {
        m_other = std::thread([this, other = std::move(other)] {
            m_started.Set();
            Run(other);
            otherEnded.Set();
        });
        EXPECT_TRUE(m_started.Wait());
    }

    void OpenGate() { facade.library.OpenGate("g"); }

    ~HeldUp() {
        OpenGate();
        m_holder.join();
        if (m_other.joinable()) m_other.join();
    }

    HeldUp(const HeldUp&) = delete;
    HeldUp& operator=(const HeldUp&) = delete;

    Facade facade;
    support::EventFlag otherEnded;

 private:
    static void Run(const std::function<void()>& act) {
        try {
            act();
        } catch (const std::exception& error) {
            ADD_FAILURE() << error.what();
        }
    }

    support::Watchdog m_watchdog;
    support::EventFlag m_started;
    std::thread m_holder;
    std::thread m_other;
};

class WholeLengthLock : public testing::TestWithParam<HeldCase> {};

INSTANTIATE_TEST_SUITE_P(
    Operations, WholeLengthLock,
    testing::Values(
        HeldCase{"CheckEngine", "hvqGetSupportEngineNumber next",
                 [](Facade& facade) { facade.engine.CheckEngine("OpenVINO"); }},
        // Without an engine's name the search asks for the engines, which takes no lock of its own.
        HeldCase{"HasInnerModel", "hvqGetSupportEngineNumber next",
                 [](Facade& facade) { (void)facade.engine.HasInnerModel("m", ""); }},
        HeldCase{"CreateNetwork", "hvqCreateNetByBuiltin next",
                 [](Facade& facade) { facade.engine.CreateNetwork("OpenVINO", "n", "CPU", "m", {}); }},
        HeldCase{"GetSupportBuiltinModels", "hvqGetSupportBuiltinModelNumber next",
                 [](Facade& facade) { (void)facade.engine.GetSupportBuiltinModels("OpenVINO"); }},
        HeldCase{"GetLayerDims", "hvqGetLayerDims next",
                 [](Facade& facade) { (void)facade.engine.GetLayerDims("in"); }},
        HeldCase{"GetLayerData", "hvqGetLayerData next",
                 [](Facade& facade) { (void)facade.engine.GetLayerData("in"); }},
        HeldCase{"SetLayerData", "hvqSetLayerData next",
                 [](Facade& facade) {
                     facade.engine.SetLayerData("in", kData, {1, 2});
                 }},
        HeldCase{"Infer", "hvqInfer next", [](Facade& facade) { facade.engine.Infer(); }},
        HeldCase{"GetSelfVersion", "hvqSelfVersion next", [](Facade& facade) { (void)facade.engine.GetSelfVersion(); }},
        HeldCase{"GetCurrentNetworkDevice", "hvqGetCurrentNetworkDeviceLength next",
                 [](Facade& facade) { (void)facade.engine.GetCurrentNetworkDevice(); }},
        HeldCase{"CheckException", "hvqHasException next", [](Facade& facade) { facade.engine.CheckException(); }}),
    NameOf);

// Whoever is inside the library keeps others out of it: the other call comes when the first operation is through.
// That nothing comes can't be waited for, so a wrong build could pass by luck; a right one never fails.
TEST_P(WholeLengthLock, KeepsAnotherSuchOperationOutOfTheLibrary) {
    HeldUp held(GetParam());

    held.Start([&] { (void)held.facade.engine.GetSelfVersion(); });

    EXPECT_FALSE(held.otherEnded.Wait(std::chrono::milliseconds(30)));
    held.OpenGate();
    EXPECT_TRUE(held.otherEnded.Wait());
}

// What takes the lock for the exception check only gets into the library all the same.
TEST_P(WholeLengthLock, LetsAnOperationWithoutItIntoTheLibrary) {
    HeldUp held(GetParam());
    held.facade.library.Add("gate hvqGetSupportEngineNumber next inside");

    held.Start([&] { (void)held.facade.engine.GetSupportEngines(); });

    EXPECT_TRUE(held.facade.library.AwaitGate("inside"));
    held.facade.library.OpenGate("inside");
}

class CreationLock : public testing::TestWithParam<HeldCase> {};

void CreateAgain(Facade& facade) {
    facade.engine.Create(facade.library.Path(), nullptr, nullptr);
}

INSTANTIATE_TEST_SUITE_P(Steps, CreationLock,
                         testing::Values(HeldCase{"VersionProbe", "hvqSelfVersion next", CreateAgain},
                                         // The fixture's creation made the first two, the probe makes the third.
                                         HeldCase{"EngineForGood", "hvqCreateWithLibraryLoader 4", CreateAgain}),
                         NameOf);

TEST_P(CreationLock, KeepsAnotherOperationOutOfTheLibrary) {
    HeldUp held(GetParam());

    held.Start([&] { (void)held.facade.engine.GetSelfVersion(); });

    EXPECT_FALSE(held.otherEnded.Wait(std::chrono::milliseconds(30)));
    held.OpenGate();
    EXPECT_TRUE(held.otherEnded.Wait());
}

class NoLock : public testing::TestWithParam<HeldCase> {};

INSTANTIATE_TEST_SUITE_P(
    Operations, NoLock,
    testing::Values(HeldCase{"GetSupportEngines", "hvqGetSupportEngineNumber next",
                             [](Facade& facade) { (void)facade.engine.GetSupportEngines(); }},
                    HeldCase{"GetSupportEnginesInTheList", "hvqGetSupportEngineLength next",
                             [](Facade& facade) { (void)facade.engine.GetSupportEngines(); }},
                    HeldCase{"GetSupportDevices", "hvqGetSupportDeviceNumber next",
                             [](Facade& facade) { (void)facade.engine.GetSupportDevices("OpenVINO"); }},
                    HeldCase{"GetEngineMutableProperties", "hvqGetEngineMutableProperties next",
                             [](Facade& facade) { (void)facade.engine.GetEngineMutableProperties("OpenVINO"); }},
                    HeldCase{"RegisterModel", "hvqRegisterModelAsInnerIDwithString next",
                             [](Facade& facade) {
                                 facade.engine.RegisterModel("another", facade.library.Path().string());
                             }}),
    NameOf);

TEST_P(NoLock, LetsAnotherOperationRunToItsEndMeanwhile) {
    HeldUp held(GetParam());

    held.Start([&] { (void)held.facade.engine.GetSelfVersion(); });

    EXPECT_TRUE(held.otherEnded.Wait());
}

TEST(EngineThreads, RunFrameOperationsOneAtATime) {
    const support::Watchdog watchdog;
    Facade facade(kScript);
    facade.CreateWithNetwork();
    constexpr int kRounds = 50;
    const auto work = [&] {
        for (int round = 0; round < kRounds; ++round) {
            facade.engine.SetLayerData("in", kData, facade.engine.GetLayerDims("in"));
            facade.engine.Infer();
            (void)facade.engine.GetLayerData("segmentation");
        }
    };

    std::thread first(work);
    std::thread second(work);
    first.join();
    second.join();

    // Each call is followed by the exception check of the same thread: nobody came between.
    const std::vector<scripted_double::Call> calls = facade.library.Calls();
    ASSERT_EQ(calls.size(), 2u * kRounds * 5 * 2);
    for (std::size_t index = 0; index < calls.size(); index += 2) {
        EXPECT_EQ(calls[index].thread, calls[index + 1].thread);
        EXPECT_EQ(calls[index + 1].text, "hvqHasException 2");
    }
}

}  // namespace
}  // namespace facade_tests
