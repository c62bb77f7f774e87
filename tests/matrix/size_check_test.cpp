// The tests of element count and byte size before an array is made, against a reckoning in 128 bits, and the capacity of
// growing blocks.
#include "matrix/process_state.hpp"
#include "matrix/size_oracle.hpp"
#include "support/fixture.hpp"

#include <nd/access.hpp>
#include <nd/messages.hpp>
#include <nd/sizes.hpp>

#include <optional>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using foundation::core::except::IMsgIDException;
using matrix::internal::SizeLimitExceeded;
using dims_list = std::vector<std::size_t>;

// What a call answers: its value or the shown id of what it raised.
struct answer {
    std::optional<std::size_t> value;
    std::string id;

    friend bool operator==(const answer&, const answer&) = default;
};
std::ostream& operator<<(std::ostream& out, const answer& a) {
    return a.value ? out << *a.value : out << a.id;
}

template <class Call>
answer answer_of(Call&& call) {
    try {
        return {call(), ""};
    } catch (const IMsgIDException& error) {
        return {std::nullopt, std::string(error.GetID())};
    }
}

const answer too_large{std::nullopt, "TARVEL:pmaxsize"};
const answer above_limit{std::nullopt, "TARVEL:array:SizeLimitExceeded"};

answer wanted_answer(const judged_size& judged) {
    return judged.says == verdict::fits            ? answer{judged.count, ""}
           : judged.says == verdict::above_ceiling ? too_large
                                                   : above_limit;
}

// The no-throw form: true with the count stored, or false with the place untouched; a null place is allowed.
template <class Call>
void expect_quiet_form(const answer& wanted, Call&& call) {
    constexpr std::size_t untouched = 0x5555'5555;
    std::size_t out = untouched;
    EXPECT_EQ(call(&out), wanted.value.has_value());
    EXPECT_EQ(out, wanted.value.value_or(untouched));
    EXPECT_EQ(call(nullptr), wanted.value.has_value());
}

void expect_element_size_forms(const dims_list& dims, std::size_t size, const answer& wanted) {
    EXPECT_EQ(answer_of([&] { return api::ndCheckDim(dims.data(), dims.size(), size); }), wanted);
    expect_quiet_form(wanted, [&](std::size_t* out) {
        return api::ndCheckDim_nothrow(dims.data(), dims.size(), size, out);
    });
    if (dims.size() != 2) return;
    EXPECT_EQ(answer_of([&] { return api::ndCheckMN(dims[0], dims[1], size); }), wanted);
    expect_quiet_form(wanted,
                      [&](std::size_t* out) { return api::ndCheckMN_nothrow(dims[0], dims[1], size, out); });
}

void expect_class_forms(const dims_list& dims, ndClassID id, ndComplexity complexity, const answer& wanted) {
    EXPECT_EQ(answer_of([&] { return api::ndCheckDim(dims.data(), dims.size(), id, complexity); }), wanted);
    expect_quiet_form(wanted, [&](std::size_t* out) {
        return api::ndCheckDim_nothrow(dims.data(), dims.size(), id, complexity, out);
    });
    if (dims.size() != 2) return;
    EXPECT_EQ(answer_of([&] { return api::ndCheckMN(dims[0], dims[1], id, complexity); }), wanted);
    expect_quiet_form(wanted, [&](std::size_t* out) {
        return api::ndCheckMN_nothrow(dims[0], dims[1], id, complexity, out);
    });
}

void expect_indexing_forms(const dims_list& dims, const answer& wanted) {
    EXPECT_EQ(answer_of([&] { return api::ndCheckDimForIndexing(dims.data(), dims.size()); }), wanted);
    expect_quiet_form(wanted, [&](std::size_t* out) {
        return api::ndCheckDimForIndexing_nothrow(dims.data(), dims.size(), out);
    });
    if (dims.size() != 2) return;
    EXPECT_EQ(answer_of([&] { return api::ndCheckMNForIndexing(dims[0], dims[1]); }), wanted);
    expect_quiet_form(
        wanted, [&](std::size_t* out) { return api::ndCheckMNForIndexing_nothrow(dims[0], dims[1], out); });
}

std::size_t judged_size_of(int id, int complexity) {
    if (id == ndSTRUCT_CLASS) return 0;
    return api::ndGetElementSizeofClassID(static_cast<ndClassID>(id), static_cast<ndComplexity>(complexity));
}

using SizeCheck = NdTest;

