#include "infra/system_error.h"

namespace infra {
namespace {

class Category final : public std::error_category {
 public:
    const char* name() const noexcept override { return "generic"; }

    std::string message(int value) const override {
        switch (static_cast<std::errc>(value)) {
            case std::errc::device_or_resource_busy:
                return "device or resource busy";
            case std::errc::no_such_process:
                return "no such process";
            case std::errc::operation_not_permitted:
                return "operation not permitted";
            case std::errc::resource_deadlock_would_occur:
                return "resource deadlock would occur";
            case std::errc::resource_unavailable_try_again:
                return "resource unavailable try again";
            case std::errc::value_too_large:
                return "value too large";
            default:
                return std::generic_category().message(value);
        }
    }

    std::error_condition default_error_condition(int value) const noexcept override {
        return {value, std::generic_category()};
    }
};

}  // namespace

const std::error_category& GenericCategory() noexcept {
    static const Category& category = *new Category;  // never destroyed: errors may be worded until the very end
    return category;
}

std::string GenericErrorText(std::errc code) {
    return GenericCategory().message(static_cast<int>(code));
}

void ThrowSystemError(std::errc code) {
    throw std::system_error(static_cast<int>(code), GenericCategory());
}

}  // namespace infra
