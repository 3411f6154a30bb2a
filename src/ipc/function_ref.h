#pragma once

#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>

namespace ipc {

namespace detail {

template <class Object>
concept ComparesWithNull = requires(const Object& object) {
    static_cast<bool>(object == nullptr);
};

// Both: a captureless lambda compares with null too, by way of its function pointer, and is never empty.
template <class Object>
concept CanBeNull = std::is_constructible_v<std::remove_cv_t<Object>, std::nullptr_t> && ComparesWithNull<Object>;

}  // namespace detail

// A callable that somebody else owns, passed down for the length of one call: no copy and no allocation. It may be
// empty; test it before calling. Whoever keeps one longer than the callable lives calls what is gone.
// Thread: that of the callable.
template <class Signature>
class function_ref;

template <class Result, class... Arguments>
class function_ref<Result(Arguments...)> {
 public:
    function_ref(std::nullptr_t = nullptr) {}

    // Refers to `callable`. One that can be empty (a function pointer, a std::function) and is gives an empty
    // reference. Which can: those that can be made of null and compared with it.
    template <class Callable>
    requires(!std::is_same_v<std::remove_cvref_t<Callable>, function_ref> &&
             !std::is_same_v<std::remove_cvref_t<Callable>, std::nullptr_t> &&
             std::is_object_v<std::remove_reference_t<Callable>> &&
             std::is_invocable_r_v<Result, std::remove_reference_t<Callable>&, Arguments...>)
        function_ref(Callable&& callable) {  // NOLINT(bugprone-forwarding-reference-overload): constrained above
        using Object = std::remove_reference_t<Callable>;
        if constexpr (detail::CanBeNull<Object>) {
            if (callable == nullptr) return;
        }
        m_object = const_cast<void*>(static_cast<const void*>(std::addressof(callable)));
        m_call = [](void* object, Arguments... arguments) -> Result {
            return (*static_cast<Object*>(object))(std::forward<Arguments>(arguments)...);
        };
    }

    explicit operator bool() const { return m_call != nullptr; }

    Result operator()(Arguments... arguments) const { return m_call(m_object, std::forward<Arguments>(arguments)...); }

 private:
    void* m_object = nullptr;
    Result (*m_call)(void*, Arguments...) = nullptr;
};

}  // namespace ipc
