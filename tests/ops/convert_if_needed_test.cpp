// Arrays brought to a class or a storage, by each kind of pointer: the array itself where it is so already.
#include "matrix/sparse_array.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/classes.hpp"
#include "support/fixture.hpp"
#include "support/sparse_arr.hpp"

#include <foundation/core/except/exception.hpp>
#include <nd/access.hpp>
#include <nd/colon.hpp>
#include <nd/convert.hpp>
#include <nd/messages.hpp>

#include <limits>
#include <optional>
#include <string>
#include <utility>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::convert_if_needed;
using counted_ptr = boost::intrusive_ptr<ndArray_tag>;

template <class Id>
using error_of = foundation::core::except::Exception<Id, std::exception, void>;

using ConvertIfNeeded = NdTest;

TEST_F(ConvertIfNeeded, AnArrayOfTheClassIsTheResultWithOneOwnerMore) {
    for_each_class(class_set::all, [](const class_case& c) {
        if (c.id == ndVOID_CLASS || c.id == ndFUNCTION_CLASS || c.id == ndOPAQUE_CLASS) return;
        array_ptr array = arr(c.name + " 0x0");
        const ndArray_tag* const same = array.get();
        {
            const counted_ptr plain = convert_if_needed(same, c.id);
            EXPECT_EQ(plain.get(), same);
            EXPECT_EQ(array->ref_count, 2U);
            counted_ptr counted = plain;
            EXPECT_EQ(convert_if_needed(counted, c.id).get(), same);
            EXPECT_EQ(array->ref_count, 3U);
        }
        EXPECT_EQ(array->ref_count, 1U);
        const array_ptr owned = convert_if_needed(std::move(array), c.id);
        EXPECT_EQ(owned.get(), same);
        EXPECT_EQ(array, nullptr);
        EXPECT_EQ(owned->ref_count, 1U);
    });
}

TEST_F(ConvertIfNeeded, AnotherClassIsANewArrayWithOneOwner) {
    array_ptr array = arr("double 1x3", {1, 2.5, 300});
    const array_ptr expected = arr("int8 1x3", {1, 3, 127});
    const counted_ptr plain = convert_if_needed(array.get(), ndINT8_CLASS);
    EXPECT_THAT(plain.get(), EqualsArray(expected.get()));
    EXPECT_EQ(plain->ref_count, 1U);
    counted_ptr counted(array.get());
    EXPECT_THAT(convert_if_needed(counted, ndINT8_CLASS).get(), EqualsArray(expected.get()));
    counted.reset();
    const ndArray_tag* const source = array.get();
    EXPECT_THAT(convert_if_needed(std::move(array), ndINT8_CLASS), EqualsArray(expected.get()));
    EXPECT_EQ(array.get(), source) << "a conversion leaves the pointer its array";
}

// A colon object has a class and full storage, but no elements in its data: what comes back is the vector.
TEST_F(ConvertIfNeeded, AColonObjectIsAlwaysExpanded) {
    array_ptr object = matrix::create_colon_object(1, 2, 5);
    const ndArray_tag* const same = object.get();
    for (const char* const cls : {"double", "int8"}) {
        const array_ptr expected = arr(std::string(cls) + " 1x3", {1, 3, 5});
        const auto id = static_cast<ndClassID>(expected->class_id);
        EXPECT_THAT(convert_if_needed(same, id).get(), EqualsArray(expected.get()));
        counted_ptr counted(object.get());
        EXPECT_THAT(convert_if_needed(counted, id).get(), EqualsArray(expected.get()));
        EXPECT_EQ(counted.get(), same);
        counted.reset();
        EXPECT_THAT(convert_if_needed(std::move(object), id), EqualsArray(expected.get()));
        EXPECT_EQ(object.get(), same);
    }
    EXPECT_THAT(matrix::convert_to_full_if_needed(same).get(), EqualsArray(arr("double 1x3", {1, 3, 5})));
    const counted_ptr sparse = matrix::convert_to_sparse_if_needed(same);
    EXPECT_TRUE(api::ndIsSparse(sparse.get()));
    EXPECT_THAT(matrix::convert_to_full_if_needed(sparse.get()).get(),
                EqualsArray(arr("double 1x3", {1, 3, 5})));
    EXPECT_TRUE(api::ndIsColonObj(same));
}

TEST_F(ConvertIfNeeded, NullIsNull) {
    counted_ptr none;
    EXPECT_EQ(convert_if_needed(none, ndDOUBLE_CLASS), nullptr);
    EXPECT_EQ(convert_if_needed(static_cast<const ndArray_tag*>(nullptr), ndDOUBLE_CLASS), nullptr);
    EXPECT_EQ(convert_if_needed(array_ptr(), ndDOUBLE_CLASS), nullptr);
}

