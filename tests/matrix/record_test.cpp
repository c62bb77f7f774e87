// The record as an engine reads it: positions and widths of the fields, flag masks, the published positions, the share record,
// and the state in which a header begins.
#include "matrix/class_table.hpp"
#include "support/arr.hpp"
#include "support/classes.hpp"
#include "support/fixture.hpp"

#include <nd/access.hpp>
#include <nd/engine_access.hpp>

#include <cstring>
#include <type_traits>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::engine_access::NdArrayOffsets;

struct layout_row {
    const char* name;
    std::size_t offset, size;
    std::size_t wanted_offset, wanted_size;
};

void expect_layout(std::span<const layout_row> rows) {
    for (const layout_row& row : rows) {
        EXPECT_EQ(row.offset, row.wanted_offset) << row.name;
        EXPECT_EQ(row.size, row.wanted_size) << row.name;
    }
}

TEST(Record, FieldsStandInOrderAndWidth) {
    using tag = ndArray_tag;
    const layout_row rows[] = {
        {"share_record", offsetof(tag, share_record), sizeof(tag::share_record), 0, 8},
        {"next", offsetof(tag, next), sizeof(tag::next), 8, 8},
        {"class_id", offsetof(tag, class_id), sizeof(tag::class_id), 16, 4},
        {"scope", offsetof(tag, scope), sizeof(tag::scope), 20, 4},
        {"ref_count", offsetof(tag, ref_count), sizeof(tag::ref_count), 24, 4},
        {"internal_ref_count", offsetof(tag, internal_ref_count), sizeof(tag::internal_ref_count), 28, 4},
        {"flags", offsetof(tag, flags), sizeof(tag::flags), 32, 4},
        {"m_or_dims", offsetof(tag, m_or_dims), sizeof(tag::m_or_dims), 40, 8},
        {"n_or_ndims", offsetof(tag, n_or_ndims), sizeof(tag::n_or_ndims), 48, 8},
        {"root_record", offsetof(tag, root_record), sizeof(tag::root_record), 56, 8},
        {"parent", offsetof(tag, parent), sizeof(tag::parent), 64, 8},
        {"pdata", offsetof(tag, pdata), sizeof(tag::pdata), 72, 8},
        {"info_a", offsetof(tag, info_a), sizeof(tag::info_a), 80, 8},
        {"info_b", offsetof(tag, info_b), sizeof(tag::info_b), 88, 8},
        {"info_c", offsetof(tag, info_c), sizeof(tag::info_c), 96, 8},
        {"dims32", offsetof(tag, dims32), sizeof(tag::dims32), 104, 8},
    };
    expect_layout(rows);
    EXPECT_EQ(sizeof(ndArray_tag), 112U);
    static_assert(std::is_signed_v<decltype(tag::class_id)>);
    static_assert(std::is_unsigned_v<decltype(tag::scope)> && std::is_unsigned_v<decltype(tag::ref_count)> &&
                  std::is_unsigned_v<decltype(tag::internal_ref_count)> &&
                  std::is_unsigned_v<decltype(tag::flags)>);
}

TEST(Record, IsAPlainStructure) {
    static_assert(std::is_standard_layout_v<ndArray_tag>);
    static_assert(!std::is_polymorphic_v<ndArray_tag>);
    static_assert(std::is_trivially_destructible_v<ndArray_tag>);
    static_assert(!std::is_copy_constructible_v<ndArray_tag> &&
                  !std::is_default_constructible_v<ndArray_tag>);
    // Owner counts are plain words: the engine adds to internal_ref_count through its position.
    static_assert(std::is_same_v<decltype(ndArray_tag::ref_count), std::uint32_t>);
    static_assert(std::is_same_v<decltype(ndArray_tag::internal_ref_count), std::uint32_t>);
}

