// Between full and sparse storage and back, against patterns written out element by element, and between the classes that
// have both.
#include "matrix/scaffolding.hpp"
#include "platform/test_hooks.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/fixture.hpp"
#include "support/snapshot.hpp"
#include "support/sparse_arr.hpp"
#include "support/variations.hpp"

#include <foundation/core/except/exception.hpp>
#include <nd/access.hpp>
#include <nd/convert.hpp>
#include <nd/interleaved.hpp>
#include <nd/messages.hpp>
#include <nd/share.hpp>
#include <nd/sizes.hpp>
#include <nd/sparse.hpp>

#include <algorithm>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::convert_to_full_if_needed;
using matrix::convert_to_sparse_if_needed;
using matrix::create_converted_copy;

template <class Id>
using error_of = foundation::core::except::Exception<Id, std::exception, void>;
using no_sparse_form = error_of<TARVEL::legacy_two_part::unimplementedSparseType>;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double tiny = std::numeric_limits<double>::denorm_min();

const char* const kinds[] = {"double", "complex double", "single", "complex single", "logical"};

array_ptr full_of(const ndArray_tag* array) { return array_ptr(convert_to_full_if_needed(array).detach()); }
array_ptr sparse_from(const ndArray_tag* array) {
    return array_ptr(convert_to_sparse_if_needed(array).detach());
}

std::size_t element_bytes(const ndArray_tag* array) { return api::ndGetElementSize(array); }

// ---- the other storage

using SparseConversion = NdTest;

// What is stored of a full array, in the order of storage.
TEST_F(SparseConversion, ElementsThatAreNotZeroAreStored) {
    struct row {
        array_ptr full, sparse;
    };
    row rows[] = {
        {arr("double 2x3", {1, 0, 0, 2, 3, 0}), sparse_arr("double 2x3", {{0, 0, 1}, {1, 1, 2}, {0, 2, 3}})},
        {arr("double 1x5", {nan, -0.0, inf, tiny, 0}),
         sparse_arr("double 1x5", {{0, 0, nan}, {0, 2, inf}, {0, 3, tiny}})},
        {arr("single 2x2", {0, -0.0F, 1.5, 0}), sparse_arr("single 2x2", {{0, 1, 1.5}})},
        {arr("single 1x1", {nan}), sparse_arr("single 1x1", {{0, 0, nan}})},
        {arr("logical 2x2", {1, 0, 0, 1}), sparse_arr("logical 2x2", {{0, 0, 1}, {1, 1, 1}})},
        {arr("complex double 1x5", {{0, 0}, {0, 2}, {3, 0}, {0, nan}, {-0.0, -0.0}}),
         sparse_arr("complex double 1x5", {{0, 1, {0, 2}}, {0, 2, {3, 0}}, {0, 3, {0, nan}}})},
        {arr("complex single 2x1", {{1, 0}, {0, 0}}), sparse_arr("complex single 2x1", {{0, 0, {1, 0}}})},
        {arr("double 1x1", {7}), sparse_arr("double 1x1", {{0, 0, 7}})},
    };
    for (row& r : rows) {
        for_each_variation(r.full, [&](array_ptr& x) {
            const snapshot before(x.get());
            const array_ptr sparse = sparse_from(x.get());
            EXPECT_THAT(sparse, EqualsArray(r.sparse.get()));
            EXPECT_EQ(api::ndGetNzmax(sparse.get()), api::ndGetNumNonZeroEl(sparse.get()));
            EXPECT_EQ(sparse->scope, ndLOCAL_SCOPE);
            EXPECT_EQ(before.difference(), "");
        });
    }
}

