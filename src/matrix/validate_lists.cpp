// Do the current engine's lists and the calling thread's cache bins hold what they may hold?
#include "matrix/array_cache.hpp"
#include "matrix/library_context.hpp"
#include "matrix/validate.hpp"

#include <unordered_map>
#include <unordered_set>

namespace matrix::internal {
namespace {

constexpr std::uint32_t flags_of_dead_pairs = flag_cached_header | flag_bin_mask;

// Pairs in a bin are out of bounds for AddressSanitizer: readable while this lives.
class opened_pair {
public:
    explicit opened_pair(const ndArray_tag* pair) noexcept : pair_(pair) {
        foundation::core::mem::unguard(pair_, sizeof(ndArray_tag));
    }
    ~opened_pair() { foundation::core::mem::guard(pair_, sizeof(ndArray_tag)); }
    opened_pair(const opened_pair&) = delete;
    opened_pair& operator=(const opened_pair&) = delete;

    const ndArray_tag* operator->() const noexcept { return pair_; }

private:
    const ndArray_tag* pair_;
};

const char* broken_pair_rule(const opened_pair& pair, std::size_t bin_number) noexcept {
    if ((pair->flags & flags_of_dead_pairs) != flags_of_bin(bin_number))
        return "a pair stands in the bin that its flags name";
    if (pair->pdata == nullptr) return "a pair has its block";
    if (pair->share_record != nullptr || (pair->flags & flag_shared_data) != 0)
        return "nobody shares the block of a pair";
    if ((pair->flags & flag_inline_dims) == 0 || pair->dims32 != nullptr)
        return "a pair has no dimension block";
    if (pair->parent != nullptr) return "a pair has no parent";
    return nullptr;
}

} // namespace

std::string ArrayList::broken_rule() const {
    if (const char* const broken = stack_.broken_rule()) return broken;
    std::unordered_map<const ndArray_tag*, std::size_t> contexts;
    std::uint64_t last_serial = 0;
    for (std::size_t i = 0; i < stack_.size(); ++i) {
        const array_entry& entry = stack_[i];
        if (entry.serial <= last_serial) return "an array stands behind those that were added before";
        last_serial = entry.serial;
        if (entry.pointer != nullptr && !contexts.emplace(entry.pointer, stack_.context_of(i)).second)
            return "an array stands on the list once";
    }
    for (const auto& [array, record] : m_arrayDebug) {
        const auto entry = contexts.find(array);
        if (entry == contexts.end()) return "an array with a record stands on the list";
        if (entry->second != record.context) return "a record names the context of its array";
    }
    return {};
}

std::string AllocList::broken_rule() const {
    if (const char* const broken = stack_.broken_rule()) return broken;
    std::unordered_set<const void*> seen;
    for (const void* block : all_entries()) {
        if (!seen.insert(block).second) return "a block stands on the list once";
    }
    return {};
}

namespace {

std::string sentence(const char* list, const std::string& rule) {
    return rule.empty() ? rule : std::string(list) + ": broken rule \"" + rule + "\"";
}

} // namespace

std::string validate_array_list() {
    const MatrixLibraryContext* const context = find_context();
    if (context == nullptr) return {};
    if (std::string broken = sentence("array list", context->array_list.broken_rule()); !broken.empty())
        return broken;
    for (const listed_array& entry : context->array_list.all_entries()) {
        const std::string where = "array " + std::to_string(entry.serial) + " on the list: ";
        if (const std::string broken = validate(entry.array); !broken.empty()) return where + broken;
        if (entry.array->scope != ndTEMPORARY_SCOPE)
            return where + "broken rule \"an array on the list has temporary scope\": " +
                   describe_header(entry.array);
    }
    return {};
}

std::string validate_alloc_list() {
    const MatrixLibraryContext* const context = find_context();
    return context == nullptr ? std::string() : sentence("alloc list", context->alloc_list.broken_rule());
}

std::string validate_cache() {
    for (std::size_t i = 0; i < bin_count; ++i) {
        const ArrayCache::bin& bin = the_cache.bins[i];
        const auto message = [&](const char* rule) {
            return "bin " + std::to_string(i) + ": broken rule \"" + rule + "\"";
        };
        if (bin.count > bin.max_count) return message("a bin holds at most as many pairs as it may");
        std::uint64_t left = bin.count;
        for (const ndArray_tag* at = bin.head; at != nullptr; --left) {
            if (left == 0) return message("a bin holds as many pairs as it counts");
            const opened_pair pair(at);
            if (const char* broken = broken_pair_rule(pair, i)) return message(broken);
            at = pair->next;
        }
        if (left != 0) return message("a bin holds as many pairs as it counts");
    }
    return {};
}

} // namespace matrix::internal
