// Each rule of a value is broken on purpose, one field at a time: validate() must name that rule. The table below is therefore
// also the list of what a corrupted header can look like.
#include "matrix/validate.hpp"

#include "matrix/class_table.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/validate_rules.hpp"
#include "support/arr.hpp"
#include "support/classes.hpp"
#include "support/fixture.hpp"
#include "support/variations.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <bit>
#include <functional>
#include <thread>

#include <pthread.h>

namespace {

using matrix::internal::validate;
using matrix::internal::validate_depth;
using test::arr;
using test::numbered;
using ::testing::HasSubstr;
using ::testing::StartsWith;

using Validate = test::NdTest;

// The fields of a header as they were: a corrupted array is repaired before it is destroyed.
class repaired_at_end {
public:
    explicit repaired_at_end(ndArray_tag* array) : array_(array) {
        std::copy_n(reinterpret_cast<const std::byte*>(array), sizeof(ndArray_tag), before_.begin());
    }
    ~repaired_at_end() { std::copy(before_.begin(), before_.end(), reinterpret_cast<std::byte*>(array_)); }
    repaired_at_end(const repaired_at_end&) = delete;
    repaired_at_end& operator=(const repaired_at_end&) = delete;

private:
    ndArray_tag* array_;
    std::array<std::byte, sizeof(ndArray_tag)> before_;
};

struct corruption {
    const char* value; ///< as arr() takes it
    void (*corrupt)(ndArray_tag* a);
    const char* rule; ///< how its sentence begins
};

std::uint64_t as_word(const void* pointer) { return std::bit_cast<std::uint64_t>(pointer); }
template <class T>
T* as_pointer(std::uint64_t word) {
    return std::bit_cast<T*>(word);
}

constexpr corruption identity_corruptions[] = {
    {"double", [](ndArray_tag* a) { a->class_id = 19; }, "the class lies in 0 to 18"},
    {"double", [](ndArray_tag* a) { a->class_id = -1; }, "the class lies in 0 to 18"},
    {"double", [](ndArray_tag* a) { a->class_id = 38; }, "the class lies in 0 to 18"},
    {"double", [](ndArray_tag* a) { a->class_id = 0x7FFFFFFF; }, "the class lies in 0 to 18"},
    {"double", [](ndArray_tag* a) { a->scope = ndUNKNOWN_SCOPE; }, "the scope lies in 0 to 6"},
    {"double", [](ndArray_tag* a) { a->scope = 0xFFFFFFFF; }, "the scope lies in 0 to 6"},
    {"double", [](ndArray_tag* a) { a->ref_count = 0; }, "a live header has at least one owner"},
    {"double", [](ndArray_tag* a) { a->next = a; }, "a live header stands in no cache bin"},
    {"double", [](ndArray_tag* a) { a->share_record = as_pointer<share_record>(0x1001); },
     "pointers of the header are aligned"},
    {"cell", [](ndArray_tag* a) { a->root_record = as_pointer<RootRecord>(3); },
     "pointers of the header are aligned"},
    {"double", [](ndArray_tag* a) { a->parent = as_pointer<ndArray_tag>(4); },
     "pointers of the header are aligned"},
    {"double", [](ndArray_tag* a) { a->dims32 = as_pointer<void>(0xFFFFFFFF); },
     "pointers of the header are aligned"},
    {"double", [](ndArray_tag* a) { a->root_record = as_pointer<RootRecord>(as_word(a)); },
     "only classes that can hold references have"},
};

constexpr corruption flag_corruptions[] = {
    {"double", [](ndArray_tag* a) { a->flags |= 0x400000; }, "flag bits 22 and 23 are zero"},
    {"double", [](ndArray_tag* a) { a->flags |= 0x800000; }, "flag bits 22 and 23 are zero"},
    {"double", [](ndArray_tag* a) { a->flags &= ~matrix::flag_numeric; },
     "the numeric bit is what the class table says"},
    {"logical", [](ndArray_tag* a) { a->flags |= matrix::flag_numeric; },
     "the numeric bit is what the class table says"},
    {"int8", [](ndArray_tag* a) { a->class_id = ndCHAR_CLASS; },
     "the numeric bit is what the class table says"},
    {"double", [](ndArray_tag* a) { a->flags |= matrix::flag_indexing_opaque; },
     "only opaque arrays are indexing-opaque"},
    {"double", [](ndArray_tag* a) { a->flags |= matrix::flag_on_collection_list; },
     "only arrays that can hold references are on"},
    {"double", [](ndArray_tag* a) { a->flags |= 1U << matrix::flag_bin_shift; },
     "a bin number stands beside"},
    {"double", [](ndArray_tag* a) { a->flags |= matrix::flag_cached_header | 18U << matrix::flag_bin_shift; },
     "a bin number lies in 0 to 17"},
    {"double 0x0", [](ndArray_tag* a) { a->flags |= matrix::flag_cached_header; },
     "a cached header owns the block"},
    {"double", [](ndArray_tag* a) { a->flags |= matrix::flag_cached_header | matrix::flag_data_private; },
     "a cached header owns the block"},
    {"double", [](ndArray_tag* a) { a->flags |= matrix::flag_cached_header | matrix::flag_capacity_tracked; },
     "a cached header owns the block"},
};

constexpr corruption dims_corruptions[] = {
    {"double 2x3x4", [](ndArray_tag* a) { a->m_or_dims = 0; }, "out-of-line dimensions are an aligned block"},
    {"double 2x3x4", [](ndArray_tag* a) { a->m_or_dims += 4; },
     "out-of-line dimensions are an aligned block"},
    {"double 2x3x4", [](ndArray_tag* a) { a->n_or_ndims = 2; },
     "out-of-line dimensions are an aligned block"},
    {"double 2x3x4", [](ndArray_tag* a) { a->n_or_ndims = ~std::uint64_t{0}; },
     "out-of-line dimensions are an aligned block"},
    {"double 2x3", [](ndArray_tag* a) { a->flags &= ~matrix::flag_inline_dims; },
     "out-of-line dimensions are an aligned block"},
    {"double 2x3", [](ndArray_tag* a) { a->m_or_dims = std::uint64_t{1} << 48; },
     "the element count is at most 2^48 - 1"},
    {"double 2x3", [](ndArray_tag* a) { a->m_or_dims = a->n_or_ndims = std::uint64_t{1} << 40; },
     "the element count is at most 2^48 - 1"},
    {"double 2x2", [](ndArray_tag* a) { a->flags |= matrix::flag_scalar_double; },
     "a scalar-double array is a full double"},
    {"int8", [](ndArray_tag* a) { a->flags |= matrix::flag_scalar_double; },
     "a scalar-double array is a full double"},
    {"double 1x1x2", [](ndArray_tag* a) { a->flags |= matrix::flag_scalar_double; },
     "a scalar-double array is a full double"},
    {"double", [](ndArray_tag* a) { a->n_or_ndims = 0; }, "a scalar-double array is a full double"},
    {"double", [](ndArray_tag* a) { a->flags |= matrix::flag_sparse; },
     "a scalar-double array is a full double"},
};

constexpr const char* colon_rule = "a colon object is a real row with as many columns as its operands take";

constexpr corruption info_corruptions[] = {
    {"double", [](ndArray_tag* a) { a->info_a = 8; }, "info words are zero but for"},
    {"char 1x2", [](ndArray_tag* a) { a->info_b = 8; }, "info words are zero but for"},
    {"cell", [](ndArray_tag* a) { a->info_c = 8; }, "info words are zero but for"},
    {"cell",
     [](ndArray_tag* a) {
         a->class_id = ndSTRUCT_CLASS;
         a->info_a = as_word(a);
     },
     "a field-name set and its control block"},
    {"int8 2x2", [](ndArray_tag* a) { a->flags |= matrix::flag_sparse; },
     "a sparse array is double, single or logical"},
    {"double 2x2x2", [](ndArray_tag* a) { a->flags |= matrix::flag_sparse; },
     "a sparse array is double, single or logical"},
    {"double 2x2", [](ndArray_tag* a) { a->flags |= matrix::flag_sparse | matrix::flag_colon_object; },
     "a sparse array is double, single or logical"},
    {"double 2x2",
     [](ndArray_tag* a) {
         a->flags |= matrix::flag_sparse;
         a->info_a = as_word(a);
     },
     "a sparse array has both index vectors"},
    {"double 2x2", [](ndArray_tag* a) { a->flags |= matrix::flag_sparse | matrix::flag_cached_header; },
     "a sparse array has blocks of its own"},
    {"logical 1x17", [](ndArray_tag* a) { a->flags |= matrix::flag_colon_object; }, colon_rule},
    {"cell 1x3", [](ndArray_tag* a) { a->flags |= matrix::flag_colon_object; }, colon_rule},
    {"double 3x1", [](ndArray_tag* a) { a->flags |= matrix::flag_colon_object; }, colon_rule},
    {"double 1x4", [](ndArray_tag* a) { a->flags |= matrix::flag_colon_object; }, colon_rule},
    {"double 1x3x2", [](ndArray_tag* a) { a->flags |= matrix::flag_colon_object; }, colon_rule},
    {"complex double 1x3", [](ndArray_tag* a) { a->flags |= matrix::flag_colon_object; }, colon_rule},
    {"int8 1x9", [](ndArray_tag* a) { a->flags |= matrix::flag_colon_object; }, colon_rule},
    {"int64 1x5", [](ndArray_tag* a) { a->flags |= matrix::flag_colon_object; }, colon_rule},
};

constexpr corruption data_corruptions[] = {
    {"double 2x3",
     [](ndArray_tag* a) {
         a->m_or_dims = std::uint64_t{1} << 46;
         a->n_or_ndims = 1;
     },
     "the data take at most 2^48 - 1 bytes"},
    {"double 2x3", [](ndArray_tag* a) { a->pdata = nullptr; },
     "an array whose elements take bytes has a data block"},
    {"int8 0x3", [](ndArray_tag* a) { a->m_or_dims = 1; },
     "an array whose elements take bytes has a data block"},
    {"cell", [](ndArray_tag* a) { a->pdata = static_cast<char*>(a->pdata) + 2; },
     "the slots of a container are aligned"},
    {"double", [](ndArray_tag* a) { a->flags |= matrix::flag_shared_data; },
     "the shared-data bit comes with a share record"},
};

void expect_broken(const corruption& row) {
    const matrix::array_ptr array = arr(row.value);
    ASSERT_EQ(validate(array.get(), validate_depth::cheap), "");
    const repaired_at_end repair(array.get());
    row.corrupt(array.get());
    const std::string cheap = validate(array.get(), validate_depth::cheap);
    EXPECT_THAT(cheap, StartsWith("broken rule \"" + std::string(row.rule))) << row.value;
    EXPECT_EQ(cheap, validate(array.get(), validate_depth::full));
}

TEST_F(Validate, NamesTheBrokenRuleOfAHeader) {
    for (const corruption& row : identity_corruptions) expect_broken(row);
    for (const corruption& row : flag_corruptions) expect_broken(row);
    for (const corruption& row : dims_corruptions) expect_broken(row);
    for (const corruption& row : info_corruptions) expect_broken(row);
    for (const corruption& row : data_corruptions) expect_broken(row);
}

TEST_F(Validate, NamesTheBrokenRuleOfALongDimensionBlock) {
    const auto array = arr("double 2x3x4");
    matrix::internal::dims_block(array.get())[2] = 1;
    EXPECT_THAT(validate(array.get()),
                StartsWith("broken rule \"the last of three or more dimensions isn't 1\""));
    matrix::internal::dims_block(array.get())[2] = 4;
}

TEST_F(Validate, AcceptsWhatIsRareButSound) {
    const auto accepted = [](const char* what, void (*change)(ndArray_tag*)) {
        const auto array = arr(what);
        const repaired_at_end repair(array.get());
        change(array.get());
        EXPECT_EQ(validate(array.get()), "") << what;
    };
    // A clear scalar-double bit says nothing.
    accepted("double", [](ndArray_tag* a) { a->flags &= ~matrix::flag_scalar_double; });
    // Dimensions may shrink under the data.
    accepted("double 2x3", [](ndArray_tag* a) { a->m_or_dims = 0; });
    // A dimension of 0 brings an overflowed product back.
    accepted("double 0x0", [](ndArray_tag* a) { a->m_or_dims = ~std::uint64_t{0}; });
    // Marking a char array complex doesn't make it numeric.
    accepted("char 1x3", [](ndArray_tag* a) { a->flags |= matrix::flag_complex; });
    // The engine's own count keeps a header alive.
    accepted("double", [](ndArray_tag* a) {
        a->ref_count = 0;
        a->internal_ref_count = 1;
    });
    // Bytes say nothing about operands: a skeleton copy of a range has any.
    for (const char* row : {"char 1x6", "double 1x3", "single 1x4", "int8 1x10", "uint16 1x6", "int32 1x4",
                            "int64 1x3", "int64 1x4", "uint64 1x4"})
        accepted(row, [](ndArray_tag* a) { a->flags |= matrix::flag_colon_object; });
    accepted("double", [](ndArray_tag* a) { a->flags |= matrix::flag_reusable | matrix::flag_user_mask; });
    accepted("double 1x4",
             [](ndArray_tag* a) { a->flags |= matrix::flag_cached_header | 17U << matrix::flag_bin_shift; });
    accepted("double", [](ndArray_tag* a) {
        a->flags = (a->flags & ~matrix::flag_scalar_double) | matrix::flag_sparse;
        a->info_c = 1;
    });
}

// ---- share records

struct record_corruption {
    void (*corrupt)(ndArray_tag* a);
    const char* rule;
};

constexpr record_corruption record_corruptions[] = {
    {[](ndArray_tag* a) { a->share_record->count = 0; }, "a share record counts at least one header"},
    {[](ndArray_tag* a) { a->share_record->lock = 1; }, "the lock of a share record is free"},
    {[](ndArray_tag* a) { a->flags &= ~matrix::flag_shared_data; },
     "every sharer of a block that several headers use"},
    {[](ndArray_tag* a) { a->flags |= matrix::flag_reusable; }, "a reusable array has one owner"},
};

TEST_F(Validate, NamesTheBrokenRuleOfAShareRecord) {
    for (const record_corruption& row : record_corruptions) {
        const auto array = numbered("double 2x3");
        const auto sharer = matrix::detail::do_shared_copy(array.get());
        ASSERT_EQ(validate(array.get()), "");
        {
            const repaired_at_end repair(array.get());
            row.corrupt(array.get());
            EXPECT_THAT(validate(array.get()), StartsWith("broken rule \"" + std::string(row.rule)));
        }
        array->share_record->count = 2;
        array->share_record->lock = 0;
    }
}

TEST_F(Validate, NamesAReusableHeaderWithTwoOwners) {
    const auto array = arr("double");
    const repaired_at_end repair(array.get());
    array->flags |= matrix::flag_reusable;
    array->ref_count = 2;
    EXPECT_THAT(validate(array.get()), HasSubstr("a reusable array has one owner"));
}

TEST_F(Validate, AcceptsEveryRepresentation) {
    test::for_each_class(test::class_set::with_bytes, [](const test::class_case& c) {
        for (const char* dims : {"1x1", "0x4", "3x2", "2x3x4"}) {
            test::for_each_variation(numbered(c.name + " " + dims),
                                     [](matrix::array_ptr& x) { EXPECT_EQ(validate(x.get()), ""); });
        }
    });
}

// ---- sparse

// A sparse array made by hand over borrowed index vectors.
struct borrowed_sparse {
    std::vector<std::uint64_t> ir;
    std::vector<std::uint64_t> jc;
    std::uint64_t nzmax;
    std::string verdict(validate_depth depth = validate_depth::full) const {
        const auto array = arr("double 3x2");
        const repaired_at_end repair(array.get());
        array->flags |= matrix::flag_sparse;
        array->info_a = as_word(ir.data());
        array->info_b = as_word(jc.data());
        array->info_c = nzmax;
        return validate(array.get(), depth);
    }
};

TEST_F(Validate, ChecksSparseOrderInFullDepth) {
    const char* starts = "broken rule \"column starts begin at 0";
    const char* rows = "broken rule \"the rows in a column ascend";
    EXPECT_EQ((borrowed_sparse{{0, 2, 1}, {0, 2, 3}, 3}.verdict()), "");
    EXPECT_EQ((borrowed_sparse{{0, 2, 1, 9}, {0, 2, 3}, 4}.verdict()), "") << "slack behind the last column";
    EXPECT_THAT((borrowed_sparse{{0, 2, 1}, {1, 2, 3}, 3}.verdict()), StartsWith(starts));
    EXPECT_THAT((borrowed_sparse{{0, 2, 1}, {0, 3, 2}, 3}.verdict()), StartsWith(starts));
    EXPECT_THAT((borrowed_sparse{{0, 2, 1}, {0, 2, 4}, 3}.verdict()), StartsWith(starts));
    EXPECT_THAT((borrowed_sparse{{2, 0, 1}, {0, 2, 3}, 3}.verdict()), StartsWith(rows));
    EXPECT_THAT((borrowed_sparse{{1, 1, 1}, {0, 2, 3}, 3}.verdict()), StartsWith(rows));
    EXPECT_THAT((borrowed_sparse{{0, 3, 1}, {0, 2, 3}, 3}.verdict()), StartsWith(rows));
    EXPECT_THAT((borrowed_sparse{{0, 2, ~std::uint64_t{0}}, {0, 2, 3}, 3}.verdict()), StartsWith(rows));
    EXPECT_EQ((borrowed_sparse{{2, 0, 1}, {0, 2, 3}, 3}.verdict(validate_depth::cheap)), "");
}

// ---- containers

ndArray_tag*& slot(const matrix::array_ptr& cell, std::size_t i) {
    return static_cast<ndArray_tag**>(cell->pdata)[i];
}

TEST_F(Validate, GivesThePathToABrokenElement) {
    const auto cell =
        arr("cell 2x2", arr("double"), nullptr, arr("cell 1x2", nullptr, arr("int8 1x3")), arr("char", u"x"));
    ASSERT_EQ(validate(cell.get()), "");
    ndArray_tag* const inner = static_cast<ndArray_tag**>(slot(cell, 2)->pdata)[1];
    const repaired_at_end repair(inner);
    inner->flags |= matrix::flag_scalar_double;
    EXPECT_THAT(validate(cell.get()),
                StartsWith("cell element 2: cell element 1: broken rule \"a scalar-double array is"));
    EXPECT_THAT(
        validate(cell.get()),
        HasSubstr(": int8 1x3 [flags 0x80081 scalar-double|numeric|inline-dims; scope 3; owners 1+0;"));
    EXPECT_EQ(validate(cell.get(), validate_depth::cheap), "");
}

TEST_F(Validate, GivesThePathToABrokenInnerCell) {
    const auto cell = arr("cell", arr("cell 1x2"));
    const repaired_at_end repair(slot(cell, 0));
    slot(cell, 0)->info_a = 16;
    EXPECT_THAT(validate(cell.get()), StartsWith("cell element 0: broken rule \"info words are zero"));
}

TEST_F(Validate, WantsMemberScopeInSlots) {
    const auto cell = arr("cell 1x2", arr("double"), arr("cell 1x1"));
    slot(cell, 0)->scope = ndTEMPORARY_SCOPE;
    EXPECT_THAT(validate(cell.get()),
                StartsWith("cell element 0: broken rule \"an element in a slot has member scope\""));
    slot(cell, 0)->scope = ndMEMBER_SCOPE;
    slot(cell, 1)->scope = ndLOCAL_SCOPE;
    EXPECT_THAT(validate(cell.get()),
                StartsWith("cell element 1: broken rule \"an element in a slot has member scope\""));
    slot(cell, 1)->scope = ndMEMBER_SCOPE;
}

TEST_F(Validate, DoesNotFollowADamagedSlot) {
    const auto cell = arr("cell 1x2");
    slot(cell, 1) = as_pointer<ndArray_tag>(0x12345);
    EXPECT_EQ(validate(cell.get()), "cell element 1: broken rule \"a slot holds an aligned pointer\"");
    slot(cell, 1) = nullptr;
}

TEST_F(Validate, EntersASharedContainerOnce) {
    // Each level holds the one below twice: 2^60 ways down.
    matrix::array_ptr level = arr("int8", {7});
    for (int i = 0; i < 60; ++i) {
        matrix::array_ptr twin(matrix::detail::noninlined::nd_array_api::ndCreateReference(level.get()));
        level = arr("cell 1x2", std::move(level), std::move(twin));
    }
    EXPECT_EQ(validate(level.get()), "");
}

TEST_F(Validate, ComesBackFromACycle) {
    const auto cell = arr("cell");
    cell->scope = ndMEMBER_SCOPE;
    slot(cell, 0) = cell.get();
    EXPECT_EQ(validate(cell.get()), "");
    slot(cell, 0) = nullptr;
}

constexpr std::size_t small_stack = 1U << 20;

void on_small_stack(const std::function<void()>& body) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, small_stack);
    pthread_t thread{};
    const auto run = [](void* argument) -> void* {
        (*static_cast<const std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&body)), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

