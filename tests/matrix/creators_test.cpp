// Every creator with every class, complexity and kind of shape: what header and what block come out.
#include "matrix/creator_table.hpp"
#include "matrix/header_watch.hpp"
#include "matrix/heap_watch.hpp"
#include "matrix/process_state.hpp"
#include "matrix/size_oracle.hpp"
#include "matrix/validate.hpp"
#include "support/array_text.hpp"
#include "support/classes.hpp"
#include "support/module_mode.hpp"

#include <nd/access.hpp>

#include <algorithm>
#include <climits>
#include <cstring>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::internal::NdArrayTypeId;
using dims_list = std::vector<std::size_t>;

constexpr int complexities[] = {0, 1, 2, -1, INT_MIN};

const dims_list shapes[] = {{},           {0},
                            {1},          {6},
                            {0, 0},       {1, 1},
                            {2, 3},       {0, 5},
                            {3, 0},       {1, 1, 1},
                            {2, 1, 3},    {2, 3, 1},
                            {0, 1, 2},    {2, 2, 2, 2},
                            {1, 1, 0, 1}, {2030, 1},
                            {2031, 1},    {127, 128},
                            {16240, 1},   {16241, 0},
                            {1, 16240},   {4, 1, 1, 1, 1, 1, 2}};

// The smallest bin that holds a number of bytes.
std::size_t bin_of(std::size_t bytes) {
    const auto sizes = matrix::cache::CacheInfo::getBinSizes();
    return static_cast<std::size_t>(std::lower_bound(sizes.begin(), sizes.end(), bytes) - sizes.begin());
}

// Whether a request goes to the cache: by its dimensions one after the other, none above 16240 and no product either.
bool goes_to_cache(const creator_row& creator, std::span<const std::size_t> dims, std::size_t element_size) {
    if (!creator.may_cache || !matrix::cache::isEnabled() || dims.empty()) return false;
    std::size_t bytes = element_size;
    for (const std::size_t dim : dims) {
        if (dim > 16240 || bytes * dim > 16240) return false;
        bytes *= dim;
    }
    return bytes != 0;
}

bool is_zero(const void* block, std::size_t bytes) {
    const auto* byte = static_cast<const unsigned char*>(block);
    return bytes == 0 || (byte[0] == 0 && std::memcmp(byte, byte + 1, bytes - 1) == 0);
}

constexpr std::uint32_t cache_bits = matrix::flag_cached_header | matrix::flag_bin_mask;

void expect_header(const ndArray_tag* array, NdArrayTypeId code, std::span<const std::size_t> dims) {
    const int class_id = static_cast<int>(code & 31U);
    EXPECT_EQ(array->class_id, class_id);
    EXPECT_EQ(array->scope, static_cast<unsigned>(ndLOCAL_SCOPE)) << "no list is on";
    EXPECT_EQ(array->ref_count, 1U);
    EXPECT_EQ(array->internal_ref_count, 0U);
    EXPECT_EQ(array->share_record, nullptr);
    EXPECT_EQ(array->next, nullptr);
    EXPECT_EQ(array->parent, nullptr);
    EXPECT_EQ(array->root_record, nullptr);
    EXPECT_EQ(array->dims32, nullptr);
    EXPECT_EQ((array->flags & matrix::flag_complex) != 0, code > 31U);
    EXPECT_EQ((array->flags & matrix::flag_numeric) != 0, code < 64U && class_id >= 6 && class_id <= 15);
    constexpr std::uint32_t by_class_dims_or_cache = matrix::flag_complex | matrix::flag_numeric |
                                                     cache_bits | matrix::flag_inline_dims |
                                                     matrix::flag_scalar_double;
    EXPECT_EQ(array->flags & ~by_class_dims_or_cache, 0U);

    dims_list wanted(dims.begin(), dims.end());
    while (wanted.size() > 2 && wanted.back() == 1) wanted.pop_back();
    if (wanted.size() < 2) wanted = wanted.empty() ? dims_list{0, 0} : dims_list{wanted[0], 1};
    const kvSize* const stored = api::ndGetDimensions(array);
    EXPECT_EQ(dims_list(stored, stored + api::ndGetNumberOfDimensions(array)), wanted);
    EXPECT_EQ((array->flags & matrix::flag_scalar_double) != 0,
              class_id == ndDOUBLE_CLASS && wanted == dims_list(2, 1));
}

