#include <algorithm>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "facade_fixture.h"
#include "support/blind_file_views.h"

namespace facade_tests {
namespace {

using hvq::inference::List;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

// What must hold for each of the three lists.
struct ListCase {
    const char* name;
    std::string number;  // the functions
    std::string length;
    std::string value;
    std::string arguments;  // between engine and index
    std::function<List(Facade&)> fetch;
};

void PrintTo(const ListCase& list, std::ostream* out) {
    *out << list.name;
}

class EngineLists : public testing::TestWithParam<ListCase> {};

INSTANTIATE_TEST_SUITE_P(
    All, EngineLists,
    testing::Values(ListCase{"Engines", "hvqGetSupportEngineNumber", "hvqGetSupportEngineLength", "hvqGetSupportEngine",
                             "", [](Facade& facade) { return facade.engine.GetSupportEngines(); }},
                    ListCase{"Devices", "hvqGetSupportDeviceNumber", "hvqGetSupportDeviceLength", "hvqGetSupportDevice",
                             " \"z\"", [](Facade& facade) { return facade.engine.GetSupportDevices("z"); }},
                    ListCase{"Models", "hvqGetSupportBuiltinModelNumber", "hvqGetSupportBuiltinModelLength",
                             "hvqGetSupportBuiltinModelID", " \"z\"",
                             [](Facade& facade) { return facade.engine.GetSupportBuiltinModels("z"); }}),
    [](const auto& list) { return std::string(list.param.name); });

constexpr char kThree[] = "engines z a k\ndevices z z a k\nmodels z z a k";

TEST_P(EngineLists, AreReadIndexByIndexInTheLibrarysOrder) {
    Facade facade(kThree);
    facade.Create();

    EXPECT_THAT(GetParam().fetch(facade), ElementsAre("z", "a", "k"));

    const std::vector<std::string> calls = facade.library.CallTexts();
    const auto call = [&](const std::string& function, const std::string& index) {
        return function + " 2" + GetParam().arguments + index;
    };
    const std::vector<std::string> expected = {call(GetParam().number, ""),      call(GetParam().length, " 0"),
                                               call(GetParam().value, " 0 set"), call(GetParam().length, " 1"),
                                               call(GetParam().value, " 1 set"), call(GetParam().length, " 2"),
                                               call(GetParam().value, " 2 set")};
    ASSERT_GE(calls.size(), expected.size());
    EXPECT_EQ(std::vector<std::string>(calls.end() - 7, calls.end()), expected);
}

TEST_P(EngineLists, AskForExceptionsAfterEachCall) {
    Facade facade(kThree);
    facade.Create();

    (void)GetParam().fetch(facade);

    const std::vector<scripted_double::Call> calls = facade.library.Calls();
    for (std::size_t index = 0; index < calls.size(); index += 2) {
        EXPECT_FALSE(calls[index].text.starts_with("hvqHasException")) << index;
        ASSERT_LT(index + 1, calls.size());
        EXPECT_EQ(calls[index + 1].text, "hvqHasException 2") << "behind " << calls[index].text;
    }
}

TEST_P(EngineLists, AreEmptyForNumbersBelowOneWithoutFurtherCalls) {
    for (const char* number : {"0", "-1"}) {
        Facade facade(kThree);
        facade.Create();
        facade.library.Add("answer " + GetParam().number + " * " + number);

        EXPECT_THAT(GetParam().fetch(facade), IsEmpty());
        EXPECT_EQ(facade.library.Count(GetParam().number), 1);
        EXPECT_EQ(facade.library.Count(GetParam().length), 0);
    }
}

TEST_P(EngineLists, EndInALengthErrorForANegativeLength) {
    Facade facade(kThree);
    facade.Create();
    facade.library.Add("answer " + GetParam().length + " * -1");

    try {
        (void)GetParam().fetch(facade);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::length_error& error) {
        EXPECT_STREQ(error.what(), "string too long");
    }
    EXPECT_EQ(facade.library.Count(GetParam().value), 0);
}

TEST_P(EngineLists, PassOnWhatTheLibraryComplainsOfAtEachStep) {
    for (const std::string& function : {GetParam().number, GetParam().length, GetParam().value}) {
        Facade facade(kThree);
        facade.Create();
        facade.library.Add("fail " + function + " next \"out of luck\"");

        EXPECT_EQ(TextThrownBy([&] { (void)GetParam().fetch(facade); }), "out of luck") << function;
        EXPECT_EQ(facade.library.CallTexts().back(), "hvqResetExceptionString 2");
        EXPECT_THAT(GetParam().fetch(facade), ElementsAre("z", "a", "k")) << "the next call starts clean";
    }
}

TEST_P(EngineLists, NeedAnEngine) {
    Facade facade;

    EXPECT_EQ(TextThrownBy([&] { (void)GetParam().fetch(facade); }), kNotCreated);
}

TEST(EngineDevices, AreRefusedForAnUnknownEngineBeforeTheLibraryIsAsked) {
    Facade facade;
    facade.Create();

    EXPECT_EQ(TextThrownBy([&] { (void)facade.engine.GetSupportDevices("x"); }),
              "[x] is not a supported Engine.\nSupported Engines: OpenVINO ");
    EXPECT_EQ(TextThrownBy([&] { (void)facade.engine.GetSupportBuiltinModels("x"); }),
              "[x] is not a supported Engine.\nSupported Engines: OpenVINO ");
    EXPECT_EQ(facade.library.Count("hvqGetSupportDeviceNumber"), 0);
    EXPECT_EQ(facade.library.Count("hvqGetSupportBuiltinModelNumber"), 0);
}

TEST(CheckEngine, TakesAnExactName) {
    Facade facade("engines OpenVINO other");
    facade.Create();

    EXPECT_NO_THROW(facade.engine.CheckEngine("OpenVINO"));
    EXPECT_NO_THROW(facade.engine.CheckEngine("other"));
    EXPECT_THROW(facade.engine.CheckEngine("openvino"), std::runtime_error);
    EXPECT_THROW(facade.engine.CheckEngine("Open"), std::runtime_error);
}

TEST(CheckEngine, DoesNotTakeANameWhoseLengthCountsATerminator) {
    Facade facade("answer hvqGetSupportEngineLength * 9");
    facade.Create();

    EXPECT_THROW(facade.engine.CheckEngine("OpenVINO"), std::runtime_error);
}

TEST(CheckEngine, NamesAllEnginesAndEndsInABlank) {
    Facade facade("engines one two three");
    facade.Create();

    EXPECT_EQ(TextThrownBy([&] { facade.engine.CheckEngine("four"); }),
              "[four] is not a supported Engine.\nSupported Engines: one two three ");
}

TEST(CheckEngine, SaysThatThereIsNone) {
    Facade facade("engines");
    facade.Create();

    EXPECT_EQ(TextThrownBy([&] { facade.engine.CheckEngine("four"); }),
              "[four] is not a supported Engine.\nThis library Not Supported any Engine.");
}

TEST(CheckEngine, RefusesAnEmptyNameFirst) {
    Facade facade;

    EXPECT_EQ(TextThrownBy([&] { facade.engine.CheckEngine(""); }),
              "engine_name argument is a empty string. please check!");
    EXPECT_EQ(TextThrownBy([&] { facade.engine.CheckEngine("x"); }), kNotCreated);
}

TEST(HasInnerModel, LooksInOneEngineOrInAll) {
    Facade facade("engines one two three\nmodels one a\nmodels two b c\nmodels three d");
    facade.Create();

    EXPECT_TRUE(facade.engine.HasInnerModel("c", "two"));
    EXPECT_FALSE(facade.engine.HasInnerModel("a", "two"));
    EXPECT_TRUE(facade.engine.HasInnerModel("d", ""));
    EXPECT_FALSE(facade.engine.HasInnerModel("C", ""));
}

TEST(HasInnerModel, StopsAtTheFirstEngineThatHasIt) {
    Facade facade("engines one two three\nmodels one a\nmodels two b\nmodels three b");
    facade.Create();

    EXPECT_TRUE(facade.engine.HasInnerModel("b", ""));

    EXPECT_EQ(facade.library.Count("hvqGetSupportBuiltinModelNumber"), 2);
    const std::vector<std::string> calls = facade.library.CallTexts();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "hvqGetSupportBuiltinModelNumber 2 \"three\""), 0);
}

