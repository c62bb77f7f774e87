/*
 * nd/array.hpp: the array record, as the engine reads it.
 *
 * Every value of the language is one ndArray_tag. Field order and widths are a contract: an engine reads class, dimensions
 * and data through the positions that nd/engine_access.hpp publishes, without a call. Header (112 bytes):
 *
 *     OFFSET SIZE FIELD               MEANING
 *          0    8 share_record        control block of the data block's sharers; null until the first share, deleter or split view
 *          8    8 next                link of the free list while the header rests in a cache bin; 0 in a live header
 *         16    4 class_id            ndClassID, 0 to 18; never holds complexity
 *         20    4 scope               ndVariableScope
 *         24    4 ref_count           owners of this header; 1 at creation
 *         28    4 internal_ref_count  owners inside the execution engine, written by it; 0 at creation
 *         32    4 flags               array_flag bits; the top byte belongs to the user
 *         40    8 m_or_dims           inline dims: rows M; else pointer to n_or_ndims dimensions, owned
 *         48    8 n_or_ndims          inline dims: columns N; else the number of dimensions, at least 3
 *         56    8 root_record         containment record or null
 *         64    8 parent              the container that holds this element, kept only while cycle collection is on
 *         72    8 pdata               the elements
 *         80    8 info_a              by class: see below
 *         88    8 info_b
 *         96    8 info_c
 *        104    8 dims32              dimensions narrowed for the 32-bit interface, made when asked for
 *
 *     CLASS            info_a                info_b                         info_c
 *     sparse           ir: row indices       jc: column starts              nzmax: capacity in elements
 *     struct, object   field-name set        its reference-control block    object info (class name, tag index, check sum) or null
 *     opaque           registration          tag index, heterogeneous bit   0
 *     all others       0                     0                              0
 *
 * Ownership: a header lives until ref_count + internal_ref_count owners have let go (matrix::destroyArray). Its data block
 * belongs to the group of headers whose share_record is the same.
 * Threads: a header has no lock and is used by one thread at a time. Different headers over one block may be used by
 * different threads: share_record.count is atomic.
 */
#ifndef ND_ARRAY_HPP
#define ND_ARRAY_HPP

#include <nd/types.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>

struct scaffolding; // separate-complex view of a data block
struct RootRecord;  // containment record
struct sharer_list; // headers in single-threaded sharing

namespace matrix {

/// The bits of ndArray_tag::flags: the complete word.
enum array_flag : std::uint32_t {
    flag_scalar_double = 0x1,      ///< full 1x1 double; sufficient, never necessary: a clear bit says nothing
    flag_share_data_private = 0x2, ///< data private to this array and its shared copies
    flag_empty_square_bracket = 0x4,  ///< the value is the literal empty bracket
    flag_from_global_workspace = 0x8, ///< the value came from the global workspace
    flag_sparse = 0x10,               ///< sparse storage: info_a to info_c are live
    flag_colon_object = 0x20,         ///< a range that stores its operands only
    flag_data_private = 0x40,         ///< the library doesn't own pdata, nor the index vectors, and never frees them
    flag_numeric = 0x80,              ///< the class is numeric: double, single or an integer class
    flag_indexing_opaque = 0x100,     ///< dimensions are computed on demand by the opaque class
    flag_reusable = 0x200,            ///< the data may be taken over; any new reference clears it
    flag_capacity_tracked = 0x400, ///< the block has the size that ndGetCapacity gives for the element count
    flag_complex = 0x800,        ///< elements have an imaginary part; counts only together with flag_numeric
    flag_shared_data = 0x1000,   ///< the share record was joined by a share; a hint, its count is the truth
    flag_cached_header = 0x2000, ///< header and block came from an array-cache bin
    flag_bin_mask = 0x7C000,     ///< which bin, 0 to 17; valid with flag_cached_header
    flag_inline_dims = 0x80000,  ///< two-dimensional, dimensions stand in the header
    flag_single_threaded_sharing = 0x100000, ///< this sharer stands on the record's list
    flag_on_collection_list = 0x200000,      ///< the array is on the cycle collection list
    flag_user_mask = 0xFF000000              ///< one byte that belongs to the user
};
inline constexpr unsigned flag_bin_shift = 14;
inline constexpr unsigned flag_user_shift = 24;

/// What a copied header loses: everything that describes this header's own block, list membership or literal form.
inline constexpr std::uint32_t flags_lost_by_copy =
    flag_share_data_private | flag_empty_square_bracket | flag_data_private | flag_reusable |
    flag_capacity_tracked | flag_shared_data | flag_cached_header | flag_bin_mask | flag_on_collection_list;
static_assert(~flags_lost_by_copy == 0xFFD809B9U);

/// A complex array in the sense of ndIsComplex: the bit alone isn't enough, char and logical arrays may carry it.
inline constexpr std::uint32_t flags_complex_numeric = flag_complex | flag_numeric;
static_assert(flags_complex_numeric == 0x880U);

/// Data that the generic path never frees.
inline constexpr std::uint32_t flags_data_not_owned = flag_data_private | flag_indexing_opaque;
static_assert(flags_data_not_owned == 0x140U);

namespace internal {

/// Class and complexity as one integer: the class, plus 32 when complex.
enum NdArrayTypeId : std::uint32_t {};

/// Whether a new data block is zeroed.
enum class DataInitialization : bool { uninitialized, zeroed };

class header_factory; // the one maker of headers

} // namespace internal
} // namespace matrix

