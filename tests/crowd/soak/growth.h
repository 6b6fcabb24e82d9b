// Whether something grows in the course of a long run.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

namespace crowd {

// One thing, measured again and again; and by how much it may be more at the end, for reasons that are no leak.
struct Series {
    std::string name;
    double tolerance;
    std::vector<double> values = {};

    // The medians of the first and of the last quarter: one odd sample says nothing.
    [[nodiscard]] double at_first() const { return median(values.begin(), values.begin() + quarter()); }
    [[nodiscard]] double at_last() const { return median(values.end() - quarter(), values.end()); }
    // With too few samples nothing is known, and that is not good enough.
    [[nodiscard]] bool has_enough() const { return values.size() >= 8; }
    [[nodiscard]] bool grows() const { return at_last() - at_first() > tolerance; }

private:
    [[nodiscard]] std::ptrdiff_t quarter() const { return static_cast<std::ptrdiff_t>(values.size() / 4); }
    static double median(std::vector<double>::const_iterator from, std::vector<double>::const_iterator to)
    {
        std::vector<double> sorted(from, to);
        std::sort(sorted.begin(), sorted.end());
        return sorted.empty() ? 0 : sorted[sorted.size() / 2];
    }
};

}  // namespace crowd
