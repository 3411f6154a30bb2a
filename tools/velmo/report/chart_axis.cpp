#include "velmo_report/chart_axis.h"

#include <cmath>

#include "velmo_report/number_format.h"

namespace velmo_report {

std::vector<double> Ticks(double most) {
    constexpr double kMostTicks = 7;
    double step = std::pow(10, std::floor(std::log10(most)) - 1);
    for (const double factor : {2.0, 2.5, 2.0}) {  // 1, 2, 5, 10
        if (most / step <= kMostTicks) break;
        step *= factor;
    }
    while (most / step > kMostTicks)
        step *= 2;
    std::vector<double> ticks;
    const auto steps = static_cast<int>(most / step * (1 + 1e-9));
    for (int tick = 0; tick <= steps; ++tick)
        ticks.push_back(tick * step);
    return ticks;
}

std::vector<double> WholeTicks(double most) {
    std::vector<double> ticks = Ticks(most);
    std::erase_if(ticks, [](double tick) { return std::abs(tick - std::round(tick)) > 1e-6; });
    return ticks;
}

std::string TickText(double value, double step) {
    int decimals = 0;
    for (double scaled = step; decimals < 3 && std::abs(scaled - std::round(scaled)) > 1e-6; scaled *= 10)
        ++decimals;
    return Fixed(value, decimals);
}

std::string Place(double value) {
    return Fixed(value, 1);
}

}  // namespace velmo_report
