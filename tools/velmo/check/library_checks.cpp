#include "velmo_tool/check/library_checks.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/bind_functions.h"
#include "engine/function_handle.h"
#include "engine/hvq_header_version.h"
#include "engine/shared_library.h"
#include "velmo_tool/check/forgiving_loader.h"
#include "velmo_tool/check/library_under_check.h"
#include "velmo_tool/path_text.h"

namespace velmo_tool {
namespace {

using hvq::inference::FunctionHandle;
using Complaint = std::optional<std::string>;

constexpr char kModelId[] = "velmo_check_model";
constexpr char kNetworkId[] = "velmo_check_network";
constexpr char kNoSuchName[] = "velmo-no-such-name";
constexpr char kInputLayer[] = "input";
constexpr char kMaskLayer[] = "segmentation";
constexpr int kTimedInferences = 20;
constexpr std::uint64_t kMostElements = 1u << 28;  // of any layer that may be taken seriously

constexpr const char* kOptionalNames[] = {"hvqGetLayerPrecision", "hvqSetLogCallback"};

bool IsOptional(const std::string& name) {
    return std::find(std::begin(kOptionalNames), std::end(kOptionalNames), name) != std::end(kOptionalNames);
}

class Silence final : public platform::StandardStreams {
 public:
    void Write(platform::StandardStream /*stream*/, std::string_view /*text*/) override {}
};

struct KnownProperty {
    const char* name;
    const char* type;
};
// What the process sets where an engine offers it.
constexpr KnownProperty kKnownProperties[] = {
    {"CACHE_DIR", "std::filesystem::path"},
    {"INFERENCE_THREADS_NUMBER", "std::string"},
    {"RUNTIME_STREAMS_NUMBER", "std::string"},
};

std::string DimsText(const std::vector<std::uint64_t>& dims) {
    std::string text;
    for (const std::uint64_t dim : dims)
        text += (text.empty() ? "" : " x ") + std::to_string(dim);
    return text.empty() ? "none" : text;
}

// Nothing when it is none or absurd.
std::optional<std::size_t> ElementsOf(const std::vector<std::uint64_t>& dims) {
    std::uint64_t elements = 1;
    for (const std::uint64_t dim : dims) {
        if (dim == 0 || dim > kMostElements / elements) return std::nullopt;
        elements *= dim;
    }
    if (dims.empty()) return std::nullopt;
    return static_cast<std::size_t>(elements);
}

std::string Milliseconds(double value) {
    char text[32];
    (void)std::snprintf(text, sizeof(text), "%.2f ms", value);
    return text;
}

// One run over one library. Each step returns false when nothing behind it can be looked at.
class LibraryChecks {
 public:
    LibraryChecks(const CheckRequest& request, CheckListener& listener) : m_request(request), m_listener(listener) {}

    void Run() {
        if (!Load() || !Bind()) return;
        CheckNullHandles();
        {
            const CheckedEngine engine(m_functions);
            if (!CheckCreation(engine)) return;
            CheckVersion(engine);
            CheckErrorProtocol(engine);
            CheckSecondEngine(engine);
            if (!CheckLists(engine)) return;
            CheckProperties(engine);
            CheckLayersWithoutNetwork(engine);
            if (!m_request.modelPath.empty()) CheckNetwork(engine);
            Begin("destroys an engine", Need::Required);
        }
        End({}, "");
        Unload();
    }

 private:
    void Begin(const std::string& name, Need need) {
        m_point = {name, need, Verdict::Fails, {}};
        m_listener.OnBegin(name, need);
    }

    // Ends the point that was begun; it holds unless there is a complaint.
    bool End(const Complaint& complaint, const std::string& detail) {
        m_point.verdict = complaint ? Verdict::Fails : Verdict::Holds;
        m_point.detail = complaint ? *complaint : detail;
        m_listener.OnPoint(m_point);
        return !complaint;
    }

    bool Load() {
        Begin("is a library that this system loads", Need::Required);
        Complaint complaint;
        try {
            const hvq::util::LoaderSeams seams{.modules = m_loader};
            m_handle->shared_library_handle_object =
                hvq::util::load_shared_object(WideFromUtf8(m_request.libraryPath), nullptr, seams);
        } catch (const std::runtime_error& error) {
            complaint = error.what();
        }
        return End(complaint, "");
    }

