// The words of the header that go by class: what objects and opaque arrays know beside their data.
#include "matrix/class_table.hpp"
#include "matrix/object_info.hpp"
#include "matrix/process_state.hpp"
#include "matrix/validate.hpp"
#include "support/fault_injection.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"
#include "support/snapshot.hpp"

#include <nd/access.hpp>
#include <nd/create.hpp>
#include <nd/memory.hpp>

#include <libbase/symbol_table.hpp>

#include <climits>
#include <new>
#include <string>
#include <vector>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using dims_list = std::vector<std::size_t>;

array_ptr empty_of(ndClassID id) {
    return matrix::detail::do_create_numeric(dims_list{0, 0}, matrix::internal::code_of(id, false));
}

using ObjectInfo = NdTest;

TEST_F(ObjectInfo, IsZeroUntilItIsSet) {
    for (const ndClassID id : {ndSTRUCT_CLASS, ndOBJECT_CLASS}) {
        const auto object = empty_of(id);
        EXPECT_EQ(api::ndGetObjectClassName(object.get()), nullptr);
        EXPECT_EQ(api::ndGetObjectTagIndex(object.get()), 0);
        EXPECT_EQ(api::ndGetObjectCheckSum(object.get()), 0U);
        api::ndSetObjectClassName(object.get(), nullptr);
        api::ndSetObjectTagIndex(object.get(), 0);
        api::ndSetObjectCheckSum(object.get(), 0);
        EXPECT_EQ(object->info_c, 0U) << "zeros need no record";
    }
}

// Each fact alone makes the record, and the others stay zero.
TEST_F(ObjectInfo, KeepsEachFactForItself) {
    const auto named = empty_of(ndOBJECT_CLASS);
    api::ndSetObjectClassName(named.get(), "polynomial");
    EXPECT_STREQ(api::ndGetObjectClassName(named.get()), "polynomial");
    EXPECT_EQ(api::ndGetObjectTagIndex(named.get()), 0);
    EXPECT_EQ(api::ndGetObjectCheckSum(named.get()), 0U);

    const auto tagged = empty_of(ndOBJECT_CLASS);
    for (const std::int32_t tag : {19, -1, INT_MAX, INT_MIN}) {
        api::ndSetObjectTagIndex(tagged.get(), tag);
        EXPECT_EQ(api::ndGetObjectTagIndex(tagged.get()), tag);
    }
    EXPECT_EQ(api::ndGetObjectClassName(tagged.get()), nullptr);
    EXPECT_EQ(api::ndGetObjectCheckSum(tagged.get()), 0U);

    const auto summed = empty_of(ndOBJECT_CLASS);
    api::ndSetObjectCheckSum(summed.get(), 0xFFFFFFFF);
    EXPECT_EQ(api::ndGetObjectCheckSum(summed.get()), 0xFFFFFFFFU);
    EXPECT_EQ(api::ndGetObjectTagIndex(summed.get()), 0);

    api::ndSetObjectTagIndex(named.get(), 77);
    api::ndSetObjectCheckSum(named.get(), 5);
    EXPECT_STREQ(api::ndGetObjectClassName(named.get()), "polynomial");
    EXPECT_EQ(api::ndGetObjectTagIndex(named.get()), 77);
    EXPECT_EQ(api::ndGetObjectCheckSum(named.get()), 5U);
    api::ndSetObjectClassName(named.get(), nullptr);
    EXPECT_EQ(api::ndGetObjectClassName(named.get()), nullptr);
    EXPECT_EQ(api::ndGetObjectTagIndex(named.get()), 77);
    EXPECT_EQ(matrix::internal::validate(named.get()), "");
}

TEST_F(ObjectInfo, EqualNamesAreOneText) {
    const auto a = empty_of(ndOBJECT_CLASS), b = empty_of(ndOBJECT_CLASS);
    std::string name = "frame";
    api::ndSetObjectClassName(a.get(), name.c_str());
    const char* const first = api::ndGetObjectClassName(a.get());
    name[0] = 'F';
    EXPECT_STREQ(api::ndGetObjectClassName(a.get()), "frame") << "copied, not kept";
    api::ndSetObjectClassName(b.get(), "frame");
    EXPECT_EQ(api::ndGetObjectClassName(b.get()), first);
    api::ndSetObjectClassName(b.get(), name.c_str());
    EXPECT_NE(api::ndGetObjectClassName(b.get()), first);
    api::ndSetObjectClassName(b.get(), api::ndGetObjectClassName(a.get()));
    EXPECT_EQ(api::ndGetObjectClassName(b.get()), first) << "from the array's own text as well";
}

