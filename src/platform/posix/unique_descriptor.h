#pragma once

namespace platform::posix {

// Owns one file descriptor.
class UniqueDescriptor {
 public:
    static constexpr int kNone = -1;

    UniqueDescriptor() noexcept = default;
    explicit UniqueDescriptor(int descriptor) noexcept : m_descriptor(descriptor) {}
    UniqueDescriptor(UniqueDescriptor&& other) noexcept : m_descriptor(other.Release()) {}
    UniqueDescriptor& operator=(UniqueDescriptor&& other) noexcept;
    ~UniqueDescriptor() { Reset(); }

    int Get() const noexcept { return m_descriptor; }
    explicit operator bool() const noexcept { return m_descriptor != kNone; }

    // Gives the descriptor away.
    int Release() noexcept;

    // Closes what is owned and owns `next` from here on. errno stays as it was: closing in a clean-up path must not
    // hide what led there.
    void Reset(int next = kNone) noexcept;

 private:
    int m_descriptor = kNone;
};

}  // namespace platform::posix