// Zeros aren't stored, whatever their sign, so minus zero comes back as zero.
TEST_F(SparseConversion, AndComeBackWhereTheyWere) {
    struct row {
        array_ptr sparse, full;
    };
    row rows[] = {
        {sparse_arr("double 2x3", {{0, 0, 1}, {1, 1, 2}, {0, 2, 3}}), arr("double 2x3", {1, 0, 0, 2, 3, 0})},
        {sparse_arr("double 1x3", {{0, 1, nan}}), arr("double 1x3", {0, nan, 0})},
        {sparse_arr("single 2x2", {{1, 0, -1.5}}), arr("single 2x2", {0, -1.5, 0, 0})},
        {sparse_arr("logical 2x2", {{0, 1, 1}}), arr("logical 2x2", {0, 0, 1, 0})},
        {sparse_arr("complex double 1x3", {{0, 2, {0, -1}}}),
         arr("complex double 1x3", {{0, 0}, {0, 0}, {0, -1}})},
        {sparse_arr("complex single 3x1", {{0, 0, {1, 2}}, {2, 0, {3, 0}}}),
         arr("complex single 3x1", {{1, 2}, {0, 0}, {3, 0}})},
        {sparse_arr("double 1x1", {{0, 0, 7}}), arr("double 1x1", {7})},
        {sparse_arr("double 2x2", {{0, 0, 0}, {1, 1, -0.0}}), arr("double 2x2", {0, 0, 0, -0.0})},
    };
    for (row& r : rows) {
        for_each_variation(r.sparse, [&](array_ptr& x) {
            const snapshot before(x.get());
            const array_ptr full = full_of(x.get());
            EXPECT_THAT(full, EqualsArray(r.full.get()));
            EXPECT_EQ(api::ndIsScalarDoubleFlagSet(full.get()), r.full->flags & matrix::flag_scalar_double);
            EXPECT_EQ(full->scope, ndLOCAL_SCOPE);
            EXPECT_EQ(before.difference(), "");
        });
    }
}

TEST_F(SparseConversion, NothingToStoreLeavesRoomForOne) {
    for (const char* const kind : kinds) {
        for (const char* const shape : {" 3x3", " 0x0", " 0x5", " 5x0", " 1x1"}) {
            SCOPED_TRACE(std::string(kind) + shape);
            const array_ptr zeros = arr(std::string(kind) + shape);
            const array_ptr sparse = sparse_from(zeros.get());
            EXPECT_THAT(sparse, EqualsArray(sparse_arr(std::string(kind) + shape, {})));
            EXPECT_EQ(api::ndGetNzmax(sparse.get()), 1U);
            EXPECT_NE(sparse->pdata, nullptr);
            EXPECT_NE(api::ndGetIr(sparse.get()), nullptr);
            const array_ptr back = full_of(sparse.get());
            EXPECT_THAT(back, EqualsArray(zeros.get()));
        }
    }
}

TEST_F(SparseConversion, AComplexArrayStaysComplex) {
    const array_ptr full = arr("complex double 2x2", {{1, 0}, {0, 0}, {2, 0}, {0, 0}});
    const array_ptr sparse = sparse_from(full.get());
    EXPECT_THAT(sparse, EqualsArray(sparse_arr("complex double 2x2", {{0, 0, {1, 0}}, {0, 1, {2, 0}}})));
    EXPECT_THAT(full_of(sparse.get()), EqualsArray(full.get()));
}

// Columns take the place of all dimensions after the first.
TEST_F(SparseConversion, MoreDimensionsAreTheMatrixOfTheirColumns) {
    const array_ptr cube = arr("double 2x3x2", {0, 1, 2, 0, 0, 0, 0, 0, 0, 3, 4, 5});
    EXPECT_THAT(
        sparse_from(cube.get()),
        EqualsArray(sparse_arr("double 2x6", {{1, 0, 1}, {0, 1, 2}, {1, 4, 3}, {0, 5, 4}, {1, 5, 5}})));
    EXPECT_THAT(sparse_from(arr("logical 2x0x3").get()), EqualsArray(sparse_arr("logical 2x0", {})));
    EXPECT_THAT(sparse_from(arr("single 0x3x2").get()), EqualsArray(sparse_arr("single 0x6", {})));
    const array_ptr many = arr("double 0x4194304x4194304x4194304"); // 2^66 columns
    EXPECT_THROW(sparse_from(many.get()), error_of<TARVEL::legacy_two_part::pmaxsize>);
}

