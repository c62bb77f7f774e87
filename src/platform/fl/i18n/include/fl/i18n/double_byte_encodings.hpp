// The encodings whose pairs of bytes often are well-formed UTF-8 by chance: GB18030, GBK, windows-949 and EUC-KR.
#pragma once

#include <string_view>

namespace fl::i18n {

/// The name that has_pairs_like_utf8 knows an encoding by; the encoding itself where it isn't one of these.
const char* usual_encoding_name(const char* encoding) noexcept;

/// Whether an encoding is one of these, by its usual name. Other spellings aren't known here.
bool has_pairs_like_utf8(std::string_view encoding) noexcept;

} // namespace fl::i18n