array_ptr object_of_two() {
    array_ptr object = struct_arr("1x1", {"a", "b"}, arr("double", {1}), nullptr);
    api::ndSetClassName(object.get(), "pair");
    return object;
}

// As arr() takes it, and the classes that it doesn't make.
array_ptr source_of(const std::string& description) {
    if (description.starts_with("object")) return object_of_two();
    const bool function = description.starts_with("function");
    if (!function && !description.starts_with("opaque")) return arr(description);
    const std::size_t n = description.ends_with("0x0") ? 0 : 1;
    const std::size_t dims[] = {n, n};
    return matrix::create(dims, function ? ndFUNCTION_CLASS : ndOPAQUE_CLASS, ndREAL);
}

TEST_F(ConvertIfNeeded, AnObjectBecomesACellOrAStruct) {
    array_ptr object = object_of_two();
    const array_ptr cell = arr("cell 2x1x1", arr("double", {1}), nullptr);
    const array_ptr fields = struct_arr("1x1", {"a", "b"}, arr("double", {1}), nullptr);
    EXPECT_THAT(convert_if_needed(object.get(), ndCELL_CLASS).get(), EqualsArray(cell.get()));
    EXPECT_THAT(convert_if_needed(std::move(object), ndSTRUCT_CLASS), EqualsArray(fields.get()));
    EXPECT_NE(object, nullptr);
}

// A header of class unknown that promises elements is no more convertible than one without.
TEST_F(ConvertIfNeeded, NothingComesOfAnUnknownClass) {
    const array_ptr array = arr("unknown 0x0");
    array->m_or_dims = array->n_or_ndims = 1;
    EXPECT_THROW(convert_if_needed(array.get(), ndDOUBLE_CLASS),
                 error_of<TARVEL::legacy_two_part::invalidConversion>);
    array->m_or_dims = array->n_or_ndims = 0;
}

TEST_F(ConvertIfNeeded, NoConversionIsAnErrorWithBothClasses) {
    struct row {
        const char* source;
        ndClassID target;
        const char* from;
        const char* to;
    };
    const row rows[] = {
        {"struct 1x1", ndCELL_CLASS, "struct", "cell"},
        {"struct 0x0", ndDOUBLE_CLASS, "struct", "double"},
        {"cell 1x1", ndDOUBLE_CLASS, "cell", "double"},
        {"cell 0x0", ndSTRUCT_CLASS, "cell", "struct"},
        {"unknown 0x0", ndDOUBLE_CLASS, "unknown", "double"},
        {"double 1x1", ndCELL_CLASS, "double", "cell"},
        {"double 1x1", ndSTRUCT_CLASS, "double", "struct"},
        {"double 1x1", ndFUNCTION_CLASS, "double", "function_handle"},
        {"unknown 0x0", ndCELL_CLASS, "unknown", "cell"},
        {"function 1x1", ndDOUBLE_CLASS, "function_handle", "double"},
        {"opaque 0x0", ndDOUBLE_CLASS, "opaque", "double"},
        {"opaque 1x1", ndCELL_CLASS, "opaque", "cell"},
        {"object 1x1", ndDOUBLE_CLASS, "pair", "double"},
        {"object 1x1", ndLOGICAL_CLASS, "pair", "logical"},
        {"logical 1x1", ndCHAR_CLASS, "logical", "char"},
        {"int8 1x1", static_cast<ndClassID>(99), "int8", "unknown"},
    };
    for (const row& r : rows) {
        SCOPED_TRACE(std::string(r.source) + " to " + r.to);
        array_ptr array = source_of(r.source);
        const ndArray_tag* const source = array.get();
        try {
            convert_if_needed(source, r.target);
            ADD_FAILURE() << "nothing was raised";
        } catch (const error_of<TARVEL::legacy_two_part::invalidConversion>& error) {
            const TARVEL::legacy_two_part::invalidConversion wanted(r.from, r.to);
            EXPECT_EQ(std::string(error.what()),
                      std::string(error_of<TARVEL::legacy_two_part::invalidConversion>(wanted).what()));
        }
        EXPECT_ANY_THROW(convert_if_needed(std::move(array), r.target));
        EXPECT_EQ(array.get(), source) << "the pointer keeps its array";
    }
}

TEST_F(ConvertIfNeeded, ComplexValuesAreNeitherLogicalNorText) {
    const array_ptr complex = arr("complex double 1x1", {{1, 2}});
    EXPECT_THROW(convert_if_needed(complex.get(), ndLOGICAL_CLASS),
                 error_of<TARVEL::legacy_two_part::nologicalcomplex>);
    EXPECT_THROW(convert_if_needed(complex.get(), ndCHAR_CLASS),
                 error_of<TARVEL::legacy_two_part::noConversionComplexToChar>);
}