TEST_F(SparseConversion, ClassesWithoutASparseFormAreRefused) {
    const char* const names[] = {"int8 1x2",   "uint64 1x2", "char 1x2",          "cell 1x2",
                                 "struct 1x1", "int8 0x0",   "complex int16 1x2", "unknown 0x0"};
    for (const char* const name : names) {
        array_ptr full = arr(name);
        const ndArray_tag* const same = full.get();
        const snapshot before(same);
        EXPECT_THROW(convert_to_sparse_if_needed(same), no_sparse_form) << name;
        boost::intrusive_ptr<ndArray_tag> counted(full.get());
        EXPECT_THROW(convert_to_sparse_if_needed(counted), no_sparse_form) << name;
        counted.reset();
        EXPECT_THROW(convert_to_sparse_if_needed(std::move(full)), no_sparse_form) << name;
        EXPECT_EQ(full.get(), same) << "the pointer keeps its array";
        EXPECT_EQ(before.difference(), "");
    }
}

TEST_F(SparseConversion, SinglesNeedTheFeature) {
    const array_ptr full = arr("single 1x2", {1, 0});
    const array_ptr sparse = sparse_arr("single 1x2", {{0, 0, 1}});
    for (const bool on : {false, true}) {
        foundation::test_hooks::set_feature("SingleSparse", on ? 1 : 0);
        if (on) {
            EXPECT_THAT(sparse_from(full.get()), EqualsArray(sparse.get()));
        } else {
            EXPECT_THROW(sparse_from(full.get()), no_sparse_form);
        }
        EXPECT_THAT(full_of(sparse.get()), EqualsArray(full.get()))
            << "those that there are become full always";
        EXPECT_NE(sparse_from(arr("double 1x1", {1}).get()), nullptr);
    }
    foundation::test_hooks::reset_features();
}

// A header that says so although its class has no sparse form is nobody's to read.
TEST_F(SparseConversion, AnArrayWithoutAFullPathStands) {
    const array_ptr array = sparse_arr("logical 2x2", {{1, 1, 1}});
    array->class_id = ndINT8_CLASS;
    array->flags |= matrix::flag_numeric;
    EXPECT_EQ(convert_to_full_if_needed(array.get()).get(), array.get());
    array->class_id = ndLOGICAL_CLASS;
    array->flags &= ~matrix::flag_numeric;
}

TEST_F(SparseConversion, HeadersWithoutVectorsAreZero) {
    const array_ptr source = sparse_arr("double 2x2", {{1, 1, 1}});
    const array_ptr skeleton = array_ptr(api::ndCreateSkeletonCopy(source.get(), ndREAL));
    EXPECT_THAT(full_of(skeleton.get()), EqualsArray(arr("double 2x2")));
    EXPECT_THAT(create_converted_copy(skeleton.get(), ndLOGICAL_CLASS),
                EqualsArray(sparse_arr("logical 2x2", {})));
    for (const sparse_block& block : sparse_blocks) {
        SCOPED_TRACE(block.name);
        const std::uint64_t word = block.take(source.get());
        EXPECT_THAT(full_of(source.get()), EqualsArray(arr("double 2x2")));
        EXPECT_THAT(create_converted_copy(source.get(), ndLOGICAL_CLASS),
                    EqualsArray(sparse_arr("logical 2x2", {})));
        block.put(source.get(), word);
    }
}

TEST_F(SparseConversion, TheViewOfASplitArrayCounts) {
    const array_ptr full = arr("complex double 1x3", {{1, 2}, {0, 0}, {0, 5}});
    full->split_data(false);
    static_cast<double*>(full->get_scData()->real_data)[1] = 7;
    EXPECT_THAT(
        sparse_from(full.get()),
        EqualsArray(sparse_arr("complex double 1x3", {{0, 0, {1, 2}}, {0, 1, {7, 0}}, {0, 2, {0, 5}}})));
    const array_ptr sparse = sparse_arr("complex double 1x3", {{0, 2, {0, 5}}}, 4);
    sparse->split_data(false);
    static_cast<double*>(sparse->get_scData()->imag_data)[0] = 6;
    EXPECT_THAT(full_of(sparse.get()), EqualsArray(arr("complex double 1x3", {{0, 0}, {0, 0}, {0, 6}})));
}

