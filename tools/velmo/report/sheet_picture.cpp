#include "velmo_report/sheet_picture.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace velmo_report {
namespace {

using velmo_media::Picture;
using velmo_media::Size;

void Place(const Picture& picture, std::uint32_t left, std::uint32_t top, Picture& sheet) {
    const Size size = picture.Dimensions();
    const std::size_t stride = sheet.Dimensions().width;
    for (std::size_t plane = 0; plane < sheet.Format().PlaneCount(); ++plane) {
        const auto from = picture.Plane(std::min(plane, picture.Format().PlaneCount() - 1));
        const auto to = sheet.Plane(plane);
        for (std::size_t row = 0; row < size.height; ++row) {
            const auto line = from.subspan(row * size.width, size.width);
            std::copy(line.begin(), line.end(), to.begin() + static_cast<std::ptrdiff_t>((top + row) * stride + left));
        }
    }
}

}  // namespace

Picture SheetPicture(std::span<const SheetFrame> frames) {
    if (frames.empty()) return {};
    Size cell;
    for (const SheetFrame& frame : frames) {
        for (const Picture* picture : {&frame.picture, &frame.mask, &frame.composite}) {
            cell.width = std::max(cell.width, picture->Dimensions().width);
            cell.height = std::max(cell.height, picture->Dimensions().height);
        }
    }
    const Size step{cell.width + kSheetGap, cell.height + kSheetGap};
    constexpr std::uint32_t kRows = 3;
    Picture sheet(
        {}, {kSheetGap + static_cast<std::uint32_t>(frames.size()) * step.width, kSheetGap + kRows * step.height});
    std::fill(sheet.Bytes().begin(), sheet.Bytes().end(), kSheetBackground);
    std::uint32_t left = kSheetGap;
    for (const SheetFrame& frame : frames) {
        std::uint32_t top = kSheetGap;
        for (const Picture* picture : {&frame.picture, &frame.mask, &frame.composite}) {
            Place(*picture, left, top, sheet);
            top += step.height;
        }
        left += step.width;
    }
    return sheet;
}

}  // namespace velmo_report
