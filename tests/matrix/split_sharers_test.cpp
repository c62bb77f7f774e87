// A separate view that another header made than the one that reads it: sharers of other lengths, with other spare room, or of another
// class over the same block. And what random programs of sharing and splitting leave in each header.
#include "matrix/process_state.hpp"
#include "matrix/resize.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/sharing.hpp"
#include "matrix/validate.hpp"
#include "support/alloc_sources.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"

#include <nd/access.hpp>
#include <nd/cache.hpp>
#include <nd/interleaved.hpp>
#include <nd/share.hpp>

#include <algorithm>
#include <complex>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::detail::do_deep_copy;
using matrix::detail::do_shared_copy;
using matrix::internal::validate;
using dims_list = std::vector<std::size_t>;

double* reals_of(const array_ptr& array) { return static_cast<double*>(array->get_scData()->real_data); }

// One column more, in a block with spare room.
array_ptr grown(const array_ptr& array) {
    const std::size_t count = array->n_or_ndims;
    const std::size_t from[] = {1, count}, to[] = {1, count + 1};
    matrix::internal::grow_data(array.get(), {from, count, to, count + 1});
    array->set_dimensions(to);
    return do_shared_copy(array.get());
}

array_ptr shorter(const array_ptr& array) {
    array_ptr copy = do_shared_copy(array.get());
    copy->set_dimensions(dims_list{1, 2});
    return copy;
}

struct sharer_row {
    const char* name;
    const char* value;
    array_ptr (*share)(const array_ptr& array);
};
constexpr sharer_row sharers[] = {
    {"no spare room", "double 1x300", grown},
    {"no spare room, complex", "complex double 1x300", grown},
    {"shorter", "double 1x10", shorter},
    {"shorter, complex", "complex double 1x10", shorter},
};

using SplitBySharer = NdTest;

// The parts are as long as the sharer made them, and are told to be.
TEST_F(SplitBySharer, IsSplitAgainAtFullLength) {
    for (const sharer_row& row : sharers) {
        SCOPED_TRACE(row.name);
        const array_ptr a = numbered(row.value);
        const array_ptr b = row.share(a);
        const array_ptr value = do_deep_copy(a.get());
        const bool complex = (a->flags & matrix::flag_complex) != 0;
        ASSERT_TRUE(b->split_data(true));
        ASSERT_TRUE(a->interleave_data());
        const scaffolding* const view = a->get_scData();
        const std::size_t part = sizeof(double) * api::ndGetNumberOfElements(b.get());
        EXPECT_EQ(view->first_size, part);
        EXPECT_EQ(view->second_size, complex ? part : 0);
        ASSERT_TRUE(a->split_data(true));
        const std::size_t last = api::ndGetNumberOfElements(a.get()) - 1;
        EXPECT_EQ(reals_of(a)[last], static_cast<const double*>(a->pdata)[complex ? 2 * last : last]);
        EXPECT_THAT(do_deep_copy(a.get()), EqualsArray(value.get()));
        ASSERT_TRUE(a->interleave_data());
        EXPECT_THAT(a, EqualsArray(value.get()));
        EXPECT_EQ(validate(a.get()), "");
    }
}

// Each of these reads or ends a view, whichever header asks.
struct reader_row {
    const char* name;
    void (*read)(ndArray_tag* array);
};
constexpr reader_row readers[] = {
    {"interleave", [](ndArray_tag* a) { a->interleave_data(); }},
    {"update", [](ndArray_tag* a) { matrix::updateInterleavedData(a); }},
    {"update twice",
     [](ndArray_tag* a) {
         matrix::updateInterleavedData(a);
         matrix::updateInterleavedData(a);
     }},
    {"deep copy", [](ndArray_tag* a) { do_deep_copy(a); }},
    {"split again",
     [](ndArray_tag* a) {
         a->interleave_data();
         a->split_data(true);
     }},
    {"unshare a shared copy", [](ndArray_tag* a) { array_ptr(api::ndUnshare(do_shared_copy(a).release())); }},
};

TEST_F(SplitBySharer, IsWholeWhenTheSharerHasEnded) {
    for (const sharer_row& row : sharers) {
        for (const reader_row& reader : readers) {
            SCOPED_TRACE(row.name + std::string(", ") + reader.name);
            const array_ptr a = numbered(row.value);
            array_ptr b = row.share(a);
            const array_ptr value = do_deep_copy(a.get());
            static_cast<double*>(value->pdata)[0] = 99;
            ASSERT_TRUE(b->split_data(true));
            reals_of(b)[0] = 99;
            b.reset();
            reader.read(a.get());
            EXPECT_THAT(do_deep_copy(a.get()), EqualsArray(value.get()));
            EXPECT_EQ(validate(a.get()), "");
            a->interleave_data();
            EXPECT_THAT(a, EqualsArray(value.get()));
        }
    }
}