    bool Bind() {
        Begin("exports the 58 names", Need::Required);
        Silence silence;  // the lines about the two others: they have points of their own
        const hvq::util::LoaderSeams seams{.modules = m_loader, .streams = silence};
        hvq::inference::BindFunctions(m_handle, seams);
        std::string missing;
        for (const std::string& name : m_loader.Missing())
            if (!IsOptional(name)) missing += (missing.empty() ? "lacks " : ", ") + name;
        const bool complete = End(missing.empty() ? Complaint() : missing, "");
        for (const char* const name : kOptionalNames) {
            Begin(std::string("exports ") + name, Need::Optional);
            const std::vector<std::string>& all = m_loader.Missing();
            const bool there = std::find(all.begin(), all.end(), name) == all.end();
            End(there ? Complaint() : "the process goes on without it", "");
        }
        return complete;
    }

    void CheckNullHandles() {
        Begin("answers hvqHasException for a null handle", Need::Required);
        const bool pending = (static_cast<unsigned>(m_functions.hvqHasException(nullptr)) & 0xFFu) != 0;
        End({}, pending ? "yes" : "no");
        Begin("takes a null handle in hvqDestory", Need::Required);
        m_functions.hvqDestory(nullptr);
        End({}, "");
    }

    bool CheckCreation(const CheckedEngine& engine) {
        Begin("creates an engine for two null pointers", Need::Required);
        if (engine.Get() == nullptr) {
            Complaint manner;
            const std::optional<std::string> pending = engine.TakePending(manner);
            return End("null" + (pending ? ", with the error: " + *pending : std::string()), "");
        }
        Complaint manner;
        const std::optional<std::string> pending = engine.TakePending(manner);
        return End(pending ? Complaint("leaves the error: " + *pending) : manner, "");
    }

    void CheckVersion(const CheckedEngine& engine) {
        Begin("tells its version", Need::Required);
        Complaint complaint;
        const std::string version = FetchVersion(m_functions, engine, complaint);
        if (!complaint && version.empty()) complaint = "an empty text";
        if (!End(complaint, version)) return;
        Begin("has the version that the process was built for", Need::Optional);
        End(version == hvq::inference::HVQ_HEADER_VERSION
                ? Complaint()
                : std::string("the process expects ") + hvq::inference::HVQ_HEADER_VERSION + " and will warn",
            "");
    }

    // Provokes an error with a network of a model that nobody registered.
    void FailOnPurpose(const CheckedEngine& engine) {
        m_functions.hvqCreateNetByBuiltin(engine.Get(), m_request.engineName.c_str(), kNetworkId,
                                          m_request.deviceName.c_str(), kNoSuchName);
    }

    void CheckErrorProtocol(const CheckedEngine& engine) {
        Begin("holds an error until it is reset", Need::Required);
        FailOnPurpose(engine);
        Complaint complaint;
        std::string text;
        if (!engine.HasPending()) {
            complaint = "a network of an unknown model leaves no error";
        } else if (!engine.HasPending()) {
            complaint = "asking for the error takes it away";
        } else {
            text = engine.TakePending(complaint).value_or("");
            if (!complaint && text.empty()) complaint = "an error without a text";
            if (!complaint && engine.HasPending()) complaint = "resetting leaves the error";
        }
        End(complaint, text);
    }

    void CheckSecondEngine(const CheckedEngine& engine) {
        Begin("keeps the errors of two engines apart", Need::Required);
        const CheckedEngine second(m_functions);
        Complaint complaint;
        if (second.Get() == nullptr) {
            complaint = "no second engine beside the first";
        } else {
            FailOnPurpose(second);
            if (engine.HasPending()) complaint = "the other engine's error shows";
        }
        Complaint ignored;  // was looked at before
        (void)engine.TakePending(ignored);
        End(complaint, "");
    }

    bool CheckLists(const CheckedEngine& engine) {
        const std::string& name = m_request.engineName;
        Begin("lists its engines", Need::Required);
        const CheckedList engines = FetchEngines(m_functions, engine);
        if (!End(engines.complaint, engines.Joined())) return false;
        Begin("offers the engine " + name, Need::Required);
        if (!End(engines.Has(name) ? Complaint() : "offers " + engines.Joined(), "")) return false;
        Begin("lists its devices", Need::Required);
        const CheckedList devices = FetchDevices(m_functions, engine, name);
        const bool listed = End(devices.complaint, devices.Joined());
        for (const char* const device : {"AUTO", "CPU", "GPU", "NPU"}) {
            if (!listed) break;
            Begin(std::string("offers the device ") + device, Need::Optional);
            End(devices.Has(device) ? Complaint() : "an Init that asks for it fails or falls back", "");
        }
        Begin("lists its built-in models", Need::Required);
        const CheckedList models = FetchModels(m_functions, engine, name);
        return End(models.complaint, models.Joined());
    }

