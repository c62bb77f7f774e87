// The rules of a field-name set: names that are symbols, and a table that finds the last of equal ones.
#include "matrix/field_names.hpp"
#include "matrix/validate_rules.hpp"

#include <libbase/symbol_table.hpp>

#include <algorithm>

namespace matrix::internal {
namespace {

// A name's index in the table, -1 without one.
std::int64_t entry_of(const name_index_info& set, const char* symbol) noexcept {
    const std::uintptr_t* const entry = base_ghash_find(set.table, symbol);
    return entry == nullptr ? -1 : static_cast<std::int64_t>(*entry);
}

// The entry stands at the name or, for an equal one, behind it.
bool is_entered(const name_index_info& set, std::int32_t index) noexcept {
    const char* const symbol = set.names()[index];
    const std::int64_t entry = entry_of(set, symbol);
    return entry >= index && entry < set.count && set.names()[entry] == symbol;
}

bool every_index(const name_index_info& set, bool (*holds)(const name_index_info&, std::int32_t)) noexcept {
    for (std::int32_t i = 0; i < set.count; ++i) {
        if (!holds(set, i)) return false;
    }
    return true;
}

} // namespace

const char* broken_name_rule(const ndArray_tag* array) noexcept {
    if (!is_struct_like(array->class_id) || array->info_a == 0) return nullptr;
    const name_index_info& set = *names_of(array);
    if (name_set_owners(array) < 1) return "a field-name set counts at least one owner";
    if (!every_index(set, [](const name_index_info& s, std::int32_t i) { return s.names()[i] != nullptr; }))
        return "no field name is null";
    if (!every_index(set, [](const name_index_info& s, std::int32_t i) {
            return base_symtab_find(s.names()[i]) == s.names()[i];
        }))
        return "field names are symbols of the symbol table";
    if ((set.table != nullptr) != (set.count >= names_with_table))
        return "a field-name set has a table from 64 names on, and not before";
    if (set.table != nullptr && !every_index(set, is_entered))
        return "the table of a field-name set leads to the last of equal names";
    return nullptr;
}

} // namespace matrix::internal