TEST_F(SizeCheck, NoDimensionsMeanNoElements) {
    expect_element_size_forms({}, 8, {0, ""});
    expect_class_forms({}, ndDOUBLE_CLASS, ndCOMPLEX, {0, ""});
    expect_indexing_forms({}, {0, ""});
    EXPECT_EQ(api::ndCheckDim(nullptr, 0, std::size_t{8}), 0U);
    EXPECT_EQ(api::ndCheckDimForIndexing(nullptr, 0), 0U);
}

TEST_F(SizeCheck, AZeroBringsASaturatedProductBack) {
    const dims_list dims{std::size_t{1} << 40, std::size_t{1} << 40, 0};
    expect_element_size_forms(dims, 8, {0, ""});
    expect_indexing_forms(dims, {0, ""});
    expect_element_size_forms({std::size_t{1} << 40, std::size_t{1} << 40, 0, 5}, 8, {0, ""});
    expect_element_size_forms({0, ~std::size_t{0}, ~std::size_t{0}}, 16, {0, ""});
}

TEST_F(SizeCheck, ACountOf2To48IsAboveTheCeiling) {
    const dims_list dims{std::size_t{1} << 24, std::size_t{1} << 24};
    expect_element_size_forms(dims, 0, too_large);
    expect_element_size_forms(dims, 1, too_large);
    expect_indexing_forms(dims, too_large);
    expect_indexing_forms({ceiling, 1}, {ceiling, ""});
    expect_element_size_forms({ceiling, 1}, 1, {ceiling, ""});
    expect_element_size_forms({ceiling, 1}, 0, {ceiling, ""});
    expect_element_size_forms({ceiling, 1}, 2, too_large);
    expect_element_size_forms({ceiling / 8, 1}, 8, {ceiling / 8, ""});
    expect_element_size_forms({ceiling / 8 + 1, 1}, 8, too_large);
}

TEST_F(SizeCheck, AStructIsJudgedByItsCountAlone) {
    const dims_list dims{std::size_t{1} << 47};
    EXPECT_EQ(api::ndCheckDim(dims.data(), 1, ndSTRUCT_CLASS, ndREAL), std::size_t{1} << 47);
    expect_class_forms({std::size_t{1} << 47, 1}, ndSTRUCT_CLASS, ndREAL, {std::size_t{1} << 47, ""});
    expect_class_forms({std::size_t{1} << 48, 1}, ndSTRUCT_CLASS, ndREAL, too_large);
    for (const ndClassID id : {ndCELL_CLASS, ndOBJECT_CLASS, ndDOUBLE_CLASS, ndOPAQUE_CLASS}) {
        expect_class_forms({std::size_t{1} << 47, 1}, id, ndREAL, too_large);
    }
    const size_limit_scope limit(std::uint64_t{1} << 20, 100);
    expect_class_forms({std::size_t{1} << 47, 1}, ndSTRUCT_CLASS, ndREAL, {std::size_t{1} << 47, ""});
}

TEST_F(SizeCheck, ComplexityCountsWhenItIsExactlyOne) {
    const std::size_t most = ceiling / 8;
    expect_class_forms({most, 1}, ndDOUBLE_CLASS, ndREAL, {most, ""});
    expect_class_forms({most, 1}, ndDOUBLE_CLASS, ndCOMPLEX, too_large);
    expect_class_forms({most, 1}, ndDOUBLE_CLASS, static_cast<ndComplexity>(2), {most, ""});
    expect_class_forms({most, 1}, ndDOUBLE_CLASS, static_cast<ndComplexity>(-1), {most, ""});
}

TEST_F(SizeCheck, IndexingIsNotHeldToTheUsersLimit) {
    const size_limit_scope limit(1000, 100);
    expect_indexing_forms({1000, 1000}, {1'000'000, ""});
    expect_element_size_forms({1000, 1}, 1, {1000, ""});
    expect_element_size_forms({1001, 1}, 1, above_limit);
    expect_element_size_forms({125, 1}, 8, {125, ""});
    expect_element_size_forms({126, 1}, 8, above_limit);
    expect_element_size_forms({126, 1}, 0, {126, ""});
    expect_element_size_forms({ceiling, 2}, 1, too_large);
}

