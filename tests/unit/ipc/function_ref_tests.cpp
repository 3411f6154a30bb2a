#include "ipc/function_ref.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <string>

namespace {

using Measure = ipc::function_ref<int(const std::string&)>;

int LengthOf(const std::string& text) {
    return static_cast<int>(text.size());
}

TEST(FunctionRef, IsEmptyFromTheStartAndFromNull) {
    EXPECT_FALSE(Measure());
    EXPECT_FALSE(Measure(nullptr));
}

TEST(FunctionRef, CallsTheCallableItself) {
    int calls = 0;
    auto count = [&calls](const std::string& text) {
        ++calls;
        return static_cast<int>(text.size());
    };
    const Measure measure(count);

    EXPECT_TRUE(measure);
    EXPECT_EQ(measure("four"), 4);
    EXPECT_EQ(calls, 1);
}

TEST(FunctionRef, CallsACallableThatChangesItself) {
    int total = 0;
    auto add = [sum = 0, &total](const std::string& text) mutable { return total = sum += LengthOf(text); };
    const Measure measure(add);

    (void)measure("a");
    (void)measure("bc");

    EXPECT_EQ(total, 3);
}

TEST(FunctionRef, CallsAFunctionPointerAndAConstantCallable) {
    int (*const pointer)(const std::string&) = &LengthOf;
    const auto constant = [](const std::string&) { return 9; };

    EXPECT_EQ(Measure(pointer)("abc"), 3);
    EXPECT_EQ(Measure(constant)("abc"), 9);
}

// Can be made of null, like a std::function, but not compared with it.
struct Incomparable {
    explicit Incomparable(std::nullptr_t) {}
    int operator()(const std::string& text) const { return LengthOf(text); }
};

TEST(FunctionRef, TakesACallableForFullThatCannotBeAsked) {
    const Incomparable callable(nullptr);

    EXPECT_EQ(Measure(callable)("abc"), 3);
}

TEST(FunctionRef, IsEmptyWhenTheCallableIs) {
    std::function<int(const std::string&)> function;
    int (*pointer)(const std::string&) = nullptr;

    EXPECT_FALSE(Measure(function));
    EXPECT_FALSE(Measure(pointer));
    function = LengthOf;
    EXPECT_TRUE(Measure(function));
}

}  // namespace
