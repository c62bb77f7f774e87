// Class tests, names, marks and floating-point functions of each generation: each name reaches what it says.
#include "api/generation_probe.h"
#include "api/mode.hpp"

#include <nd/create.hpp>

#include <bit>
#include <limits>
#include <map>
#include <set>

namespace {

class EachGenerationReads : public testing::TestWithParam<const generation_probe*> {
protected:
    const generation_probe& api() const { return *GetParam(); }
};

matrix::array_ptr matrix_of(ndClassID class_id, std::size_t m = 2, std::size_t n = 3) {
    const std::size_t dims[] = {m, n};
    return class_id == ndCELL_CLASS ? matrix::create_cell(dims) : matrix::create(dims, class_id, ndREAL);
}

// The predicates that are true of a 2x3 array of a class.
const std::map<ndClassID, std::set<std::string>> true_predicates{
    {ndCELL_CLASS, {"ndIsCell"}},
    {ndLOGICAL_CLASS, {"ndIsLogical"}},
    {ndCHAR_CLASS, {"ndIsChar"}},
    {ndDOUBLE_CLASS, {"ndIsDouble", "ndIsNumeric"}},
    {ndSINGLE_CLASS, {"ndIsSingle", "ndIsNumeric"}},
    {ndINT8_CLASS, {"ndIsInt8", "ndIsNumeric"}},
    {ndUINT8_CLASS, {"ndIsUint8", "ndIsNumeric"}},
    {ndINT16_CLASS, {"ndIsInt16", "ndIsNumeric"}},
    {ndUINT16_CLASS, {"ndIsUint16", "ndIsNumeric"}},
    {ndINT32_CLASS, {"ndIsInt32", "ndIsNumeric"}},
    {ndUINT32_CLASS, {"ndIsUint32", "ndIsNumeric"}},
    {ndINT64_CLASS, {"ndIsInt64", "ndIsNumeric"}},
    {ndUINT64_CLASS, {"ndIsUint64", "ndIsNumeric"}},
};

std::set<std::string> true_of(const generation_probe& api, const ndArray_tag* array) {
    std::set<std::string> names;
    for (const named_predicate* one = api.predicates; one->name != nullptr; ++one) {
        if (one->test(array)) names.insert(one->name);
    }
    return names;
}

/// A double array whose header says another class and other flags while it lives: predicates read the header alone.
class relabelled {
public:
    relabelled(ndClassID class_id, std::uint32_t flags)
        : array_(matrix_of(ndDOUBLE_CLASS)), flags_(array_->flags) {
        array_->class_id = class_id;
        array_->flags = (flags_ & ~std::uint32_t{matrix::flag_numeric}) | flags;
    }
    ~relabelled() {
        array_->class_id = ndDOUBLE_CLASS;
        array_->flags = flags_;
    }
    relabelled(const relabelled&) = delete;
    relabelled& operator=(const relabelled&) = delete;
    const ndArray_tag* get() const { return array_.get(); }

private:
    matrix::array_ptr array_;
    std::uint32_t flags_;
};

TEST_P(EachGenerationReads, PredicatesTellTheClass) {
    for (const auto& [class_id, expected] : true_predicates) {
        EXPECT_EQ(true_of(api(), matrix_of(class_id).get()), expected);
    }
}

TEST_P(EachGenerationReads, PredicatesTellClassesWithoutCreators) {
    using names = std::set<std::string>;
    EXPECT_EQ(true_of(api(), relabelled(ndSTRUCT_CLASS, 0).get()), names{"ndIsStruct"});
    EXPECT_EQ(true_of(api(), relabelled(ndFUNCTION_CLASS, 0).get()), names{"ndIsFunctionHandle"});
    EXPECT_EQ(true_of(api(), relabelled(ndOPAQUE_CLASS, 0).get()), names{"ndIsOpaque"});
    EXPECT_EQ(true_of(api(), relabelled(ndOBJECT_CLASS, 0).get()), (names{"ndIsObject", "ndIsStruct"}));
    EXPECT_EQ(true_of(api(), relabelled(ndLOGICAL_CLASS, matrix::flag_sparse).get()),
              (names{"ndIsLogical", "ndIsSparse"}));
}

TEST_P(EachGenerationReads, PredicatesTellEmptiness) {
    using names = std::set<std::string>;
    EXPECT_EQ(true_of(api(), matrix_of(ndCHAR_CLASS, 0, 5).get()), (names{"ndIsChar", "ndIsEmpty"}));
    EXPECT_EQ(true_of(api(), matrix_of(ndCHAR_CLASS, 5, 0).get()), (names{"ndIsChar", "ndIsEmpty"}));
}

TEST_P(EachGenerationReads, ClassNumbersAndNames) {
    const std::map<ndClassID, std::string> class_names{
        {ndCELL_CLASS, "cell"},     {ndLOGICAL_CLASS, "logical"}, {ndCHAR_CLASS, "char"},
        {ndDOUBLE_CLASS, "double"}, {ndSINGLE_CLASS, "single"},   {ndINT8_CLASS, "int8"},
        {ndUINT8_CLASS, "uint8"},   {ndINT16_CLASS, "int16"},     {ndUINT16_CLASS, "uint16"},
        {ndINT32_CLASS, "int32"},   {ndUINT32_CLASS, "uint32"},   {ndINT64_CLASS, "int64"},
        {ndUINT64_CLASS, "uint64"},
    };
    for (const auto& [class_id, name] : class_names) {
        const auto array = matrix_of(class_id);
        EXPECT_EQ(api().class_id(array.get()), class_id);
        EXPECT_EQ(api().class_name(array.get()), name);
        EXPECT_EQ(api().class_of_name(name.c_str()), class_id);
    }
}

TEST_P(EachGenerationReads, ClassesByName) {
    const auto array = matrix_of(ndINT16_CLASS);
    EXPECT_TRUE(api().is_class(array.get(), "int16"));
    EXPECT_FALSE(api().is_class(array.get(), "int"));
    EXPECT_FALSE(api().is_class(array.get(), ""));
    EXPECT_FALSE(api().is_class(array.get(), nullptr));
}

TEST_P(EachGenerationReads, StructsBecomeObjects) {
    const auto number = matrix_of(ndDOUBLE_CLASS);
    EXPECT_EQ(api().set_class_name(number.get(), "polynomial"), 1);
    EXPECT_EQ(api().class_id(number.get()), ndDOUBLE_CLASS);
    const auto array = matrix_of(ndSTRUCT_CLASS, 0, 0);
    EXPECT_EQ(api().set_class_name(array.get(), "polynomial"), 0);
    EXPECT_EQ(api().class_id(array.get()), ndOBJECT_CLASS);
    EXPECT_STREQ(api().class_name(array.get()), "polynomial");
    EXPECT_TRUE(api().is_class(array.get(), "polynomial"));
    EXPECT_EQ(api().set_class_name(array.get(), "other"), 1) << "an object has its class";
}

TEST_P(EachGenerationReads, MarksComeBack) {
    const auto array = matrix_of(ndDOUBLE_CLASS);
    EXPECT_FALSE(api().is_global(array.get()));
    EXPECT_EQ(api().user_bits(array.get()), 0);
    api().set_global(array.get(), true);
    api().set_user_bits(array.get(), 0xA5);
    EXPECT_TRUE(api().is_global(array.get()));
    EXPECT_EQ(api().user_bits(array.get()), 0xA5);
    api().set_user_bits(array.get(), 0x1FF);
    EXPECT_EQ(api().user_bits(array.get()), 0xFF);
    api().set_global(array.get(), false);
    EXPECT_FALSE(api().is_global(array.get()));
}

TEST_P(EachGenerationReads, LogicalsAreTheData) {
    const auto array = matrix_of(ndLOGICAL_CLASS);
    EXPECT_EQ(static_cast<void*>(api().logicals(array.get())), array->pdata);
}

TEST_P(EachGenerationReads, CharsAreTheData) {
    const auto array = matrix_of(ndCHAR_CLASS);
    EXPECT_EQ(api().chars(array.get()), array->pdata);
    EXPECT_NE(api().chars(array.get()), nullptr);
    EXPECT_EQ(api().chars(matrix_of(ndCHAR_CLASS, 0, 0).get()), nullptr);
}

TEST_P(EachGenerationReads, FloatingPoint) {
    using limits = std::numeric_limits<double>;
    EXPECT_EQ(api().eps(), limits::epsilon());
    EXPECT_EQ(api().inf(), limits::infinity());
    EXPECT_EQ(std::bit_cast<std::uint64_t>(api().nan()), 0xFFF8000000000000U);
    const struct {
        double x;
        bool finite, inf, nan;
    } cases[] = {
        {0.0, true, false, false},
        {-limits::max(), true, false, false},
        {limits::infinity(), false, true, false},
        {-limits::infinity(), false, true, false},
        {limits::quiet_NaN(), false, false, true},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(api().is_finite(one.x), one.finite) << one.x;
        EXPECT_EQ(api().is_inf(one.x), one.inf) << one.x;
        EXPECT_EQ(api().is_nan(one.x), one.nan) << one.x;
    }
}

INSTANTIATE_TEST_SUITE_P(Api, EachGenerationReads, testing::Values(&probe_700, &probe_730, &probe_800),
                         [](const auto& instance) { return std::to_string(instance.param->api); });

} // namespace
