// What the tests of ranges share: limits, elements as exact numbers, and what a call raised.
#pragma once

#include "indexing/colon_oracle.hpp"
#include "matrix/class_table.hpp"

#include <foundation/core/except/exception.hpp>
#include <libbase/warning_manager.hpp>
#include <nd/access.hpp>
#include <nd/cache.hpp>
#include <nd/colon.hpp>
#include <nd/warnings.hpp>

#include "platform/test_hooks.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace test {

using i64 = long long;
using u64 = unsigned long long;

inline constexpr double inf = std::numeric_limits<double>::infinity();
inline constexpr double nan = std::numeric_limits<double>::quiet_NaN();
inline constexpr i64 lowest_i64 = std::numeric_limits<i64>::min();
inline constexpr i64 highest_i64 = std::numeric_limits<i64>::max();
inline constexpr u64 highest_u64 = std::numeric_limits<u64>::max();

/// "shown id, catalog key" of what the call raises; empty when it raises nothing.
template <class Call>
std::string raised_by(Call&& call) {
    try {
        call();
    } catch (const foundation::core::except::IMsgIDException& error) {
        return std::string(error.GetID()) + ", " + std::string(error.GetBaseMsgIDObj().key());
    }
    return {};
}

/// The elements of a full array as exact numbers; NaN isn't asked for.
inline std::vector<rational> elements_of(const ndArray_tag* array) {
    std::vector<rational> elements;
    matrix::internal::with_element_type(array->class_id, [&]<class Row>(Row) {
        using element = typename Row::type;
        const auto* const first = static_cast<const element*>(array->pdata);
        const std::size_t count = matrix::detail::noninlined::nd_array_api::ndGetNumberOfElements(array);
        for (std::size_t i = 0; i < count; ++i) {
            if constexpr (std::is_floating_point_v<element>) {
                elements.push_back(exactly(static_cast<double>(first[i])));
            } else {
                elements.emplace_back(first[i]);
            }
        }
    });
    return elements;
}

inline std::vector<rational> elements_of(const exact_range& range) {
    std::vector<rational> elements;
    for (integer i = 0; i < range.count(); ++i) elements.push_back(range.element(i));
    return elements;
}

/// Warnings go nowhere while it lives, but are counted; the status of ranges with fractions is default again at its end.
class silent_warnings {
public:
    silent_warnings() { foundation::test_hooks::reset_warnings(); }
    ~silent_warnings() { foundation::test_hooks::reset_warnings(); }
    silent_warnings(const silent_warnings&) = delete;
    silent_warnings& operator=(const silent_warnings&) = delete;

    std::size_t count() const { return observer_.getNumWarnings("TARVEL:colon:nonIntegerIndex"); }

private:
    matrix::WarningFilter filter_{[](std::u16string&) { return false; }};
    matrix::WarningObserver observer_;
};

/// The array cache on or off while it lives.
class cache_scope {
public:
    explicit cache_scope(bool on) { matrix::cache::setEnabled(on); }
    ~cache_scope() {
        matrix::cache::clear();
        matrix::cache::setEnabled(before_);
    }
    cache_scope(const cache_scope&) = delete;
    cache_scope& operator=(const cache_scope&) = delete;

private:
    bool before_ = matrix::cache::isEnabled();
};

inline constexpr ndClassID short_range_classes[] = {ndDOUBLE_CLASS, ndSINGLE_CLASS, ndCHAR_CLASS,
                                                    ndINT8_CLASS,   ndUINT8_CLASS,  ndINT16_CLASS,
                                                    ndUINT16_CLASS, ndINT32_CLASS,  ndUINT32_CLASS};
inline constexpr ndClassID classes_without_ranges[] = {ndUNKNOWN_CLASS,
                                                       ndCELL_CLASS,
                                                       ndSTRUCT_CLASS,
                                                       ndLOGICAL_CLASS,
                                                       ndVOID_CLASS,
                                                       ndFUNCTION_CLASS,
                                                       ndOPAQUE_CLASS,
                                                       ndOBJECT_CLASS,
                                                       static_cast<ndClassID>(99),
                                                       static_cast<ndClassID>(-1)};

struct class_limits {
    ndClassID id;
    const char* name;
    double lowest;
    double highest;
};
inline constexpr class_limits limits_of_integers[] = {
    {ndINT8_CLASS, "int8", -128, 127},
    {ndUINT8_CLASS, "uint8", 0, 255},
    {ndINT16_CLASS, "int16", -32768, 32767},
    {ndUINT16_CLASS, "uint16", 0, 65535},
    {ndINT32_CLASS, "int32", -2147483648.0, 2147483647.0},
    {ndUINT32_CLASS, "uint32", 0, 4294967295.0},
};

} // namespace test
