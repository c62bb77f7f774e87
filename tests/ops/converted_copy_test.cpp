// Converted copies: which conversions exist, what the new array shares and keeps, and how errors come out.
#include "matrix/scaffolding.hpp"
#include "matrix/sharing.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/classes.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"
#include "support/snapshot.hpp"
#include "support/variations.hpp"

#include <foundation/core/except/exception.hpp>
#include <nd/access.hpp>
#include <nd/cache.hpp>
#include <nd/convert.hpp>
#include <nd/interleaved.hpp>
#include <nd/messages.hpp>
#include <nd/sizes.hpp>

#include <limits>
#include <string>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::create_converted_copy;

template <class Id>
using error_of = foundation::core::except::Exception<Id, std::exception, void>;
using complex_error = error_of<TARVEL::legacy_two_part::nologicalcomplex>;
using nan_error = error_of<TARVEL::legacy_two_part::nologicalnan>;

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
        for_each_variation(r.source, [&](array_ptr& source) {
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

// Every pair of classes: what there is, and what there isn't.
enum class outcome { none, converted, raises };

outcome expected_outcome(const ndArray_tag* source, ndClassID target) {
    const bool empty = api::ndIsEmpty(source);
    const auto from = static_cast<ndClassID>(source->class_id);
    if (from == target) return outcome::converted;
    if (from == ndSTRUCT_CLASS || from == ndOBJECT_CLASS)
        return target == ndCELL_CLASS ? outcome::converted : outcome::none;
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

TEST_F(ConvertedCopy, ExistsForThesePairs) {
    for_each_class(class_set::all, [](const class_case& from) {
        if (from.id == ndVOID_CLASS || from.id == ndFUNCTION_CLASS || from.id == ndOPAQUE_CLASS ||
            from.id == ndOBJECT_CLASS)
            return;
        for (const char* const shape : {" 0x3", " 2x2"}) {
            if (from.id == ndUNKNOWN_CLASS && shape[1] == '2') continue;
            const array_ptr source = arr(from.name + shape);
            for_each_class(class_set::all,
                           [&](const class_case& to) { expect_outcome(source.get(), to.id); });
        }
    });
    for_each_class(class_set::numeric, [](const class_case& from) {
        const array_ptr source = arr(from.name + " 2x2");
        for_each_class(class_set::all, [&](const class_case& to) { expect_outcome(source.get(), to.id); });
    });
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

// ---- containers

TEST_F(ConvertedCopy, OfAnEmptyArrayToStructHasNoFields) {
    const array_ptr source = arr("double 0x3");
    const array_ptr copy = create_converted_copy(source.get(), ndSTRUCT_CLASS);
    EXPECT_THAT(copy, EqualsArray(arr("struct 0x3")));
}

TEST_F(ConvertedCopy, OfAStructWithoutFieldsToCellHasNoSlots) {
    const array_ptr source = arr("struct 1x1");
    EXPECT_THAT(create_converted_copy(source.get(), ndCELL_CLASS), EqualsArray(arr("cell 0x1")));
    const array_ptr many = arr("struct 2x3x4");
    EXPECT_THAT(create_converted_copy(many.get(), ndCELL_CLASS), EqualsArray(arr("cell 0x2x3x4")));
}

array_ptr two_pairs() {
    return struct_arr("1x2", {"a", "b"}, arr("double", {1}), arr("cell 1x1", arr("int8", {2})), nullptr,
                      arr("char", u"x"));
}

TEST_F(ConvertedCopy, OfAStructToCellSharesItsSlots) {
    const array_ptr source = two_pairs();
    const array_ptr copy = create_converted_copy(source.get(), ndCELL_CLASS);
    EXPECT_THAT(copy, EqualsArray(arr("cell 2x1x2", arr("double", {1}), arr("cell 1x1", arr("int8", {2})),
                                      nullptr, arr("char", u"x"))));
    EXPECT_TRUE(copy->is_data_shared_only_with_impl(source.get()));
}

TEST_F(ConvertedCopy, OfAnObjectToStructHasItsFieldsAndNoClassName) {
    const array_ptr object = two_pairs();
    ASSERT_EQ(api::ndSetClassName(object.get(), "pair"), 0);
    const array_ptr copy = create_converted_copy(object.get(), ndSTRUCT_CLASS);
    EXPECT_THAT(copy, EqualsArray(two_pairs()));
    EXPECT_EQ(api::ndGetObjectClassName(copy.get()), nullptr);
    EXPECT_STREQ(api::ndGetObjectClassName(object.get()), "pair");
    const auto value = [](const array_ptr& of) { return static_cast<ndArray_tag**>(of->pdata)[0]; };
    EXPECT_NE(copy->pdata, object->pdata);
    EXPECT_EQ(value(copy), value(object)) << "values are shared";
    EXPECT_EQ(create_converted_copy(object.get(), ndDOUBLE_CLASS), nullptr);
}

TEST_F(ConvertedCopy, IsHandedOutAsATemporary) {
    const array_ptr source = arr("double 1x2", {1, 2});
    ndArray_tag* const copy = keep(api::ndCreateConvertedCopy(source.get(), ndINT8_CLASS));
    EXPECT_THAT(copy, EqualsArray(arr("int8 1x2", {1, 2})));
}

} // namespace
} // namespace test
