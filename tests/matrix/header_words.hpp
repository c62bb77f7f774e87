// Comparison of two headers word by word, but for the block, the dimension block and the addresses that can't be equal.
#pragma once

#include <nd/array.hpp>

#include <string>

namespace test {

/// The words that differ between two live headers, by name; empty when none does. pdata and the address of an out-of-line dimension
/// block are left out.
inline std::string differing_words(const ndArray_tag* a, const ndArray_tag* b) {
    std::string names;
    const auto compare = [&](const char* name, auto x, auto y) {
        if (x != y) names += (names.empty() ? "" : ", ") + std::string(name);
    };
    compare("share_record", a->share_record, b->share_record);
    compare("next", a->next, b->next);
    compare("class_id", a->class_id, b->class_id);
    compare("scope", a->scope, b->scope);
    compare("ref_count", a->ref_count, b->ref_count);
    compare("internal_ref_count", a->internal_ref_count, b->internal_ref_count);
    compare("flags", a->flags, b->flags);
    if ((a->flags & matrix::flag_inline_dims) != 0) compare("m_or_dims", a->m_or_dims, b->m_or_dims);
    compare("n_or_ndims", a->n_or_ndims, b->n_or_ndims);
    compare("root_record", a->root_record, b->root_record);
    compare("parent", a->parent, b->parent);
    compare("info_a", a->info_a, b->info_a);
    compare("info_b", a->info_b, b->info_b);
    compare("info_c", a->info_c, b->info_c);
    compare("dims32", a->dims32, b->dims32);
    return names;
}

} // namespace test
