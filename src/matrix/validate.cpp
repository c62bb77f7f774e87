// The walk of validate(): header first, then whatever stands in the slots, on a stack of its own.
#include "matrix/validate.hpp"

#include "matrix/class_table.hpp"
#include "matrix/field_names.hpp"
#include "matrix/validate_rules.hpp"

#include <bit>
#include <unordered_set>
#include <vector>

namespace matrix::internal {
namespace {

constexpr const char* slot_scope_rule = "an element in a slot has member scope";

class walker {
public:
    std::string run(const ndArray_tag* root) {
        if (const char* broken = enter(root)) return message(broken, root);
        while (!path_.empty()) {
            step& here = path_.back();
            if (here.next == here.slots) {
                path_.pop_back();
                continue;
            }
            const ndArray_tag* const child = slots_of(here.container)[here.next++];
            if (child == nullptr) continue;
            if (const char* broken = broken_in_slot(child)) return message(broken, child);
        }
        return {};
    }

private:
    struct step {
        const ndArray_tag* container;
        std::size_t next; ///< the slot after the one that is being checked
        std::size_t slots;
    };

    static const ndArray_tag* const* slots_of(const ndArray_tag* container) noexcept {
        return static_cast<const ndArray_tag* const*>(container->pdata);
    }

    // The header and index vectors of an array; a container that is new is put on the path, so that its slots come next.
    const char* enter(const ndArray_tag* array) {
        if (const char* broken = broken_header_rule(array)) return broken;
        if ((array->flags & flag_sparse) != 0) return broken_sparse_rule(array);
        if (const char* broken = broken_name_rule(array)) return broken;
        const std::size_t slots = readable_slots(array);
        if (slots == 0 || !seen_.insert(array).second) return nullptr;
        path_.push_back({array, 0, slots});
        return nullptr;
    }

    // On failure the path stands at the slot's container, or at the child itself when that was entered.
    const char* broken_in_slot(const ndArray_tag* child) {
        if (std::bit_cast<std::uint64_t>(child) % alignof(ndArray_tag) != 0)
            return "a slot holds an aligned pointer";
        if (const char* broken = enter(child)) return broken;
        return child->scope == ndMEMBER_SCOPE ? nullptr : slot_scope_rule;
    }

    std::string step_text(const step& at) const {
        const std::size_t slot = at.next - 1;
        if (!is_struct_like(at.container->class_id)) return "cell element " + std::to_string(slot);
        const std::size_t fields = field_count(at.container);
        const char* name = class_rows[static_cast<std::size_t>(at.container->class_id)].name;
        return std::string(name) + " element " + std::to_string(slot / fields) + " field \"" +
               names_of(at.container)->names()[slot % fields] + "\"";
    }

    // The slots that lead to the broken array; of a long way the first and last few.
    std::string path_text() const {
        constexpr std::size_t shown_at_each_end = 4;
        std::string text;
        for (std::size_t i = 0; i < path_.size(); ++i) {
            if (path_[i].next == 0) break; // entered, but no slot of it was looked at
            if (i == shown_at_each_end && path_.size() > 2 * shown_at_each_end) {
                i = path_.size() - shown_at_each_end;
                text += "... " + std::to_string(i - shown_at_each_end) + " levels ...: ";
            }
            text += step_text(path_[i]) + ": ";
        }
        return text;
    }

    std::string message(const char* broken, const ndArray_tag* array) const {
        const bool header_readable = std::bit_cast<std::uint64_t>(array) % alignof(ndArray_tag) == 0;
        return path_text() + "broken rule \"" + broken + "\"" +
               (header_readable ? ": " + describe_header(array) : std::string());
    }

    std::vector<step> path_;
    std::unordered_set<const ndArray_tag*> seen_;
};

} // namespace

std::string validate(const ndArray_tag* array, validate_depth depth) {
    if (array == nullptr) return "no array: null";
    if (depth == validate_depth::full) return walker().run(array);
    const char* broken = broken_header_rule(array);
    return broken == nullptr ? std::string()
                             : std::string("broken rule \"") + broken + "\": " + describe_header(array);
}

} // namespace matrix::internal