TEST_F(SizeCheck, AgreesWithAReckoningIn128Bits) {
    constexpr int rounds = 20'000;
    constexpr std::size_t sizes[] = {0, 1, 2, 4, 8, 16, 32, 24, 1000, ceiling, ~std::size_t{0}};
    dims_maker make(1);
    for (const std::uint64_t limit : {std::uint64_t{0}, std::uint64_t{100'000}}) {
        const size_limit_scope scope(100'000, 100, limit != 0);
        for (int i = 0; i < rounds / 2 && !HasFailure(); ++i) {
            const dims_list dims = make.any();
            const std::size_t size = sizes[make.number() % std::size(sizes)];
            const int id = static_cast<int>(make.number() % 24);
            const int complexity = static_cast<int>(make.number() % 3);
            SCOPED_TRACE(dims_words(dims) + " of size " + std::to_string(size) + ", class " +
                         std::to_string(id) + ", complexity " + std::to_string(complexity) + ", limit " +
                         std::to_string(limit));
            expect_element_size_forms(dims, size, wanted_answer(judge(dims, size, limit)));
            expect_class_forms(dims, static_cast<ndClassID>(id), static_cast<ndComplexity>(complexity),
                               wanted_answer(judge(dims, judged_size_of(id, complexity), limit)));
            expect_indexing_forms(dims, wanted_answer(judge(dims, 0)));
        }
    }
}

answer sparse_answer(std::size_t m, std::size_t n, std::size_t nzmax, int id, int complexity) {
    return answer_of([&] {
        return api::ndCheckSparse(m, n, nzmax, static_cast<ndClassID>(id),
                                  static_cast<ndComplexity>(complexity));
    });
}

TEST_F(SizeCheck, OfASparseMatrixCountsElementsAndIndices) {
    constexpr std::size_t all_ones = ~std::size_t{0}, large = std::size_t{1} << 24;
    constexpr std::size_t most =
        (ceiling - 16) / 16; // doubles in one column: 16 bytes each, 16 for its two starts
    struct {
        std::size_t m, n, nzmax;
        int id, complexity;
        answer wanted;
    } const rows[] = {
        {0, 0, 0, ndDOUBLE_CLASS, ndREAL, {0, ""}},
        {3, 4, 5, ndDOUBLE_CLASS, ndREAL, {12, ""}},
        {3, 4, 5, ndLOGICAL_CLASS, ndREAL, {12, ""}},
        {ceiling, 1, 1, ndDOUBLE_CLASS, ndREAL, {ceiling, ""}},
        {large, large, 1, ndDOUBLE_CLASS, ndREAL, too_large}, // the count
        {1, ceiling, 1, ndDOUBLE_CLASS, ndREAL, too_large},   // the column starts
        {1, 1, most, ndDOUBLE_CLASS, ndREAL, {1, ""}},
        {1, 1, most + 1, ndDOUBLE_CLASS, ndREAL, too_large},
        {1, 1, most, ndDOUBLE_CLASS, ndCOMPLEX, too_large},
        {1, 1, all_ones, ndLOGICAL_CLASS, ndREAL, too_large}, // products and sums that pass 2^64
        {1, 1, all_ones / 8, ndDOUBLE_CLASS, ndREAL, too_large},
        {1, 1, all_ones / 16, ndDOUBLE_CLASS, ndREAL, too_large},
        {0, all_ones, 0, ndDOUBLE_CLASS, ndREAL, too_large},
        {0, all_ones - 1, 0, ndDOUBLE_CLASS, ndREAL, too_large},
        {0, all_ones / 8, 0, ndDOUBLE_CLASS, ndREAL, too_large},
        {all_ones, 0, 0, ndDOUBLE_CLASS, ndREAL, {0, ""}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(sparse_answer(row.m, row.n, row.nzmax, row.id, row.complexity), row.wanted)
            << row.m << " x " << row.n << ", " << row.nzmax << " elements of class " << row.id;
    }
}

TEST_F(SizeCheck, OfASparseMatrixIsHeldToTheUsersLimit) {
    const size_limit_scope limit(1000, 100); // 60 doubles and their indices, and the starts of 4 columns
    EXPECT_EQ(sparse_answer(1'000'000, 4, 60, ndDOUBLE_CLASS, ndREAL), (answer{4'000'000, ""}));
    EXPECT_EQ(sparse_answer(1'000'000, 4, 60, ndDOUBLE_CLASS, ndCOMPLEX), above_limit);
    EXPECT_EQ(sparse_answer(1, 124, 0, ndDOUBLE_CLASS, ndREAL), (answer{124, ""}));
    EXPECT_EQ(sparse_answer(1, 125, 0, ndDOUBLE_CLASS, ndREAL), above_limit);
    try {
        api::ndCheckSparse(7, 4, std::size_t{1} << 27, ndDOUBLE_CLASS, ndREAL);
        FAIL() << "accepted";
    } catch (const SizeLimitExceeded& error) {
        const auto& arguments = error.GetMsgIDObj().arguments();
        EXPECT_EQ(std::get<std::string>(arguments[0]), "7x4");
        EXPECT_EQ(std::get<std::string>(arguments[1]), "2.0GB");
    }
}

TEST_F(SizeCheck, OfASparseMatrixAgreesWithAReckoningIn128Bits) {
    constexpr int rounds = 20'000;
    constexpr int ids[] = {ndLOGICAL_CLASS, ndDOUBLE_CLASS, ndSINGLE_CLASS};
    dims_maker make(3);
    for (const std::uint64_t limit : {std::uint64_t{0}, std::uint64_t{100'000}}) {
        const size_limit_scope scope(100'000, 100, limit != 0);
        for (int i = 0; i < rounds / 2 && !HasFailure(); ++i) {
            const std::size_t m = make.one(), n = make.one(), nzmax = make.one();
            const int id = ids[make.number() % std::size(ids)];
            const int complexity = id == ndLOGICAL_CLASS ? 0 : static_cast<int>(make.number() % 2);
            const judged_size judged = judge_sparse(m, n, nzmax, judged_size_of(id, complexity), limit);
            EXPECT_EQ(sparse_answer(m, n, nzmax, id, complexity), wanted_answer(judged))
                << m << " x " << n << ", " << nzmax << " elements of class " << id << ", complexity "
                << complexity << ", limit " << limit;
        }
    }
}

TEST_F(SizeCheck, TooLargeIsTheLegacyErrorWithoutArguments) {
    try {
        api::ndCheckMN(std::size_t{1} << 40, std::size_t{1} << 40, std::size_t{1});
        FAIL() << "accepted";
    } catch (const foundation::core::except::Exception<TARVEL::legacy_two_part::pmaxsize>& error) {
        EXPECT_EQ(error.GetMsgIDObj().catalog(), "TARVEL:legacy_two_part");
        EXPECT_EQ(error.GetMsgIDObj().key(), "pmaxsize");
        EXPECT_TRUE(error.GetMsgIDObj().arguments().empty());
    }
}

std::uint64_t wanted_capacity(std::uint64_t n) {
    constexpr std::uint64_t step = 0x8000000;
    if (n < 257 || n > 0xFFFFFFFFFFFE) return n;
    wide capacity = 1;
    if (n <= 0x7FFFFFF) {
        while (capacity < n) capacity *= 2;
    } else {
        capacity = (wide{n} + step - 1) / step * step;
    }
    return capacity > ceiling ? ceiling : static_cast<std::uint64_t>(capacity);
}

TEST(Capacity, PublishedExamples) {
    EXPECT_EQ(api::ndGetCapacity(0), 0U);
    EXPECT_EQ(api::ndGetCapacity(256), 256U);
    EXPECT_EQ(api::ndGetCapacity(257), 512U);
    EXPECT_EQ(api::ndGetCapacity(0x7FFFFFF), 0x8000000U);
    EXPECT_EQ(api::ndGetCapacity(0x8000000), 0x8000000U);
    EXPECT_EQ(api::ndGetCapacity(0x8000001), 0x10000000U);
    EXPECT_EQ(api::ndGetCapacity(0x10000000), 0x10000000U);
}

TEST(Capacity, EndsAtTheCeiling) {
    EXPECT_EQ(api::ndGetCapacity(0xFFFFF8000000), 0xFFFFF8000000U);
    EXPECT_EQ(api::ndGetCapacity(0xFFFFF8000001), ceiling) << "the next multiple would be 2^48";
    EXPECT_EQ(api::ndGetCapacity(0xFFFFFFFFFFFE), ceiling);
    EXPECT_EQ(api::ndGetCapacity(ceiling), ceiling);
    EXPECT_EQ(api::ndGetCapacity(ceiling + 1), ceiling + 1);
    EXPECT_EQ(api::ndGetCapacity(~std::uint64_t{0}), ~std::uint64_t{0});
}

TEST(Capacity, AgreesWithAReckoningIn128Bits) {
    const auto check = [](std::uint64_t n) {
        const std::uint64_t capacity = api::ndGetCapacity(n);
        ASSERT_EQ(capacity, wanted_capacity(n)) << n;
        ASSERT_GE(capacity, n);
        ASSERT_EQ(api::ndGetCapacity(capacity), capacity) << "a capacity is its own capacity: " << n;
    };
    for (std::uint64_t n = 0; n < 5000; ++n) check(n);
    for (int shift = 8; shift < 64; ++shift) {
        for (std::uint64_t d = 0; d < 5; ++d) check((std::uint64_t{1} << shift) + d - 2);
    }
    dims_maker make(2);
    for (int i = 0; i < 100'000; ++i) check(make.number() >> (make.number() % 64));
    for (std::uint64_t n = 0x8000000; n < 0x1000000000000; n += std::uint64_t{0x8000000} * 997) {
        for (std::uint64_t d = 0; d < 3; ++d) check(n + d - 1);
    }
}

} // namespace
} // namespace test