TEST(HasInnerModel, RefusesAnEmptyIdFirst) {
    Facade facade;

    EXPECT_EQ(TextThrownBy([&] { (void)facade.engine.HasInnerModel("", ""); }),
              "model_id argument is a empty string. please check!");
    EXPECT_EQ(TextThrownBy([&] { (void)facade.engine.HasInnerModel("m", ""); }), kNotCreated);
    EXPECT_EQ(TextThrownBy([&] { (void)facade.engine.HasInnerModel("m", "x"); }), kNotCreated);
}

TEST(HasInnerModel, RefusesAnUnknownEngine) {
    Facade facade;
    facade.Create();

    EXPECT_EQ(TextThrownBy([&] { (void)facade.engine.HasInnerModel("m", "x"); }),
              "[x] is not a supported Engine.\nSupported Engines: OpenVINO ");
}

// As the double shows a text.
std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char letter : text) {
        if (letter == '\\' || letter == '"') escaped += '\\';
        escaped += letter;
    }
    return escaped;
}

TEST(RegisterModel, MakesTheModelKnown) {
    Facade facade;
    facade.Create();
    const std::string path = facade.library.Scratch().Put("m.model", "").string();

    facade.engine.RegisterModel("m", path);

    EXPECT_EQ(facade.library.CallTexts().back(),
              "hvqRegisterModelAsInnerIDwithString 2 \"m\" \"" + Escaped(path) + "\"");
    EXPECT_EQ(facade.library.Count("hvqRegisterModelAsInnerIDwithString"), 1);
    EXPECT_THAT(facade.engine.GetSupportBuiltinModels("OpenVINO"), ElementsAre("m"));
}

