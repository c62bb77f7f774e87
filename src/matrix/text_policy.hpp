// How bytes that come without the name of their encoding are read.
//
// They are tried as UTF-8 first, unless KV_DISABLE_UTF8_API says not to. Where the system's encoding is one of those whose
// pairs of bytes often are well-formed UTF-8 by chance, short runs of such characters are taken for what the system would have
// meant; KV_UTF8_ALIAS_EXCEPTIONS lists code points that are believed, KV_UTF8_ALIAS_DISABLE_CHECK believes all. The
// three variables are read once in a process.
#pragma once

#include <atomic>
#include <bitset>
#include <string_view>

namespace matrix::internal {

/// Names that say more than an encoding: well-formed UTF-8 or the end of the process; UTF-8 or else the system's encoding.
inline constexpr std::string_view only_utf8 = "UTF-8";
inline constexpr std::string_view utf8_or_system = "auto";

/// The encoding of text whose caller names none: utf8_or_system, or null for the system's. The first call may be out of memory.
const char* default_text_encoding();

/// Whether well-formed UTF-8 of these units is taken for text in the system's encoding.
bool is_system_text_in_disguise(std::u16string_view units);

struct text_policy {
    static constexpr std::size_t two_byte_end = 0x800; // above the last character that has two bytes in UTF-8

    bool utf8_is_tried = true;
    bool disguise_is_looked_for = true;
    std::bitset<two_byte_end> believed;

    /// The defaults and the environment.
    static text_policy read();
};

/// Null until first asked for. What it points at is never freed.
extern std::atomic<const text_policy*> policy_in_force;

/// Whether default_text_encoding() is known to be utf8_or_system. False as long as nobody has asked.
inline bool utf8_is_known_to_be_tried() noexcept {
    const text_policy* const policy = policy_in_force.load(std::memory_order_acquire);
    return policy != nullptr && policy->utf8_is_tried;
}

} // namespace matrix::internal
