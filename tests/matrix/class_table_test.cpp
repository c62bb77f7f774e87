// What is known about a class from its number: names, element sizes, kind; and the class of an array.
#include "matrix/class_table.hpp"
#include "support/arr.hpp"
#include "support/fixture.hpp"

#include <nd/access.hpp>

#include <climits>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::internal::NdArrayTypeId;

struct class_facts {
    int id;
    const char* name;
    std::size_t real_size, complex_size;
    bool numeric, container;
};

constexpr class_facts facts[] = {
    {ndUNKNOWN_CLASS, "unknown", 0, 0, false, false},
    {ndCELL_CLASS, "cell", 8, 0, false, true},
    {ndSTRUCT_CLASS, "struct", 8, 0, false, true},
    {ndLOGICAL_CLASS, "logical", 1, 0, false, false},
    {ndCHAR_CLASS, "char", 2, 0, false, false},
    {ndVOID_CLASS, "", 0, 0, false, false},
    {ndDOUBLE_CLASS, "double", 8, 16, true, false},
    {ndSINGLE_CLASS, "single", 4, 8, true, false},
    {ndINT8_CLASS, "int8", 1, 2, true, false},
    {ndUINT8_CLASS, "uint8", 1, 2, true, false},
    {ndINT16_CLASS, "int16", 2, 4, true, false},
    {ndUINT16_CLASS, "uint16", 2, 4, true, false},
    {ndINT32_CLASS, "int32", 4, 8, true, false},
    {ndUINT32_CLASS, "uint32", 4, 8, true, false},
    {ndINT64_CLASS, "int64", 8, 16, true, false},
    {ndUINT64_CLASS, "uint64", 8, 16, true, false},
    {ndFUNCTION_CLASS, "function_handle", 32, 0, false, false},
    {ndOPAQUE_CLASS, "opaque", 8, 0, false, false},
    {ndOBJECT_CLASS, "object", 8, 0, false, true},
};

constexpr int no_classes[] = {-1, 19, 20, 31, 32, 38, 63, 64, 99, INT_MAX, INT_MIN};

matrix::array_ptr empty_of(int class_id) {
    return matrix::detail::do_create_numeric(std::vector<std::size_t>{0, 0},
                                             NdArrayTypeId{static_cast<std::uint32_t>(class_id)});
}

TEST(ClassTable, RowsStandAtTheirNumbers) {
    for (std::size_t i = 0; i < std::size(facts); ++i) EXPECT_EQ(facts[i].id, static_cast<int>(i));
}

TEST(ClassTable, NamesOfClasses) {
    for (const class_facts& row : facts) {
        EXPECT_STREQ(api::ndArrayClassIDName(static_cast<ndClassID>(row.id)), row.name);
    }
    for (const int id : no_classes)
        EXPECT_STREQ(api::ndArrayClassIDName(static_cast<ndClassID>(id)), "unknown");
}

TEST(ClassTable, ClassesOfNames) {
    for (const class_facts& row : facts)
        EXPECT_EQ(api::ndClassIDFromClassName(row.name), row.name[0] ? row.id : 0);
    const char* const no_names[] = {"Double", "DOUBLE", "doubl", "doublee", " double", "double ",
                                    "int",    "uint",   "void",  "\xE9",    "unknown"};
    for (const char* name : no_names) EXPECT_EQ(api::ndClassIDFromClassName(name), ndUNKNOWN_CLASS) << name;
}

TEST(ClassTable, TheEmptyNameAndNoNameGiveUnknown) {
    EXPECT_EQ(api::ndClassIDFromClassName(""), ndUNKNOWN_CLASS);
    EXPECT_EQ(api::ndClassIDFromClassName(nullptr), ndUNKNOWN_CLASS);
}

