#include "standin/network_settings.h"

#include <array>
#include <charconv>
#include <stdexcept>
#include <string>

#include "standin/texts.h"

namespace standin {
namespace {

constexpr std::string_view kCacheDir = "CACHE_DIR";
constexpr std::string_view kThreads = "INFERENCE_THREADS_NUMBER";
constexpr std::string_view kStreams = "RUNTIME_STREAMS_NUMBER";

constexpr std::array<Property, 3> kProperties = {{
    {kCacheDir, PropertyType::Path},
    {kThreads, PropertyType::Text},
    {kStreams, PropertyType::Text},
}};

std::int32_t ThreadCount(std::string_view name, std::string_view text) {
    std::int32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number < 1 || number > kMostThreads) {
        throw std::runtime_error("property " + std::string(name) + " can't be \"" + std::string(text) +
                                 "\": a whole number from 1 to " + std::to_string(kMostThreads) + " is needed");
    }
    return number;
}

}  // namespace

std::span<const Property> MutableProperties() {
    return kProperties;
}

std::string_view TypeName(PropertyType type) {
    return type == PropertyType::Path ? "std::filesystem::path" : "std::string";
}

void SetProperty(NetworkSettings& settings, std::string_view name, std::string_view typeName, const void* value) {
    const Property* property = nullptr;
    for (const Property& candidate : kProperties) {
        if (candidate.name == name) property = &candidate;
    }
    if (property == nullptr) throw std::runtime_error("there is no property " + std::string(name));
    if (typeName != TypeName(property->type)) {
        throw std::runtime_error("property " + std::string(name) + " is a " + std::string(TypeName(property->type)) +
                                 ", not a " + std::string(typeName));
    }
    if (value == nullptr) throw std::runtime_error("property " + std::string(name) + " got a null value");
    if (property->type == PropertyType::Path) {
        settings.cacheFolder = PathOfWide(static_cast<const wchar_t*>(value));
    } else {
        const std::int32_t count = ThreadCount(name, static_cast<const char*>(value));
        (name == kThreads ? settings.threads : settings.streams) = count;
    }
}

}  // namespace standin