    void CheckProperties(const CheckedEngine& engine) {
        Begin("lists its settable properties", Need::Required);
        Complaint complaint;
        m_properties = FetchProperties(m_functions, engine, m_request.engineName, complaint);
        std::string all;
        for (const CheckedProperty& property : m_properties)
            all += (all.empty() ? "" : ", ") + property.name + " (" + property.type + ")";
        if (!End(complaint, all.empty() ? "none" : all)) m_properties.clear();
        for (const KnownProperty& known : kKnownProperties) {
            Begin(std::string("offers the property ") + known.name, Need::Optional);
            const std::optional<std::string> type = TypeOf(known.name);
            if (!type) {
                End("the process goes on without it", "");
            } else {
                End(*type == known.type ? Complaint() : "its type is " + *type + ", the process sets " + known.type,
                    "");
            }
        }
    }

    std::optional<std::string> TypeOf(const std::string& property) const {
        for (const CheckedProperty& one : m_properties)
            if (one.name == property) return one.type;
        return std::nullopt;
    }

    // Either answer is a refusal, and so is both.
    void CheckLayersWithoutNetwork(const CheckedEngine& engine) {
        Begin("refuses layers while there is no network", Need::Required);
        const void* const data = m_functions.hvqGetLayerData(engine.Get(), kInputLayer);
        Complaint complaint;
        const std::optional<std::string> pending = engine.TakePending(complaint);
        if (data != nullptr && !pending) complaint = "data without a network";
        End(complaint, pending.value_or("null"));
    }

    void CheckNetwork(const CheckedEngine& engine) {
        if (!CreateNetwork(engine)) return;
        const std::vector<std::uint64_t> dims = CheckInput(engine);
        if (!dims.empty() && CheckInference(engine, dims)) CheckOutputs(engine);
    }

    // No error of the library's is pending.
    Complaint NonePending(const CheckedEngine& engine) {
        Complaint complaint;
        const std::optional<std::string> pending = engine.TakePending(complaint);
        return pending ? pending : complaint;
    }

    bool CreateNetwork(const CheckedEngine& engine) {
        const std::string& name = m_request.engineName;
        Begin("registers the model", Need::Required);
        m_functions.hvqRegisterModelAsInnerIDwithString(engine.Get(), kModelId, m_request.modelPath.c_str());
        if (!End(NonePending(engine), m_request.modelPath)) return false;
        Begin("lists the registered model", Need::Required);
        const CheckedList models = FetchModels(m_functions, engine, name);
        Complaint complaint = models.complaint;
        if (!complaint && !models.Has(kModelId)) complaint = "lists " + models.Joined();
        End(complaint, models.Joined());
        if (TypeOf("INFERENCE_THREADS_NUMBER") == "std::string") {
            Begin("takes a property for a network to come", Need::Required);
            m_functions.hvqSetEnginePropertyForNetwork(engine.Get(), name.c_str(), kNetworkId,
                                                       "INFERENCE_THREADS_NUMBER", "std::string", "1");
            End(NonePending(engine), "INFERENCE_THREADS_NUMBER = 1");
        }
        Begin("creates the network", Need::Required);
        m_functions.hvqCreateNetByBuiltin(engine.Get(), name.c_str(), kNetworkId, m_request.deviceName.c_str(),
                                          kModelId);
        if (!End(NonePending(engine), "on " + m_request.deviceName)) return false;
        Begin("tells the network's device", Need::Required);
        complaint.reset();
        const std::string device = FetchCurrentDevice(m_functions, engine, complaint);
        if (!complaint && device.empty()) complaint = "an empty text";
        End(complaint, device);
        return true;
    }

