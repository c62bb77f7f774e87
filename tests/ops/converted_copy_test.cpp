// Converted copies of arrays with elements: which conversions exist, what the new array shares and keeps, and how errors come out.
// Containers: converted_containers_test.cpp.
#include "matrix/scaffolding.hpp"
#include "matrix/sharing.hpp"
#include "matrix/sparse_array.hpp"
#include "matrix/validate.hpp"
#include "platform/test_hooks.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/classes.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"
#include "support/snapshot.hpp"
#include "support/sparse_arr.hpp"
#include "support/variations.hpp"

#include <foundation/core/except/exception.hpp>
#include <nd/access.hpp>
#include <nd/cache.hpp>
#include <nd/colon.hpp>
#include <nd/convert.hpp>
#include <nd/interleaved.hpp>
#include <nd/messages.hpp>
#include <nd/sizes.hpp>
#include <nd/sparse.hpp>

#include <limits>
#include <string>
#include <vector>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::create_converted_copy;

template <class Id>
using error_of = foundation::core::except::Exception<Id, std::exception, void>;
using complex_error = error_of<TARVEL::legacy_two_part::nologicalcomplex>;
using nan_error = error_of<TARVEL::legacy_two_part::nologicalnan>;
using sparse_error = error_of<TARVEL::legacy_two_part::unimplementedSparseType>;

using ConvertedCopy = NdTest;

TEST_F(ConvertedCopy, HasTheElementsOfTheOtherClass) {
    struct row {
        array_ptr source;
        array_ptr expected;
    };
    row rows[] = {
        {arr("double 1x6", {2.5, -2.5, 0.49, 127.4, 1e300, -1e300}),
         arr("int8 1x6", {3, -3, 0, 127, 127, -128})},
        {arr("single 2x2", {2.5, -0.6, 254.5, 65.9}), arr("uint8 2x2", {3, 0, 255, 66})},
        {arr("double 1x2", {65.9, -1}), arr("char 1x2", {65, 0})},
        {arr("char 1x2", {65, 66}), arr("double 1x2", {65, 66})},
        {arr("int16 1x2", {300, -300}), arr("int8 1x2", {127, -128})},
        {arr("logical 1x2", {1, 0}), arr("single 1x2", {1, 0})},
        {arr("int64 1x4", {200, 100, 0, -100}), arr("int8 1x4", {127, 100, 0, -100})},
        {arr("single 1x3", {0.5, 1.5, 2.5}), arr("double 1x3", {0.5, 1.5, 2.5})},
        {arr("double 1x3", {0, -0.0, 0.1}), arr("logical 1x3", {0, 0, 1})},
        {arr("char 1x2", {0, 66}), arr("logical 1x2", {0, 1})},
        {arr("complex double 1x2", {{1.5, 2}, {0, -3.5}}), arr("complex int16 1x2", {{2, 2}, {0, -4}})},
        {arr("complex double 1x1", {{1, 0}}), arr("int8 1x1", {1})},
        {arr("complex double 1x1", {{1.4, 0.4}}), arr("int8 1x1", {1})},
        {arr("complex double 1x2", {{65, 66}, {67, 68}}), arr("char 1x2", {65, 66})},
        {arr("int32 2x1x3", {1, 2, 3, 4, 5, 6}), arr("double 2x1x3", {1, 2, 3, 4, 5, 6})},
        {arr("double 0x3"), arr("int8 0x3")},
        {arr("complex double 0x3"), arr("int8 0x3")},
    };
    for (const row& r : rows) {
        const auto target = static_cast<ndClassID>(r.expected->class_id);
        SCOPED_TRACE(std::string(api::ndGetClassName(r.source.get())) + " to " +
                     api::ndArrayClassIDName(target));
        for_each_variation_of_value(r.source, [&](array_ptr& source) {
            const snapshot before(source.get());
            EXPECT_THAT(create_converted_copy(source.get(), target), EqualsArray(r.expected.get()));
            EXPECT_EQ(before.difference(), "");
        });
    }
}