TEST(Record, ShareRecordHasItsFieldsInOrder) {
    using record = share_record;
    const layout_row rows[] = {
        {"count", offsetof(record, count), sizeof(record::count), 0, 4},
        {"lock", offsetof(record, lock), sizeof(record::lock), 4, 4},
        {"scData", offsetof(record, scData), sizeof(record::scData), 8, 8},
        {"sharers", offsetof(record, sharers), sizeof(record::sharers), 16, 8},
        {"deleter", offsetof(record, deleter), sizeof(record::deleter), 24, 8},
    };
    expect_layout(rows);
    EXPECT_EQ(sizeof(record), 32U);
    const record fresh;
    EXPECT_EQ(fresh.count.load(), 1U);
    EXPECT_EQ(fresh.lock.load(), 0U);
    EXPECT_EQ(fresh.scData, nullptr);
    EXPECT_EQ(fresh.sharers, nullptr);
    EXPECT_EQ(fresh.deleter, nullptr);
}

TEST(Record, FlagMasksAreTheWholeWord) {
    struct {
        std::uint32_t flag, wanted;
    } constexpr rows[] = {
        {matrix::flag_scalar_double, 0x1},
        {matrix::flag_share_data_private, 0x2},
        {matrix::flag_empty_square_bracket, 0x4},
        {matrix::flag_from_global_workspace, 0x8},
        {matrix::flag_sparse, 0x10},
        {matrix::flag_colon_object, 0x20},
        {matrix::flag_data_private, 0x40},
        {matrix::flag_numeric, 0x80},
        {matrix::flag_indexing_opaque, 0x100},
        {matrix::flag_reusable, 0x200},
        {matrix::flag_capacity_tracked, 0x400},
        {matrix::flag_complex, 0x800},
        {matrix::flag_shared_data, 0x1000},
        {matrix::flag_cached_header, 0x2000},
        {matrix::flag_bin_mask, 0x7C000},
        {matrix::flag_inline_dims, 0x80000},
        {matrix::flag_single_threaded_sharing, 0x100000},
        {matrix::flag_on_collection_list, 0x200000},
        {matrix::flag_user_mask, 0xFF000000},
    };
    std::uint32_t all = 0;
    for (const auto& row : rows) {
        EXPECT_EQ(row.flag, row.wanted);
        EXPECT_EQ(all & row.flag, 0U) << "a bit with two names";
        all |= row.flag;
    }
    EXPECT_EQ(~all, 0xC00000U) << "bits 22 and 23 have no name";
    EXPECT_EQ(matrix::flag_bin_shift, 14U);
    EXPECT_EQ(matrix::flag_user_shift, 24U);
    EXPECT_EQ(~matrix::flags_lost_by_copy, 0xFFD809B9U);
    EXPECT_EQ(std::uint32_t{matrix::flags_complex_numeric}, 0x880U);
}

TEST(Record, ScopeAndComplexityValues) {
    EXPECT_EQ(ndREAL, 0);
    EXPECT_EQ(ndCOMPLEX, 1);
    const ndVariableScope scopes[] = {ndLOCAL_SCOPE,    ndLOCAL_STATIC_SCOPE, ndGLOBAL_SCOPE,
                                      ndMEMBER_SCOPE,   ndTEMPORARY_SCOPE,    ndPERSISTENT_SCOPE,
                                      ndPROPERTY_SCOPE, ndUNKNOWN_SCOPE};
    for (std::uint32_t i = 0; i < std::size(scopes); ++i) EXPECT_EQ(std::uint32_t{scopes[i]}, i);
}

TEST(Record, PublishedPositionsComeInOrder) {
    const NdArrayOffsets published;
    std::uint64_t words[11];
    static_assert(offsetof(NdArrayOffsets, masks) == sizeof words);
    std::memcpy(words, &published, sizeof words);
    const std::uint64_t wanted[] = {72, 0, 20, 24, 28, 32, 56, 40, 48, 40, 48};
    for (std::size_t i = 0; i < std::size(wanted); ++i) EXPECT_EQ(words[i], wanted[i]) << "word " << i;

    const std::uint32_t masks[] = {0x1,   0x2,   0x4,   0x8,   0x10,   0x20,   0x40,    0x80,
                                   0x100, 0x200, 0x400, 0x800, 0x1000, 0x2000, 0x80000, 0x100000};
    ASSERT_EQ(published.masks.size(), std::size(masks));
    for (std::size_t i = 0; i < std::size(masks); ++i)
        EXPECT_EQ(published.masks[i], masks[i]) << "mask " << i;
}

