#include "helpers/kernels/edge_map.h"

#include "helpers/kernels/kernels.h"

namespace rvo_calyr {

bool BuildEdgeMap(std::int32_t width, std::int32_t height, const std::uint8_t* mask, std::uint32_t& count,
                  std::uint8_t* map) {
    return kernels::BestKernels().buildEdgeMap(width, height, mask, count, map);
}

}  // namespace rvo_calyr
