// The rules of one header. A rule's sentence is what a failure prints, so the table is the documentation too.
#include "matrix/accessors.hpp"
#include "matrix/colon_layout.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/field_names.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/share_record.hpp"
#include "matrix/sparse_parts.hpp"
#include "matrix/validate_rules.hpp"

#include <algorithm>

namespace matrix::internal {
namespace {

constexpr std::uint32_t undefined_flags = 0xC00000;
constexpr std::uint32_t highest_bin = 17;

bool has(const ndArray_tag* a, std::uint32_t flag) noexcept { return (a->flags & flag) != 0; }

bool is_aligned(std::uint64_t address) noexcept { return address % alignof(void*) == 0; }
bool is_aligned(const void* address) noexcept { return is_aligned(std::bit_cast<std::uint64_t>(address)); }

// A rule that holds wherever its condition doesn't apply.
constexpr bool implies(bool condition, bool consequence) noexcept { return !condition || consequence; }

// The dimensions of an indexing-opaque array are asked of its class; the words say nothing.
bool stores_dims(const ndArray_tag* a) noexcept { return !has(a, flag_indexing_opaque); }

std::uint64_t saturated_count(const ndArray_tag* a) noexcept {
    std::uint64_t count = 1;
    for (const std::size_t dim : dims_of(a)) count = saturated_product(count, dim);
    return count;
}

// Elements with a place in the data block: a sparse array has nzmax, a struct one for each field.
std::uint64_t stored_elements(const ndArray_tag* a) noexcept {
    if (has(a, flag_sparse)) return a->info_c;
    if (is_struct_like(a->class_id)) return saturated_product(saturated_count(a), field_count(a));
    return saturated_count(a);
}

// A char, logical or container array that was created complex has no elements at all: there the table says 0.
std::uint64_t stored_bytes(const ndArray_tag* a) noexcept {
    return saturated_product(stored_elements(a), element_size(code_of(a->class_id, has(a, flag_complex))));
}

std::uint32_t sharers_of(const ndArray_tag* a) noexcept {
    return a->share_record == nullptr ? 1 : a->share_record->count.load(std::memory_order_acquire);
}

std::ptrdiff_t entries_on_list(const ndArray_tag* a) noexcept {
    const sharer_list* const list = a->share_record->sharers;
    return list == nullptr ? 0 : std::count(list->begin(), list->end(), a);
}

bool list_is_sound(const ndArray_tag* a) noexcept {
    const sharer_list& list = *a->share_record->sharers;
    return list.size() <= sharers_of(a) &&
           std::all_of(list.begin(), list.end(), [&](const ndArray_tag* sharer) {
               return sharer->share_record == a->share_record && sharer->class_id >= 0;
           });
}

const scaffolding* view_without_lock(const ndArray_tag* a) noexcept {
    return a->share_record == nullptr ? nullptr : a->share_record->scData;
}

struct header_rule {
    const char* sentence;
    bool (*holds)(const ndArray_tag* a) noexcept;
};

// Words that stand for themselves.
constexpr header_rule identity_rules[] = {
    {"the class lies in 0 to 18; 0x7fffffff is a header that was destroyed",
     [](const ndArray_tag* a) noexcept { return is_class(a->class_id); }},
    {"the scope lies in 0 to 6: 7 is for headers that are being destroyed",
     [](const ndArray_tag* a) noexcept { return a->scope < ndUNKNOWN_SCOPE; }},
    {"a live header has at least one owner",
     [](const ndArray_tag* a) noexcept { return a->ref_count != 0 || a->internal_ref_count != 0; }},
    {"a live header stands in no cache bin: its link is null",
     [](const ndArray_tag* a) noexcept { return a->next == nullptr; }},
    {"pointers of the header are aligned",
     [](const ndArray_tag* a) noexcept {
         return is_aligned(a->share_record) && is_aligned(a->root_record) && is_aligned(a->parent) &&
                is_aligned(a->dims32);
     }},
    {"only classes that can hold references have a containment record",
     [](const ndArray_tag* a) noexcept {
         return implies(a->root_record != nullptr, can_hold_references(a->class_id));
     }},
};

// Flags that go by class or by each other.
constexpr header_rule flag_rules[] = {
    {"flag bits 22 and 23 are zero",
     [](const ndArray_tag* a) noexcept { return (a->flags & undefined_flags) == 0; }},
    {"the numeric bit is what the class table says",
     [](const ndArray_tag* a) noexcept {
         return has(a, flag_numeric) == is_numeric(code_of(a->class_id, false));
     }},
    {"only opaque arrays are indexing-opaque",
     [](const ndArray_tag* a) noexcept {
         return implies(has(a, flag_indexing_opaque), a->class_id == ndOPAQUE_CLASS);
     }},
    {"only arrays that can hold references are on the collection list",
     [](const ndArray_tag* a) noexcept {
         return implies(has(a, flag_on_collection_list), can_hold_references(a->class_id));
     }},
    {"a bin number stands beside the cached-header bit only",
     [](const ndArray_tag* a) noexcept {
         return implies((a->flags & flag_bin_mask) != 0, has(a, flag_cached_header));
     }},
    {"a bin number lies in 0 to 17",
     [](const ndArray_tag* a) noexcept {
         return (a->flags & flag_bin_mask) >> flag_bin_shift <= highest_bin;
     }},
    {"a cached header owns the block of its bin: not private, not capacity-tracked, a class with elements",
     [](const ndArray_tag* a) noexcept {
         return implies(has(a, flag_cached_header), a->pdata != nullptr &&
                                                        !has(a, flag_data_private | flag_capacity_tracked) &&
                                                        element_size(code_of(a->class_id, false)) != 0);
     }},
};

// Dimensions. From here on dims_of() may be called on what isn't indexing-opaque.
constexpr header_rule dims_rules[] = {
    {"out-of-line dimensions are an aligned block of at least three",
     [](const ndArray_tag* a) noexcept { return implies(stores_dims(a), dims_are_readable(a)); }},
    {"the last of three or more dimensions isn't 1",
     [](const ndArray_tag* a) noexcept {
         return implies(stores_dims(a) && !has_inline_dims(a), dims_of(a).back() != 1);
     }},
    {"the element count is at most 2^48 - 1",
     [](const ndArray_tag* a) noexcept {
         return implies(stores_dims(a), saturated_count(a) <= largest_count);
     }},
    {"a scalar-double array is a full double with inline dimensions 1x1",
     [](const ndArray_tag* a) noexcept {
         return implies(has(a, flag_scalar_double), a->class_id == ndDOUBLE_CLASS && !has(a, flag_sparse) &&
                                                        has_inline_dims(a) && a->m_or_dims == 1 &&
                                                        a->n_or_ndims == 1);
     }},
};

// The words that go by class.
constexpr header_rule info_rules[] = {
    {"info words are zero but for sparse, struct, object and opaque arrays",
     [](const ndArray_tag* a) noexcept {
         return has(a, flag_sparse) || is_struct_like(a->class_id) || a->class_id == ndOPAQUE_CLASS ||
                (a->info_a == 0 && a->info_b == 0 && a->info_c == 0);
     }},
    {"a field-name set and its control block come together",
     [](const ndArray_tag* a) noexcept {
         return implies(is_struct_like(a->class_id), is_aligned(a->info_a) && is_aligned(a->info_b) &&
                                                         is_aligned(a->info_c) &&
                                                         (a->info_a == 0) == (a->info_b == 0));
     }},
    {"a field-name set holds at least one name",
     [](const ndArray_tag* a) noexcept {
         return !is_struct_like(a->class_id) || a->info_a == 0 || names_of(a)->count >= 1;
     }},
    {"a sparse array is double, single or logical, has inline dimensions and isn't a colon object",
     [](const ndArray_tag* a) noexcept {
         return implies(has(a, flag_sparse),
                        may_be_sparse(a->class_id) && has_inline_dims(a) && !has(a, flag_colon_object));
     }},
    {"a sparse array has blocks of its own: a cache bin would forget the index vectors",
     [](const ndArray_tag* a) noexcept { return !has(a, flag_sparse) || !has(a, flag_cached_header); }},
    {"a colon object is a real row with as many columns as its operands take",
     [](const ndArray_tag* a) noexcept {
         return implies(has(a, flag_colon_object), has_room_for_operands(a));
     }},
    {"a sparse array has both index vectors, aligned, or neither",
     [](const ndArray_tag* a) noexcept {
         return implies(has(a, flag_sparse), (a->info_a == 0) == (a->info_b == 0) && is_aligned(a->info_a) &&
                                                 is_aligned(a->info_b));
     }},
};

// Data and who shares it. Zero bytes with a block are no fault: dimensions may shrink under the data.
constexpr header_rule data_rules[] = {
    {"the data take at most 2^48 - 1 bytes",
     [](const ndArray_tag* a) noexcept { return implies(stores_dims(a), stored_bytes(a) <= largest_count); }},
    {"an array whose elements take bytes has a data block",
     [](const ndArray_tag* a) noexcept {
         return implies(stores_dims(a) && a->pdata == nullptr, stored_bytes(a) == 0);
     }},
    {"the slots of a container are aligned",
     [](const ndArray_tag* a) noexcept {
         return implies(is_container_class(a->class_id), is_aligned(a->pdata));
     }},
    {"the shared-data bit comes with a share record",
     [](const ndArray_tag* a) noexcept {
         return implies(has(a, flag_shared_data), a->share_record != nullptr);
     }},
    {"a share record counts at least one header",
     [](const ndArray_tag* a) noexcept { return sharers_of(a) >= 1; }},
    {"the lock of a share record is free",
     [](const ndArray_tag* a) noexcept {
         return a->share_record == nullptr || a->share_record->lock.load(std::memory_order_acquire) == 0;
     }},
    {"every sharer of a block that several headers use has the shared-data bit",
     [](const ndArray_tag* a) noexcept { return implies(sharers_of(a) > 1, has(a, flag_shared_data)); }},
    {"a single-threaded sharer stands on its record's list once, and no other header does",
     [](const ndArray_tag* a) noexcept {
         return a->share_record == nullptr || entries_on_list(a) == (is_single_threaded(a) ? 1 : 0);
     }},
    {"the list of a share record names sharers of that record, and not more than there are",
     [](const ndArray_tag* a) noexcept {
         return a->share_record == nullptr || a->share_record->sharers == nullptr || list_is_sound(a);
     }},
    {"a separate view belongs to numeric data, and its imaginary part to complex data, unless a sharer made "
     "it",
     [](const ndArray_tag* a) noexcept {
         const scaffolding* const view = view_without_lock(a);
         if (view == nullptr || sharers_of(a) > 1 || (view->is_split && view->block_size == 0)) return true;
         return has(a, flag_numeric) &&
                implies(view->is_split,
                        (view->imag_data != nullptr) == is_complex(a) || view->real_data == nullptr);
     }},
    {"a reusable array has one owner and a block that nobody else uses",
     [](const ndArray_tag* a) noexcept {
         return implies(has(a, flag_reusable), a->ref_count <= 1 && sharers_of(a) == 1);
     }},
};

template <std::size_t N>
const char* first_broken(const header_rule (&rules)[N], const ndArray_tag* array) noexcept {
    const auto* broken = std::find_if(std::begin(rules), std::end(rules),
                                      [&](const header_rule& r) { return !r.holds(array); });
    return broken == std::end(rules) ? nullptr : broken->sentence;
}

} // namespace

bool dims_are_readable(const ndArray_tag* array) noexcept {
    if (has_inline_dims(array)) return true;
    return array->m_or_dims != 0 && is_aligned(array->m_or_dims) && array->n_or_ndims >= 3 &&
           array->n_or_ndims <= largest_count / sizeof(std::size_t);
}

std::size_t readable_slots(const ndArray_tag* array) noexcept {
    if (!is_container_class(array->class_id) || array->pdata == nullptr || !stores_dims(array)) return 0;
    return stored_elements(array);
}

const char* broken_header_rule(const ndArray_tag* array) noexcept {
    if (const char* broken = first_broken(identity_rules, array)) return broken;
    if (const char* broken = first_broken(flag_rules, array)) return broken;
    if (const char* broken = first_broken(dims_rules, array)) return broken;
    if (const char* broken = first_broken(info_rules, array)) return broken;
    return first_broken(data_rules, array);
}

} // namespace matrix::internal