TEST_F(SparseConversion, WhatTheResultHasIsItsOwn) {
    const array_ptr full = arr("double 1x3", {1, 0, 2});
    full->flags |= matrix::flag_from_global_workspace | 0xA5000000U;
    const array_ptr sparse = sparse_from(full.get());
    EXPECT_EQ(sparse->flags, matrix::flag_sparse | matrix::flag_numeric | matrix::flag_inline_dims);
    EXPECT_EQ(sparse->share_record, nullptr);
    const array_ptr back = full_of(sparse.get());
    EXPECT_NE(back->pdata, sparse->pdata);
    EXPECT_EQ(back->share_record, nullptr);
}

// ---- large and random

// A pattern as the model keeps it: the elements one by one, in a vector of parts.
struct pattern {
    std::string kind;
    std::size_t m, n;
    std::vector<number> elements;
};

// Some elements, some of them with a zero part, some NaN; whole columns and rows of nothing.
pattern random_pattern(std::mt19937_64& random, const std::string& kind, double minus_zero = -0.0) {
    pattern made{kind, random() % 30, random() % 12, {}};
    const bool complex = kind.starts_with("complex");
    const bool logical = kind == "logical";
    const unsigned density = random() % 101;
    const unsigned no_row = random() % 7, no_column = random() % 5;
    const auto part = [&]() -> double {
        switch (random() % 8) {
        case 0:
            return nan;
        case 1:
            return -inf;
        case 2:
            return 0;
        case 3:
            return minus_zero;
        default:
            return static_cast<double>(random() % 64) / 8 - 3;
        }
    };
    for (std::size_t i = 0; i < made.m * made.n; ++i) {
        const bool empty = i % made.m % 7 == no_row || i / made.m % 5 == no_column;
        const bool zero = empty || random() % 100 >= density;
        made.elements.push_back(zero      ? number(0)
                                : logical ? number(1)
                                : complex ? number(part(), part())
                                          : number(part()));
    }
    return made;
}

array_ptr full_array_of(const pattern& p) {
    return arr(p.kind + " " + std::to_string(p.m) + "x" + std::to_string(p.n), p.elements);
}

// Minus zero isn't stored: what comes back is the pattern with plain zeros.
array_ptr without_minus_zeros(const ndArray_tag* full, const ndArray_tag* sparse) {
    array_ptr copy = matrix::detail::do_deep_copy(full);
    const std::size_t rows = api::ndGetM(full);
    const std::size_t size = element_bytes(full);
    for (std::size_t i = 0; i < api::ndGetNumberOfElements(full); ++i) {
        if (place_in(sparse, i % rows, i / rows) == not_stored)
            std::memset(static_cast<char*>(copy->pdata) + i * size, 0, size);
    }
    return copy;
}

// Every element is found, or isn't, by the search as the model has it.
void expect_search_agrees(const ndArray_tag* sparse) {
    const std::size_t rows = api::ndGetM(sparse);
    std::size_t behind = api::ndGetNumNonZeroEl(sparse);
    for (std::size_t i = api::ndGetNumberOfElements(sparse); i-- > 0;) {
        const std::size_t place = place_in(sparse, i % rows, i / rows);
        if (place != not_stored) behind = place;
        ASSERT_EQ(matrix::find_sparse_k(sparse, i % rows, i / rows), behind);
    }
}

TEST_F(SparseConversion, OfRandomPatternsGoesThereAndBack) {
    std::mt19937_64 random(1809);
    for (const char* const kind : kinds) {
        for (int round = 0; round < 120; ++round) {
            const pattern p = random_pattern(random, kind);
            SCOPED_TRACE(p.kind + " " + std::to_string(p.m) + "x" + std::to_string(p.n) + ", round " +
                         std::to_string(round));
            const array_ptr full = full_array_of(p);
            const array_ptr expected = sparse_of(full);
            const array_ptr sparse = sparse_from(full.get());
            ASSERT_THAT(sparse, EqualsArray(expected.get()));
            ASSERT_EQ(api::ndGetNzmax(sparse.get()),
                      std::max<std::size_t>(1, api::ndGetNumNonZeroEl(expected.get())));
            const array_ptr plain = without_minus_zeros(full.get(), expected.get());
            ASSERT_THAT(full_of(sparse.get()), EqualsArray(plain.get()));
            ASSERT_THAT(full_of(sparse_of(full, 5).get()), EqualsArray(plain.get())) << "with slack";
            ASSERT_THAT(sparse_from(plain.get()), EqualsArray(sparse.get())) << "and there once more";
            expect_search_agrees(sparse.get());
        }
    }
}

