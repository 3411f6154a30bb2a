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

// The same open file under a number above those of the standard streams, close-on-exec. In a program that was started
// with a stream closed the next file gets that stream's number, and what is printed would go into it.
// None, with the reason in errno, for none and when the system has no number to give.
UniqueDescriptor AboveStreams(UniqueDescriptor descriptor);

}  // namespace platform::posix
