// The errors of subscripts: identifiers, arguments and words.
#include "indexing/raised_error.hpp"
#include "support/fixture.hpp"

#include <nd/subscripts.hpp>

#include <gmock/gmock.h>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using Korvane::indexing::utilities::BadSubscriptHandler;
using Korvane::indexing::utilities::IndicesType;

using BadSubscripts = NdTest;

constexpr std::size_t dims[] = {3, 4, 5};
constexpr IndicesType numeric = IndicesType::numeric;
constexpr IndicesType logical = IndicesType::logical;
static_assert(static_cast<int>(numeric) == 0 && static_cast<int>(logical) == 1);

BadSubscriptHandler growing(std::size_t nsubs, std::size_t position) {
    return BadSubscriptHandler::InitializeInvalidIndexHandler(nsubs, position);
}
BadSubscriptHandler bounded(std::size_t nsubs, std::size_t position) {
    return BadSubscriptHandler::InitializeIndexExceedsBoundsHandler(nsubs, std::size(dims), dims, position);
}

struct raise_row {
    const char* what;
    void (*raise)(const BadSubscriptHandler& handler);
    const char* without_bounds;
    const char* with_bounds;
};

const raise_row raises[] = {
    {"invalid", [](const BadSubscriptHandler& h) { h.ThrowInvalidIndexError(); },
     "TARVEL:badsubscript badTypeIndices(2, , none, 3)",
     "TARVEL:badsubscript badTypeIndices(2, 3x4x5, none, 3)"},
    {"invalid with its value", [](const BadSubscriptHandler& h) { h.ThrowInvalidIndexError("1.5"); },
     "TARVEL:badsubscript badTypeIndices(2, , 1.5, 3)",
     "TARVEL:badsubscript badTypeIndices(2, 3x4x5, 1.5, 3)"},
    {"too large", [](const BadSubscriptHandler& h) { h.ThrowIndexTooLargeError(); },
     "TARVEL:pmaxsize pmaxsize()", "TARVEL:pmaxsize pmaxsize()"},
    {"exceeds", [](const BadSubscriptHandler& h) { h.ThrowIndexExceedsDimensionsError(numeric); },
     "TARVEL:badsubscript indexExceedsDims(2, , none, 3, numeric)",
     "TARVEL:badsubscript indexExceedsDims(2, 3x4x5, none, 3, numeric)"},
    {"exceeds with its value",
     [](const BadSubscriptHandler& h) { h.ThrowIndexExceedsDimensionsError(logical, "7"); },
     "TARVEL:badsubscript indexExceedsDims(2, , 7, 3, logical)",
     "TARVEL:badsubscript indexExceedsDims(2, 3x4x5, 7, 3, logical)"},
    {"too large or exceeds",
     [](const BadSubscriptHandler& h) { h.ThrowIndexTooLargeOrIndexExceedsDimension(logical); },
     "TARVEL:pmaxsize pmaxsize()", "TARVEL:badsubscript indexExceedsDims(2, 3x4x5, none, 3, logical)"},
    {"too large or exceeds, with its value",
     [](const BadSubscriptHandler& h) { h.ThrowIndexTooLargeOrIndexExceedsDimension(numeric, "9"); },
     "TARVEL:pmaxsize pmaxsize()", "TARVEL:badsubscript indexExceedsDims(2, 3x4x5, 9, 3, numeric)"},
};

TEST_F(BadSubscripts, AreToldByPositionDimensionsAndValue) {
    for (const raise_row& row : raises) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(error_of([&] { row.raise(growing(3, 2)); }), row.without_bounds);
        EXPECT_EQ(error_of([&] { row.raise(bounded(3, 2)); }), row.with_bounds);
    }
}

TEST_F(BadSubscripts, AreCountedOn) {
    BadSubscriptHandler handler = growing(3, 1);
    handler.IncrementSubscript();
    handler.IncrementSubscript();
    EXPECT_EQ(error_of([&] { handler.ThrowInvalidIndexError("0"); }),
              "TARVEL:badsubscript badTypeIndices(3, , 0, 3)");
}

TEST_F(BadSubscripts, KnowWhetherBoundsHold) {
    EXPECT_FALSE(growing(1, 1).IsThrowIndexExceedsDimension());
    EXPECT_TRUE(bounded(1, 1).IsThrowIndexExceedsDimension());
}

TEST_F(BadSubscripts, ReadWell) {
    const auto text_of = [](auto raise) {
        try {
            raise();
        } catch (const std::exception& error) {
            return std::string(error.what());
        }
        return std::string();
    };
    struct {
        std::string text;
        std::string wanted;
    } const rows[] = {
        {text_of([] { growing(3, 2).ThrowInvalidIndexError("1.5"); }),
         "Subscript 2 is 1.5. It must be a positive whole number or a logical value."},
        {text_of([] { growing(1, 1).ThrowInvalidIndexError("0"); }),
         "The subscript is 0. It must be a positive whole number or a logical value."},
        {text_of([] { growing(3, 2).ThrowInvalidIndexError(); }),
         "Subscript 2 must be a positive whole number or a logical value."},
        {text_of([] { bounded(2, 1).ThrowIndexExceedsDimensionsError(numeric, "7"); }),
         "Subscript 1 is 7, beyond the array's dimensions, 3x4x5."},
        {text_of([] { bounded(1, 1).ThrowIndexExceedsDimensionsError(numeric, "61"); }),
         "The subscript is 61, beyond the array's dimensions, 3x4x5."},
        {text_of([] { bounded(2, 2).ThrowIndexExceedsDimensionsError(logical, "7"); }),
         "Subscript 2 is true at position 7, beyond the array's dimensions, 3x4x5."},
        {text_of([] { bounded(2, 2).ThrowIndexExceedsDimensionsError(logical); }),
         "Subscript 2 is beyond the array's dimensions, 3x4x5."},
        {text_of([] { api::ndHandleSubscriptError(ndBAD_INDEX_TYPE); }),
         "A subscript must be a positive whole number or a logical value."},
        {text_of([] { api::ndHandleSubscriptError(ndINDEX_EXCEEDS_DIMENSIONS); }),
         "A subscript is beyond the array's dimensions."},
    };
    for (const auto& row : rows) EXPECT_EQ(row.text, row.wanted);
}

TEST_F(BadSubscripts, AreRaisedByTheirCode) {
    for (const int code : {0, 2, 3, -1})
        EXPECT_EQ(error_of([&] { api::ndHandleSubscriptError(static_cast<ndSubscriptErrorCode>(code)); }),
                  "TARVEL:badsubscript indexExceedsDims(0, , none, 0, numeric)");
    EXPECT_EQ(error_of([] { api::ndHandleSubscriptError(ndBAD_INDEX_TYPE); }),
              "TARVEL:badsubscript badTypeIndices(0, , none, 0)");
}

} // namespace
} // namespace test