TEST(Record, SinglePositionsAreThoseOfTheRecord) {
    EXPECT_EQ(api::ndGetPdataOffset(), 72U);
    EXPECT_EQ(api::ndGetControlBlockOffset(), 0U);
    EXPECT_EQ(api::ndGetScopeOffset(), 20U);
    EXPECT_EQ(api::ndGetReferenceCountOffset(), 24U);
    EXPECT_EQ(api::ndGetDimMOffset(), 40U);
    EXPECT_EQ(api::ndGetDimNOffset(), 48U);
}

TEST(Record, AnEngineReadsAnArrayByThePublishedPositions) {
    const auto array = arr("double 2x3", {1, 2, 3, 4, 5, 6});
    const auto* bytes = reinterpret_cast<const std::byte*>(array.get());
    const NdArrayOffsets at;
    const auto word = [&](std::uint64_t offset) {
        std::uint64_t value = 0;
        std::memcpy(&value, bytes + offset, sizeof value);
        return value;
    };
    EXPECT_EQ(word(at.first_dims[0]), 2U);
    EXPECT_EQ(word(at.second_dims[1]), 3U);
    EXPECT_EQ(word(at.pdata), reinterpret_cast<std::uint64_t>(array->pdata));
    EXPECT_EQ(static_cast<const double*>(array->pdata)[4], 5.0);
    EXPECT_NE(static_cast<std::uint32_t>(word(at.flags)) & at.masks[7], 0U) << "numeric";
}

using RecordTest = NdTest;

TEST_F(RecordTest, AHeaderBeginsWithOneOwnerAndNothingElse) {
    for (std::uint32_t code = 0; code < 64; ++code) {
        SCOPED_TRACE("code " + std::to_string(code));
        const matrix::array_ptr array = matrix::detail::do_create_numeric(
            std::vector<std::size_t>{0, 3}, matrix::internal::NdArrayTypeId{code});
        const bool complex = code > 31;
        const std::int32_t class_id = static_cast<std::int32_t>(code & 31);
        const bool numeric = class_id >= 6 && class_id <= 15;
        EXPECT_EQ(array->share_record, nullptr);
        EXPECT_EQ(array->next, nullptr);
        EXPECT_EQ(array->class_id, class_id);
        EXPECT_EQ(array->scope, 0U);
        EXPECT_EQ(array->ref_count, 1U);
        EXPECT_EQ(array->internal_ref_count, 0U);
        EXPECT_EQ(array->flags, 0x80000U | (complex ? 0x800U : 0U) | (numeric ? 0x80U : 0U));
        EXPECT_EQ(array->m_or_dims, 0U);
        EXPECT_EQ(array->n_or_ndims, 3U);
        EXPECT_EQ(array->root_record, nullptr);
        EXPECT_EQ(array->parent, nullptr);
        EXPECT_EQ(array->pdata, nullptr);
        EXPECT_EQ(array->info_a, 0U);
        EXPECT_EQ(array->info_b, 0U);
        EXPECT_EQ(array->info_c, 0U);
        EXPECT_EQ(array->dims32, nullptr);
    }
}

TEST_F(RecordTest, AShareRecordAppearsWithTheFirstShareOrDeleter) {
    const auto array = arr("int8 1x3", {1, 2, 3});
    EXPECT_EQ(array->share_record, nullptr);
    const auto copy = matrix::detail::do_shared_copy(array.get());
    ASSERT_NE(array->share_record, nullptr);
    EXPECT_EQ(array->share_record, copy->share_record);
    EXPECT_EQ(array->share_record->count.load(), 2U);

    const auto other = arr("int8 1x3", {1, 2, 3});
    other->setCustomDeleter(nullptr);
    ASSERT_NE(other->share_record, nullptr);
    EXPECT_EQ(other->share_record->count.load(), 1U);
}

} // namespace
} // namespace test
