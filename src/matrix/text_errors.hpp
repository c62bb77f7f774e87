// Failed conversions of text, as errors of this library.
#pragma once

namespace matrix::internal {

/// Called where an exception is in flight: text that is too long raises TARVEL:pmaxsize, what doesn't convert TARVEL:invalidInput;
/// anything else goes on as it is.
[[noreturn]] void char_exception_dispatcher();

/// body(), with its failures translated.
template <class Body>
auto converting(Body&& body) -> decltype(body()) {
    try {
        return body();
    } catch (...) {
        char_exception_dispatcher();
    }
}

} // namespace matrix::internal