// Columns of every length around the number of elements that are packed at once, with one element in every place and with
// all but one: the loops end where the column ends, and never write behind the room.
TEST_F(SparseConversion, OfEveryPlaceInAColumn) {
    for (const char* const kind : kinds) {
        for (std::size_t m = 1; m <= 19; ++m) {
            for (std::size_t place = 0; place < 2 * m; ++place) {
                for (const bool inverted : {false, true}) {
                    std::vector<number> elements;
                    for (std::size_t i = 0; i < 2 * m; ++i)
                        elements.emplace_back((i == place) != inverted ? 1 : 0);
                    const array_ptr full = arr(std::string(kind) + " " + std::to_string(m) + "x2", elements);
                    const array_ptr sparse = sparse_from(full.get());
                    ASSERT_THAT(sparse, EqualsArray(sparse_of(full))) << kind << ", " << m << ", " << place;
                    ASSERT_THAT(full_of(sparse.get()), EqualsArray(full.get()));
                }
            }
        }
    }
}

TEST_F(SparseConversion, OfLongColumns) {
    std::mt19937_64 random(7);
    for (const char* const kind : kinds) {
        for (const unsigned one_in : {1U, 3U, 10U, 100U, 5000U}) {
            const array_ptr full = arr(std::string(kind) + " 9973x3");
            auto* const bytes = static_cast<unsigned char*>(full->pdata);
            const std::size_t size = element_bytes(full.get());
            for (std::size_t i = 0; i < 3 * 9973; ++i) {
                if (random() % one_in == 0) bytes[i * size + random() % size] = 1;
            }
            const array_ptr sparse = sparse_from(full.get());
            ASSERT_THAT(sparse, EqualsArray(sparse_of(full))) << kind << ", one in " << one_in;
            ASSERT_THAT(full_of(sparse.get()), EqualsArray(full.get()));
        }
    }
}

// 2^40 rows with few elements: everything that looks at stored elements works, and only the full array is too large.
TEST_F(SparseConversion, OfVeryTallArrays) {
    constexpr std::size_t tall = std::size_t{1} << 40;
    const stored_value values[] = {{0, 0, 1}, {tall - 1, 1, 2}, {tall / 2, 3, -1}};
    const array_ptr sparse = sparse_arr("double 1099511627776x4", values);
    EXPECT_THAT(create_converted_copy(sparse.get(), ndSINGLE_CLASS),
                EqualsArray(sparse_arr("single 1099511627776x4", values)));
    EXPECT_THAT(matrix::detail::do_deep_copy(sparse.get()), EqualsArray(sparse.get()));
    EXPECT_EQ(api::ndGetNumberOfElements(sparse.get()), 4 * tall);
    EXPECT_EQ(api::ndGetNumberOfBytes(sparse.get(), nullptr), 3 * 8 + 3 * 8 + 5 * 8U);
    matrix::ArraySizeLimit& limit = matrix::ArraySizeLimit::getInstance();
    limit.setEnabled(true);
    EXPECT_THROW(full_of(sparse.get()), matrix::internal::SizeLimitExceeded);
    limit.setEnabled(false);
    const array_ptr taller =
        sparse_arr("complex double 17592186044416x4", {{3, 2, {1, 1}}}); // 2^44 by 16 bytes
    EXPECT_THROW(full_of(taller.get()), error_of<TARVEL::legacy_two_part::pmaxsize>);
}

// ---- other classes

using SparseClasses = NdTest;

