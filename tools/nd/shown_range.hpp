/*
 * Which part of something long is shown: all of it when it is short, else its beginning and its end.
 */
#ifndef ND_TOOLS_SHOWN_RANGE_HPP
#define ND_TOOLS_SHOWN_RANGE_HPP

#include <algorithm>
#include <cstddef>
#include <limits>
#include <vector>

namespace nd_host {

/// Everything up to limit, else the first head and the last tail; head + tail is at most limit.
struct cut {
    std::size_t limit;
    std::size_t head;
    std::size_t tail;
};

/// Stands among indices for what was left out.
inline constexpr std::size_t gap = std::numeric_limits<std::size_t>::max();

/// The indices below count that are shown, in order; whole asks for all of them, or the first most.
inline std::vector<std::size_t> shown_indices(std::size_t count, const cut& how, bool whole,
                                              std::size_t most = std::numeric_limits<std::size_t>::max()) {
    std::vector<std::size_t> shown;
    const bool all = whole || count <= how.limit;
    for (std::size_t i = 0; i < (all ? std::min(count, most) : how.head); ++i) {
        shown.push_back(i);
    }
    if (all) {
        return shown;
    }
    shown.push_back(gap);
    for (std::size_t i = count - how.tail; i < count; ++i) {
        shown.push_back(i);
    }
    return shown;
}

} // namespace nd_host

#endif
