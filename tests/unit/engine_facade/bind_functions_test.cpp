#include "engine/bind_functions.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "facade_fixture.h"

namespace facade_tests {
namespace {

using hvq::inference::BindFunctions;
using hvq::inference::FunctionHandle;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::StartsWith;

const std::vector<std::string>& ExportedNames() {
    static const std::vector<std::string> names = {
#include "exported_names.inc"
    };
    return names;
}

// All pointers of a record, in the order of its fields.
std::vector<platform::SymbolAddress> Pointers(const FunctionHandle& functions) {
    // clang-format off
    const auto untyped = [](auto function) { return reinterpret_cast<platform::SymbolAddress>(function); };
    return {
        functions.hvqCreate,
        untyped(functions.hvqCreateWithLibraryLoader),
        untyped(functions.hvqDestory),
        untyped(functions.hvqRegisterModelAsInnerIDwithString),
        functions.hvqRegisterModelAsInnerIDwithWString,
        functions.hvqUnregisterInnerID,
        untyped(functions.hvqGetSupportEngineNumber),
        untyped(functions.hvqGetSupportEngineLength),
        untyped(functions.hvqGetSupportEngine),
        untyped(functions.hvqSelfVersion),
        functions.hvqVersion,
        untyped(functions.hvqGetSupportDeviceNumber),
        untyped(functions.hvqGetSupportDeviceLength),
        untyped(functions.hvqGetSupportDevice),
        untyped(functions.hvqCreateNetByBuiltin),
        functions.hvqCreateNetByFiles,
        functions.hvqCreateNetByFilesWithWstring,
        functions.hvqCreateNetByBuffers,
        functions.hvqRemoveNetwork,
        untyped(functions.hvqGetSupportBuiltinModelNumber),
        untyped(functions.hvqGetSupportBuiltinModelLength),
        untyped(functions.hvqGetSupportBuiltinModelID),
        functions.hvqSwitchNetwork,
        functions.hvqGetCreatedNetworkIdentifiersNumber,
        functions.hvqGetCreatedNetworkIdentifierLength,
        functions.hvqGetCreatedNetworkIdentifier,
        functions.hvqGetNetworkEngineLength,
        functions.hvqGetNetworkEngine,
        functions.hvqGetNetworkDeviceLength,
        functions.hvqGetNetworkDevice,
        functions.hvqGetCurrentEngineLength,
        functions.hvqGetCurrentEngine,
        functions.hvqGetCurrentIdentifierLength,
        functions.hvqGetCurrentIdentifier,
        untyped(functions.hvqGetCurrentNetworkDeviceLength),
        untyped(functions.hvqGetCurrentNetworkDevice),
        untyped(functions.hvqSetLayerData),
        untyped(functions.hvqGetLayerData),
        functions.hvqGetInputLayerNumber,
        functions.hvqGetInputLayerLength,
        functions.hvqGetInputLayer,
        functions.hvqGetOutputLayerNumber,
        functions.hvqGetOutputLayerLength,
        functions.hvqGetOutputLayer,
        untyped(functions.hvqGetLayerDims),
        untyped(functions.hvqInfer),
        untyped(functions.hvqHasException),
        untyped(functions.hvqGetExceptionStringLength),
        untyped(functions.hvqGetExceptionString),
        untyped(functions.hvqResetExceptionString),
        untyped(functions.hvqGetEngineMutableProperties),
        functions.hvqGetDeviceSupportPropertiesNumber,
        functions.hvqGetDeviceSupportPropertiesByIndex,
        functions.hvqGetDevicePropertyTypeID,
        functions.hvqGetDevicePropertyTypeString,
        functions.hvqGetDevicePropertyTypeUnorderedMap_String_Float,
        functions.hvqGetDevicePropertyTypeGeneral,
        untyped(functions.hvqSetEnginePropertyForNetwork),
        functions.hvqGetLayerPrecision,
        functions.hvqSetLogCallback,
    };
    // clang-format on
}

// A library that is loaded but not bound.
class Binding {
 public:
    explicit Binding(Variant variant = Variant::Whole) : facade({}, variant) {
        functions->shared_library_handle_object =
            hvq::util::load_shared_object(facade.library.Path().string(), facade.Seams());
    }

    void Bind() { BindFunctions(functions, facade.Seams()); }