TEST_F(ObjectInfo, TellsClassNumberAndName) {
    const auto object = empty_of(ndOBJECT_CLASS);
    EXPECT_EQ(api::ndGetClassID(object.get()), ndOBJECT_CLASS);
    EXPECT_STREQ(api::ndGetClassName(object.get()), "");
    EXPECT_TRUE(api::ndIsClass(object.get(), ""));
    api::ndSetObjectClassName(object.get(), "inline");
    EXPECT_STREQ(api::ndGetClassName(object.get()), "inline");
    EXPECT_TRUE(api::ndIsClass(object.get(), "inline"));
    EXPECT_FALSE(api::ndIsClass(object.get(), "object"));
    EXPECT_EQ(api::ndGetClassID(object.get()), ndOBJECT_CLASS) << "a name alone is no registration";
    api::ndSetObjectTagIndex(object.get(), 23);
    EXPECT_EQ(api::ndGetClassID(object.get()), static_cast<ndClassID>(23));
    EXPECT_EQ(api::ndGetArrayType(object.get()), ndOBJECT_CLASS);
    EXPECT_TRUE(api::ndIsObject(object.get()));
    EXPECT_TRUE(api::ndIsStruct(object.get()));
    EXPECT_FALSE(api::ndIsStructClass(object.get()));
}

TEST_F(ObjectInfo, GoesWithTheClass) {
    const auto object = empty_of(ndOBJECT_CLASS);
    api::ndSetObjectTagIndex(object.get(), 23);
    api::ndSetArrayType(object.get(), ndSTRUCT_CLASS);
    EXPECT_EQ(api::ndGetObjectTagIndex(object.get()), 23) << "struct and object keep it in the same place";
    EXPECT_EQ(api::ndGetClassID(object.get()), ndSTRUCT_CLASS) << "but a struct isn't of a registered class";
    api::ndSetArrayType(object.get(), ndCELL_CLASS);
    EXPECT_EQ(object->info_c, 0U);
}

using ClassName = NdTest;

std::vector<const ndArray_tag*> hooked;

TEST_F(ClassName, MakesAStructAnObject) {
    hooked.clear();
    api::ndSetObjectCreateDestroyFn([](ndArray_tag* array) { hooked.push_back(array); }, nullptr);
    const auto array = empty_of(ndSTRUCT_CLASS);
    const std::uint32_t flags = array->flags;
    EXPECT_EQ(api::ndSetClassName(array.get(), "quadratic"), 0);
    api::ndSetObjectCreateDestroyFn(nullptr, nullptr);
    EXPECT_TRUE(api::ndIsObject(array.get()));
    EXPECT_STREQ(api::ndGetClassName(array.get()), "quadratic");
    EXPECT_EQ(array->flags, flags);
    EXPECT_EQ(hooked, std::vector<const ndArray_tag*>{array.get()});
    EXPECT_EQ(matrix::internal::validate(array.get()), "");
}

TEST_F(ClassName, MayBeEmpty) {
    const auto array = empty_of(ndSTRUCT_CLASS);
    EXPECT_EQ(api::ndSetClassName(array.get(), ""), 0);
    EXPECT_TRUE(api::ndIsObject(array.get()));
    EXPECT_STREQ(api::ndGetClassName(array.get()), "");
}

