#include "standin/network_cache.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <random>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "standin/texts.h"

namespace standin {
namespace {

// A cache file: these eight bytes, the key, the digest of the network, the network.
constexpr std::array<std::uint8_t, 8> kMark = {'h', 'v', 'q', 'c', 'a', 'c', 'h', '2'};
constexpr std::size_t kHeadSize = kMark.size() + 2 * sizeof(Digest);

constexpr std::string_view kTemporaryPrefix = "hvq-on-its-way-";

std::string ReasonOf(const std::filesystem::path& file) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(file, error);
    if (!std::filesystem::exists(status)) return "there is no such file";
    if (std::filesystem::is_directory(status)) return "it is a folder";
    return "it can't be read";
}

void RemoveLeftovers(const std::filesystem::path& folder) {
    std::error_code error;
    const auto oldest = std::filesystem::file_time_type::clock::now() - std::chrono::hours(24);
    std::vector<std::filesystem::path> leftovers;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code unknown;
        const auto written = entry->last_write_time(unknown);
        if (!unknown && written < oldest && entry->path().filename().u8string().starts_with(u8"hvq-on-its-way-")) {
            leftovers.push_back(entry->path());
        }
    }
    for (const auto& leftover : leftovers)
        (void)std::filesystem::remove(leftover, error);  // another one may have been quicker
}

}  // namespace

Bytes ReadFile(const std::filesystem::path& file) {
    const auto refuse = [&file](const std::string& reason) { throw std::runtime_error(Utf8(file) + ": " + reason); };
    std::error_code error;
    if (std::filesystem::is_directory(file, error)) refuse("it is a folder");
    std::ifstream stream(file, std::ios::binary | std::ios::ate);
    if (!stream) refuse(ReasonOf(file));
    const std::streamoff size = stream.tellg();
    if (size < 0) refuse("it can't be read");
    if (size == 0) refuse("it is empty");
    Bytes bytes(static_cast<std::size_t>(size));
    stream.seekg(0);
    stream.read(reinterpret_cast<char*>(bytes.data()), size);
    if (!stream || stream.gcount() != size) refuse("it can't be read");
    return bytes;
}

NetworkCache::NetworkCache(std::filesystem::path folder) : m_folder(std::move(folder)) {
    if (!std::filesystem::is_directory(m_folder)) std::filesystem::create_directories(m_folder);
    RemoveLeftovers(m_folder);
}

std::optional<Bytes> NetworkCache::Read(const Digest& key) const {
    Bytes bytes;
    try {
        bytes = ReadFile(FileOf(key));
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
    if (bytes.size() <= kHeadSize) return std::nullopt;
    const auto content = bytes.begin() + static_cast<std::ptrdiff_t>(kHeadSize);
    const Digest digest = Fingerprint(std::span(bytes).subspan(kHeadSize));
    auto at = bytes.begin();
    const auto matches = [&at](const auto& expected) {
        const bool same = std::equal(expected.begin(), expected.end(), at);
        at += static_cast<std::ptrdiff_t>(expected.size());
        return same;
    };
    if (!matches(kMark) || !matches(key) || !matches(digest)) return std::nullopt;
    bytes.erase(bytes.begin(), content);
    return bytes;
}

void NetworkCache::Write(const Digest& key, const Bytes& network) const {
    const std::filesystem::path temporary = TemporaryFile();
    const FileRemover remover(temporary);  // finds nothing once it has its name
    {
        std::ofstream stream(temporary, std::ios::binary);
        const auto put = [&stream](const auto& bytes) {
            stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        };
        put(kMark);
        put(key);
        put(Fingerprint(network));
        put(network);
        stream.close();
        if (!stream) throw std::runtime_error(Utf8(temporary) + ": it can't be written");
    }
    std::filesystem::rename(temporary, FileOf(key));
}

std::filesystem::path NetworkCache::TemporaryFile() const {
    std::random_device random;
    std::string name(kTemporaryPrefix);
    for (int i = 0; i < 4; ++i)
        name += std::to_string(random()) + (i < 3 ? "-" : "");
    return m_folder / name;
}

std::filesystem::path NetworkCache::FileOf(const Digest& key) const {
    return m_folder / (Hex(key) + ".hvqnet");
}

FileRemover::FileRemover(std::filesystem::path file) : m_file(std::move(file)) {}

FileRemover::~FileRemover() {
    std::error_code error;
    (void)std::filesystem::remove(m_file, error);  // what stays is removed as a leftover, some day
}

}  // namespace standin