TEST_F(Validate, WalksAMillionLevelsOnASmallStack) {
    constexpr int depth = 1'000'000;
    on_small_stack([] {
        const std::size_t dims[] = {1, 1};
        matrix::array_ptr level = arr("int8", {7});
        ndArray_tag* const innermost = level.get();
        for (int i = 0; i < depth; ++i) {
            matrix::array_ptr outer = matrix::create_cell(dims);
            level->scope = ndMEMBER_SCOPE;
            slot(outer, 0) = level.release();
            level = std::move(outer);
        }
        innermost->scope = 9;
        const std::string broken = validate(level.get());
        EXPECT_THAT(
            broken,
            StartsWith(
                "cell element 0: cell element 0: cell element 0: cell element 0: ... 999992 levels ...: "
                "cell element 0: cell element 0: cell element 0: cell element 0: broken rule"));
        innermost->scope = ndMEMBER_SCOPE;
    });
}

// ---- descriptions

TEST_F(Validate, CallsNullBroken) { EXPECT_EQ(validate(nullptr), "no array: null"); }

TEST_F(Validate, DescribesDamagedHeaders) {
    const auto array = arr("double 2x3x4x5x6x7x8x9x2");
    EXPECT_THAT(matrix::internal::describe_header(array.get()),
                StartsWith("double 2x3x4x5x6x7x8x9x... [flags 0x80 numeric;"));
    const repaired_at_end repair(array.get());
    array->n_or_ndims = 1;
    array->class_id = 77;
    array->flags |= 0xA5C00000;
    array->share_record = as_pointer<share_record>(0x33);
    const std::string text = matrix::internal::describe_header(array.get());
    EXPECT_THAT(text, StartsWith("class 77 (1 dimensions at 0x"));
    EXPECT_THAT(text, HasSubstr("numeric|undefined bits 0xc00000|user bits 0xa5"));
    EXPECT_THAT(text, HasSubstr("share record 0x33"));
    EXPECT_EQ(matrix::internal::describe_header(nullptr), "null");
}

TEST_F(Validate, NamesEveryFlag) {
    std::string all = matrix::internal::flag_names(0x3FFFFF & ~matrix::flag_bin_mask);
    EXPECT_EQ(std::count(all.begin(), all.end(), '|') + 1, 17);
    EXPECT_EQ(matrix::internal::flag_names(0), "none");
    EXPECT_EQ(matrix::internal::flag_names(matrix::flag_cached_header | 5U << matrix::flag_bin_shift),
              "cached-header|bin 5");
}

} // namespace