/*
 * The control block of one shared data block: one per group of headers that use the block. 32 bytes, from the header
 * allocator. count never rests at 0: the last sharer that leaves puts 1 back.
 */
struct share_record {
    std::atomic<std::uint32_t> count{1}; ///< headers using the data; shared when above 1
    std::atomic<std::uint32_t> lock{0};  ///< spin lock over scData and sharers: 0 free, 1 held
    scaffolding* scData = nullptr;       ///< separate-complex view or null
    sharer_list* sharers = nullptr;      ///< sharers marked single-threaded, owned, or null
    void (*deleter)(void*) = nullptr;    ///< replaces the free of pdata; null for none
};
static_assert(sizeof(share_record) == 32 && offsetof(share_record, lock) == 4 &&
              offsetof(share_record, scData) == 8 && offsetof(share_record, sharers) == 16 &&
              offsetof(share_record, deleter) == 24);

struct ndArray_tag {
    ::share_record* share_record;
    ndArray_tag* next;
    std::int32_t class_id;
    std::uint32_t scope;
    std::uint32_t ref_count;
    std::uint32_t internal_ref_count;
    std::uint32_t flags;
    std::uint64_t m_or_dims;
    std::uint64_t n_or_ndims;
    RootRecord* root_record;
    ndArray_tag* parent;
    void* pdata;
    std::uint64_t info_a;
    std::uint64_t info_b;
    std::uint64_t info_c;
    void* dims32;

    ndArray_tag(const ndArray_tag&) = delete;
    ndArray_tag& operator=(const ndArray_tag&) = delete;

    /// Replaces the dimensions and leaves the data alone. Trailing dimensions of 1 beyond the second are dropped; no
    /// dimension gives 0x0 and one gives a column. The scalar-double bit follows.
    /// Shape: any number of dimensions; the caller has checked the product. Owner: the values are copied.
    /// While other headers share the data the number of elements stays. Each goes by its own dimensions: a header that says less
    /// makes too short a separate view for all, and when it is the last of a container, elements beyond its dimensions are
    /// never released. Whoever shrinks or grows such an array unshares it first.
    /// Raises std::bad_alloc when a dimension block is needed and can't be had; the array is then unchanged.
    ND_EXPORT void set_dimensions(std::span<const std::size_t> dims);

    /// True when a custom deleter will release pdata. Never creates the share record.
    ND_EXPORT bool hasCustomDeleter() const noexcept;

    /// True when the custom deleter is fn. False whenever there is none, also for a null fn.
    ND_EXPORT bool hasSameCustomDeleter(void (*fn)(void*)) const noexcept;

    /// Makes fn release pdata in place of the library's heap. The share record is created if missing; an array from a cache
    /// bin leaves it (flag_cached_header is cleared), since a bin would keep the block and never ask the deleter.
    /// Raises std::bad_alloc when the record can't be had; the array is then unchanged.
    ND_EXPORT void setCustomDeleter(void (*fn)(void*));

    /// Forgets the custom deleter: pdata goes back to the library's heap.
    ND_EXPORT void nullCustomDeleter() noexcept;