TEST_F(ConvertedCopy, OfTheSameClassIsADeepCopy) {
    for_each_class(class_set::with_bytes, [](const class_case& c) {
        const array_ptr source = numbered(c.name + " 2x3");
        const array_ptr copy = create_converted_copy(source.get(), c.id);
        EXPECT_THAT(copy, EqualsArray(source.get()));
        EXPECT_NE(copy->pdata, source->pdata);
    });
    const array_ptr cell = arr("cell 1x2", arr("double 1x1", {1}), nullptr);
    const array_ptr copy = create_converted_copy(cell.get(), ndCELL_CLASS);
    EXPECT_THAT(copy, EqualsArray(cell.get()));
}

std::vector<std::size_t> dims_in(const ndArray_tag* array) {
    const kvSize* const dims = api::ndGetDimensions(array);
    return {dims, dims + api::ndGetNumberOfDimensions(array)};
}

// Every pair of classes: what there is, and what there isn't.
enum class outcome { none, converted, raises };

outcome expected_outcome(const ndArray_tag* source, ndClassID target) {
    const bool empty = api::ndIsEmpty(source);
    const auto from = static_cast<ndClassID>(source->class_id);
    if (from == target) return outcome::converted;
    if (from == ndSTRUCT_CLASS || from == ndOBJECT_CLASS) {
        const bool has_slots = target == ndCELL_CLASS || (from == ndOBJECT_CLASS && target == ndSTRUCT_CLASS);
        return has_slots ? outcome::converted : outcome::none;
    }
    if (from < ndLOGICAL_CLASS || from > ndUINT64_CLASS || from == ndVOID_CLASS) return outcome::none;
    if (target < ndLOGICAL_CLASS || target > ndUINT64_CLASS || target == ndVOID_CLASS)
        return empty ? outcome::converted : outcome::none;
    if (target == ndLOGICAL_CLASS && api::ndIsComplex(source)) return outcome::raises;
    return target == ndCHAR_CLASS && from == ndLOGICAL_CLASS ? outcome::none : outcome::converted;
}

void expect_outcome(const ndArray_tag* source, ndClassID target) {
    SCOPED_TRACE(std::string(api::ndArrayClassIDName(static_cast<ndClassID>(source->class_id))) + " to " +
                 api::ndArrayClassIDName(target));
    switch (expected_outcome(source, target)) {
    case outcome::raises:
        EXPECT_THROW(create_converted_copy(source, target), complex_error);
        return;
    case outcome::none:
        EXPECT_EQ(create_converted_copy(source, target), nullptr);
        return;
    case outcome::converted:
        const array_ptr copy = create_converted_copy(source, target);
        ASSERT_NE(copy, nullptr);
        EXPECT_EQ(copy->class_id, target);
        EXPECT_EQ(copy->ref_count, 1U);
        EXPECT_EQ(copy->scope, ndLOCAL_SCOPE);
    }
}

array_ptr source_of(const class_case& from, const char* shape) {
    if (from.id == ndVOID_CLASS) return nullptr;
    if (from.id == ndUNKNOWN_CLASS && shape[0] == '2') return nullptr;
    if (from.id != ndFUNCTION_CLASS && from.id != ndOPAQUE_CLASS && from.id != ndOBJECT_CLASS)
        return arr(from.name + " " + shape);
    const std::size_t n = shape[0] == '2' ? 1 : 0;
    const std::size_t dims[] = {n, 1};
    return matrix::create(dims, from.id, ndREAL);
}

TEST_F(ConvertedCopy, ExistsForThesePairs) {
    for_each_class(class_set::all, [](const class_case& from) {
        for (const char* const shape : {"0x3", "2x2"}) {
            const array_ptr source = source_of(from, shape);
            if (source == nullptr) continue;
            for_each_class(class_set::all, [&](const class_case& to) {
                // Without a class system an opaque array's elements can't be copied.
                if (from.id == ndOPAQUE_CLASS && to.id == ndOPAQUE_CLASS) return;
                expect_outcome(source.get(), to.id);
            });
        }
    });
    for_each_class(class_set::numeric, [](const class_case& from) {
        const array_ptr source = arr(from.name + " 2x2");
        for_each_class(class_set::all, [&](const class_case& to) { expect_outcome(source.get(), to.id); });
    });
}

