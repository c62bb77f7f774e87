// Single numbers out of arrays.
#include "matrix/accessors.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/flag_words.hpp"
#include "matrix/frame.hpp"
#include "matrix/sparse_parts.hpp"

#include <errors/raise.hpp>

#include <nd/access.hpp>
#include <nd/messages.hpp>

#include <bit>
#include <limits>
#include <optional>
#include <type_traits>

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

namespace {

// A sparse array whose block holds no value yet: every element is 0.
bool stores_nothing(const ndArray_tag* array) noexcept {
    return is_sparse(array) && stored_count(array) == 0;
}

// Calls use(real part of the first stored value); 0 stands for it where there is none. False without elements that are
// numbers.
template <class Use>
bool with_first_number(const ndArray_tag* array, Use&& use) {
    if (array->pdata == nullptr) return false;
    return with_element_type(array->class_id, [&]<class Row>(Row) {
        using element = typename Row::type;
        use(stores_nothing(array) ? element{} : *static_cast<const element*>(array->pdata));
    });
}

template <class T>
int int_from_real(T x) {
    constexpr double lowest = std::numeric_limits<int>::min();
    constexpr double highest = std::numeric_limits<int>::max();
    const double value = x;
    // NaN fails the comparisons; what passes them can be cast.
    if (value >= lowest && value <= highest && static_cast<int>(value) == value)
        return static_cast<int>(value);
    errors::raise<TARVEL::legacy_two_part::IntVal>();
}

template <class T>
int int_from(T x) {
    if constexpr (std::is_floating_point_v<T>) {
        return int_from_real(x);
    } else if constexpr (sizeof(T) < sizeof(int) || std::is_same_v<T, int>) {
        return x;
    } else {
        constexpr auto highest = static_cast<T>(std::numeric_limits<int>::max());
        bool fits = x <= highest;
        if constexpr (std::is_signed_v<T>) fits = fits && x >= std::numeric_limits<int>::min();
        if (!fits) errors::raise<TARVEL::legacy_two_part::IntTooBig>();
        return static_cast<int>(x);
    }
}

constexpr const char* scalar_int_id = "TARVEL:ScalIntReq";

} // namespace

bool ndIsFullScalarDouble(const ndArray_tag* array) {
    return array->class_id == ndDOUBLE_CLASS && element_count(array) == 1;
}

double ndGetScalar(const ndArray_tag* array) {
    double value = 0.0;
    with_first_number(array, [&](auto number) { value = static_cast<double>(number); });
    return value;
}

int ndGetScalarInt(const ndArray_tag* array) {
    return framed([=] {
        if (ndGetNumberOfElements(array) != 1)
            errors::raise_as<TARVEL::matrix::arrayScalIntReq>(scalar_int_id);
        if (is_complex(array)) errors::raise_as<TARVEL::matrix::complexScalIntReq>(scalar_int_id);
        int value = 0;
        if (!with_first_number(array, [&](auto number) { value = int_from(number); }))
            errors::raise<TARVEL::legacy_two_part::NonNumInt>();
        return value;
    });
}

} // namespace matrix::detail::noninlined::nd_array_api