TEST_F(ClassName, IsForStructsOnly) {
    hooked.clear();
    api::ndSetObjectCreateDestroyFn([](ndArray_tag* array) { hooked.push_back(array); }, nullptr);
    for (int id = ndUNKNOWN_CLASS; id <= ndOBJECT_CLASS; ++id) {
        if (id == ndSTRUCT_CLASS) continue;
        const auto array = empty_of(static_cast<ndClassID>(id));
        hooked.clear();
        EXPECT_EQ(api::ndSetClassName(array.get(), "quadratic"), 1) << id;
        EXPECT_EQ(array->class_id, id);
        EXPECT_EQ(array->info_c, 0U) << id;
        EXPECT_TRUE(hooked.empty()) << id;
    }
    const auto array = empty_of(ndSTRUCT_CLASS);
    EXPECT_EQ(api::ndSetClassName(array.get(), nullptr), 1);
    EXPECT_EQ(array->class_id, ndSTRUCT_CLASS);
    EXPECT_EQ(array->info_c, 0U);
    api::ndSetObjectCreateDestroyFn(nullptr, nullptr);
}

// A hook that refuses: the array is the struct that it was.
TEST_F(ClassName, IsNotGivenWhenTheHookRaises) {
    struct refusal {};
    for_each_module_mode([&](int mode) {
        for (const bool with_record : {false, true}) {
            const auto array = empty_of(ndSTRUCT_CLASS);
            if (with_record) api::ndSetObjectCheckSum(array.get(), 7);
            const snapshot before(array.get());
            api::ndSetObjectCreateDestroyFn([](ndArray_tag*) { throw refusal{}; }, nullptr);
            const auto name = [&] { EXPECT_EQ(api::ndSetClassName(array.get(), "quadratic"), 1); };
            if (mode == mode_exceptions) {
                EXPECT_THROW(name(), refusal);
            } else {
                EXPECT_NO_THROW(name());
            }
            api::ndSetObjectCreateDestroyFn(nullptr, nullptr);
            EXPECT_EQ(before.difference(), "");
            EXPECT_EQ(array->info_c != 0, with_record);
            EXPECT_EQ(api::ndGetObjectClassName(array.get()), nullptr);
            EXPECT_EQ(api::ndGetObjectCheckSum(array.get()), with_record ? 7U : 0U);
        }
    });
}

// Symbols stay for good and would count as left behind, so the name is one that the table has.
const char* known_name() { return base_symtab_add("class with a known name"); }

TEST_F(ClassName, WithoutMemoryTheArrayStaysAStruct) {
    for (const int mode : {mode_exceptions, mode_null_results}) {
        const module_mode_scope scope(mode);
        const fault_report report = for_each_failing_alloc("class name", [&](fault_run& run) {
            const array_ptr array = empty_of(ndSTRUCT_CLASS);
            const char* const name = known_name();
            run.operand(array.get());
            run.act([&] { return api::ndSetClassName(array.get(), name) == 0; });
        });
        EXPECT_TRUE(report.passed);
        EXPECT_GE(report.points, 1);
    }
}

// A name that the table hasn't got fails where it is added.
TEST_F(ClassName, WithoutMemoryForTheNameTheArrayStaysAStruct) {
    const module_mode_scope mode(mode_null_results);
    for (long first = 1;; ++first) {
        const array_ptr array = empty_of(ndSTRUCT_CLASS);
        const injection armed({first, fault_plan::follow_up::for_ever, 0});
        const int status = api::ndSetClassName(array.get(), "class with a new name");
        EXPECT_EQ(status, armed.failures() == 0 ? 0 : 1) << first;
        EXPECT_EQ(array->class_id, status == 0 ? ndOBJECT_CLASS : ndSTRUCT_CLASS);
        EXPECT_EQ(array->info_c == 0, status != 0);
        if (status == 0) break;
    }
}

// The setters return nothing: what failed is seen in the array, or as an exception.
TEST_F(ObjectInfo, WithoutMemoryTheArrayStaysAsItWas) {
    struct {
        const char* name;
        void (*set)(ndArray_tag*, const char*);
        bool (*is_set)(const ndArray_tag*);
    } constexpr rows[] = {
        {"object's class name", [](ndArray_tag* a, const char* name) { api::ndSetObjectClassName(a, name); },
         [](const ndArray_tag* a) { return api::ndGetObjectClassName(a) != nullptr; }},
        {"object's tag index", [](ndArray_tag* a, const char*) { api::ndSetObjectTagIndex(a, 5); },
         [](const ndArray_tag* a) { return api::ndGetObjectTagIndex(a) == 5; }},
        {"object's check sum", [](ndArray_tag* a, const char*) { api::ndSetObjectCheckSum(a, 6); },
         [](const ndArray_tag* a) { return api::ndGetObjectCheckSum(a) == 6; }},
    };
    fault_options options;
    options.framed = true;
    for (const auto& row : rows) {
        const fault_report report = for_each_failing_alloc(
            row.name,
            [&](fault_run& run) {
                const array_ptr array = empty_of(ndOBJECT_CLASS);
                const char* const name = known_name();
                run.operand(array.get());
                run.act([&] {
                    row.set(array.get(), name);
                    return row.is_set(array.get());
                });
            },
            options);
        EXPECT_TRUE(report.passed);
        EXPECT_GE(report.points, 1);
    }
}