TEST(ClassTable, ElementSizes) {
    for (const class_facts& row : facts) {
        const auto id = static_cast<ndClassID>(row.id);
        EXPECT_EQ(api::ndGetElementSizeofClassID(id, ndREAL), row.real_size) << row.name;
        EXPECT_EQ(api::ndGetElementSizeofClassID(id, ndCOMPLEX), row.complex_size) << row.name;
        for (const int complexity : {2, -1, 32, INT_MAX}) {
            EXPECT_EQ(api::ndGetElementSizeofClassID(id, static_cast<ndComplexity>(complexity)),
                      row.real_size)
                << row.name << ", complexity " << complexity;
        }
    }
    for (const int id : no_classes) {
        EXPECT_EQ(api::ndGetElementSizeofClassID(static_cast<ndClassID>(id), ndREAL), 0U) << id;
        EXPECT_EQ(api::ndGetElementSizeofClassID(static_cast<ndClassID>(id), ndCOMPLEX), 0U) << id;
    }
}

TEST(ClassTable, AComplexCellHasNoElementSize) {
    EXPECT_EQ(api::ndGetElementSizeofClassID(ndCELL_CLASS, ndCOMPLEX), 0U);
}

TEST(ClassTable, NumericClasses) {
    for (const class_facts& row : facts) {
        EXPECT_EQ(api::ndIsNumericArrayType(static_cast<ndClassID>(row.id)), row.numeric) << row.name;
    }
    for (const int id : no_classes) EXPECT_FALSE(api::ndIsNumericArrayType(static_cast<ndClassID>(id))) << id;
}

// Every code that fits five class bits and the complex bit has an answer, and so has every other integer.
TEST(ClassTable, CodesOfClassAndComplexity) {
    for (std::uint32_t code = 0; code < 64; ++code) {
        const std::uint32_t id = code & 31;
        const bool known = id < std::size(facts);
        const std::size_t size = !known ? 0 : code > 31 ? facts[id].complex_size : facts[id].real_size;
        EXPECT_EQ(matrix::internal::element_size(NdArrayTypeId{code}), size) << code;
        EXPECT_EQ(matrix::internal::is_numeric(NdArrayTypeId{code}), known && facts[id].numeric) << code;
        EXPECT_EQ(matrix::internal::class_of(NdArrayTypeId{code}), static_cast<int>(id)) << code;
        EXPECT_EQ(matrix::internal::is_complex_code(NdArrayTypeId{code}), code > 31) << code;
    }
    for (const std::uint32_t code : {64U, 65U, 70U, 99U, 128U, 0x7FFFFFFFU, 0x80000006U, 0xFFFFFFFFU}) {
        EXPECT_EQ(matrix::internal::element_size(NdArrayTypeId{code}), 0U) << code;
        EXPECT_FALSE(matrix::internal::is_numeric(NdArrayTypeId{code})) << code;
    }
}

using ClassOfArray = NdTest;

TEST_F(ClassOfArray, PredicatesTestOneClassEach) {
    struct {
        const char* name;
        bool (*test)(const ndArray_tag*);
        std::vector<int> classes;
    } const predicates[] = {
        {"ndIsCell", api::ndIsCell, {1}},
        {"ndIsChar", api::ndIsChar, {4}},
        {"ndIsDouble", api::ndIsDouble, {6}},
        {"ndIsSingle", api::ndIsSingle, {7}},
        {"ndIsLogical", api::ndIsLogical, {3}},
        {"ndIsFunctionHandle", api::ndIsFunctionHandle, {16}},
        {"ndIsOpaque", api::ndIsOpaque, {17}},
        {"ndIsObject", api::ndIsObject, {18}},
        {"ndIsInt8", api::ndIsInt8, {8}},
        {"ndIsInt16", api::ndIsInt16, {10}},
        {"ndIsInt32", api::ndIsInt32, {12}},
        {"ndIsInt64", api::ndIsInt64, {14}},
        {"ndIsUint8", api::ndIsUint8, {9}},
        {"ndIsUint16", api::ndIsUint16, {11}},
        {"ndIsUint32", api::ndIsUint32, {13}},
        {"ndIsUint64", api::ndIsUint64, {15}},
        {"ndIsStructClass", api::ndIsStructClass, {2}},
        {"ndIsStruct", api::ndIsStruct, {2, 18}},
        {"ndIsIndex", api::ndIsIndex, {15}},
        {"ndIsClassUnknown", api::ndIsClassUnknown, {0}},
        {"ndIsFloat", api::ndIsFloat, {6, 7}},
        {"ndIsInteger", api::ndIsInteger, {8, 9, 10, 11, 12, 13, 14, 15}},
        {"ndIsContainer", api::ndIsContainer, {1, 2, 18}},
        {"ndIsNumeric", api::ndIsNumeric, {6, 7, 8, 9, 10, 11, 12, 13, 14, 15}},
    };
    for (const class_facts& row : facts) {
        const auto array = empty_of(row.id);
        for (const auto& predicate : predicates) {
            const auto& in = predicate.classes;
            EXPECT_EQ(predicate.test(array.get()), std::find(in.begin(), in.end(), row.id) != in.end())
                << predicate.name << " of " << row.name;
        }
        EXPECT_EQ(api::ndIsContainer(array.get()), row.container) << row.name;
    }
}

