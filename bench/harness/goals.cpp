// The one table of goals.
#include "harness/goals.hpp"

#include <algorithm>
#include <iterator>

namespace bench {
namespace {

struct goal {
    std::string_view work;
    std::string_view size;
    double ratio;
};

constexpr double bytes_of_3x4 = 112 + 12 * 8; // header and elements

constexpr goal goals[] = {
    {"call_stub", "1x1", 1.25},

    {"create_zero", "1x1", 1.5},
    {"create_raw", "1x1", 1.5},
    {"create_zero", "3x4", 1.5},
    {"create_raw", "3x4", 1.5},
    {"create_zero", "1000", 1.15},
    {"create_raw", "1000", 1.5},
    {"create_zero", "1e6", 1.05},
    {"create_raw", "1e6", 1.5},
    {"create_zero_uncached", "3x4", 1.5},
    {"create_zero_1000_alive", "3x4", 1.5},
    {"create_zero_fill", "1e6", 1.05},
    {"create_fill_64_alive(fresh)", "64of1e6", 1.1},
    {"create_fill_64_alive(kept)", "64of1e6", 1.1},

    {"share_release", "1x1", 1.5},
    {"share_release", "3x4", 1.5},
    {"share_release", "1000", 1.5},
    {"share_release", "1e6", 1.5},

    {"create_zero(mode1)", "1x1", 2.2},
    {"create_raw(mode1)", "1x1", 2.2},
    {"create_zero(mode1)", "3x4", 2.2},
    {"create_raw(mode1)", "3x4", 2.2},
    {"create_zero_1000_alive(mode1)", "3x4", 2.2},

    {"malloc_free", "64 bytes", 1.3},

    // No page touched that need not be; half a page for headers and for what allocators set up once.
    {"create_zero_faults", "1e6", 1},
    {"create_raw_faults", "1e6", 1},
    {"create_zero_resident", "1e6", 1.5},
    {"create_raw_resident", "1e6", 1.5},

    {"colon_1_n", "10", 1.75},
    {"colon_0_0.1_n", "10", 1.75},
    {"colon_1_n", "1000", 1.2},
    {"colon_0_0.1_n", "1000", 1.2},
    {"colon_1_n", "1e6", 1.1},
    {"colon_0_0.1_n", "1e6", 1.1},

    {"gather_int64", "10", 1.75},
    {"gather_double", "10", 1.75},
    {"mask50", "10", 1.75},
    {"range_1_2_end", "10", 1.75},
    {"range_contiguous_half", "10", 1.75},
    {"gather_int64", "1000", 1.25},
    {"gather_double", "1000", 1.25},
    {"mask50", "1000", 1.5},
    {"range_1_2_end", "1000", 1.5},
    {"range_contiguous_half", "1000", 1.5},
    {"gather_int64", "1e6", 1.1},
    {"gather_double", "1e6", 1.1},
    {"mask50", "1e6", 1.25},
    {"range_1_2_end", "1e6", 1.1},
    {"range_contiguous_half", "1e6", 1.05},
    {"block2d", "10x10->8x8", 1.75},
    {"block2d_index_vectors", "10x10->8x8", 2},
    {"block2d", "100x100->80x80", 1.15},
    {"block2d_index_vectors", "100x100->80x80", 1.25},
    {"block2d", "1000x1000->800x800", 1.1},
    {"block2d_index_vectors", "1000x1000->800x800", 1.2},
    {"scalar_read", "per-element", 3},
    {"scalar_read_as_array", "per-element", 1.5},
    {"walk(3,:,5)", "100x100x100", 1.3},
    {"walk(:,:,2)", "100x100x100", 1.3},
    {"walk(:,[3 1 2],:)", "100x100x100", 1.3},

    {"scatter_int64", "1000", 1.25},
    {"scatter_double", "1000", 1.25},
    {"fill_range_half", "1000", 1.5},
    {"delete_range_half", "1000", 1.5},
    {"scatter_int64", "1e6", 1.1},
    {"scatter_double", "1e6", 1.1},
    {"fill_range_half", "1e6", 1.05},
    {"delete_range_half", "1e6", 1.1},
    {"append_1e5", "1e5", 3},

    {"duplicate", "1e6", 1.05},
    {"destroy_cell", "1000of3x4", 1.3},

    {"field_by_string", "10", 1.25},
    {"field_by_interned_pointer", "10", 1.5},
    {"field_by_string", "200", 2},
    {"field_by_interned_pointer", "200", 1.5},

    {"sparse_to_full", "1e6,1%", 1.3},
    {"sparse_to_full", "1e6,10%", 1.3},
    {"full_to_sparse", "1e6,1%", 1.3},
    {"full_to_sparse", "1e6,10%", 1.3},

    {"string_create", "20B-ascii", 1.5},
    {"string_back", "20B-ascii", 1.5},
    {"string_create", "1000B-ascii", 1.25},
    {"string_back", "1000B-ascii", 1.25},
    {"string_create", "1MB-ascii", 1.1},
    {"string_back", "1MB-ascii", 1.1},
    {"string_create", "1000B-mixed", 1.1},
    {"string_back", "1000B-mixed", 1.1},
    {"string_create", "1MB-mixed", 1.1},
    {"string_back", "1MB-mixed", 1.1},

    {"alive_bytes", "3x4", 320 / bytes_of_3x4},
    {"alive_bytes(mode1)", "3x4", 320 / bytes_of_3x4},
};

// Conversions to double and from it; those between other classes stand for information.
constexpr goal conversion_goals[] = {{"->", "12", 1.75}, {"->", "1000", 1.2}, {"->", "1e6", 1.1}};

bool is_conversion_with_double(std::string_view work) {
    return work.starts_with("double->") || work.ends_with("->double");
}

} // namespace

std::optional<double> goal_of(std::string_view work, std::string_view size) {
    const auto found = std::find_if(std::begin(goals), std::end(goals), [&](const goal& entry) {
        return entry.work == work && entry.size == size;
    });
    if (found != std::end(goals)) return found->ratio;
    if (!is_conversion_with_double(work)) return std::nullopt;
    for (const goal& entry : conversion_goals) {
        if (entry.size == size) return entry.ratio;
    }
    return std::nullopt;
}

std::optional<double> spread_goal_of(std::string_view group) {
    if (group == "free_orders") return 3;
    return std::nullopt;
}

} // namespace bench