using OpaqueWords = NdTest;

array_ptr one_of(ndClassID id) {
    return matrix::detail::do_create_numeric(std::vector<std::size_t>{1, 1},
                                             matrix::internal::code_of(id, false));
}

TEST_F(OpaqueWords, AreReadAndWritten) {
    const auto array = empty_of(ndOPAQUE_CLASS);
    array->flags |= matrix::flag_indexing_opaque;
    int payload = 0;
    EXPECT_EQ(api::ndGetOpaqueGiblet(array.get()), nullptr);
    api::ndSetOpaqueGiblet(array.get(), &payload);
    EXPECT_EQ(api::ndGetOpaqueGiblet(array.get()), &payload);
    EXPECT_EQ(array->pdata, &payload);
    EXPECT_EQ(api::ndGetInfo(array.get()), nullptr);
    array->info_a = reinterpret_cast<std::uint64_t>(&payload);
    EXPECT_EQ(static_cast<void*>(api::ndGetInfo(array.get())), &payload);
    array->info_a = 0;
}

// The payload is the class's: no bin may lend it to the next array.
TEST_F(OpaqueWords, PayloadInACachedHeaderStaysWhereItIs) {
    const cache_on cache;
    alignas(16) char payload[32] = "payload";
    for (const bool marked : {true, false}) {
        array_ptr array = one_of(ndOPAQUE_CLASS);
        ASSERT_TRUE(array->flags & matrix::flag_cached_header);
        void* const block = array->pdata;
        api::ndSetOpaqueGiblet(array.get(), block);
        EXPECT_TRUE(array->flags & matrix::flag_cached_header) << "it is the block that the bin lent";
        if (marked) array->flags |= matrix::flag_indexing_opaque;
        api::ndSetOpaqueGiblet(array.get(), payload);
        EXPECT_FALSE(array->flags & (matrix::flag_cached_header | matrix::flag_bin_mask));
        if (!marked) api::ndSetOpaqueGiblet(array.get(), nullptr);
        array.reset();
        api::ndFreeEx(block);
        EXPECT_EQ(matrix::cache::CacheInfo().total_count, 0U);
        EXPECT_STREQ(payload, "payload");
    }
}

// Not even with the mark of a bin that somebody has put back.
TEST_F(OpaqueWords, PayloadNeverGoesIntoABin) {
    const cache_on cache;
    char payload[32] = "payload";
    array_ptr array = one_of(ndOPAQUE_CLASS);
    const std::uint32_t flags = array->flags;
    api::ndFreeEx(array->pdata);
    api::ndSetOpaqueGiblet(array.get(), payload);
    array->flags = flags | matrix::flag_indexing_opaque;
    array.reset();
    EXPECT_EQ(matrix::cache::CacheInfo().total_count, 0U);
}

TEST_F(OpaqueWords, TagIndexIsHalfAWord) {
    const auto array = empty_of(ndOPAQUE_CLASS);
    array->info_b = 0xABCDEF0100000000;
    for (const std::int32_t tag : {1, -1, INT_MAX, INT_MIN, 0}) {
        api::ndSetOpaqueObjectTagIndex(array.get(), tag);
        EXPECT_EQ(api::ndGetOpaqueObjectTagIndex(array.get()), tag);
        EXPECT_EQ(array->info_b >> 32, 0xABCDEF01U) << "the other half stays";
    }
    array->info_b = 0;
}

} // namespace
} // namespace test
