// What the operations of random programs over subscripts share: one step on both sides, and errors by name.
#pragma once

#include "model/indexing_program.hpp"

#include "matrix/validate.hpp"

#include <foundation/core/except/exception.hpp>
#include <nd/share.hpp>

#include <new>
#include <sstream>
#include <type_traits>
#include <utility>
#include <variant>

namespace model {

/// As refusals name errors. Only those about one subscript tell which.
inline std::string name_of(const foundation::core::except::IMsgIDException& error) {
    const auto& id = error.GetBaseMsgIDObj();
    std::string name(id.key());
    if (name != "badTypeIndices" && name != "indexExceedsDims") return name;
    std::ostringstream position;
    if (!id.arguments().empty()) {
        std::visit(
            [&](const auto& argument) {
                if constexpr (!std::is_same_v<std::decay_t<decltype(argument)>, std::u16string>)
                    position << argument;
            },
            id.arguments().front());
    }
    return name + "(" + position.str() + ")";
}

template <class Call>
std::string error_of_real(Call&& call) {
    try {
        call();
        return {};
    } catch (const foundation::core::except::IMsgIDException& error) {
        return name_of(error);
    } catch (const std::bad_alloc&) {
        return "nomem";
    }
}

template <class Call>
std::string error_of_model(Call&& call) {
    try {
        call();
        return {};
    } catch (const refusal& refused) {
        return refused.error;
    }
}

/// Both sides of one step. Empty, or how their errors differ; refused: both raised the same.
template <class Real, class Model>
std::string do_both(index_world& w, Real&& on_real, Model&& on_model, bool& refused) {
    const std::string expected = error_of_model(on_model);
    const std::string found = error_of_real(on_real);
    refused = !expected.empty();
    w.counts().refused += refused ? 1 : 0;
    if (expected == found) return {};
    const auto or_none = [](const std::string& error) {
        return error.empty() ? std::string("no error") : error;
    };
    return "expected " + or_none(expected) + ", found " + or_none(found);
}

/// Subscripts as arrays.
class real_subscripts {
public:
    explicit real_subscripts(const std::vector<value>& subs) {
        for (const value& one : subs) {
            owned_.push_back(real_array(one));
            pointers_.push_back(owned_.back().get());
        }
    }
    std::size_t size() const { return pointers_.size(); }
    const ndArray_tag* const* data() const { return pointers_.data(); }
    std::span<const ndArray_tag* const> all() const { return pointers_; }

private:
    std::vector<matrix::array_ptr> owned_;
    std::vector<const ndArray_tag*> pointers_;
};

/// What every caller does before it changes an array.
inline void own(index_world::handle& h) {
    const bool shared = (h.real->flags & matrix::flag_shared_data) != 0 && h.real->is_data_shared_impl();
    if (shared || h.real->ref_count > 1)
        h.real.reset(matrix::detail::noninlined::nd_array_api::ndUnshare(h.real.release()));
}

inline std::string check_result(const value& expected, const ndArray_tag* real) {
    if (std::string wrong = matrix::internal::validate(real); !wrong.empty()) return wrong;
    if (std::string wrong = difference(expected, real); !wrong.empty()) return wrong;
    const bool scalar =
        expected.class_id == ndDOUBLE_CLASS && expected.elements.size() == 1 && !expected.sparse;
    const bool marked = (real->flags & matrix::flag_scalar_double) != 0;
    return scalar == marked ? std::string() : "the mark of a double scalar is wrong";
}

inline std::size_t index_of(index_world& w, const index_world::handle& h) {
    return static_cast<std::size_t>(&h - w.handles().data());
}

/// Counts an assignment that may have grown the left side.
inline void count_growth(index_world& w, const index_world::handle& lhs, std::size_t count_before,
                         const void* block_before) {
    if (lhs.expected.elements.size() <= count_before) return;
    ++w.counts().grown;
    if (block_before != nullptr && lhs.real->pdata == block_before) ++w.counts().in_place;
}

/* The operations, by what they do. */

std::string reference_both(index_world& w, choices& from);
std::string reference_field(index_world& w, choices& from);
std::string ask(index_world& w, choices& from);
std::string make_slot(index_world& w, choices& from);
std::string count_both(index_world& w, choices& from);

std::string assign_both(index_world& w, choices& from);
std::string assign_with_filler(index_world& w, choices& from);
std::string assign_field(index_world& w, choices& from);
std::string append(index_world& w, choices& from);
std::string scalar_assign_both(index_world& w, choices& from);

std::string erase_both(index_world& w, choices& from);
std::string resize_both(index_world& w, choices& from);
std::string lengthen(index_world& w, choices& from);

} // namespace model