TEST(RegisterModel, ChecksInItsOrder) {
    Facade facade("engines OpenVINO other\nmodels other taken");
    const std::string path = facade.library.Scratch().Put("m.model", "").string();
    const std::string missing = path + ".not";
    const auto text = [&](const char* id, const std::string& file) {
        return TextThrownBy([&] { facade.engine.RegisterModel(id, file); });
    };

    EXPECT_EQ(text("", ""), "Please use hvq library path create dynamic load handle!");
    facade.Create();
    EXPECT_EQ(text("", ""), "model_lib_path argument is a empty string. please check!");
    EXPECT_EQ(text("", missing), missing + " not exists.") << "plainly, not in quotes";
    EXPECT_EQ(text("", path), "model_id argument is a empty string. please check!");
    EXPECT_EQ(text("taken", path), "Model id[taken] is existed! Please use another one.")
        << "that another engine has it is enough";
    EXPECT_EQ(facade.library.Count("hvqRegisterModelAsInnerIDwithString"), 0);
}

TEST(RegisterModel, PrintsTheMissingPathWithoutDoublingBackslashes) {
    Facade facade;
    facade.Create();

    EXPECT_EQ(TextThrownBy([&] { facade.engine.RegisterModel("m", "no\\such\\model"); }),
              "no\\such\\model not exists.");
}

TEST(RegisterModel, AsksItsOwnFileSystemForTheModel) {
    Facade facade;
    support::BlindFileViews files;
    hvq::inference::PluginEngine engine({.modules = facade.loader, .files = files, .streams = facade.streams});
    engine.Create(facade.library.Path(), nullptr, nullptr);
    const std::string path = facade.library.Scratch().Put("m.model", "").string();
    files.isBlind = true;

    EXPECT_EQ(TextThrownBy([&] { engine.RegisterModel("m", path); }), path + " not exists.");

    files.isBlind = false;
    engine.RegisterModel("m", path);
    EXPECT_EQ(facade.library.Count("hvqRegisterModelAsInnerIDwithString"), 1);
}

TEST(RegisterModel, CanNotBeDoneTwice) {
    Facade facade;
    facade.Create();
    const std::string path = facade.library.Scratch().Put("m.model", "").string();
    facade.engine.RegisterModel("m", path);

    EXPECT_EQ(TextThrownBy([&] { facade.engine.RegisterModel("m", path); }),
              "Model id[m] is existed! Please use another one.");
}

TEST(RegisterModel, PassesOnWhatTheLibraryComplainsOf) {
    Facade facade("fail hvqRegisterModelAsInnerIDwithString 1 \"not a model\"");
    facade.Create();
    const std::string path = facade.library.Scratch().Put("m.model", "").string();

    EXPECT_EQ(TextThrownBy([&] { facade.engine.RegisterModel("m", path); }), "not a model");
}

