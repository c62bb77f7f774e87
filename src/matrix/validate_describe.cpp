// A header on one line, for messages. The header may be damaged.
#include "matrix/class_table.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/validate.hpp"
#include "matrix/validate_rules.hpp"

#include <algorithm>
#include <array>
#include <cstdio>

namespace matrix::internal {
namespace {

struct flag_name {
    std::uint32_t mask;
    const char* name;
};

constexpr flag_name flag_table[] = {
    {flag_scalar_double, "scalar-double"},
    {flag_share_data_private, "share-data-private"},
    {flag_empty_square_bracket, "empty-square-bracket"},
    {flag_from_global_workspace, "from-global-workspace"},
    {flag_sparse, "sparse"},
    {flag_colon_object, "colon-object"},
    {flag_data_private, "data-private"},
    {flag_numeric, "numeric"},
    {flag_indexing_opaque, "indexing-opaque"},
    {flag_reusable, "reusable"},
    {flag_capacity_tracked, "capacity-tracked"},
    {flag_complex, "complex"},
    {flag_shared_data, "shared-data"},
    {flag_cached_header, "cached-header"},
    {flag_inline_dims, "inline-dims"},
    {flag_single_threaded_sharing, "single-threaded-sharing"},
    {flag_on_collection_list, "on-collection-list"},
};

std::string hex(std::uint64_t value) {
    std::array<char, 24> text{};
    std::snprintf(text.data(), text.size(), "0x%llx", static_cast<unsigned long long>(value));
    return text.data();
}

std::string pointer_text(const void* pointer) {
    return pointer == nullptr ? "null" : hex(std::bit_cast<std::uint64_t>(pointer));
}

std::string class_name_text(std::int32_t class_id) {
    if (!is_class(class_id)) return "class " + std::to_string(class_id);
    const std::string name = class_rows[static_cast<std::size_t>(class_id)].name;
    return name.empty() ? "void" : name;
}

// At most this many out-of-line dimensions are printed.
constexpr std::size_t printed_dims = 8;

std::string dims_text(const ndArray_tag* array) {
    if (!dims_are_readable(array)) {
        return "(" + std::to_string(array->n_or_ndims) + " dimensions at " + hex(array->m_or_dims) + ")";
    }
    const dims_view dims = dims_of(array);
    std::string text = std::to_string(dims[0]);
    const std::size_t printed = std::min(dims.size(), printed_dims);
    for (std::size_t i = 1; i < printed; ++i) text += "x" + std::to_string(dims[i]);
    return printed < dims.size() ? text + "x..." : text;
}

std::string record_text(const ndArray_tag* array) {
    const ::share_record* record = array->share_record;
    if (record == nullptr || std::bit_cast<std::uint64_t>(record) % alignof(::share_record) != 0) {
        return pointer_text(record);
    }
    return "(count " + std::to_string(record->count.load()) + ", lock " +
           std::to_string(record->lock.load()) + (record->deleter == nullptr ? ")" : ", deleter)");
}

} // namespace

std::string flag_names(std::uint32_t flags) {
    std::string names;
    const auto add = [&](const std::string& name) { names += names.empty() ? name : "|" + name; };
    for (const flag_name& flag : flag_table) {
        if ((flags & flag.mask) != 0) add(flag.name);
    }
    if (const std::uint32_t bin = (flags & flag_bin_mask) >> flag_bin_shift; bin != 0) {
        add("bin " + std::to_string(bin));
    }
    if ((flags & 0xC00000) != 0) add("undefined bits " + hex(flags & 0xC00000));
    if (const std::uint32_t user = flags >> flag_user_shift; user != 0) add("user bits " + hex(user));
    return names.empty() ? "none" : names;
}

std::string describe_header(const ndArray_tag* array) {
    if (array == nullptr) return "null";
    return class_name_text(array->class_id) + " " + dims_text(array) + " [flags " + hex(array->flags) + " " +
           flag_names(array->flags) + "; scope " + std::to_string(array->scope) + "; owners " +
           std::to_string(array->ref_count) + "+" + std::to_string(array->internal_ref_count) + "; data " +
           pointer_text(array->pdata) + "; share record " + record_text(array) + "; info " +
           hex(array->info_a) + " " + hex(array->info_b) + " " + hex(array->info_c) + "; next " +
           pointer_text(array->next) + "]";
}

} // namespace matrix::internal