// What the block holds is told by the dimensions that the array had; what comes after it is 0.
TEST_F(SplitBySharer, GrowsBehindItsBlock) {
    constexpr struct {
        const char* name;
        void (*grow)(ndArray_tag* array);
    } rows[] = {
        {"set_dimensions",
         [](ndArray_tag* a) {
             a->set_dimensions(dims_list{1, 1000});
         }},
        {"ndSetDimensions",
         [](ndArray_tag* a) {
             const std::size_t dims[] = {1, 1000};
             api::ndSetDimensions(a, dims, 2);
         }},
        {"ndSetN", [](ndArray_tag* a) { api::ndSetN(a, 1000); }},
        {"ndSetM",
         [](ndArray_tag* a) {
             api::ndSetM(a, 1000);
             api::ndSetN(a, 1);
         }},
    };
    for (const auto& row : rows) {
        for (const bool short_sharer : {false, true}) {
            SCOPED_TRACE(row.name);
            const array_ptr a = numbered("double 1x10");
            array_ptr b = short_sharer ? shorter(a) : do_shared_copy(a.get());
            b->split_data(true);
            b.reset();
            row.grow(a.get());
            a->interleave_data();
            const auto* const elements = static_cast<const double*>(a->pdata);
            EXPECT_EQ(elements[9], 10.0);
            EXPECT_EQ(elements[10], 0.0);
            EXPECT_EQ(elements[999], 0.0);
        }
    }
}

TEST_F(SplitBySharer, GetsZerosWhenItIsMarkedComplex) {
    for (const bool short_sharer : {false, true}) {
        const array_ptr a = numbered("double 1x10");
        array_ptr b = short_sharer ? shorter(a) : do_shared_copy(a.get());
        b->split_data(true);
        b.reset();
        api::ndMarkImagData(a.get());
        a->interleave_data();
        const auto* const parts = static_cast<const double*>(a->pdata);
        for (std::size_t i = 0; i < 10; ++i) {
            EXPECT_EQ(parts[2 * i], static_cast<double>(i + 1));
            EXPECT_EQ(parts[2 * i + 1], 0.0);
        }
        EXPECT_EQ(validate(a.get()), "");
    }
}

// ---- another class over the same block

// A complex single and the real double whose block it took, 40 elements each.
struct two_classes {
    array_ptr old = numbered("double 1x40");
    array_ptr fresh;

    two_classes() {
        api::ndSetReusable(old.get(), true);
        ndArray_tag* candidates[] = {old.get()};
        fresh.reset(api::ndCreateNumericMatrixWithReuse(1, 40, ndSINGLE_CLASS, ndCOMPLEX, 1, candidates));
        auto* const parts = static_cast<float*>(fresh->pdata);
        for (std::size_t i = 0; i < 80; ++i) parts[i] = static_cast<float>(i + 1);
    }
};

array_ptr same_bytes(const void* bytes) {
    array_ptr array = numbered("double 1x40");
    std::memcpy(array->pdata, bytes, 40 * sizeof(double));
    return array;
}

TEST_F(SplitBySharer, OfAnotherClassIsWrittenBackInItsOwn) {
    for (const bool fresh_ends : {false, true}) {
        for (const reader_row& reader : readers) {
            SCOPED_TRACE(reader.name);
            two_classes pair;
            ASSERT_EQ(pair.fresh->pdata, pair.old->pdata);
            ASSERT_TRUE(pair.fresh->split_data(false));
            static_cast<float*>(pair.fresh->get_scData()->real_data)[0] = 99;
            float wanted[80];
            for (std::size_t i = 0; i < 80; ++i) wanted[i] = static_cast<float>(i + 1);
            wanted[0] = 99;
            if (fresh_ends) pair.fresh.reset();
            reader.read(pair.old.get());
            EXPECT_THAT(do_deep_copy(pair.old.get()), EqualsArray(same_bytes(wanted).get()));
            EXPECT_EQ(validate(pair.old.get()), "");
            pair.old->interleave_data();
            EXPECT_EQ(std::memcmp(pair.old->pdata, wanted, sizeof wanted), 0);
            if (!fresh_ends) {
                pair.fresh->interleave_data();
                EXPECT_EQ(std::memcmp(pair.fresh->pdata, wanted, sizeof wanted), 0);
            }
        }
    }
}

