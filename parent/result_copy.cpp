#include <cstddef>
#include <utility>

#include "velmo_parent/frame.h"

namespace velmo_parent {
namespace {

constexpr std::size_t kGesture = 9;
constexpr std::size_t kLandmarks = 207216;
constexpr std::size_t kVertices = 99;
constexpr std::size_t kTable = 107811;

}  // namespace

void ResultCopy::Assign(const Result& result) {
    m_result = result;
    m_result.mask = {};
    m_result.full = nullptr;
    m_mask.assign(result.mask.begin(), result.mask.end());
    m_full.reset();
    if (result.full == nullptr) return;
    const FullResult& from = *result.full;
    m_floats.clear();
    m_floats.reserve(kGesture + kLandmarks + kVertices + kTable);
    m_floats.insert(m_floats.end(), from.gesture.begin(), from.gesture.end());
    m_floats.insert(m_floats.end(), from.landmarks.begin(), from.landmarks.end());
    m_floats.insert(m_floats.end(), from.lutVertices.begin(), from.lutVertices.end());
    m_floats.insert(m_floats.end(), from.lut.begin(), from.lut.end());
    const float* const floats = m_floats.data();
    m_full =
        FullResult{std::span<const float, kGesture>(floats, kGesture),
                   std::span<const float, kLandmarks>(floats + kGesture, kLandmarks),
                   std::span<const float, kVertices>(floats + kGesture + kLandmarks, kVertices),
                   std::span<const float, kTable>(floats + kGesture + kLandmarks + kVertices, kTable), from.motion};
}

Result ResultCopy::Get() const {
    Result result = m_result;
    result.mask = m_mask;
    result.full = m_full ? &*m_full : nullptr;
    return result;
}

void ResultCopy::Swap(ResultCopy& other) noexcept {
    std::swap(m_result, other.m_result);
    m_mask.swap(other.m_mask);
    m_floats.swap(other.m_floats);  // the memory stays where it is, so what points into it goes along
    m_full.swap(other.m_full);
}

}  // namespace velmo_parent
