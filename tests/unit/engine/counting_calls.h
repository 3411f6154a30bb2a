#pragma once

#include <memory>

#include "engine/shared_library.h"

// Calls into the libraries that were built for these tests to load.

using Library = std::shared_ptr<hvq::util::SharedLibraryHandle_t>;

inline int CallFunction(const Library& library, const char* name) {
    return reinterpret_cast<int (*)()>(hvq::util::get_shared_object_symbol(library, name))();
}

// How many times the library has been asked since it was loaded, this one included.
inline int Next(const Library& library) {
    return CallFunction(library, "counting_library_next");
}