TEST_F(SplitBySharer, OfAnotherClassStaysWhenTheComplexityChanges) {
    two_classes pair;
    pair.fresh->split_data(false);
    const array_ptr before = same_bytes(pair.fresh->pdata);
    api::ndInflateRealToComplex(pair.old.get());
    api::ndDeflateComplexToReal(pair.old.get());
    EXPECT_THAT(pair.old, EqualsArray(before.get()));
    EXPECT_EQ(static_cast<const float*>(pair.fresh->pdata)[79], 80.0F);
}

// The data that an array has stay when it goes on under another class.
TEST_F(SplitBySharer, UnderAnotherClassHasTheSameBytes) {
    constexpr struct {
        const char* name;
        ndClassID class_id;
        ndComplexity complexity;
    } rows[] = {{"real", ndDOUBLE_CLASS, ndREAL}, {"single", ndSINGLE_CLASS, ndCOMPLEX}};
    for (const auto& row : rows) {
        for (const reader_row& reader : readers) {
            SCOPED_TRACE(row.name + std::string(", ") + reader.name);
            const array_ptr a = numbered("complex double 1x4");
            std::vector<char> bytes(8 * sizeof(double));
            std::memcpy(bytes.data(), a->pdata, bytes.size());
            a->split_data(false);
            a->reset_pdata_untrusted(a->pdata, row.class_id, row.complexity);
            a->set_dimensions(dims_list{1, 8});
            reader.read(a.get());
            a->interleave_data();
            EXPECT_EQ(std::memcmp(a->pdata, bytes.data(), bytes.size()), 0);
            EXPECT_EQ(validate(a.get()), "");
        }
    }
}

// ---- what is looked for below containers

// A cell with two slots that lead to one block, and so on: 2^depth paths lead to the leaf.
array_ptr branching(array_ptr leaf, int depth) {
    for (int i = 0; i < depth; ++i) {
        array_ptr again = do_shared_copy(leaf.get());
        leaf = arr("cell 1x2", std::move(leaf), std::move(again));
    }
    return leaf;
}

TEST_F(SplitBySharer, IsFoundOnceBelowCellsThatShareCells) {
    array_ptr leaf = numbered("complex double 1x2");
    ndArray_tag* const split = leaf.get();
    const array_ptr cell = branching(arr("cell 1x1", std::move(leaf)), 60);
    split->split_data(false);
    static_cast<double*>(split->get_scData()->real_data)[0] = 99;
    const array_ptr copy(api::ndCreateSharedDataCopy(cell.get()));
    EXPECT_EQ(static_cast<const double*>(split->pdata)[0], 99.0);
    EXPECT_FALSE(matrix::detail::isIC(split));
    matrix::switchToInterleaved(cell.get());
    EXPECT_TRUE(matrix::detail::isIC(split));
}

long allocations_of(ndArray_tag* (*share)(const ndArray_tag*), const array_ptr& array) {
    const injection counting({});
    array_ptr(share(array.get())).reset();
    return counting.points();
}

// The shared copy of a block costs what the same costs without looking for views.
TEST_F(SplitBySharer, IsNotLookedForWhereThereIsNone) {
    constexpr auto with_look = [](const ndArray_tag* a) { return api::ndCreateSharedDataCopy(a); };
    constexpr auto without = [](const ndArray_tag* a) { return do_shared_copy(a).release(); };
    const auto cell = [] { return arr("cell 1x2", arr("double", {1}), arr("cell 1x1")); };
    EXPECT_EQ(allocations_of(with_look, cell()), allocations_of(without, cell()));
    const array_ptr elsewhere = numbered("complex double 1x2");
    elsewhere->split_data(false);
    EXPECT_EQ(allocations_of(with_look, numbered("double 1x3")),
              allocations_of(without, numbered("double 1x3")));
    EXPECT_GT(allocations_of(with_look, cell()), allocations_of(without, cell()));
}

// ---- random programs

struct variable {
    array_ptr array;
    std::vector<std::complex<double>> values;
    bool complex;
};

class split_program {
public:
    explicit split_program(unsigned seed) : random_(seed) {}