    std::vector<std::uint64_t> CheckInput(const CheckedEngine& engine) {
        Begin("has an input of batch, channels, height, width", Need::Required);
        Complaint complaint;
        std::vector<std::uint64_t> dims = FetchDims(m_functions, engine, kInputLayer, complaint);
        if (!complaint && dims.size() < 4) complaint = "dimensions: " + DimsText(dims);
        if (!complaint && !ElementsOf(dims)) complaint = "impossible dimensions: " + DimsText(dims);
        if (!End(complaint, DimsText(dims))) return {};
        Begin("has an input of 256 x 144 or 640 x 360", Need::Required);
        constexpr std::uint64_t kSmallArea = std::uint64_t{256} * 144;
        constexpr std::uint64_t kLargeArea = std::uint64_t{640} * 360;
        const std::uint64_t area = dims[2] * dims[3];
        const bool fits = dims[1] == 4 && (area == kSmallArea || area == kLargeArea);
        End(fits ? Complaint() : "the process can't use " + DimsText(dims), "");
        return dims;
    }

    bool CheckInference(const CheckedEngine& engine, const std::vector<std::uint64_t>& dims) {
        std::vector<float> input(ElementsOf(dims).value_or(0), 128.0f);
        const auto infer = [&] {
            m_functions.hvqSetLayerData(engine.Get(), kInputLayer, input.data(), dims.data(), dims.size());
            if (Complaint pending = NonePending(engine)) return pending;
            m_functions.hvqInfer(engine.Get());
            return NonePending(engine);
        };
        Begin("takes input and infers", Need::Required);
        if (!End(infer(), "")) return false;
        Begin("infers again and again", Need::Required);
        std::vector<double> times;
        Complaint complaint;
        for (int round = 0; round < kTimedInferences && !complaint; ++round) {
            const auto start = std::chrono::steady_clock::now();
            complaint = infer();
            const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
            times.push_back(time.count());
        }
        std::sort(times.begin(), times.end());
        return End(complaint,
                   "median " + Milliseconds(times[times.size() / 2]) + ", longest " + Milliseconds(times.back()));
    }

    void CheckOutputs(const CheckedEngine& engine) {
        CheckMask(engine);
        for (const char* const layer : {"faces_and_landmarks", "motion", "gesture", "lut", "lut_vertices"}) {
            Begin(std::string("gives ") + layer, Need::Optional);
            Complaint complaint;
            const void* const data = m_functions.hvqGetLayerData(engine.Get(), layer);
            if (data == nullptr) {
                (void)engine.TakePending(complaint);
                complaint = "not there";
            }
            const std::vector<std::uint64_t> dims =
                complaint ? std::vector<std::uint64_t>() : FetchDims(m_functions, engine, layer, complaint);
            End(complaint, DimsText(dims));
        }
        Begin("gives null for a layer that is not there", Need::Required);
        const void* const data = m_functions.hvqGetLayerData(engine.Get(), kNoSuchName);
        Complaint complaint;
        (void)engine.TakePending(complaint);
        if (data != nullptr) complaint = "gives data";
        End(complaint, "");
    }

    void CheckMask(const CheckedEngine& engine) {
        Begin("gives the mask", Need::Required);
        Complaint complaint;
        const void* const data = m_functions.hvqGetLayerData(engine.Get(), kMaskLayer);
        if (Complaint pending = NonePending(engine)) complaint = pending;
        if (!complaint && data == nullptr) complaint = std::string("no layer ") + kMaskLayer;
        std::vector<std::uint64_t> dims;
        if (!complaint) dims = FetchDims(m_functions, engine, kMaskLayer, complaint);
        if (!complaint && !ElementsOf(dims)) complaint = "impossible dimensions: " + DimsText(dims);
        if (!End(complaint, DimsText(dims))) return;
        Begin("gives mask values from 0 to 255", Need::Optional);
        const std::span values(static_cast<const float*>(data), ElementsOf(dims).value_or(0));
        const auto odd =
            std::count_if(values.begin(), values.end(), [](float value) { return !(value >= 0.0f && value < 256.0f); });
        End(odd == 0 ? Complaint() : std::to_string(odd) + " of " + std::to_string(values.size()) + " are not", "");
    }

    void Unload() {
        Begin("unloads", Need::Required);
        m_handle.reset();
        End({}, "");
    }

    const CheckRequest& m_request;
    CheckListener& m_listener;
    CheckPoint m_point;  // the one that was begun last
    ForgivingLoader m_loader{platform::SystemModuleLoader()};
    std::shared_ptr<FunctionHandle> m_handle = std::make_shared<FunctionHandle>();  // gone once unloaded
    const FunctionHandle& m_functions = *m_handle;
    std::vector<CheckedProperty> m_properties;
};

}  // namespace

void CheckLibrary(const CheckRequest& request, CheckListener& listener) {
    LibraryChecks(request, listener).Run();
}

}  // namespace velmo_tool