// Whatever the class, the dimensions stay, and nothing of the number that it was.
TEST_F(ConvertedCopy, OfAnEmptyArrayHasItsDimensions) {
    for (const char* const shape : {"0x3", "2x0x4"}) {
        for_each_class(class_set::with_bytes, [&](const class_case& from) {
            const array_ptr source = arr(from.name + " " + shape);
            for_each_class(class_set::all, [&](const class_case& to) {
                if (to.id == from.id || (to.id == ndLOGICAL_CLASS && from.complexity == ndCOMPLEX)) return;
                if (to.id == ndCHAR_CLASS && from.id == ndLOGICAL_CLASS) return;
                const array_ptr copy = create_converted_copy(source.get(), to.id);
                ASSERT_NE(copy, nullptr) << to.name;
                EXPECT_EQ(copy->class_id, to.id);
                EXPECT_EQ(dims_in(copy.get()), dims_in(source.get())) << to.name;
                EXPECT_EQ(copy->flags & matrix::flag_complex, 0U) << to.name;
                EXPECT_EQ((copy->flags & matrix::flag_numeric) != 0, matrix::internal::is_numeric(to.code()))
                    << to.name;
                EXPECT_EQ(matrix::internal::validate(copy.get()), "") << to.name;
            });
        });
    }
    const array_ptr complex = arr("complex double 0x3");
    EXPECT_THROW(create_converted_copy(complex.get(), ndLOGICAL_CLASS), complex_error);
}

TEST_F(ConvertedCopy, OfNullAndToNumbersOfNoClassDoesNotExist) {
    EXPECT_EQ(create_converted_copy(nullptr, ndDOUBLE_CLASS), nullptr);
    const array_ptr source = arr("double 0x0");
    for (const int id : {-1, 19, 31, 38, 1000})
        EXPECT_EQ(create_converted_copy(source.get(), static_cast<ndClassID>(id)), nullptr) << id;
}

// ---- to logical

TEST_F(ConvertedCopy, SharesBytesThatAreZerosAndOnes) {
    for (const char* const name : {"uint8", "int8"}) {
        SCOPED_TRACE(name);
        const array_ptr source = arr(std::string(name) + " 1x3", {0, 1, 1});
        const array_ptr copy = create_converted_copy(source.get(), ndLOGICAL_CLASS);
        EXPECT_THAT(copy, EqualsArray(arr("logical 1x3", {0, 1, 1})));
        EXPECT_EQ(copy->pdata, source->pdata);
        EXPECT_TRUE(copy->is_data_shared_with_impl(source.get()));
        const array_ptr empty = arr(std::string(name) + " 0x3");
        EXPECT_THAT(create_converted_copy(empty.get(), ndLOGICAL_CLASS), EqualsArray(arr("logical 0x3")));
    }
}

TEST_F(ConvertedCopy, CopiesBytesThatAreMore) {
    for (const std::size_t place : {0U, 1U, 4095U, 4096U, 9999U}) {
        SCOPED_TRACE(place);
        const array_ptr source = arr("uint8 1x10000");
        static_cast<std::uint8_t*>(source->pdata)[place] = 2;
        const array_ptr copy = create_converted_copy(source.get(), ndLOGICAL_CLASS);
        EXPECT_NE(copy->pdata, source->pdata);
        EXPECT_EQ(static_cast<const std::uint8_t*>(copy->pdata)[place], 1);
        EXPECT_FALSE(matrix::internal::has_shared_data(source.get()));
    }
    const array_ptr negative = arr("int8 1x2", {-1, 0});
    EXPECT_THAT(create_converted_copy(negative.get(), ndLOGICAL_CLASS),
                EqualsArray(arr("logical 1x2", {1, 0})));
}

TEST_F(ConvertedCopy, DoesNotShareWhatIsPrivate) {
    const array_ptr source = arr("uint8 1x2", {0, 1});
    std::uint8_t own[] = {0, 1};
    void* const block = source->pdata;
    const std::uint32_t flags = source->flags;
    source->pdata = own;
    source->flags =
        (flags & ~(matrix::flag_cached_header | matrix::flag_bin_mask)) | matrix::flag_data_private;
    const array_ptr copy = create_converted_copy(source.get(), ndLOGICAL_CLASS);
    EXPECT_THAT(copy, EqualsArray(arr("logical 1x2", {0, 1})));
    EXPECT_NE(copy->pdata, own);
    source->pdata = block;
    source->flags = flags;
}