    /// Stores data as pdata, with fn as its deleter; a null fn clears an existing deleter. The old block isn't freed: it stays with
    /// other headers that use it, with its deleter and its separate view. The block that the array has already keeps its
    /// deleter when others use or lent it and fn is null. A sparse array gets index vectors of its own where others have them.
    /// Raises std::bad_alloc when a share record or an index vector can't be had; the array is then unchanged.
    ND_EXPORT void set_pdata_and_deleter(void* data, void (*fn)(void*));

    /// The same for a block that came from an addon author: data also leaves the alloc list, unless the data are private or
    /// a deleter was given.
    ND_EXPORT void set_pdata_untrusted(void* data, void (*fn)(void*));

    /// Gives a full array another block together with another class: data leaves the alloc list, and the old block is released,
    /// by its deleter if it has one; private data and a block that other headers use are left alone. The data that the
    /// array has already stay. complexity counts when it is exactly ndCOMPLEX. The dimensions stay as they are: data
    /// holds that many elements of the class.
    ND_EXPORT void reset_pdata_untrusted(void* data, ndClassID classId, ndComplexity complexity) noexcept;

    /// True when more than one header uses the data block. The record must exist: test flag_shared_data first.
    ND_EXPORT bool is_data_shared_impl() const noexcept;

    /// True when both headers have the same block and nobody else has it. This header's record must exist.
    ND_EXPORT bool is_data_shared_only_with_impl(const ndArray_tag* other) const noexcept;

    /// True when both headers have the same block. This header's record must exist.
    ND_EXPORT bool is_data_shared_with_impl(const ndArray_tag* other) const noexcept;

    /// Marks the header as one whose data stay with one thread, so that its sharers can be reached from it (and copies inherit the
    /// mark), or takes the mark away. Raises std::bad_alloc; the array is then unchanged.
    ND_EXPORT void set_data_sharing_single_threaded(bool flag);

    /// The separate view of the data; null when there is none.
    ND_EXPORT scaffolding* get_scData() const;

    /// Makes the separate view of real and imaginary parts current: it counts in place of pdata from then on. False for an array
    /// that isn't numeric and, without force, for a real one that has no such view. Raises std::bad_alloc.
    ND_EXPORT bool split_data(bool force);

    /// Makes pdata current and ends the split state. False for an array that isn't numeric or has no separate view. Raises
    /// std::bad_alloc; the array is then still split.
    ND_EXPORT bool interleave_data();

    /// Number of fields; 0 for anything but a struct or object with fields.
    ND_EXPORT std::int32_t get_number_of_struct_fields() const noexcept;

    /// The field names of a struct or object in their order, null without fields. They belong to the name set, which lives as
    /// long as the array keeps its fields. Not to be read for another class.
    ND_EXPORT const char* const* get_struct_field_names() const noexcept;

    /// Asks the class of an indexing-opaque array for its dimensions and stores them.
    ND_EXPORT void _complete_opaque_dimensions() const;

    /// The class ID of an opaque or object array, from its class table or its tag index.
    ND_EXPORT ndClassID _get_class_id_non_trivial() const;

private:
    friend class matrix::internal::header_factory;
    ndArray_tag() noexcept = default;
    ND_EXPORT ndArray_tag(matrix::internal::NdArrayTypeId type, std::span<const std::size_t> dims,
                          std::size_t bytes, matrix::internal::DataInitialization init);
};

static_assert(sizeof(void*) == 8, "the record is laid out for 64-bit addresses");
static_assert(sizeof(ndArray_tag) == 112);
static_assert(offsetof(ndArray_tag, share_record) == 0 && offsetof(ndArray_tag, next) == 8 &&
              offsetof(ndArray_tag, class_id) == 16 && offsetof(ndArray_tag, scope) == 20 &&
              offsetof(ndArray_tag, ref_count) == 24 && offsetof(ndArray_tag, internal_ref_count) == 28 &&
              offsetof(ndArray_tag, flags) == 32 && offsetof(ndArray_tag, m_or_dims) == 40 &&
              offsetof(ndArray_tag, n_or_ndims) == 48 && offsetof(ndArray_tag, root_record) == 56 &&
              offsetof(ndArray_tag, parent) == 64 && offsetof(ndArray_tag, pdata) == 72 &&
              offsetof(ndArray_tag, info_a) == 80 && offsetof(ndArray_tag, info_b) == 88 &&
              offsetof(ndArray_tag, info_c) == 96 && offsetof(ndArray_tag, dims32) == 104);

#endif
