// Comparing two arrays element by element, and saying where they differ.
//
// Containers are compared on an explicit list of pairs, so a deep nesting needs no stack. A pair that was met before isn't
// compared again.
#include "support/array_matchers.hpp"

#include "matrix/class_table.hpp"
#include "matrix/containers.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/validate.hpp"
#include "support/array_spec.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <ostream>
#include <set>
#include <span>
#include <type_traits>
#include <vector>

namespace test {
namespace {

using matrix::internal::dims_view;

constexpr std::size_t shown_differences = 5;
constexpr std::uint32_t storage_flags = matrix::flag_sparse | matrix::flag_colon_object;

struct pair_to_compare {
    const ndArray_tag* expected;
    const ndArray_tag* actual;
    std::string path;

    bool operator<(const pair_to_compare& other) const {
        return std::pair(expected, actual) < std::pair(other.expected, other.actual);
    }
};

bool is_complex(const ndArray_tag* array) {
    return (array->flags & matrix::flags_complex_numeric) == matrix::flags_complex_numeric;
}

// "(2,1,3)", one-based as a reader of the language writes it.
std::string subscripts_text(dims_view dims, std::size_t i) {
    std::string text = "(";
    for (const std::size_t dim : dims) {
        text += (text.size() == 1 ? "" : ",") + std::to_string(i % dim + 1);
        i /= dim;
    }
    return text + ")";
}

template <class T>
bool same_element(T a, T b) {
    if constexpr (std::is_floating_point_v<T>) {
        if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
    }
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

std::vector<std::size_t> differing_elements(const ndArray_tag* expected, const ndArray_tag* actual,
                                            std::size_t count) {
    std::vector<std::size_t> at;
    const std::size_t parts = is_complex(expected) ? 2 : 1;
    matrix::internal::with_element_type(expected->class_id, [&](auto row) {
        using T = typename decltype(row)::type;
        const T* a = static_cast<const T*>(expected->pdata);
        const T* b = static_cast<const T*>(actual->pdata);
        for (std::size_t i = 0; i < count; ++i) {
            bool same = true;
            for (std::size_t k = i * parts; k < (i + 1) * parts; ++k) same = same && same_element(a[k], b[k]);
            if (!same) at.push_back(i);
        }
    });
    return at;
}

std::string element_difference(const ndArray_tag* expected, const ndArray_tag* actual, std::size_t count) {
    const std::vector<std::size_t> at = differing_elements(expected, actual, count);
    if (at.empty()) return {};
    std::string text = std::to_string(at.size()) + " of " + std::to_string(count) + " elements differ:";
    for (std::size_t k = 0; k < std::min(at.size(), shown_differences); ++k) {
        text += "\n  at " + subscripts_text(matrix::internal::dims_of(expected), at[k]) + " expected " +
                element_text(expected, at[k]) + ", is " + element_text(actual, at[k]);
    }
    return at.size() > shown_differences ? text + "\n  ..." : text;
}

using index_view = std::span<const std::size_t>;

index_view indices(std::uint64_t address, std::size_t count) {
    return address == 0 ? index_view() : index_view(std::bit_cast<const std::size_t*>(address), count);
}

// Where elements are stored, and what; the room behind them doesn't count.
std::string sparse_difference(const ndArray_tag* expected, const ndArray_tag* actual) {
    const auto starts_of = [](const ndArray_tag* a) { return indices(a->info_b, a->n_or_ndims + 1); };
    const index_view wanted = starts_of(expected);
    const index_view found = starts_of(actual);
    if (!std::equal(wanted.begin(), wanted.end(), found.begin(), found.end()))
        return "elements are stored in other columns";
    const std::size_t stored = wanted.empty() ? 0 : wanted.back();
    const index_view rows = indices(expected->info_a, stored);
    if (!std::equal(rows.begin(), rows.end(), indices(actual->info_a, stored).begin()))
        return "elements are stored in other rows";
    const std::vector<std::size_t> at = differing_elements(expected, actual, stored);
    return at.empty() ? ""
                      : std::to_string(at.size()) + " of the stored elements differ, the first at " +
                            std::to_string(at[0]);
}

std::string names_difference(const ndArray_tag* expected, const ndArray_tag* actual) {
    const std::string wanted = field_names_text(expected);
    const std::string found = field_names_text(actual);
    return wanted == found ? "" : "expected fields " + wanted + ", is " + found;
}

std::string header_difference(const ndArray_tag* expected, const ndArray_tag* actual) {
    if (class_text(expected) != class_text(actual)) {
        return "expected class " + class_text(expected) + ", is " + class_text(actual);
    }
    const dims_view wanted = matrix::internal::dims_of(expected);
    const dims_view found = matrix::internal::dims_of(actual);
    if (!std::equal(wanted.begin(), wanted.end(), found.begin(), found.end())) {
        return "expected dimensions " + dims_text({wanted.begin(), wanted.end()}) + ", is " +
               dims_text({found.begin(), found.end()});
    }
    if (const std::string names = names_difference(expected, actual); !names.empty()) return names;
    if ((expected->flags & storage_flags) != (actual->flags & storage_flags)) {
        return "expected storage " + matrix::internal::flag_names(expected->flags & storage_flags) + ", is " +
               matrix::internal::flag_names(actual->flags & storage_flags);
    }
    return {};
}

std::string flags_note(const ndArray_tag* expected, const ndArray_tag* actual) {
    return "\n  flags of the expected array: " + matrix::internal::flag_names(expected->flags) +
           "\n  flags of the actual array:   " + matrix::internal::flag_names(actual->flags);
}

std::string slot_name(const ndArray_tag* container, std::size_t i) {
    if (container->class_id == ndCELL_CLASS) return "cell element " + std::to_string(i);
    const std::size_t fields = matrix::internal::field_count(container);
    return "element " + std::to_string(i / fields) + " field \"" +
           matrix::internal::names_of(container)->names()[i % fields] + "\"";
}

class comparison {
public:
    comparison(const ndArray_tag* expected, const ndArray_tag* actual) { meet({expected, actual, ""}); }

    std::string run() {
        while (!open_.empty()) {
            const pair_to_compare pair = open_.back();
            open_.pop_back();
            if (const std::string difference = compare(pair); !difference.empty()) {
                return pair.path + difference + flags_note(pair.expected, pair.actual);
            }
        }
        return {};
    }

private:
    void meet(pair_to_compare pair) {
        if (pair.expected != pair.actual && met_.insert(pair).second) open_.push_back(std::move(pair));
    }

    std::string compare(const pair_to_compare& pair) {
        if (std::string difference = header_difference(pair.expected, pair.actual); !difference.empty()) {
            return difference;
        }
        const std::size_t count = matrix::internal::element_count(pair.expected);
        const bool has_data = pair.expected->pdata != nullptr;
        if (count == 0 || (!has_data && pair.actual->pdata == nullptr)) return {};
        if (has_data != (pair.actual->pdata != nullptr))
            return has_data ? "no data" : "data where none were expected";
        if ((pair.expected->flags & matrix::flag_sparse) != 0)
            return sparse_difference(pair.expected, pair.actual);
        if (matrix::internal::is_container_class(pair.expected->class_id))
            return compare_slots(pair, matrix::internal::slot_count(pair.expected));
        return element_difference(pair.expected, pair.actual, count);
    }

    std::string compare_slots(const pair_to_compare& pair, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            const ndArray_tag* expected = static_cast<ndArray_tag* const*>(pair.expected->pdata)[i];
            const ndArray_tag* actual = static_cast<ndArray_tag* const*>(pair.actual->pdata)[i];
            if ((expected == nullptr) != (actual == nullptr)) {
                return slot_name(pair.expected, i) + ": expected " + element_text(pair.expected, i) +
                       ", is " + element_text(pair.actual, i);
            }
            // A path grows with the depth: beyond some it is of no use to a reader.
            constexpr std::size_t longest_path = 200;
            const std::string path =
                pair.path.size() < longest_path ? pair.path + slot_name(pair.expected, i) + ": " : pair.path;
            if (expected != nullptr) meet({expected, actual, path});
        }
        return {};
    }

    std::vector<pair_to_compare> open_;
    std::set<pair_to_compare> met_;
};

} // namespace

std::string array_difference(const ndArray_tag* expected, const ndArray_tag* actual) {
    if (expected == nullptr || actual == nullptr) {
        return expected == actual ? "" : "expected " + array_text(expected) + ", is " + array_text(actual);
    }
    if (const std::string broken = matrix::internal::validate(expected); !broken.empty()) {
        return "the expected array isn't valid: " + broken;
    }
    if (const std::string broken = matrix::internal::validate(actual); !broken.empty()) {
        return "the actual array isn't valid: " + broken;
    }
    return comparison(expected, actual).run();
}

bool equals_array_matcher::MatchAndExplain(const ndArray_tag* actual, std::ostream* explanation) const {
    const std::string difference = array_difference(expected_.get(), actual);
    if (!difference.empty() && explanation != nullptr) *explanation << "which differs: " << difference;
    return difference.empty();
}

void equals_array_matcher::DescribeTo(std::ostream* out) const {
    *out << "equals " << array_text(expected_.get());
}

void equals_array_matcher::DescribeNegationTo(std::ostream* out) const {
    *out << "differs from " << array_text(expected_.get());
}

} // namespace test
