// Taking and comparing snapshots.
#include "support/snapshot.hpp"

#include "matrix/class_table.hpp"
#include "matrix/containers.hpp"
#include "matrix/dimensions.hpp"

#include <cstring>
#include <sstream>
#include <unordered_set>

namespace test {
namespace {

constexpr std::uint64_t fnv_basis = 0xCBF29CE484222325;
constexpr std::uint64_t fnv_prime = 0x100000001B3;

class hasher {
public:
    void add_bytes(const void* data, std::size_t size) noexcept {
        const auto* bytes = static_cast<const unsigned char*>(data);
        for (std::size_t i = 0; i < size; ++i) state_ = (state_ ^ bytes[i]) * fnv_prime;
    }
    template <class T>
    void add(const T& value) noexcept {
        add_bytes(&value, sizeof value);
    }
    std::uint64_t value() const noexcept { return state_; }

private:
    std::uint64_t state_ = fnv_basis;
};

// The record is hashed field by field: its atomics aren't bytes to copy.
void add_record(hasher& hash, const share_record* record) {
    if (record == nullptr) return;
    hash.add(record->count.load());
    hash.add(record->lock.load());
    hash.add(record->scData);
    hash.add(record->sharers);
    hash.add(record->deleter);
}

std::size_t slots_with_data(const ndArray_tag* array) {
    const bool container = matrix::internal::is_container_class(array->class_id);
    return container && array->pdata != nullptr ? matrix::internal::slot_count(array) : 0;
}

void add_data(hasher& hash, const ndArray_tag* array) {
    if (array->pdata == nullptr) return;
    const bool complex = (array->flags & matrix::flags_complex_numeric) == matrix::flags_complex_numeric;
    const bool sparse = (array->flags & matrix::flag_sparse) != 0;
    const std::size_t size =
        matrix::internal::element_size(matrix::internal::code_of(array->class_id, complex));
    const bool container = matrix::internal::is_container_class(array->class_id);
    const std::size_t count = container ? slots_with_data(array)
                              : sparse  ? array->info_c
                                        : matrix::internal::element_count(array);
    hash.add_bytes(array->pdata, count * size);
    if (sparse && array->info_a != 0) {
        hash.add_bytes(std::bit_cast<const void*>(array->info_a), array->info_c * sizeof(std::uint64_t));
        hash.add_bytes(std::bit_cast<const void*>(array->info_b),
                       (array->n_or_ndims + 1) * sizeof(std::uint64_t));
    }
}

// Names, owners and table: a set that is changed in place keeps its address.
void add_names(hasher& hash, const ndArray_tag* array) {
    if (!matrix::internal::is_struct_like(array->class_id) || array->info_a == 0) return;
    const matrix::internal::name_index_info* const set = matrix::internal::names_of(array);
    hash.add(set->count);
    hash.add(set->has_spare);
    hash.add(set->table);
    hash.add(matrix::internal::name_set_owners(array));
    for (std::int32_t i = 0; i < set->count; ++i) {
        hash.add(set->names()[i]);
        if (set->table == nullptr) continue;
        const std::uintptr_t* const entry = base_ghash_find(set->table, set->names()[i]);
        hash.add(entry == nullptr ? ~std::uintptr_t{0} : *entry);
    }
}

void add_one(hasher& hash, const ndArray_tag* array) {
    // Four bytes behind the flags are padding.
    constexpr std::size_t padding = offsetof(ndArray_tag, flags) + sizeof(ndArray_tag::flags);
    constexpr std::size_t rest = offsetof(ndArray_tag, m_or_dims);
    hash.add_bytes(array, padding);
    hash.add_bytes(reinterpret_cast<const std::byte*>(array) + rest, sizeof(ndArray_tag) - rest);
    const auto dims = matrix::internal::dims_of(array);
    hash.add_bytes(dims.data(), dims.size_bytes());
    add_record(hash, array->share_record);
    add_names(hash, array);
    add_data(hash, array);
}

// The array and everything in its slots, on an explicit list.
std::uint64_t hash_of(const ndArray_tag* root) {
    hasher hash;
    std::vector<const ndArray_tag*> open{root};
    std::unordered_set<const ndArray_tag*> met{root};
    while (!open.empty()) {
        const ndArray_tag* const array = open.back();
        open.pop_back();
        add_one(hash, array);
        const ndArray_tag* const* slots = matrix::internal::slots_of(array);
        for (std::size_t i = 0; i < slots_with_data(array); ++i) {
            if (slots[i] != nullptr && met.insert(slots[i]).second) open.push_back(slots[i]);
        }
    }
    return hash.value();
}

struct header_field {
    const char* name;
    std::size_t offset;
    std::size_t size;
};

#define ND_FIELD(member)                                                                                     \
    header_field { #member, offsetof(ndArray_tag, member), sizeof(ndArray_tag::member) }
constexpr header_field header_fields[] = {
    ND_FIELD(share_record), ND_FIELD(next),      ND_FIELD(class_id),
    ND_FIELD(scope),        ND_FIELD(ref_count), ND_FIELD(internal_ref_count),
    ND_FIELD(flags),        ND_FIELD(m_or_dims), ND_FIELD(n_or_ndims),
    ND_FIELD(root_record),  ND_FIELD(parent),    ND_FIELD(pdata),
    ND_FIELD(info_a),       ND_FIELD(info_b),    ND_FIELD(info_c),
    ND_FIELD(dims32)};
#undef ND_FIELD

std::uint64_t field_value(const std::byte* header, const header_field& field) {
    std::uint64_t value = 0;
    std::memcpy(&value, header + field.offset, field.size);
    return value;
}

std::string record_text(const share_record* record) {
    std::ostringstream out;
    if (record == nullptr) return "none";
    out << "count " << record->count.load() << ", lock " << record->lock.load() << ", scData "
        << record->scData << ", sharers " << record->sharers << ", deleter "
        << (record->deleter == nullptr ? "none" : "set");
    return out.str();
}

} // namespace

snapshot::snapshot(const ndArray_tag* array)
    : array_(array), record_(record_text(array->share_record)), hash_(hash_of(array)) {
    std::memcpy(header_.data(), array, header_.size());
    const auto dims = matrix::internal::dims_of(array);
    dims_.assign(dims.begin(), dims.end());
}

std::string snapshot::difference() const {
    const auto* now = reinterpret_cast<const std::byte*>(array_);
    for (const header_field& field : header_fields) {
        const std::uint64_t before = field_value(header_.data(), field);
        const std::uint64_t after = field_value(now, field);
        if (before == after) continue;
        std::ostringstream out;
        out << "field " << field.name << " was 0x" << std::hex << before << ", is 0x" << after;
        return out.str();
    }
    const auto dims = matrix::internal::dims_of(array_);
    if (!std::equal(dims.begin(), dims.end(), dims_.begin(), dims_.end()))
        return "the dimensions have changed";
    if (const std::string record = record_text(array_->share_record); record != record_) {
        return "the share record was " + record_ + "; is " + record;
    }
    return hash_of(array_) == hash_ ? "" : "the data or what stands in the slots have changed";
}

} // namespace test
