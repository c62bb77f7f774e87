/*
 * nd/conversion_errors.hpp: what conversions of text raise. Six kinds, each caught by its own name; none needs the heap to be made and
 * thrown. The functions of nd/text.hpp raise errors with identifiers in their place.
 */
#ifndef ND_CONVERSION_ERRORS_HPP
#define ND_CONVERSION_ERRORS_HPP

#include <nd/types.h>

#include <exception>

namespace fl::i18n {

namespace detail {

/// The kinds have nothing in common but this form.
template <class Kind>
class ND_EXPORT conversion_error : public std::exception {
public:
    /// what: a literal.
    explicit conversion_error(const char* what) noexcept : what_(what) {}
    const char* what() const noexcept override { return what_; }

private:
    const char* what_;
};

} // namespace detail

/// Between an encoding and UTF-16: text that is too long to count, a character that doesn't fit the encoding, anything else (there
/// is no such encoding).
class ND_EXPORT CvtSizeTooLarge : public detail::conversion_error<CvtSizeTooLarge> {
    using conversion_error::conversion_error;
};
class ND_EXPORT CvtInvalidCharacter : public detail::conversion_error<CvtInvalidCharacter> {
    using conversion_error::conversion_error;
};
class ND_EXPORT CvtConversionFailure : public detail::conversion_error<CvtConversionFailure> {
    using conversion_error::conversion_error;
};

/// Questions about characters: text that is too long, and a comparison that failed.
class ND_EXPORT CtypeSizeTooLarge : public detail::conversion_error<CtypeSizeTooLarge> {
    using conversion_error::conversion_error;
};
class ND_EXPORT CtypeStrCompFailure : public detail::conversion_error<CtypeStrCompFailure> {
    using conversion_error::conversion_error;
};

} // namespace fl::i18n

namespace foundation::ustring {

/// A unit that is no character.
class ND_EXPORT CtypeInvalidCharacter : public fl::i18n::detail::conversion_error<CtypeInvalidCharacter> {
    using conversion_error::conversion_error;
};

} // namespace foundation::ustring

#endif