TEST_F(ClassOfArray, IsWhatTheHeaderStoresUpToFunctionHandles) {
    for (const class_facts& row : facts) {
        const auto array = empty_of(row.id);
        EXPECT_EQ(api::ndGetArrayType(array.get()), row.id);
        EXPECT_EQ(api::ndGetClassID(array.get()), row.id) << "without a class system, the stored class";
        const char* const name = row.id == ndOBJECT_CLASS ? "" : row.name;
        EXPECT_STREQ(api::ndGetClassName(array.get()), name)
            << "an object without a class name has the empty one";
    }
}

TEST_F(ClassOfArray, IsAskedForByName) {
    for (const class_facts& row : facts) {
        const auto array = empty_of(row.id);
        for (const class_facts& other : facts) {
            const bool same = other.id == row.id && row.id != ndOBJECT_CLASS;
            const bool nameless = row.id == ndOBJECT_CLASS && other.name[0] == 0;
            EXPECT_EQ(api::ndIsClass(array.get(), other.name), same || nameless)
                << row.name << " as " << other.name;
        }
        for (const char* name : {"Double", "doubl", "doublee", " double", "uint", "\xE9"}) {
            EXPECT_FALSE(api::ndIsClass(array.get(), name)) << row.name << " as " << name;
        }
        EXPECT_FALSE(api::ndIsClass(array.get(), nullptr)) << row.name;
    }
}

TEST_F(ClassOfArray, ComplexNeedsTheNumericBit) {
    const auto text = arr("char", u"ab");
    EXPECT_FALSE(api::ndIsComplex(text.get()));
    text->flags |= matrix::flag_complex;
    EXPECT_FALSE(api::ndIsComplex(text.get()));
    const auto number = arr("complex double", {{1, 2}});
    EXPECT_TRUE(api::ndIsComplex(number.get()));
    number->flags &= ~matrix::flag_numeric;
    EXPECT_FALSE(api::ndIsComplex(number.get()));
}

TEST_F(ClassOfArray, NumericIsTheBitAlone) {
    const auto number = arr("double");
    number->flags &= ~matrix::flag_numeric;
    EXPECT_FALSE(api::ndIsNumeric(number.get()));
    const auto text = arr("char", u"a");
    text->flags |= matrix::flag_numeric;
    EXPECT_TRUE(api::ndIsNumeric(text.get()));
}

TEST_F(ClassOfArray, ChangingItMovesTheNumericBit) {
    for (const class_facts& from : facts) {
        for (const class_facts& to : facts) {
            const auto array = empty_of(from.id);
            api::ndSetArrayType(array.get(), static_cast<ndClassID>(to.id));
            EXPECT_EQ(api::ndGetArrayType(array.get()), to.id);
            EXPECT_EQ(api::ndIsNumeric(array.get()), to.numeric) << from.name << " to " << to.name;
        }
    }
}

