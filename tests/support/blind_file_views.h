#pragma once

#include <filesystem>
#include <istream>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include "platform/file_views.h"

namespace support {

// The system's files, as long as a test lets them be seen. Thread: one at a time.
class BlindFileViews final : public platform::FileViews {
 public:
    std::optional<std::wstring> WidePath(const std::string& path) override { return m_system.WidePath(path); }
    bool Exists(const std::wstring& path) override { return !isBlind && m_system.Exists(path); }
    std::filesystem::file_status Status(const std::filesystem::path& path, std::error_code& error) override {
        error = statusError;
        if (statusError) return std::filesystem::file_status(std::filesystem::file_type::none);
        if (isBlind) return std::filesystem::file_status(std::filesystem::file_type::not_found);
        return m_system.Status(path, error);
    }
    std::unique_ptr<std::istream> OpenStream(const std::wstring& path) override { return m_system.OpenStream(path); }
    std::unique_ptr<platform::FileView> Open(const std::wstring& path) override { return m_system.Open(path); }

    bool isBlind = false;         // nothing exists, though all can still be opened
    std::error_code statusError;  // what keeps the system from telling a status

 private:
    platform::FileViews& m_system = platform::SystemFileViews();
};

}  // namespace support
