// The table of these encodings, and the search in it.
#include <fl/i18n/double_byte_encodings.hpp>

#include <unicode/ucnv.h>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace fl::i18n {
namespace {

struct double_byte_encoding {
    const char* usual_name;
    std::string_view family; // how the names of its other versions begin; empty where it has none
};

// EUC-KR has a name of ICU's own, with a version in it.
constexpr double_byte_encoding encodings[] = {
    {"gb18030", {}}, {"GBK", {}}, {"windows-949", {}}, {"ibm-970_P110_P110-2006_U2", "ibm-970_"}};

// Null where ICU has no such encoding.
const char* canonical_name(const char* encoding) noexcept {
    UErrorCode status = U_ZERO_ERROR;
    return ucnv_getAlias(encoding, 0, &status);
}

} // namespace

// A locale may spell each in several ways ("GB18030", "gbk", "eucKR").
const char* usual_encoding_name(const char* encoding) noexcept {
    const char* const canonical = canonical_name(encoding);
    if (canonical == nullptr) return encoding;
    for (const double_byte_encoding& one : encodings) {
        const char* const other = canonical_name(one.usual_name);
        if (other != nullptr && std::strcmp(canonical, other) == 0) return one.usual_name;
    }
    return encoding;
}

bool has_pairs_like_utf8(std::string_view encoding) noexcept {
    return std::any_of(std::begin(encodings), std::end(encodings), [=](const double_byte_encoding& one) {
        return encoding == one.usual_name || (!one.family.empty() && encoding.starts_with(one.family));
    });
}

} // namespace fl::i18n