TEST_F(SparseClasses, KeepThePattern) {
    struct row {
        array_ptr source;
        ndClassID target;
        array_ptr expected;
    };
    row rows[] = {
        {sparse_arr("double 3x2", {{1, 0, 1.5}, {2, 1, -2.5}}, 4), ndLOGICAL_CLASS,
         sparse_arr("logical 3x2", {{1, 0, 1}, {2, 1, 1}})},
        {sparse_arr("double 3x2", {{1, 0, 1.5}, {2, 1, 1e300}}), ndSINGLE_CLASS,
         sparse_arr("single 3x2", {{1, 0, 1.5}, {2, 1, inf}})},
        {sparse_arr("single 3x2", {{1, 0, 1.5}, {2, 1, nan}}), ndDOUBLE_CLASS,
         sparse_arr("double 3x2", {{1, 0, 1.5}, {2, 1, nan}})},
        {sparse_arr("logical 3x2", {{1, 0, 1}}), ndDOUBLE_CLASS, sparse_arr("double 3x2", {{1, 0, 1}})},
        {sparse_arr("logical 3x2", {{1, 0, 1}}), ndSINGLE_CLASS, sparse_arr("single 3x2", {{1, 0, 1}})},
        {sparse_arr("complex double 3x2", {{1, 0, {1, 2}}, {2, 1, {0, 3}}}), ndSINGLE_CLASS,
         sparse_arr("complex single 3x2", {{1, 0, {1, 2}}, {2, 1, {0, 3}}})},
        {sparse_arr("complex single 3x2", {{1, 0, {1, 2}}}), ndDOUBLE_CLASS,
         sparse_arr("complex double 3x2", {{1, 0, {1, 2}}})},
        {sparse_arr("double 0x3", {}), ndLOGICAL_CLASS, sparse_arr("logical 0x3", {})},
        {sparse_arr("double 1x1", {{0, 0, 2}}), ndSINGLE_CLASS, sparse_arr("single 1x1", {{0, 0, 2}})},
        {sparse_arr("single 1x1", {{0, 0, 2}}), ndDOUBLE_CLASS, sparse_arr("double 1x1", {{0, 0, 2}})},
    };
    for (row& r : rows) {
        for_each_variation(r.source, [&](array_ptr& x) {
            const snapshot before(x.get());
            const array_ptr copy = create_converted_copy(x.get(), r.target);
            EXPECT_THAT(copy, EqualsArray(r.expected.get()));
            EXPECT_EQ(api::ndGetNzmax(copy.get()),
                      std::max<std::size_t>(1, api::ndGetNumNonZeroEl(copy.get())));
            EXPECT_EQ(before.difference(), "");
        });
    }
}

// Values that become zero stay where they are stored, and so does an imaginary part that comes out as zero.
TEST_F(SparseClasses, ZerosThatAriseStayStored) {
    EXPECT_THAT(
        create_converted_copy(sparse_arr("double 2x2", {{0, 0, 1e-300}, {1, 1, 1}}).get(), ndSINGLE_CLASS),
        EqualsArray(sparse_arr("single 2x2", {{0, 0, 0}, {1, 1, 1}})));
    EXPECT_THAT(
        create_converted_copy(sparse_arr("complex double 2x2", {{0, 0, {1, 1e-300}}}).get(), ndSINGLE_CLASS),
        EqualsArray(sparse_arr("complex single 2x2", {{0, 0, {1, 0}}})));
    const array_ptr deflated = sparse_arr("complex double 2x2", {{0, 0, {0, 1}}, {1, 1, {2, 1}}});
    api::ndDeflateComplexToReal(deflated.get());
    EXPECT_THAT(deflated, EqualsArray(sparse_arr("double 2x2", {{0, 0, 0}, {1, 1, 2}})));
    EXPECT_THAT(create_converted_copy(deflated.get(), ndLOGICAL_CLASS),
                EqualsArray(sparse_arr("logical 2x2", {{0, 0, 0}, {1, 1, 1}})));
}

TEST_F(SparseClasses, NaNIsNotLogical) {
    const array_ptr source = sparse_arr("double 3x2", {{0, 0, 1}, {1, 1, nan}});
    const snapshot before(source.get());
    EXPECT_THROW(create_converted_copy(source.get(), ndLOGICAL_CLASS),
                 error_of<TARVEL::legacy_two_part::nologicalnan>);
    EXPECT_EQ(before.difference(), "");
    const array_ptr behind = sparse_arr("double 3x2", {{0, 0, 1}}, 4);
    static_cast<double*>(behind->pdata)[1] = nan; // in the room that nothing is stored in
    EXPECT_THAT(create_converted_copy(behind.get(), ndLOGICAL_CLASS),
                EqualsArray(sparse_arr("logical 3x2", {{0, 0, 1}})));
}