TEST_F(ConvertIfNeeded, ErrorsLeaveACountedPointerItsArray) {
    array_ptr array = arr("double 1x2", {1, std::numeric_limits<double>::quiet_NaN()});
    counted_ptr counted(array.get());
    EXPECT_THROW(convert_if_needed(counted, ndLOGICAL_CLASS),
                 error_of<TARVEL::legacy_two_part::nologicalnan>);
    EXPECT_THROW(convert_if_needed(counted, ndCELL_CLASS),
                 error_of<TARVEL::legacy_two_part::invalidConversion>);
    EXPECT_EQ(counted.get(), array.get());
    EXPECT_EQ(array->ref_count, 2U);
}

TEST_F(ConvertIfNeeded, ASparseArrayKeepsToClassesWithASparseForm) {
    array_ptr sparse = sparse_3x2();
    EXPECT_THROW(convert_if_needed(sparse.get(), ndINT8_CLASS),
                 error_of<TARVEL::legacy_two_part::unimplementedSparseType>);
    EXPECT_THROW(convert_if_needed(std::move(sparse), ndCHAR_CLASS),
                 error_of<TARVEL::legacy_two_part::unimplementedSparseType>);
    EXPECT_THAT(convert_if_needed(sparse.get(), ndLOGICAL_CLASS).get(),
                EqualsArray(sparse_arr("logical 3x2", {{1, 0, 1}, {2, 1, 1}})));
    sparse->flags |= matrix::flag_complex;
    EXPECT_THROW(convert_if_needed(sparse.get(), ndCHAR_CLASS),
                 error_of<TARVEL::legacy_two_part::noConversionComplexToChar>);
    sparse->flags &= ~matrix::flag_complex;
}

// ---- storage

TEST_F(ConvertIfNeeded, AFullArrayIsFull) {
    array_ptr array = arr("double 1x2", {1, 0});
    const ndArray_tag* const source = array.get();
    {
        counted_ptr counted(array.get());
        const counted_ptr full = matrix::convert_to_full_if_needed(counted);
        EXPECT_EQ(full.get(), source);
        EXPECT_EQ(matrix::convert_to_full_if_needed(source).get(), source);
        EXPECT_EQ(array->ref_count, 3U);
    }
    EXPECT_EQ(array->ref_count, 1U);
    const array_ptr result = matrix::convert_to_full_if_needed(std::move(array));
    EXPECT_EQ(result.get(), source);
    EXPECT_EQ(matrix::convert_to_full_if_needed(array_ptr()), nullptr);
}

TEST_F(ConvertIfNeeded, TheOtherStorageIsANewArrayWithOneOwner) {
    struct change {
        counted_ptr (*of_pointer)(const ndArray_tag*);
        counted_ptr (*of_counted)(counted_ptr&);
        array_ptr (*of_owned)(array_ptr&&);
    };
    constexpr change to_full{matrix::convert_to_full_if_needed, matrix::convert_to_full_if_needed,
                             matrix::convert_to_full_if_needed};
    constexpr change to_sparse{matrix::convert_to_sparse_if_needed, matrix::convert_to_sparse_if_needed,
                               matrix::convert_to_sparse_if_needed};
    const array_ptr full = arr("double 3x2", {0, 1.5, 0, 0, 0, 2.5});
    const array_ptr sparse = sparse_3x2();
    for (const bool fill : {true, false}) {
        const change& c = fill ? to_full : to_sparse;
        array_ptr array = matrix::detail::do_deep_copy(fill ? sparse.get() : full.get());
        const ndArray_tag* const source = array.get();
        const ndArray_tag* const expected = fill ? full.get() : sparse.get();
        const counted_ptr plain = c.of_pointer(source);
        EXPECT_THAT(plain.get(), EqualsArray(expected));
        EXPECT_EQ(plain->ref_count, 1U);
        counted_ptr counted(array.get());
        EXPECT_THAT(c.of_counted(counted).get(), EqualsArray(expected));
        counted.reset();
        EXPECT_THAT(c.of_owned(std::move(array)), EqualsArray(expected));
        EXPECT_EQ(array.get(), source) << "a conversion leaves the pointer its array";
        EXPECT_EQ(source->ref_count, 1U);
    }
}

TEST_F(ConvertIfNeeded, ASparseArrayIsSparse) {
    array_ptr array = sparse_3x2();
    const ndArray_tag* const source = array.get();
    {
        counted_ptr counted(array.get());
        EXPECT_EQ(matrix::convert_to_sparse_if_needed(counted).get(), source);
        EXPECT_EQ(matrix::convert_to_sparse_if_needed(source).get(), source);
    }
    EXPECT_EQ(array->ref_count, 1U);
    const array_ptr result = matrix::convert_to_sparse_if_needed(std::move(array));
    EXPECT_EQ(result.get(), source);
    EXPECT_EQ(matrix::convert_to_sparse_if_needed(array_ptr()), nullptr);
}

} // namespace
} // namespace test
