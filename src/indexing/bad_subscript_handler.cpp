// The errors of subscripts, with the words that tell the user which one it was.
#include "errors/dimension_string.hpp"
#include "errors/raise.hpp"

#include <nd/messages.hpp>
#include <nd/subscripts.hpp>

#include <fl/i18n/message_catalog.hpp>

#include <utility>

namespace Korvane::indexing::utilities {
namespace {

constexpr const char* shown_id = "TARVEL:badsubscript";
constexpr const char* not_told = "none"; // a word that the texts of the messages choose by

const char* word_for(IndicesType type) noexcept {
    return type == IndicesType::logical ? "logical" : "numeric";
}

} // namespace

BadSubscriptHandler BadSubscriptHandler::InitializeInvalidIndexHandler(std::size_t nsubs,
                                                                       std::size_t position) noexcept {
    return {nsubs, position, 0, nullptr, false};
}

BadSubscriptHandler BadSubscriptHandler::InitializeIndexExceedsBoundsHandler(std::size_t nsubs,
                                                                             std::size_t ndims,
                                                                             const std::size_t* dims,
                                                                             std::size_t position) noexcept {
    return {nsubs, position, ndims, dims, true};
}

std::string BadSubscriptHandler::dimensions() const {
    return fl::i18n::codecvt_ustring_to_string(Korvane::engine::CreateDimensionString(ndims_, dims_));
}

void BadSubscriptHandler::ThrowInvalidIndexError() const { ThrowInvalidIndexError(not_told); }

void BadSubscriptHandler::ThrowInvalidIndexError(std::string value) const {
    matrix::errors::raise_as<TARVEL::matrix::badTypeIndices>(shown_id, position_, dimensions(),
                                                             std::move(value), nsubs_);
}

void BadSubscriptHandler::ThrowIndexTooLargeError() const {
    matrix::errors::raise<TARVEL::legacy_two_part::pmaxsize>();
}

void BadSubscriptHandler::ThrowIndexExceedsDimensionsError(IndicesType type) const {
    ThrowIndexExceedsDimensionsError(type, not_told);
}

void BadSubscriptHandler::ThrowIndexExceedsDimensionsError(IndicesType type, std::string value) const {
    matrix::errors::raise_as<TARVEL::matrix::indexExceedsDims>(shown_id, position_, dimensions(),
                                                               std::move(value), nsubs_, word_for(type));
}

void BadSubscriptHandler::ThrowIndexTooLargeOrIndexExceedsDimension(IndicesType type) const {
    ThrowIndexTooLargeOrIndexExceedsDimension(type, not_told);
}

void BadSubscriptHandler::ThrowIndexTooLargeOrIndexExceedsDimension(IndicesType type,
                                                                    std::string value) const {
    if (!with_bounds_) ThrowIndexTooLargeError();
    ThrowIndexExceedsDimensionsError(type, std::move(value));
}

} // namespace Korvane::indexing::utilities

namespace matrix::detail::noninlined::nd_array_api {

using Korvane::indexing::utilities::BadSubscriptHandler;
using Korvane::indexing::utilities::IndicesType;

// Position 0 of no subscripts: the texts say nothing of either.
void ndHandleSubscriptError(ndSubscriptErrorCode code) {
    if (code == ndBAD_INDEX_TYPE)
        BadSubscriptHandler::InitializeInvalidIndexHandler(0, 0).ThrowInvalidIndexError();
    BadSubscriptHandler::InitializeIndexExceedsBoundsHandler(0, 0, nullptr, 0)
        .ThrowIndexExceedsDimensionsError(IndicesType::numeric);
}

} // namespace matrix::detail::noninlined::nd_array_api