TEST_F(ConvertedCopy, HasTheValuesOfASplitArray) {
    const array_ptr source = arr("complex double 1x2", {{1, 10}, {2, 20}});
    source->split_data(false);
    static_cast<double*>(source->get_scData()->imag_data)[1] = 7;
    EXPECT_THAT(create_converted_copy(source.get(), ndINT8_CLASS),
                EqualsArray(arr("complex int8 1x2", {{1, 10}, {2, 7}})));
    EXPECT_FALSE(matrix::detail::isIC(source.get())) << "a conversion leaves it split";

    const array_ptr bytes = arr("uint8 1x2", {0, 2});
    bytes->split_data(true);
    static_cast<std::uint8_t*>(bytes->get_scData()->real_data)[1] = 1;
    const array_ptr copy = create_converted_copy(bytes.get(), ndLOGICAL_CLASS);
    EXPECT_THAT(copy, EqualsArray(arr("logical 1x2", {0, 1})));
    EXPECT_NE(copy->pdata, bytes->pdata) << "writing to a part would change a logical array";
}

TEST_F(ConvertedCopy, OfNanOrComplexToLogicalRaises) {
    const array_ptr nan = arr("double 1x2", {1.0, std::numeric_limits<double>::quiet_NaN()});
    const array_ptr complex = arr("complex int8 1x1", {{1, 0}});
    EXPECT_THROW(create_converted_copy(nan.get(), ndLOGICAL_CLASS), nan_error);
    EXPECT_THROW(create_converted_copy(complex.get(), ndLOGICAL_CLASS), complex_error);
    for_each_module_mode([&](int mode) {
        if (mode == mode_exceptions) {
            EXPECT_THROW(api::ndCreateConvertedCopy(nan.get(), ndLOGICAL_CLASS), nan_error);
            EXPECT_THROW(api::ndCreateConvertedCopy(complex.get(), ndLOGICAL_CLASS), complex_error);
        } else {
            EXPECT_EQ(api::ndCreateConvertedCopy(nan.get(), ndLOGICAL_CLASS), nullptr);
            EXPECT_EQ(api::ndCreateConvertedCopy(complex.get(), ndLOGICAL_CLASS), nullptr);
        }
    });
}

// ---- flags, storage and sizes

TEST_F(ConvertedCopy, IsMarkedAsScalarDoubleExactlyWhenItIsOne) {
    const array_ptr one = arr("int8 1x1", {1});
    const array_ptr two = arr("int8 1x2", {1, 2});
    const array_ptr scalar = arr("double 1x1", {1});
    EXPECT_TRUE(api::ndIsScalarDoubleFlagSet(create_converted_copy(one.get(), ndDOUBLE_CLASS).get()));
    EXPECT_FALSE(api::ndIsScalarDoubleFlagSet(create_converted_copy(two.get(), ndDOUBLE_CLASS).get()));
    EXPECT_FALSE(api::ndIsScalarDoubleFlagSet(create_converted_copy(scalar.get(), ndSINGLE_CLASS).get()));
}

TEST_F(ConvertedCopy, OfAComplexScalarIsAScalarDoubleWhateverBecomesOfItsImaginaryPart) {
    for (const int imaginary : {0, 2}) {
        const array_ptr source = arr("complex single 1x1", {{1, imaginary}});
        const array_ptr copy = create_converted_copy(source.get(), ndDOUBLE_CLASS);
        EXPECT_EQ(api::ndIsComplex(copy.get()), imaginary != 0);
        EXPECT_TRUE(api::ndIsScalarDoubleFlagSet(copy.get()));
    }
}

// The complex bit means something beside the numeric one only.
TEST_F(ConvertedCopy, OfTextOrLogicalsThatAreMarkedAsComplexIsReal) {
    for (const char* const name : {"char", "logical"}) {
        const array_ptr source = arr(std::string(name) + " 1x2", {1, 0});
        api::ndMarkImagData(source.get());
        for (const ndClassID target : {ndDOUBLE_CLASS, ndINT8_CLASS, ndLOGICAL_CLASS}) {
            if (target == source->class_id) continue;
            const array_ptr copy = create_converted_copy(source.get(), target);
            EXPECT_EQ(copy->flags & matrix::flag_complex, 0U) << name;
            EXPECT_EQ(api::ndGetNumberOfElements(copy.get()), 2U);
            EXPECT_EQ(matrix::internal::validate(copy.get()), "");
        }
        source->flags &= ~matrix::flag_complex;
    }
}

