#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string_view>

namespace standin {

// What the properties of a network come to.
struct NetworkSettings {
    std::filesystem::path cacheFolder;  // empty: no cache
    // One thread each, whatever the device: the library works beside a media engine that needs the other processors,
    // and a network of the product's size gains little from a second one.
    std::int32_t threads = 1;  // that share the work of one layer
    std::int32_t streams = 1;  // branches of the network that run side by side
};

inline constexpr std::int32_t kMostThreads = 256;  // also of streams

enum class PropertyType { Path, Text };

struct Property {
    std::string_view name;
    PropertyType type;
};

// All that can be set, in the order in which they are listed.
std::span<const Property> MutableProperties();

// "std::filesystem::path" or "std::string".
std::string_view TypeName(PropertyType type);

// Sets one property. `value` is a terminated text, wide for a path. Throws std::runtime_error that names the property:
// unknown, another type, no value, or a value that it can't have. Thread: any, for different settings.
void SetProperty(NetworkSettings& settings, std::string_view name, std::string_view typeName, const void* value);

}  // namespace standin