void expect_block(const ndArray_tag* array, const heap_watch& heap, std::size_t block, bool zeroed) {
    if (block == 0) {
        EXPECT_TRUE(heap.requests().empty());
        EXPECT_EQ(array->pdata, nullptr);
        return;
    }
    const auto slot = zeroed ? heap_request::slot::calloc : heap_request::slot::malloc;
    EXPECT_EQ(heap.requests(), (std::vector<heap_request>{{slot, 1, block}}));
    ASSERT_NE(array->pdata, nullptr);
    EXPECT_TRUE(!zeroed || is_zero(array->pdata, block));
}

// One call: header, block, slot of the heap, zeroes, and the end.
void check_creator(const creator_row& creator, const creator_args& args) {
    const NdArrayTypeId code = creator.code(args);
    const std::size_t size = matrix::internal::element_size(code);
    const judged_size judged = judge(args.dims, size);
    ASSERT_EQ(judged.says, verdict::fits);
    const bool cached = goes_to_cache(creator, args.dims, size);
    const std::size_t bin = cached ? bin_of(judged.bytes) : 0;

    header_watch headers;
    heap_watch heap;
    {
        const array_ptr array(creator.make(args));
        ASSERT_NE(array, nullptr);
        expect_header(array.get(), code, args.dims);
        EXPECT_EQ(array->flags & cache_bits, cached ? matrix::flag_cached_header | bin << 14 : 0U);
        EXPECT_EQ(headers.requests(), (std::vector<std::size_t>{sizeof(ndArray_tag)}));
        expect_block(array.get(), heap, cached ? matrix::cache::CacheInfo::getBinSizes()[bin] : judged.bytes,
                     creator.zeroed || holds_references(code));
        if (code < 64U && matrix::internal::is_class(array->class_id)) {
            EXPECT_EQ(matrix::internal::validate(array.get()), "");
        }
    }
    matrix::cache::clear();
    ASSERT_EQ(headers.freed_headers().size(), 1U);
    EXPECT_TRUE(headers.freed_headers().back().is_poisoned());
    EXPECT_EQ(heap.freed().size(), heap.requests().size());
}

void check_all(std::span<const int> classes) {
    for (const creator_row& creator : all_creators()) {
        for (const int class_id : classes) {
            if (creator.class_id != creator_row::given_class && class_id != classes.front()) continue;
            for (const int complexity : complexities) {
                for (const dims_list& dims : shapes) {
                    if (!creator.takes_any_rank && dims.size() != 2) continue;
                    SCOPED_TRACE(std::string(creator.name) + " of " + dims_words(dims) + ", class " +
                                 std::to_string(class_id) + ", complexity " + std::to_string(complexity));
                    check_creator(creator, {dims, class_id, complexity});
                    if (::testing::Test::HasFatalFailure()) return;
                }
            }
        }
    }
}

constexpr int all_classes[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18};

using Creators = NdTest;
using CachedCreators = CacheTest;

TEST_F(Creators, MakeEveryClassInEveryShape) { check_all(all_classes); }

TEST_F(CachedCreators, MakeEveryClassInEveryShape) { check_all(all_classes); }

// The in-process forms take the class that they are given: five bits of it are stored, and what isn't a class has no elements.
TEST_F(Creators, TakeClassesThatDontExist) {
    constexpr int odd[] = {19, 24, 31, 32, 33, 35, 38, 45, 48, 50, 63, 64, 70, 99, 1000, INT_MAX - 31};
    check_all(odd);
}

TEST_F(CachedCreators, TakeClassesThatDontExist) {
    constexpr int odd[] = {19, 31, 35, 38, 48, 63, 70, 99};
    check_all(odd);
}

TEST_F(Creators, SurviveNegativeClasses) {
    for (const creator_row& creator : all_creators()) {
        for (const int class_id : {-1, -26, INT_MIN}) {
            for (const int complexity : {0, 1}) {
                const array_ptr array(creator.make({std::vector<std::size_t>{2, 3}, class_id, complexity}));
                ASSERT_NE(array, nullptr) << creator.name << " " << class_id;
            }
        }
    }
}