    Facade facade;
    std::shared_ptr<FunctionHandle> functions = std::make_shared<FunctionHandle>();
};

TEST(FunctionTable, HasSixtyNames) {
    EXPECT_EQ(ExportedNames().size(), hvq::inference::kFunctionCount);
    EXPECT_EQ(ExportedNames().front(), "hvqCreate");
    EXPECT_EQ(ExportedNames().back(), "hvqSetLogCallback");
}

TEST(FunctionTable, StartsEmpty) {
    const FunctionHandle functions;

    EXPECT_EQ(functions.shared_library_handle_object, nullptr);
    for (const platform::SymbolAddress pointer : Pointers(functions))
        EXPECT_EQ(pointer, nullptr);
}

TEST(FunctionTable, HoldsTheLibraryInItsFirstField) {
    FunctionHandle functions;

    EXPECT_EQ(static_cast<void*>(&functions.shared_library_handle_object), static_cast<void*>(&functions));
}

TEST(BindFunctions, GivesEachFieldTheExportOfItsName) {
    Binding binding;

    binding.Bind();

    const std::vector<platform::SymbolAddress> pointers = Pointers(*binding.functions);
    ASSERT_EQ(pointers.size(), ExportedNames().size());
    for (std::size_t index = 0; index < pointers.size(); ++index) {
        const platform::SymbolAddress exported = binding.facade.library.Symbol(ExportedNames()[index].c_str());
        EXPECT_NE(exported, nullptr) << ExportedNames()[index];
        EXPECT_EQ(pointers[index], exported) << ExportedNames()[index];
    }
}

// The fields stand one behind the other in the table's order.
TEST(FunctionTable, KeepsTheOrderOfTheNames) {
    Binding binding;
    binding.Bind();
    const std::vector<platform::SymbolAddress> pointers = Pointers(*binding.functions);

    const auto* const firstField = reinterpret_cast<const platform::SymbolAddress*>(
        reinterpret_cast<const char*>(binding.functions.get()) + sizeof(FunctionHandle::shared_library_handle_object));

    EXPECT_THAT(std::vector<platform::SymbolAddress>(firstField, firstField + pointers.size()),
                ElementsAreArray(pointers));
}

TEST(BindFunctions, LooksUpInTheOrderOfTheTableWithTheNetworksMakerBehindTheModelList) {
    std::vector<std::string> expected = ExportedNames();
    expected.erase(std::find(expected.begin(), expected.end(), "hvqCreateNetByBuiltin"));
    const auto modelId = std::find(expected.begin(), expected.end(), "hvqGetSupportBuiltinModelID");
    expected.insert(modelId + 1, "hvqCreateNetByBuiltin");
    Binding binding;

    binding.Bind();

    EXPECT_THAT(binding.facade.loader.Symbols(), ElementsAreArray(expected));
    EXPECT_EQ(binding.facade.streams.Error(), "");
}

TEST(BindFunctions, TellsOfAnOptionalNameThatIsMissingAndGoesOn) {
    Binding binding(Variant::WithoutLogCallback);

    binding.Bind();

    EXPECT_EQ(binding.functions->hvqSetLogCallback, nullptr);
    EXPECT_NE(binding.functions->hvqGetLayerPrecision, nullptr);
    ASSERT_EQ(binding.facade.streams.Texts(platform::StandardStream::Error).size(), 1u);
    const std::string line = binding.facade.streams.Error();
    EXPECT_THAT(line, StartsWith("This HVQ library no hvqSetLogCallback function:"
                                 "GetProcAddress cannot locate method 'hvqSetLogCallback': "));
    EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1);
    EXPECT_EQ(line.back(), '\n');
}

TEST(BindFunctions, TellsOfBothOptionalNamesInTheirOrder) {
    Binding binding(Variant::WithoutOptional);

    binding.Bind();

    EXPECT_EQ(binding.functions->hvqSetLogCallback, nullptr);
    EXPECT_EQ(binding.functions->hvqGetLayerPrecision, nullptr);
    EXPECT_THAT(binding.facade.streams.Texts(platform::StandardStream::Error),
                ElementsAre(StartsWith("This HVQ library no hvqGetLayerPrecision function:"),
                            StartsWith("This HVQ library no hvqSetLogCallback function:")));
}

TEST(BindFunctions, TellsOfAMissingLayerPrecisionAlone) {
    Binding binding(Variant::WithoutLayerPrecision);

    binding.Bind();

    EXPECT_NE(binding.functions->hvqSetLogCallback, nullptr);
    EXPECT_THAT(binding.facade.streams.Texts(platform::StandardStream::Error),
                ElementsAre(StartsWith("This HVQ library no hvqGetLayerPrecision function:")));
}

TEST(BindFunctions, RefusesALibraryWithoutAFunctionThatIsNeverCalled) {
    Binding binding(Variant::WithoutVersion);

    const std::string text = TextThrownBy([&] { binding.Bind(); });

    EXPECT_THAT(text, StartsWith("GetProcAddress cannot locate method 'hvqVersion': "));
    EXPECT_NE(binding.functions->hvqSelfVersion, nullptr) << "what was found before stays";
    EXPECT_EQ(binding.functions->hvqGetSupportDeviceNumber, nullptr) << "nothing behind it was looked up";
}

TEST(BindFunctions, RefusesALibraryWithoutInfer) {
    Binding binding(Variant::WithoutInfer);

    EXPECT_THAT(TextThrownBy([&] { binding.Bind(); }), StartsWith("GetProcAddress cannot locate method 'hvqInfer': "));
}

TEST(BindFunctions, NeedsEachOfTheRequiredNames) {
    for (const std::string& name : ExportedNames()) {
        Binding binding;
        binding.facade.loader.Hide(name);
        const std::string text = TextThrownBy([&] { binding.Bind(); });

        const bool optional = name == "hvqGetLayerPrecision" || name == "hvqSetLogCallback";
        EXPECT_EQ(text, optional ? "(nothing)" : "GetProcAddress cannot locate method '" + name + "': 5");
    }
}

TEST(BindFunctions, LetsGoOfTheRecordAtItsEnd) {
    Binding binding;

    binding.Bind();

    EXPECT_EQ(binding.functions.use_count(), 1);
}

TEST(BindVersionFunctions, LooksUpThreeNames) {
    Binding binding;

    hvq::inference::BindVersionFunctions(*binding.functions, binding.facade.Seams());

    EXPECT_THAT(binding.facade.loader.Symbols(),
                ElementsAre("hvqSelfVersion", "hvqCreateWithLibraryLoader", "hvqDestory"));
}

}  // namespace
}  // namespace facade_tests