// Long enough for the question about imaginary parts to be asked on several threads.
TEST_F(ConvertedCopy, OfManyComplexElementsIsComplexForOneImaginaryPart) {
    constexpr std::size_t count = 60000;
    const array_ptr source = arr("complex double 60000x1");
    auto* const parts = static_cast<double*>(source->pdata);
    EXPECT_FALSE(api::ndIsComplex(create_converted_copy(source.get(), ndINT16_CLASS).get()));
    for (const std::size_t place : {std::size_t{0}, std::size_t{30000}, count - 1}) {
        parts[2 * place] = 7;
        parts[2 * place + 1] = 1;
        const array_ptr copy = create_converted_copy(source.get(), ndINT16_CLASS);
        ASSERT_TRUE(api::ndIsComplex(copy.get())) << place;
        EXPECT_EQ(static_cast<std::int16_t*>(copy->pdata)[2 * place + 1], 1);
        parts[2 * place + 1] = 0.25; // rounds to nothing
        const array_ptr real = create_converted_copy(source.get(), ndINT16_CLASS);
        EXPECT_FALSE(api::ndIsComplex(real.get())) << place;
        EXPECT_EQ(static_cast<std::int16_t*>(real->pdata)[place], 7);
        parts[2 * place] = parts[2 * place + 1] = 0;
    }
}

// ---- what isn't elements as they lie

TEST_F(ConvertedCopy, OfASparseArrayKeepsToClassesWithASparseForm) {
    const array_ptr source = sparse_3x2();
    const snapshot before(source.get());
    for (const bool singles : {true, false}) {
        foundation::test_hooks::set_feature("SingleSparse", singles ? 1 : 0);
        for_each_class(class_set::with_bytes, [&](const class_case& to) {
            if (to.complexity == ndCOMPLEX || to.id == ndDOUBLE_CLASS) return;
            const bool has_form = to.id == ndLOGICAL_CLASS || (to.id == ndSINGLE_CLASS && singles);
            if (has_form) {
                EXPECT_THAT(create_converted_copy(source.get(), to.id),
                            EqualsArray(to.id == ndLOGICAL_CLASS
                                            ? sparse_arr("logical 3x2", {{1, 0, 1}, {2, 1, 1}})
                                            : sparse_arr("single 3x2", {{1, 0, 1.5}, {2, 1, 2.5}})));
            } else {
                EXPECT_THROW(create_converted_copy(source.get(), to.id), sparse_error);
            }
        });
    }
    foundation::test_hooks::reset_features();
    EXPECT_EQ(create_converted_copy(source.get(), ndCELL_CLASS), nullptr);
    EXPECT_THAT(create_converted_copy(source.get(), ndDOUBLE_CLASS), EqualsArray(source.get()));
    EXPECT_EQ(before.difference(), "");
}

// Text is no conversion of logicals, and complex values none of logicals, whatever the storage.
TEST_F(ConvertedCopy, OfASparseArrayIsFirstAConversionOfItsClass) {
    const array_ptr source = sparse_3x2();
    void* const values = source->pdata;
    const std::uint32_t flags = source->flags;
    source->class_id = ndLOGICAL_CLASS;
    source->flags &= ~matrix::flag_numeric;
    EXPECT_EQ(create_converted_copy(source.get(), ndCHAR_CLASS), nullptr);
    EXPECT_THROW(create_converted_copy(source.get(), ndINT8_CLASS), sparse_error);
    source->class_id = ndINT8_CLASS; // a byte each: six elements would be read where two are stored
    source->flags = flags;
    EXPECT_EQ(api::ndGetNumNonZeroEl(create_converted_copy(source.get(), ndLOGICAL_CLASS).get()), 2U);
    source->class_id = ndDOUBLE_CLASS;
    source->flags |= matrix::flag_complex;
    EXPECT_THROW(create_converted_copy(source.get(), ndLOGICAL_CLASS), complex_error);
    source->flags = flags;
    EXPECT_EQ(source->pdata, values);
}

