#include "ipc/records/variant_slot.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace {

struct Small {
    std::uint16_t value;
};
struct Odd {
    std::uint8_t bytes[7];
};
using Slot = calyr_ipc::VariantSlot<Small, Odd>;

TEST(VariantSlot, RoundsItsStorageUpToTheLargestAlignment) {
    EXPECT_EQ(Slot::kStorageBytes, 8u);
    EXPECT_EQ(offsetof(Slot, index), 8u);
    EXPECT_EQ(sizeof(Slot), 10u);
}

TEST(VariantSlot, NumbersItsAlternativesFromZero) {
    EXPECT_EQ(Slot::IndexOf<Small>(), 0);
    EXPECT_EQ(Slot::IndexOf<Odd>(), 1);
}

TEST(VariantSlot, BeginsEveryAlternativeAtItsFirstByte) {
    Slot slot{};
    const Slot& constant = slot;

    EXPECT_EQ(static_cast<void*>(&slot.As<Small>()), static_cast<void*>(&slot));
    EXPECT_EQ(static_cast<void*>(&slot.As<Odd>()), static_cast<void*>(&slot));
    EXPECT_EQ(&constant.As<Odd>(), &slot.As<Odd>());
}

TEST(VariantSlot, ThrowsWhenItHoldsNoAlternative) {
    Slot slot{};
    slot.index = calyr_ipc::kNoAlternative;

    EXPECT_THROW((void)calyr_ipc::RequireAlternative(slot), std::bad_variant_access);
}

TEST(VariantSlot, GivesEveryOtherIndexAsItIs) {
    Slot slot{};
    for (const std::int8_t index : std::initializer_list<std::int8_t>{0, 1, 2, 127, -2, -128}) {
        slot.index = index;
        EXPECT_EQ(calyr_ipc::RequireAlternative(slot), index);
    }
}

}  // namespace