    void step() {
        if (variables_.empty() || below(12) == 0) return make();
        constexpr void (split_program::*operations[])(variable&) = {
            &split_program::share,   &split_program::share,   &split_program::split,
            &split_program::split,   &split_program::write,   &split_program::interleave,
            &split_program::update,  &split_program::inflate, &split_program::shrink,
            &split_program::deflate, &split_program::grow,    &split_program::end};
        (this->*operations[below(std::size(operations))])(variables_[below(variables_.size())]);
    }

    bool all_are_right() {
        return std::all_of(variables_.begin(), variables_.end(),
                           [](const variable& v) { return is_right(v); });
    }

private:
    std::size_t below(std::size_t limit) { return random_() % limit; }
    double number() { return static_cast<double>(below(100)); }

    static bool is_right(const variable& v) {
        const array_ptr copy = do_deep_copy(v.array.get());
        if (api::ndIsComplex(copy.get()) != v.complex || validate(v.array.get()) != "") return false;
        const auto* const parts = static_cast<const double*>(copy->pdata);
        for (std::size_t i = 0; i < v.values.size(); ++i) {
            const std::complex<double> found =
                v.complex ? std::complex(parts[2 * i], parts[2 * i + 1]) : std::complex(parts[i]);
            if (found != v.values[i]) return false;
        }
        return api::ndGetNumberOfElements(copy.get()) == v.values.size();
    }

    // Large enough now and then for spare room at the next growth.
    void make() {
        const bool complex = below(2) == 0;
        const std::size_t count = below(3) == 0 ? 300 : below(7);
        variable v{
            matrix::create(dims_list{1, count}, ndDOUBLE_CLASS, complex ? ndCOMPLEX : ndREAL), {}, complex};
        auto* const parts = static_cast<double*>(v.array->pdata);
        for (std::size_t i = 0; i < count; ++i) {
            v.values.emplace_back(number(), complex ? number() : 0);
            parts[complex ? 2 * i : i] = v.values[i].real();
            if (complex) parts[2 * i + 1] = v.values[i].imag();
        }
        variables_.push_back(std::move(v));
    }

    void share(variable& v) {
        array_ptr copy(api::ndCreateSharedDataCopy(v.array.get()));
        variables_.push_back({std::move(copy), v.values, v.complex});
    }
    void split(variable& v) { v.array->split_data(below(2) == 0); }
    void interleave(variable& v) { v.array->interleave_data(); }
    void update(variable& v) { matrix::updateInterleavedData(v.array.get()); }
    void unshare(variable& v) { v.array.reset(api::ndUnshare(v.array.release())); }
    void end(variable& v) {
        std::swap(v, variables_.back());
        variables_.pop_back();
    }

    void write(variable& v) {
        if (v.values.empty()) return;
        unshare(v);
        const std::size_t i = below(v.values.size());
        v.values[i].real(number());
        if (!matrix::detail::isIC(v.array.get())) {
            reals_of(v.array)[i] = v.values[i].real();
        } else {
            static_cast<double*>(v.array->pdata)[v.complex ? 2 * i : i] = v.values[i].real();
        }
    }
    void inflate(variable& v) {
        api::ndInflateRealToComplex(v.array.get());
        v.complex = true;
    }
    void deflate(variable& v) {
        api::ndDeflateComplexToReal(v.array.get());
        v.complex = false;
        for (std::complex<double>& value : v.values) value.imag(0);
    }
    void shrink(variable& v) {
        if (v.values.empty()) return;
        v.values.pop_back();
        v.array->set_dimensions(dims_list{1, v.values.size()});
    }
    void grow(variable& v) {
        if (v.values.empty()) return;
        unshare(v);
        const std::size_t count = v.values.size();
        const std::size_t from[] = {1, count}, to[] = {1, count + 1};
        matrix::internal::grow_data(v.array.get(), {from, count, to, count + 1});
        v.array->set_dimensions(to);
        v.values.emplace_back(0);
    }

    std::mt19937 random_;
    std::vector<variable> variables_;
};

TEST_F(SplitBySharer, KeepsItsValueInRandomPrograms) {
    for (const bool cached : {false, true}) {
        const bool before = matrix::cache::isEnabled();
        matrix::cache::setEnabled(cached);
        for (unsigned seed = 0; seed < 400; ++seed) {
            split_program program(seed);
            for (int i = 0; i < 40; ++i) {
                program.step();
                if (i % 8 != 7) continue;
                ASSERT_TRUE(program.all_are_right()) << "seed " << seed << ", step " << i;
            }
        }
        matrix::cache::setEnabled(before);
        matrix::cache::clear();
    }
}

} // namespace
} // namespace test
