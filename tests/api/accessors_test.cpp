// The functions that only the newest generation has so far: data, typed accessors, element sizes, changed dimensions.
#include "api/mode.hpp"

#include <nd/create.hpp>
#include <nd/nd.h>

#include <complex>
#include <type_traits>

namespace {

matrix::array_ptr make(ndClassID class_id, ndComplexity complexity, std::size_t m = 2, std::size_t n = 3) {
    const std::size_t dims[] = {m, n};
    return matrix::create(dims, class_id, complexity);
}

struct typed_getter {
    const char* name;
    ndClassID class_id;
    ndComplexity complexity;
    const void* (*get)(const ndArray_tag*);
    std::size_t element_size;
};

template <auto Getter>
typed_getter getter_of(const char* name, ndClassID class_id, ndComplexity complexity) {
    using element = std::remove_pointer_t<decltype(Getter(nullptr))>;
    return {name, class_id, complexity, [](const ndArray_tag* array) -> const void* { return Getter(array); },
            sizeof(element)};
}

const typed_getter getters[] = {
    getter_of<ndGetDoubles>("ndGetDoubles", ndDOUBLE_CLASS, ndREAL),
    getter_of<ndGetSingles>("ndGetSingles", ndSINGLE_CLASS, ndREAL),
    getter_of<ndGetInt8s>("ndGetInt8s", ndINT8_CLASS, ndREAL),
    getter_of<ndGetUint8s>("ndGetUint8s", ndUINT8_CLASS, ndREAL),
    getter_of<ndGetInt16s>("ndGetInt16s", ndINT16_CLASS, ndREAL),
    getter_of<ndGetUint16s>("ndGetUint16s", ndUINT16_CLASS, ndREAL),
    getter_of<ndGetInt32s>("ndGetInt32s", ndINT32_CLASS, ndREAL),
    getter_of<ndGetUint32s>("ndGetUint32s", ndUINT32_CLASS, ndREAL),
    getter_of<ndGetInt64s>("ndGetInt64s", ndINT64_CLASS, ndREAL),
    getter_of<ndGetUint64s>("ndGetUint64s", ndUINT64_CLASS, ndREAL),
    getter_of<ndGetComplexDoubles>("ndGetComplexDoubles", ndDOUBLE_CLASS, ndCOMPLEX),
    getter_of<ndGetComplexSingles>("ndGetComplexSingles", ndSINGLE_CLASS, ndCOMPLEX),
    getter_of<ndGetComplexInt8s>("ndGetComplexInt8s", ndINT8_CLASS, ndCOMPLEX),
    getter_of<ndGetComplexUint8s>("ndGetComplexUint8s", ndUINT8_CLASS, ndCOMPLEX),
    getter_of<ndGetComplexInt16s>("ndGetComplexInt16s", ndINT16_CLASS, ndCOMPLEX),
    getter_of<ndGetComplexUint16s>("ndGetComplexUint16s", ndUINT16_CLASS, ndCOMPLEX),
    getter_of<ndGetComplexInt32s>("ndGetComplexInt32s", ndINT32_CLASS, ndCOMPLEX),
    getter_of<ndGetComplexUint32s>("ndGetComplexUint32s", ndUINT32_CLASS, ndCOMPLEX),
    getter_of<ndGetComplexInt64s>("ndGetComplexInt64s", ndINT64_CLASS, ndCOMPLEX),
    getter_of<ndGetComplexUint64s>("ndGetComplexUint64s", ndUINT64_CLASS, ndCOMPLEX),
};

TEST(TypedGetters, AnswerForTheirClassAndComplexityOnly) {
    for (const typed_getter& subject : getters) {
        for (const typed_getter& other : getters) {
            const auto array = make(subject.class_id, subject.complexity);
            const void* const expected = &other == &subject ? array->pdata : nullptr;
            EXPECT_EQ(other.get(array.get()), expected)
                << other.name << " of what " << subject.name << " is for";
        }
    }
}

TEST(TypedGetters, ElementsAreAsLargeAsTheLibrarySays) {
    for (const typed_getter& one : getters) {
        EXPECT_EQ(ndGetElementSize(make(one.class_id, one.complexity).get()), one.element_size) << one.name;
    }
}

TEST(TypedGetters, CallersWriteThroughThem) {
    const auto array = make(ndDOUBLE_CLASS, ndCOMPLEX, 1, 2);
    nd_complex_double* const numbers = ndGetComplexDoubles(array.get());
    numbers[1] = {3.0, -4.0};
    static_assert(sizeof(nd_complex_double) == sizeof(std::complex<double>));
    EXPECT_EQ(static_cast<const std::complex<double>*>(array->pdata)[1], std::complex<double>(3.0, -4.0));
}

struct typed_setter {
    const char* name;
    ndClassID class_id;
    ndComplexity complexity;
    int (*set)(ndArray_tag*, void*);
};

template <class>
struct element_of;
template <class Element>
struct element_of<int(ndArray_tag*, Element*)> {
    using type = Element;
};

template <auto Setter>
typed_setter setter_of(const char* name, ndClassID class_id, ndComplexity complexity) {
    using element = typename element_of<std::remove_pointer_t<decltype(Setter)>>::type;
    return {name, class_id, complexity,
            [](ndArray_tag* array, void* data) { return Setter(array, static_cast<element*>(data)); }};
}

const typed_setter setters[] = {
    setter_of<ndSetDoubles>("ndSetDoubles", ndDOUBLE_CLASS, ndREAL),
    setter_of<ndSetSingles>("ndSetSingles", ndSINGLE_CLASS, ndREAL),
    setter_of<ndSetInt8s>("ndSetInt8s", ndINT8_CLASS, ndREAL),
    setter_of<ndSetUint8s>("ndSetUint8s", ndUINT8_CLASS, ndREAL),
    setter_of<ndSetInt16s>("ndSetInt16s", ndINT16_CLASS, ndREAL),
    setter_of<ndSetUint16s>("ndSetUint16s", ndUINT16_CLASS, ndREAL),
    setter_of<ndSetInt32s>("ndSetInt32s", ndINT32_CLASS, ndREAL),
    setter_of<ndSetUint32s>("ndSetUint32s", ndUINT32_CLASS, ndREAL),
    setter_of<ndSetInt64s>("ndSetInt64s", ndINT64_CLASS, ndREAL),
    setter_of<ndSetUint64s>("ndSetUint64s", ndUINT64_CLASS, ndREAL),
    setter_of<ndSetComplexDoubles>("ndSetComplexDoubles", ndDOUBLE_CLASS, ndCOMPLEX),
    setter_of<ndSetComplexSingles>("ndSetComplexSingles", ndSINGLE_CLASS, ndCOMPLEX),
    setter_of<ndSetComplexInt8s>("ndSetComplexInt8s", ndINT8_CLASS, ndCOMPLEX),
    setter_of<ndSetComplexUint8s>("ndSetComplexUint8s", ndUINT8_CLASS, ndCOMPLEX),
    setter_of<ndSetComplexInt16s>("ndSetComplexInt16s", ndINT16_CLASS, ndCOMPLEX),
    setter_of<ndSetComplexUint16s>("ndSetComplexUint16s", ndUINT16_CLASS, ndCOMPLEX),
    setter_of<ndSetComplexInt32s>("ndSetComplexInt32s", ndINT32_CLASS, ndCOMPLEX),
    setter_of<ndSetComplexUint32s>("ndSetComplexUint32s", ndUINT32_CLASS, ndCOMPLEX),
    setter_of<ndSetComplexInt64s>("ndSetComplexInt64s", ndINT64_CLASS, ndCOMPLEX),
    setter_of<ndSetComplexUint64s>("ndSetComplexUint64s", ndUINT64_CLASS, ndCOMPLEX),
};

// Two arrays of a kind exchange their blocks: nothing is lost and nothing is freed.
TEST(TypedSetters, StoreForTheirClassAndComplexityOnly) {
    for (const typed_setter& subject : setters) {
        for (const typed_setter& setter : setters) {
            SCOPED_TRACE(std::string(setter.name) + " of what " + subject.name + " is for");
            const auto array = make(subject.class_id, subject.complexity);
            const auto other = make(subject.class_id, subject.complexity);
            void* const own = array->pdata;
            void* const given = other->pdata;
            const bool fits = &setter == &subject;
            EXPECT_EQ(setter.set(array.get(), given), fits ? 1 : 0);
            EXPECT_EQ(array->pdata, fits ? given : own);
            EXPECT_EQ(setter.set(other.get(), own), fits ? 1 : 0);
        }
    }
}

TEST(TypedSetters, AreNotForLogicalOrChar) {
    for (const ndClassID class_id : {ndLOGICAL_CLASS, ndCHAR_CLASS, ndCELL_CLASS}) {
        const auto array = make(class_id, ndREAL);
        void* const own = array->pdata;
        for (const typed_setter& setter : setters) {
            EXPECT_EQ(setter.set(array.get(), nullptr), 0) << setter.name;
            EXPECT_EQ(array->pdata, own);
        }
    }
}

TEST(TypedSetters, IgnoreNull) {
    for (const typed_setter& setter : setters) EXPECT_EQ(setter.set(nullptr, nullptr), 0) << setter.name;
}

TEST(Data, AreReplacedAndNothingIsFreed) {
    for (const ndComplexity complexity : {ndREAL, ndCOMPLEX}) {
        const auto array = make(ndDOUBLE_CLASS, complexity), other = make(ndDOUBLE_CLASS, complexity);
        void* const own = array->pdata;
        void* const given = other->pdata;
        ndSetData(array.get(), given);
        EXPECT_EQ(ndGetData(array.get()), given);
        ndSetData(other.get(), own);
        EXPECT_EQ(ndGetData(other.get()), own);
    }
    ndSetData(nullptr, nullptr);
}

TEST(Data, RealPartsAreReplacedInRealArraysOnly) {
    const auto real = make(ndDOUBLE_CLASS, ndREAL), other = make(ndDOUBLE_CLASS, ndREAL);
    double* const own = ndGetPr(real.get());
    ndSetPr(real.get(), ndGetPr(other.get()));
    EXPECT_EQ(real->pdata, other->pdata);
    ndSetPr(other.get(), own);
    const auto complex = make(ndDOUBLE_CLASS, ndCOMPLEX);
    void* const kept = complex->pdata;
    const test::caught_error error = test::error_of([&] { ndSetPr(complex.get(), own); });
    EXPECT_EQ(error.id, test::errors_are_exceptions() ? "TARVEL:matrix:illegalComplexArray" : "");
    EXPECT_EQ(complex->pdata, kept);
    ndSetPr(nullptr, nullptr);
}

TEST(Data, WholeBlockOfAnyClass) {
    for (const ndClassID class_id : {ndLOGICAL_CLASS, ndCHAR_CLASS, ndDOUBLE_CLASS, ndINT64_CLASS}) {
        const auto array = make(class_id, ndREAL);
        EXPECT_EQ(ndGetData(array.get()), array->pdata);
        EXPECT_NE(ndGetData(array.get()), nullptr);
    }
    EXPECT_EQ(ndGetData(make(ndDOUBLE_CLASS, ndREAL, 0, 0).get()), nullptr);
}

TEST(Data, RealPartsOfRealArraysOnly) {
    const auto real = make(ndDOUBLE_CLASS, ndREAL);
    EXPECT_EQ(ndGetPr(real.get()), real->pdata);
    const auto complex = make(ndDOUBLE_CLASS, ndCOMPLEX);
    double* const none = nullptr;
    test::expect_refused([&] { return ndGetPr(complex.get()); }, none, "TARVEL:matrix:illegalComplexArray");
}

TEST(Data, FirstElementAsADouble) {
    const auto array = make(ndINT16_CLASS, ndREAL);
    ndGetInt16s(array.get())[0] = -7;
    EXPECT_EQ(ndGetScalar(array.get()), -7.0);
    const auto complex = make(ndSINGLE_CLASS, ndCOMPLEX);
    ndGetComplexSingles(complex.get())[0] = {1.5F, 9.0F};
    EXPECT_EQ(ndGetScalar(complex.get()), 1.5);
    EXPECT_EQ(ndGetScalar(make(ndDOUBLE_CLASS, ndREAL, 0, 3).get()), 0.0);
}

TEST(Data, ComplexEvenWithoutElements) {
    EXPECT_TRUE(ndIsComplex(make(ndDOUBLE_CLASS, ndCOMPLEX).get()));
    EXPECT_TRUE(ndIsComplex(make(ndDOUBLE_CLASS, ndCOMPLEX, 0, 0).get()));
    EXPECT_FALSE(ndIsComplex(make(ndDOUBLE_CLASS, ndREAL).get()));
}

TEST(Dimensions, AreReplacedAndTheDataStay) {
    const auto array = make(ndDOUBLE_CLASS, ndREAL, 2, 6);
    const void* const data = array->pdata;
    const kvSize shape[] = {2, 3, 2};
    EXPECT_EQ(ndSetDimensions(array.get(), shape, 3), 0);
    EXPECT_EQ(ndGetNumberOfDimensions(array.get()), 3U);
    EXPECT_EQ(ndGetN(array.get()), 6U);
    ndSetN(array.get(), 4);
    EXPECT_EQ(ndGetNumberOfDimensions(array.get()), 2U);
    EXPECT_EQ(ndGetDimensions(array.get())[0], 2U);
    EXPECT_EQ(ndGetDimensions(array.get())[1], 4U);
    ndSetM(array.get(), 3);
    EXPECT_EQ(ndGetNumberOfElements(array.get()), 12U);
    EXPECT_EQ(ndGetData(array.get()), data);
}

} // namespace
