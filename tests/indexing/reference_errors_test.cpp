// References that can't be: what they raise, with which arguments, and that the source stays as it was.
#include "indexing/reference.hpp"
#include "indexing/reference_support.hpp"
#include "support/alloc_sources.hpp"
#include "support/array_matchers.hpp"
#include "support/fixture.hpp"
#include "support/snapshot.hpp"
#include "support/sparse_arr.hpp"

#include <nd/sizes.hpp>

#include <cmath>

namespace test {
namespace {

using matrix::array_ptr;
using ReferenceErrors = NdTest;

struct bad_reference {
    const char* source;
    subscripts (*subs)();
    const char* error;
};

array_ptr one(double x) { return arr("double", {x}); }

const bad_reference bad_references[] = {
    {"1x5", [] { return subs_of(one(2), one(1)); },
     "TARVEL:badsubscript indexExceedsDims(1, 1x5, 2, 2, numeric)"},
    {"3x4", [] { return subs_of(one(13)); }, "TARVEL:badsubscript indexExceedsDims(1, 3x4, 13, 1, numeric)"},
    {"3x4", [] { return subs_of(one(4), colon()); },
     "TARVEL:badsubscript indexExceedsDims(1, 3x4, 4, 2, numeric)"},
    {"3x4", [] { return subs_of(colon(), one(5)); },
     "TARVEL:badsubscript indexExceedsDims(2, 3x4, 5, 2, numeric)"},
    {"3x4", [] { return subs_of(one(1), one(1), one(1), one(2)); },
     "TARVEL:badsubscript indexExceedsDims(4, 3x4, 2, 4, numeric)"},
    {"3x4", [] { return subs_of(range(1, 1, 4), one(9)); },
     "TARVEL:badsubscript indexExceedsDims(1, 3x4, 4, 2, numeric)"},
    {"3x4", [] { return subs_of(range(13, -1, 1)); },
     "TARVEL:badsubscript indexExceedsDims(1, 3x4, 13, 1, numeric)"},
    {"3x4",
     [] {
         return subs_of(arr("int64 1x3", {1, 99, 2}));
     },
     "TARVEL:badsubscript indexExceedsDims(1, 3x4, 99, 1, numeric)"},
    {"3x4",
     [] {
         return subs_of(arr("logical 1x13", {1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}));
     },
     "TARVEL:badsubscript indexExceedsDims(1, 3x4, 13, 1, logical)"},
    {"3x4",
     [] {
         return subs_of(colon(), arr("logical 1x5", {0, 0, 0, 0, 1}));
     },
     "TARVEL:badsubscript indexExceedsDims(2, 3x4, 5, 2, logical)"},
    {"0x0", [] { return subs_of(one(1)); }, "TARVEL:badsubscript indexExceedsDims(1, 0x0, 1, 1, numeric)"},
    {"2x3x4", [] { return subs_of(one(1), one(13)); },
     "TARVEL:badsubscript indexExceedsDims(2, 2x3x4, 13, 2, numeric)"},
    {"3x4", [] { return subs_of(one(0)); }, "TARVEL:badsubscript badTypeIndices(1, 3x4, 0, 1)"},
    {"3x4", [] { return subs_of(one(1.5)); }, "TARVEL:badsubscript badTypeIndices(1, 3x4, 1.5, 1)"},
    {"3x4", [] { return subs_of(one(-1), one(9)); }, "TARVEL:badsubscript badTypeIndices(1, 3x4, -1, 2)"},
    {"3x4", [] { return subs_of(colon(), one(std::nan(""))); },
     "TARVEL:badsubscript badTypeIndices(2, 3x4, NaN, 2)"},
    {"3x4",
     [] {
         return subs_of(arr("double 1x2", {1, 2.5}));
     },
     "TARVEL:badsubscript badTypeIndices(1, 3x4, 2.5, 1)"},
    {"3x4",
     [] {
         return subs_of(arr("int64 1x2", {1, 0}));
     },
     "TARVEL:badsubscript badTypeIndices(1, 3x4, 0, 1)"},
    {"3x4",
     [] {
         return subs_of(arr("int8 1x2", {1, -3}));
     },
     "TARVEL:badsubscript badTypeIndices(1, 3x4, -3, 1)"},
    {"3x4",
     [] {
         return subs_of(arr("complex double", {{1, 0}}));
     },
     "TARVEL:badsubscript badTypeIndices(1, 3x4, 1+0i, 1)"},
    {"3x4", [] { return subs_of(range(0, 1, 3)); }, "TARVEL:badsubscript badTypeIndices(1, 3x4, 0, 1)"},
    {"3x4", [] { return subs_of(one(1e15)); },
     "TARVEL:badsubscript indexExceedsDims(1, 3x4, 1e+15, 1, numeric)"},
    {"3x4", [] { return subs_of(range(1, 1, INFINITY)); },
     "TARVEL:colon:nonFiniteEndpoint nonFiniteEndpoint()"},
    {"3x4", [] { return subscripts(); }, "TARVEL:nindexIsZero nindexIsZero()"},
};

TEST_F(ReferenceErrors, AreRaisedWithTheSubscriptAndTheDimensions) {
    for (const bad_reference& bad : bad_references) {
        for (const char* const class_name : {"double ", "cell ", "complex int8 "}) {
            const array_ptr x = std::string_view(class_name) == "cell "
                                    ? arr(std::string(class_name) + bad.source)
                                    : numbered(std::string(class_name) + bad.source);
            SCOPED_TRACE(class_name + std::string(bad.source) + ", " + bad.error);
            const snapshot before(x.get());
            const subscripts subs = bad.subs();
            EXPECT_EQ(error_of([&] { referenced(x.get(), subs); }), bad.error);
            EXPECT_EQ(before.difference(), "");
        }
    }
}

TEST_F(ReferenceErrors, DontComeOfSubscriptsThatSelectNothing) {
    const array_ptr x = numbered("double 3x4");
    EXPECT_THAT(at(x, range(100, -1, 200)), EqualsArray(arr("double 1x0")));
    EXPECT_THAT(at(x, colon(), range(100, -1, 200)), EqualsArray(arr("double 3x0")));
    EXPECT_THAT(at(x, colon(), arr("logical 1x99")), EqualsArray(arr("double 3x0")));
    EXPECT_THAT(at(x, arr("double", {1}), arr("double", {1}), arr("double 0x0"), range(7, 1, 6)),
                EqualsArray(arr("double 1x1x0x0")));
    EXPECT_THAT(at(x, arr("logical 1x99")), EqualsArray(arr("double 1x0")));
}

TEST_F(ReferenceErrors, OfAResultThatIsTooLargeComeBeforeItIsMade) {
    const array_ptr x = numbered("double 1x1");
    const array_ptr many = arr("double 1x100000", std::vector<number>(100000, number(1)));
    const ndArray_tag* const subs[] = {many.get(), many.get(), many.get(), many.get()};
    EXPECT_EQ(error_of([&] { matrix::subscriptedReference(*x, subs); }), "TARVEL:pmaxsize pmaxsize()");
    matrix::ArraySizeLimit& limit = matrix::ArraySizeLimit::getInstance();
    limit.setEnabled(true);
    const array_ptr sparse = sparse_arr("double 1099511627776x4", {{0, 0, 1}});
    EXPECT_THROW(at(sparse, colon(), arr("double 1x1", {1}), arr("double 1x2", {1, 1})),
                 matrix::internal::SizeLimitExceeded);
    EXPECT_THAT(at(sparse, arr("double", {1}), arr("double", {1}), arr("double 1x2", {1, 1})),
                EqualsArray(arr("double 1x1x2", {1, 1})))
        << "the source alone is large";
    EXPECT_THROW(matrix::subscriptedReference(*x, std::span(subs).first(2)),
                 matrix::internal::SizeLimitExceeded);
    limit.setEnabled(false);
}

TEST_F(ReferenceErrors, OfAResultBeyondTheUsersLimitAreToldByTheLongWay) {
    const array_ptr x = arr("double 1x1000000");
    const subscripts subs = subs_of(arr("double 1x512", std::vector<number>(512, number(1))), colon());
    matrix::ArraySizeLimit& limit = matrix::ArraySizeLimit::getInstance();
    const std::uint32_t percent = limit.getPercent();
    limit.setPercent(1);
    limit.setEnabled(true);
    EXPECT_EQ(matrix::internal::reference_at_once(x.get(), pointers_of(subs)), nullptr);
    EXPECT_THROW(referenced(x.get(), subs), matrix::internal::SizeLimitExceeded);
    limit.setEnabled(false);
    limit.setPercent(percent);
}

// Where there is no memory for the result the values of the subscript haven't been looked at yet.
TEST_F(ReferenceErrors, OfAValueComeBeforeThoseOfMemory) {
    const array_ptr x = arr("complex double", {{1, 2}});
    for (const double bad : {7.0, 1.5}) {
        const subscripts subs = subs_of(arr("double 1x4", {1, 1, 1, bad}));
        const auto pointers = pointers_of(subs);
        const std::string wanted = error_of([&] { matrix::subscriptedReference(*x, pointers); });
        EXPECT_EQ(wanted.substr(0, 19), "TARVEL:badsubscript");
        std::string raised;
        {
            const injection armed({1});
            raised = error_of([&] { matrix::subscriptedReference(*x, pointers); });
        }
        EXPECT_EQ(raised, wanted);
    }
}

} // namespace
} // namespace test
