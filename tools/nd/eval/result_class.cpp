#include "eval/result_class.hpp"

#include "eval/brackets.hpp"
#include "eval/notation_error.hpp"

#include <cstring>

namespace nd_host::eval {

namespace {

enum class kind { logical, text, number, cell, structure, other };
constexpr std::size_t kinds = 6;

enum class step {
    as_is,   // the library stores it, or says why not
    convert, // to the left side's class
    wrap,    // into a cell
    order    // fields as the left side has them
};

kind kind_of(const ndArray_tag& array) {
    switch (array.class_id) {
    case ndLOGICAL_CLASS:
        return kind::logical;
    case ndCHAR_CLASS:
        return kind::text;
    case ndCELL_CLASS:
        return kind::cell;
    case ndSTRUCT_CLASS:
        return kind::structure;
    default:
        return nd_array_api::ndIsNumeric(&array) ? kind::number : kind::other;
    }
}

// By left side, downwards, and right side.
constexpr auto steps = [] {
    constexpr step same = step::as_is;
    constexpr step conv = step::convert;
    constexpr step wrap = step::wrap;
    constexpr step fields = step::order;
    return std::array<std::array<step, kinds>, kinds>{{
        //                     logical text  number cell  struct  other
        /* logical, ... */ {{conv, conv, conv, same, same, same}},
        /* char         */ {{conv, conv, conv, same, same, same}},
        /* numbers      */ {{conv, conv, conv, same, same, same}},
        /* cell         */ {{wrap, wrap, wrap, same, wrap, wrap}},
        /* struct       */ {{same, same, same, same, fields, same}},
        /* other        */ {{same, same, same, same, same, same}},
    }};
}();

// right with its fields in the order of left's. Where the numbers of fields differ the library refuses it.
array_ptr in_order(const ndArray_tag& left, array_ptr right) {
    const int fields = nd_array_api::ndGetNumberOfFields(&left);
    if (fields != nd_array_api::ndGetNumberOfFields(right.get())) {
        return right;
    }
    std::vector<const char*> names;
    std::vector<int> sources;
    bool same = true;
    for (int field = 0; field < fields; ++field) {
        names.push_back(nd_array_api::ndGetFieldNameByNumber(&left, field));
        sources.push_back(nd_array_api::ndGetFieldNumber(right.get(), names.back()));
        if (sources.back() < 0) {
            throw notation_error("undefinedField",
                                 std::string("the struct on the right has no field ") + names.back());
        }
        same = same && sources.back() == field;
    }
    if (same) {
        return right;
    }
    const std::size_t ndims = nd_array_api::ndGetNumberOfDimensions(right.get());
    array_ptr result =
        matrix::detail::do_create_struct({nd_array_api::ndGetDimensions(right.get()), ndims}, names);
    const auto count = static_cast<std::size_t>(fields);
    for (std::size_t i = 0; i < count * nd_array_api::ndGetNumberOfElements(right.get()); ++i) {
        const int source = sources[i % count];
        nd_array_api::ndSetCopyInCell(result.get(), i,
                                      nd_array_api::ndGetFieldByNumber(right.get(), i / count, source));
    }
    return result;
}

} // namespace

bool gives_way(const ndArray_tag& left) {
    return nd_array_api::ndIsEmptySqrBrktArray(&left) ||
           (left.class_id == ndUNKNOWN_CLASS && nd_array_api::ndIsEmpty(&left));
}

array_ptr fitted_to(const ndArray_tag& left, array_ptr right) {
    if (gives_way(left)) {
        return right;
    }
    const auto row = static_cast<std::size_t>(kind_of(left));
    const auto column = static_cast<std::size_t>(kind_of(*right));
    switch (steps[row][column]) {
    case step::convert:
        if (left.class_id != right->class_id) {
            right = matrix::convert_to_full_if_needed(std::move(right)); // not every class has sparse storage
        }
        return matrix::convert_if_needed(std::move(right), nd_array_api::ndGetArrayType(&left));
    case step::wrap:
        return cell_around(std::move(right));
    case step::order:
        return in_order(left, std::move(right));
    default:
        return right;
    }
}

} // namespace nd_host::eval