TEST_F(Creators, OfNothingByNothingMakeAHeaderOnly) {
    header_watch headers;
    heap_watch heap;
    for (const bool on : {false, true}) {
        const cache_on cache;
        matrix::cache::setEnabled(on);
        const array_ptr array(api::ndCreateDoubleMatrix(0, 0, ndREAL));
        EXPECT_EQ(array->pdata, nullptr);
        EXPECT_EQ(array->flags & cache_bits, 0U);
    }
    EXPECT_EQ(headers.requests().size(), 2U);
    EXPECT_TRUE(heap.requests().empty());
}

TEST_F(CachedCreators, MakeAComplexScalarFromTheFirstBin) {
    heap_watch heap;
    const array_ptr array(api::ndCreateNumericMatrix(1, 1, ndDOUBLE_CLASS, ndCOMPLEX));
    EXPECT_EQ(array->flags & cache_bits, 0x2000U);
    EXPECT_EQ(heap.requests(), (std::vector<heap_request>{{heap_request::slot::calloc, 1, 32}}));
    EXPECT_TRUE(api::ndIsComplex(array.get()));
}

TEST_F(CachedCreators, CacheUpTo2030Doubles) {
    const array_ptr last(api::ndCreateDoubleMatrix(2030, 1, ndREAL));
    const array_ptr beyond(api::ndCreateDoubleMatrix(2031, 1, ndREAL));
    EXPECT_EQ(last->flags & cache_bits, 0x2000U | 17U << 14);
    EXPECT_EQ(beyond->flags & cache_bits, 0U);
}

TEST_F(CachedCreators, TakeTheExampleOfThreeByFourThroughItsLife) {
    const matrix::cache::CacheInfo before;
    ndArray_tag* const array = api::ndCreateDoubleMatrix(3, 4, ndREAL);
    EXPECT_EQ((array->flags & matrix::flag_bin_mask) >> matrix::flag_bin_shift, 2U) << "96 bytes";
    EXPECT_TRUE(is_zero(array->pdata, 96));
    EXPECT_EQ(api::ndGetM(array), 3U);
    EXPECT_EQ(api::ndGetN(array), 4U);
    EXPECT_EQ(api::published::ndGetPr(array), array->pdata);
    api::ndDestroyArray(array);
    const matrix::cache::CacheInfo after;
    EXPECT_EQ(after.bins[2].count, before.bins[2].count + 1);
    const array_ptr again(api::ndCreateDoubleMatrix(4, 3, ndREAL));
    EXPECT_EQ(again.get(), array) << "header and block come again";
}