TEST(MutableProperties, AreReadInThreeForms) {
    Facade facade("properties OpenVINO A std::string \"B C\" float");
    facade.Create();

    EXPECT_THAT(facade.engine.GetEngineMutableProperties("OpenVINO"),
                UnorderedElementsAre(Pair("A", "std::string"), Pair("B C", "float")));

    const std::vector<std::string> calls = facade.library.CallTexts();
    ASSERT_GE(calls.size(), 5u);
    EXPECT_THAT(std::vector<std::string>(calls.end() - 5, calls.end()),
                ElementsAre("hvqGetEngineMutableProperties 2 set -1 null null null null \"OpenVINO\"",
                            "hvqGetEngineMutableProperties 2 null 0 set null set null \"OpenVINO\"",
                            "hvqGetEngineMutableProperties 2 null 0 null set null set \"OpenVINO\"",
                            "hvqGetEngineMutableProperties 2 null 1 set null set null \"OpenVINO\"",
                            "hvqGetEngineMutableProperties 2 null 1 null set null set \"OpenVINO\""));
}

TEST(MutableProperties, KeepTheLaterOfTwoEqualNames) {
    Facade facade("properties OpenVINO A first A second");
    facade.Create();

    EXPECT_THAT(facade.engine.GetEngineMutableProperties("OpenVINO"), ElementsAre(Pair("A", "second")));
}

TEST(MutableProperties, AreEmptyWithoutAnEngineWhereTheListsThrow) {
    Facade facade;

    EXPECT_THAT(facade.engine.GetEngineMutableProperties("OpenVINO"), IsEmpty());
    EXPECT_THAT(facade.engine.GetEngineMutableProperties(""), IsEmpty());
    EXPECT_EQ(TextThrownBy([&] { (void)facade.engine.GetSupportEngines(); }), kNotCreated);
}

TEST(MutableProperties, AreEmptyForCountsBelowOneAndForACountThatIsNotWritten) {
    for (const char* script : {"answer hvqGetEngineMutableProperties * 0", "answer hvqGetEngineMutableProperties * -1",
                               "answer hvqGetEngineMutableProperties 1 unwritten", "properties OpenVINO"}) {
        Facade facade(script);
        facade.Create();

        EXPECT_THAT(facade.engine.GetEngineMutableProperties("OpenVINO"), IsEmpty()) << script;
        EXPECT_EQ(facade.library.Count("hvqGetEngineMutableProperties"), 1) << script;
    }
}

TEST(MutableProperties, RefuseAnUnknownEngine) {
    Facade facade;
    facade.Create();

    EXPECT_THROW((void)facade.engine.GetEngineMutableProperties("x"), std::runtime_error);
    EXPECT_EQ(facade.library.Count("hvqGetEngineMutableProperties"), 0);
}

// A length that the library leaves unwritten is as negative as one that it writes.
TEST(MutableProperties, EndInALengthErrorForALengthThatIsNegativeOrNotWritten) {
    for (const char* lengths : {"-1", "1 -1", "-2147483648 3", "1 -2147483648", "unwritten", "1 unwritten",
                                "unwritten 3", "unwritten unwritten"}) {
        SCOPED_TRACE(lengths);
        Facade facade("properties OpenVINO A int\nanswer hvqGetEngineMutableProperties 2 " + std::string(lengths));
        facade.Create();

        try {
            (void)facade.engine.GetEngineMutableProperties("OpenVINO");
            ADD_FAILURE() << "nothing was thrown";
        } catch (const std::length_error& error) {
            EXPECT_STREQ(error.what(), "string too long");
        }
        EXPECT_EQ(facade.library.Count("hvqGetEngineMutableProperties"), 2);
    }
}

TEST(MutableProperties, PassOnWhatTheLibraryComplainsOfInEachForm) {
    for (int call = 1; call <= 3; ++call) {
        Facade facade("fail hvqGetEngineMutableProperties " + std::to_string(call) + " \"no properties\"");
        facade.Create();

        EXPECT_EQ(TextThrownBy([&] { (void)facade.engine.GetEngineMutableProperties("OpenVINO"); }), "no properties");
        EXPECT_EQ(facade.library.Count("hvqGetEngineMutableProperties"), call);
    }
}

}  // namespace
}  // namespace facade_tests
