#include <gtest/gtest.h>

#include <string>

#include "contract/own_child.h"
#include "engine/shared_library.h"
#include "thrown_text.h"

namespace {

// Not on Linux: whether a program is a shared object there is up to how it was linked.
TEST(RealLibraryOnWindows, IsNoneInAProgram) {
    const std::string path = contract::OwnProgram();

    EXPECT_EQ(ThrownBy([&] { return hvq::util::load_shared_object(path); }),
              path + " file is not a valid DLL. load_shared_object failed.");
}

}  // namespace