// The vector that it stands for, whatever the class: the operands are never taken for elements.
TEST_F(ConvertedCopy, OfAColonObjectIsOfItsVector) {
    const array_ptr source = matrix::create_colon_object(1, 1.5, 9);
    source->flags |= matrix::flag_from_global_workspace | 0x5A000000;
    const snapshot before(source.get());
    for_each_class(class_set::with_bytes, [&](const class_case& c) {
        if (c.complexity == ndCOMPLEX) return;
        const array_ptr copy = create_converted_copy(source.get(), c.id);
        const array_ptr vector = matrix::create_colon_array(1, 1.5, 9, ndDOUBLE_CLASS);
        EXPECT_THAT(copy, EqualsArray(create_converted_copy(vector.get(), c.id)));
        EXPECT_EQ(api::ndGetNumberOfElements(copy.get()), 6U);
        EXPECT_EQ(copy->flags & matrix::flag_colon_object, 0U);
        EXPECT_EQ(copy->flags & (matrix::flag_from_global_workspace | matrix::flag_user_mask),
                  matrix::flag_from_global_workspace | 0x5A000000U);
    });
    EXPECT_EQ(create_converted_copy(source.get(), ndCELL_CLASS), nullptr);
    EXPECT_EQ(before.difference(), "");
    const array_ptr nothing = matrix::create_colon_object(1, 1, 0, ndINT8_CLASS);
    EXPECT_THAT(create_converted_copy(nothing.get(), ndCELL_CLASS), EqualsArray(arr("cell 1x0")));
    EXPECT_THAT(create_converted_copy(nothing.get(), ndUINT64_CLASS), EqualsArray(arr("uint64 1x0")));
    const array_ptr no_number = matrix::create_colon_object(1, api::ndGetNaN(), 5, ndINT8_CLASS);
    EXPECT_THAT(create_converted_copy(no_number.get(), ndINT8_CLASS), EqualsArray(arr("int8", {0})));
    EXPECT_THROW(create_converted_copy(no_number.get(), ndLOGICAL_CLASS),
                 error_of<TARVEL::legacy_two_part::nologicalnan>);
}

TEST_F(ConvertedCopy, KeepsWhatBelongsToTheUserAndLosesWhatBelongsToTheBlock) {
    const array_ptr source = arr("double 1x2", {1, 2});
    source->flags |= matrix::flag_from_global_workspace | 0x5A000000 | matrix::flag_empty_square_bracket |
                     matrix::flag_reusable | matrix::flag_capacity_tracked;
    const array_ptr copy = create_converted_copy(source.get(), ndINT8_CLASS);
    EXPECT_EQ(copy->flags & ~(matrix::flag_cached_header | matrix::flag_bin_mask),
              matrix::flag_from_global_workspace | 0x5A000000U | matrix::flag_numeric |
                  matrix::flag_inline_dims);
}

TEST_F(ConvertedCopy, ComesFromTheCacheWhenThatIsOn) {
    const bool before = matrix::cache::isEnabled();
    matrix::cache::setEnabled(true);
    {
        const array_ptr source = numbered("double 3x4");
        const array_ptr copy = create_converted_copy(source.get(), ndSINGLE_CLASS);
        EXPECT_TRUE((copy->flags & matrix::flag_cached_header) != 0);
        EXPECT_THAT(copy, EqualsArray(numbered("single 3x4")));
    }
    matrix::cache::clear();
    matrix::cache::setEnabled(before);
}

TEST_F(ConvertedCopy, OfAnArrayThatLostItsDataHasNone) {
    const array_ptr source = arr("complex double 2x2");
    void* const block = std::exchange(source->pdata, nullptr);
    const array_ptr copy = create_converted_copy(source.get(), ndINT8_CLASS);
    EXPECT_EQ(copy->pdata, nullptr);
    EXPECT_EQ(api::ndGetNumberOfElements(copy.get()), 4U);
    source->pdata = block;
}

// The source is a header that says it has more elements than could be had as doubles.
TEST_F(ConvertedCopy, ThatWouldBeTooLargeRaisesBeforeItIsMade) {
    const array_ptr source = arr("int8 1x1", {1});
    source->m_or_dims = std::uint64_t{1} << 47;
    EXPECT_THROW(create_converted_copy(source.get(), ndDOUBLE_CLASS),
                 error_of<TARVEL::legacy_two_part::pmaxsize>);
    source->m_or_dims = 1;
}

TEST_F(ConvertedCopy, IsHandedOutAsATemporary) {
    const array_ptr source = arr("double 1x2", {1, 2});
    ndArray_tag* const copy = keep(api::ndCreateConvertedCopy(source.get(), ndINT8_CLASS));
    EXPECT_THAT(copy, EqualsArray(arr("int8 1x2", {1, 2})));
}

} // namespace
} // namespace test
