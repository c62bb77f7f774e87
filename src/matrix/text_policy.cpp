// Reading the variables, and the test for UTF-8 by chance.
#include "matrix/text_policy.hpp"

#include <fl/i18n/double_byte_encodings.hpp>
#include <fl/i18n/message_catalog.hpp>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <string>

namespace matrix::internal {

std::atomic<const text_policy*> policy_in_force{nullptr};

namespace {

// Characters that people do mix into text of these encodings: the sign of multiplication, and Greek letters of formulas.
constexpr char16_t believed_by_default[] = {215, 916, 952, 956};

constexpr char16_t first_believable = 0xC0;

void add_numbers(std::string_view list, std::bitset<text_policy::two_byte_end>& numbers) {
    constexpr std::string_view separators = " ,;:";
    while (!list.empty()) {
        const std::size_t end = std::min(list.find_first_of(separators), list.size());
        const std::string piece(list.substr(0, end));
        const unsigned long number = std::strtoul(piece.c_str(), nullptr, 0);
        if (number < numbers.size()) numbers.set(number);
        list.remove_prefix(std::min(end + 1, list.size()));
    }
}

const text_policy& policy() {
    if (const text_policy* const known = policy_in_force.load(std::memory_order_acquire)) return *known;
    auto read = std::make_unique<const text_policy>(text_policy::read());
    const text_policy* first = nullptr;
    if (policy_in_force.compare_exchange_strong(first, read.get(), std::memory_order_acq_rel))
        first = read.release();
    return *first;
}

} // namespace

text_policy text_policy::read() {
    text_policy policy;
    if (const char* const value = std::getenv("KV_DISABLE_UTF8_API"))
        policy.utf8_is_tried = std::strtoul(value, nullptr, 0) % 2 == 0;
    policy.disguise_is_looked_for = std::getenv("KV_UTF8_ALIAS_DISABLE_CHECK") == nullptr;
    for (const char16_t unit : believed_by_default) policy.believed.set(unit);
    if (const char* const list = std::getenv("KV_UTF8_ALIAS_EXCEPTIONS")) add_numbers(list, policy.believed);
    return policy;
}

const char* default_text_encoding() { return policy().utf8_is_tried ? utf8_or_system.data() : nullptr; }

bool is_system_text_in_disguise(std::u16string_view units) {
    constexpr std::size_t most = 4; // as many of them don't come about by chance
    constexpr char16_t ascii_end = 0x80;
    if (!policy().disguise_is_looked_for ||
        !fl::i18n::has_pairs_like_utf8(fl::i18n::KvLocale::system().encoding()))
        return false;
    std::array<char16_t, most> outside{};
    std::size_t count = 0;
    for (const char16_t unit : units) {
        if (unit < ascii_end) continue;
        if (count == most) return false;
        outside[count++] = unit;
    }
    return std::any_of(outside.begin(), outside.begin() + count, [](char16_t unit) {
        return unit >= first_believable && unit < text_policy::two_byte_end && !policy().believed[unit];
    });
}

} // namespace matrix::internal
