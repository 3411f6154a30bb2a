#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>

#include "engine/plugin_engine.h"

namespace rvo_calyr {

// A layer's dimension; 0 where it has none.
inline std::uint64_t DimOf(const hvq::inference::Dims& dims, std::size_t index) {
    return index < dims.size() ? dims[index] : 0;
}

// The product of dimensions; nothing, which equals no size, when 64 bits don't hold it.
inline std::optional<std::uint64_t> ProductOf(std::initializer_list<std::uint64_t> dims) {
    std::uint64_t product = 1;
    for (const std::uint64_t dim : dims) {
        if (dim != 0 && product > ~std::uint64_t{0} / dim) return std::nullopt;
        product *= dim;
    }
    return product;
}

}  // namespace rvo_calyr
