/*
 * Parts of a value: what the steps of a path read, with subscripts that have been evaluated.
 */
#ifndef ND_TOOLS_EVAL_PARTS_HPP
#define ND_TOOLS_EVAL_PARTS_HPP

#include "eval/notation_error.hpp"
#include "eval/syntax.hpp"
#include "eval/values.hpp"

#include <span>
#include <string>
#include <vector>

namespace nd_host::eval {

/// Subscripts, owned, and where in the line each of them stands.
class subscript_list {
public:
    /// place: of the step that they belong to.
    explicit subscript_list(std::size_t place) : place_(place) {}

    void add(array_ptr subscript) { add(std::move(subscript), place_); }
    void add(array_ptr subscript, std::size_t place) {
        places_.push_back(place);
        pointers_.push_back(subscript.get());
        arrays_.push_back(std::move(subscript));
    }
    std::size_t size() const { return pointers_.size(); }
    const ndArray_tag* const* data() const { return pointers_.data(); }
    std::span<const ndArray_tag* const> all() const { return pointers_; }

    /// Of subscript number position, from 1; the step's where there is none.
    std::size_t place_of(std::size_t position) const {
        return position >= 1 && position <= places_.size() ? places_[position - 1] : place_;
    }

private:
    std::size_t place_;
    std::vector<std::size_t> places_;
    std::vector<array_ptr> arrays_;
    std::vector<const ndArray_tag*> pointers_;
};

/// The number of a field, from 1. Raises notation_error (undefinedField, notAStruct).
std::size_t field_number(const ndArray_tag& value, const std::string& name);

/// value(subscripts); value itself without subscripts.
array_ptr elements(const ndArray_tag& value, const subscript_list& subscripts);

/// value{subscripts}: what each element holds. Raises notation_error (notACell; syntax without subscripts).
std::vector<array_ptr> contents(const ndArray_tag& value, const subscript_list& subscripts);

/// value(subscripts).field: the field of each element.
std::vector<array_ptr> field_values(const ndArray_tag& value, const subscript_list& subscripts,
                                    const std::string& field);

/// The one slot that value{subscripts} or, with a field's number, value(subscripts).field writes to: what it holds, as a copy. Nothing for a slot
/// that is empty or that there isn't yet. Raises notation_error (valueCount) where there are several slots or none.
array_ptr slot_to_write(const ndArray_tag& value, const subscript_list& subscripts, std::size_t field);

/// The place of the subscript that an error of the library tells, and the step's place when it tells none. For use in a catch block.
std::size_t place_of_error(const subscript_list& subscripts);

/// What doing gives; what it raises leaves as a placed_failure.
template <class Doing>
auto at_step(const subscript_list& subscripts, Doing&& doing) -> decltype(doing()) {
    try {
        return doing();
    } catch (const placed_failure&) {
        throw;
    } catch (const std::exception&) {
        throw placed_failure(failure_of_line(), place_of_error(subscripts));
    }
}

} // namespace nd_host::eval

#endif