// Trailing ones are no dimensions, however many there are: nothing is allocated for them.
TEST_F(Creators, OfAHundredThousandOnesMakeAScalar) {
    const dims_list ones(100'000, 1);
    const injection counting({});
    const array_ptr array(api::ndCreateNumericArray(ones.size(), ones.data(), ndDOUBLE_CLASS, ndREAL));
    EXPECT_EQ(counting.points(), 2) << "header and data";
    expect_header(array.get(), NdArrayTypeId{6}, dims_list{1, 1});
    EXPECT_TRUE(array->flags & matrix::flag_scalar_double);
}

TEST_F(Creators, KeepAsManyDimensionsAsCount) {
    dims_list dims(1000, 1);
    dims[600] = 2;
    const array_ptr array(api::ndCreateNumericArray(dims.size(), dims.data(), ndINT8_CLASS, ndREAL));
    EXPECT_EQ(api::ndGetNumberOfDimensions(array.get()), 601U);
    EXPECT_EQ(api::ndGetDimensions(array.get())[600], 2U);
    EXPECT_EQ(api::ndGetNumberOfElements(array.get()), 2U);
}

template <class T>
T first_element(const array_ptr& array) {
    T value;
    std::memcpy(&value, array->pdata, sizeof value);
    return value;
}

TEST_F(Creators, OfScalarsStoreTheValue) {
    for (const double x : {0.0, -1.5, 1e308}) {
        const array_ptr array(api::ndCreateDoubleScalar(x));
        EXPECT_EQ(first_element<double>(array), x);
        expect_header(array.get(), NdArrayTypeId{6}, dims_list{1, 1});
    }
    const array_ptr single(api::ndCreateSingleScalar(2.5F));
    EXPECT_EQ(first_element<float>(single), 2.5F);
    expect_header(single.get(), NdArrayTypeId{7}, dims_list{1, 1});
    for (const bool truth : {false, true}) {
        const array_ptr array(api::ndCreateLogicalScalar(truth));
        EXPECT_EQ(first_element<unsigned char>(array), truth ? 1 : 0);
        expect_header(array.get(), NdArrayTypeId{3}, dims_list{1, 1});
    }
}

TEST_F(CachedCreators, OfScalarsZeroTheWholeBlock) {
    for (int round = 0; round < 2; ++round) {
        const array_ptr array(api::ndCreateSingleScalar(2.5F));
        EXPECT_EQ(first_element<float>(array), 2.5F);
        EXPECT_TRUE(is_zero(static_cast<const char*>(array->pdata) + 4, 28));
        std::memset(array->pdata, 0xA5, 32);
    }
}

TEST_F(Creators, OfNumericScalarsGoByClassAndComplexityOne) {
    for (const int class_id : all_classes) {
        for (const int complexity : complexities) {
            const array_ptr array(api::ndCreateNumericScalar(static_cast<ndClassID>(class_id),
                                                             static_cast<ndComplexity>(complexity)));
            const NdArrayTypeId code = matrix::internal::code_of(class_id, complexity == 1);
            expect_header(array.get(), code, dims_list{1, 1});
            const std::size_t size = matrix::internal::element_size(code);
            ASSERT_EQ(array->pdata == nullptr, size == 0);
            EXPECT_TRUE(is_zero(array->pdata, size));
        }
    }
}

TEST_F(Creators, OfAnUnknownArrayMakeABareHeader) {
    for_each_module_mode([](int) {
        header_watch headers;
        heap_watch heap;
        const array_ptr array(api::ndCreateEmptyUnknownArrayNotOnArrayList());
        expect_header(array.get(), NdArrayTypeId{0}, dims_list{0, 0});
        EXPECT_EQ(headers.requests(), (std::vector<std::size_t>{sizeof(ndArray_tag)}));
        EXPECT_TRUE(heap.requests().empty());
        EXPECT_EQ(array->pdata, nullptr);
        EXPECT_TRUE(array->flags & matrix::flag_inline_dims);
    });
}

TEST_F(Creators, OfASharedCopyOffTheListShare) {
    EXPECT_EQ(api::ndCreateSharedCopyNotOnArrayList(nullptr), nullptr);
    const array_ptr source = matrix::create(dims_list{2, 2}, ndINT8_CLASS, ndREAL);
    const array_ptr copy(api::ndCreateSharedCopyNotOnArrayList(source.get()));
    EXPECT_EQ(copy->pdata, source->pdata);
    EXPECT_EQ(copy->scope, static_cast<unsigned>(ndLOCAL_SCOPE));
}

// A block of unknown bytes must not be taken for references when the array ends.
TEST_F(CachedCreators, WithoutZeroingCanStillBeEnded) {
    for (int round = 0; round < 3; ++round) {
        // Used blocks with bytes that are no pointers, in the bins that follow.
        for (const std::size_t n : {1, 4, 8, 32}) {
            const array_ptr used(api::ndCreateUninitNumericMatrix(n, 8, ndDOUBLE_CLASS, ndREAL));
            std::memset(used->pdata, 0xA5, n * 64);
        }
        for (const creator_row& creator : all_creators()) {
            for (const int class_id : {1, 2, 16, 17, 18}) {
                for (const std::size_t n : {1, 4, 8, 32}) {
                    const array_ptr array(creator.make({dims_list{n, 2}, class_id, 0}));
                    ASSERT_NE(array, nullptr);
                    EXPECT_EQ(matrix::internal::validate(array.get()), "")
                        << creator.name << ", class " << class_id;
                }
            }
        }
    }
}

} // namespace
} // namespace test