TEST_F(SparseClasses, OfTheSameClassKeepTheRoom) {
    const array_ptr source = sparse_arr("double 3x2", {{0, 0, 1}}, 7);
    const array_ptr copy = create_converted_copy(source.get(), ndDOUBLE_CLASS);
    EXPECT_THAT(copy, EqualsArray(source.get()));
    EXPECT_EQ(api::ndGetNzmax(copy.get()), 7U);
}

TEST_F(SparseClasses, AgreeWithFullConversionOfRandomPatterns) {
    std::mt19937_64 random(52);
    struct pair {
        const char* from;
        ndClassID to;
    };
    constexpr pair pairs[] = {{"double", ndSINGLE_CLASS},         {"single", ndDOUBLE_CLASS},
                              {"logical", ndDOUBLE_CLASS},        {"logical", ndSINGLE_CLASS},
                              {"complex single", ndDOUBLE_CLASS}, {"complex double", ndSINGLE_CLASS}};
    for (const pair& c : pairs) {
        for (int round = 0; round < 40; ++round) {
            const array_ptr sparse = sparse_of(full_array_of(random_pattern(random, c.from, 0)));
            const array_ptr converted = create_converted_copy(sparse.get(), c.to);
            array_ptr full = full_of(converted.get());
            array_ptr expected = create_converted_copy(full_of(sparse.get()).get(), c.to);
            if (api::ndIsComplex(full.get()) && !api::ndIsComplex(expected.get()))
                api::ndInflateRealToComplex(expected.get()); // full arrays drop imaginary parts of zero
            ASSERT_THAT(full, EqualsArray(expected.get())) << c.from << ", round " << round;
        }
    }
}

// ---- free-imaginary and its kin

using SparseComplexity = NdTest;

TEST_F(SparseComplexity, AnImaginaryPartOfZeroIsFreed) {
    const array_ptr real = sparse_arr("complex double 3x2", {{1, 0, {1, 0}}, {2, 1, {-2, 0}}}, 5);
    api::ndFreeImagIfZero(real.get());
    EXPECT_THAT(real, EqualsArray(sparse_arr("double 3x2", {{1, 0, 1}, {2, 1, -2}})));
    EXPECT_EQ(api::ndGetNzmax(real.get()), 5U);
    const array_ptr behind = sparse_arr("complex double 3x2", {{1, 0, {1, 0}}}, 3);
    static_cast<double*>(behind->pdata)[3] = 9; // an imaginary part in the room that nothing is stored in
    api::ndFreeImagIfZero(behind.get());
    EXPECT_THAT(behind, EqualsArray(sparse_arr("double 3x2", {{1, 0, 1}})));
    const array_ptr nothing = sparse_arr("complex single 3x2", {});
    api::ndFreeImagIfZero(nothing.get());
    EXPECT_THAT(nothing, EqualsArray(sparse_arr("single 3x2", {})));
    const array_ptr kept = sparse_arr("complex double 3x2", {{1, 0, {1, 0}}, {2, 1, {0, 2}}});
    api::ndFreeImagIfZero(kept.get());
    EXPECT_TRUE(api::ndIsComplex(kept.get()));
}

TEST_F(SparseComplexity, InflatingDoublesTheRoom) {
    for_each_variation(sparse_arr("double 3x2", {{1, 0, 1}, {2, 1, -2}}, 5), [](array_ptr& x) {
        const std::size_t room = api::ndGetNzmax(x.get());
        api::ndInflateRealToComplex(x.get());
        EXPECT_THAT(x, EqualsArray(sparse_arr("complex double 3x2", {{1, 0, {1, 0}}, {2, 1, {-2, 0}}})));
        EXPECT_EQ(api::ndGetNzmax(x.get()), room);
        static_cast<double*>(x->pdata)[2 * room - 1] = 1; // the last byte of the room
    });
}

} // namespace
} // namespace test