TEST_F(ClassOfArray, BecomingAStructClearsInfoAndLeavesTheCache) {
    constexpr std::uint32_t bin_3 = matrix::flag_cached_header | 3U << matrix::flag_bin_shift;
    for (const class_facts& from : facts) {
        for (const class_facts& to : facts) {
            SCOPED_TRACE(std::string(from.name) + " to " + to.name);
            const auto array = empty_of(from.id);
            const bool was_struct = from.id == ndSTRUCT_CLASS || from.id == ndOBJECT_CLASS;
            const bool is_struct = to.id == ndSTRUCT_CLASS || to.id == ndOBJECT_CLASS;
            if (!was_struct) array->info_a = array->info_b = array->info_c = 64;
            array->flags |= bin_3;
            api::ndSetArrayType(array.get(), static_cast<ndClassID>(to.id));
            const std::uint64_t info = !was_struct && !is_struct ? 64 : 0;
            EXPECT_EQ(array->info_a, info);
            EXPECT_EQ(array->info_b, info);
            EXPECT_EQ(array->info_c, info);
            EXPECT_EQ(array->flags & bin_3, !was_struct && is_struct ? 0U : bin_3);
            array->info_a = array->info_b = array->info_c = 0;
            array->flags &= ~bin_3;
        }
    }
}

bool may_hold_references(const class_facts& of) {
    return of.container || of.id == ndFUNCTION_CLASS || of.id == ndOPAQUE_CLASS;
}

// The collection list has arrays that can hold references: who stops being one leaves it.
TEST_F(ClassOfArray, LeavesTheCollectionListWithItsReferences) {
    for (const class_facts& from : facts) {
        for (const class_facts& to : facts) {
            SCOPED_TRACE(std::string(from.name) + " to " + to.name);
            const auto array = empty_of(from.id);
            const bool holds = may_hold_references(from), still_holds = may_hold_references(to);
            if (holds) array->flags |= matrix::flag_on_collection_list;
            api::ndSetArrayType(array.get(), static_cast<ndClassID>(to.id));
            EXPECT_EQ((array->flags & matrix::flag_on_collection_list) != 0, holds && still_holds);
            array->flags &= ~matrix::flag_on_collection_list;
        }
    }
}

// The scalar-double bit promises a full 1x1 double to an engine that looks no further.
TEST_F(ClassOfArray, AnArrayThatIsNoDoubleAnyMoreIsNoScalarDouble) {
    const auto array = arr("double", {1.5});
    ASSERT_TRUE(api::ndIsScalarDoubleFlagSet(array.get()));
    api::ndSetArrayType(array.get(), ndINT64_CLASS);
    EXPECT_FALSE(api::ndIsScalarDoubleFlagSet(array.get()));
}

TEST_F(ClassOfArray, ElementSizeOfAnArrayIsTheTableRead) {
    EXPECT_EQ(api::ndGetElementSize(arr("complex single 2x2").get()), 8U);
    EXPECT_EQ(api::ndGetElementSize(arr("char", u"x").get()), 2U);
    const auto marked = arr("char", u"x");
    marked->flags |= matrix::flag_complex;
    EXPECT_EQ(api::ndGetElementSize(marked.get()), 0U);
    const auto opaque = empty_of(ndOPAQUE_CLASS);
    EXPECT_EQ(api::ndGetElementSize(opaque.get()), 8U);
    opaque->flags |= matrix::flag_indexing_opaque;
    EXPECT_EQ(api::ndGetElementSize(opaque.get()), 0U);
    EXPECT_EQ(api::published::ndGetElementSize(opaque.get()), 0U);
    EXPECT_EQ(api::published::ndGetElementSize(nullptr), 0U);
    EXPECT_EQ(api::published::ndGetElementSize(marked.get()), 0U);
    opaque->flags &= ~matrix::flag_indexing_opaque;
}

} // namespace
} // namespace test
