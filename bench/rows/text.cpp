// Char rows from UTF-8, with their end, and the text of char rows as C strings, with theirs: ASCII, and text of which every eighth
// character is another.
#include "rows/rows.hpp"

#include "harness/meters.hpp"
#include "limits/limits.h"

#include <nd/nd.h>

#include <memory>
#include <string>
#include <string_view>

namespace bench {
namespace {

struct length {
    const char* name;
    std::size_t bytes;
    bool ascii;
};

constexpr length lengths[] = {{"20B-ascii", 20, true},
                              {"1000B-ascii", 1000, true},
                              {"1MB-ascii", 1000000, true},
                              {"1000B-mixed", 1000, false},
                              {"1MB-mixed", 1000000, false}};

std::string text_of(const length& size) {
    constexpr std::string_view ascii = "The quick brown fox jumps over the lazy dog. ";
    constexpr std::string_view mixed =
        "Stra\u00DFe am Meer, \u6D77\u8FBA nearby, \u20AC 25.50, M\u00F6we \U0001F426 high ";
    const std::string_view pattern = size.ascii ? ascii : mixed;
    std::string text;
    while (text.size() + pattern.size() <= size.bytes) text += pattern;
    return text + std::string(size.bytes - text.size(), '.');
}

// A char row of libnd, which both sides read.
class char_row {
public:
    explicit char_row(const char* text) : array_(ndCreateString(text)) {}
    ~char_row() { ndDestroyArray(array_); }
    char_row(const char_row&) = delete;
    char_row& operator=(const char_row&) = delete;

    const ndArray_tag* array() const noexcept { return array_; }
    const char16_t* units() const noexcept { return static_cast<const char16_t*>(ndGetData(array_)); }
    std::size_t count() const noexcept { return ndGetNumberOfElements(array_); }

private:
    ndArray_tag* array_;
};

row create(const length& size) {
    const auto text = std::make_shared<const std::string>(text_of(size));
    const limit_text limit = limit_text_of(size.ascii);
    const std::size_t bytes = size.bytes * sizeof(char16_t);
    return {.work = "string_create",
            .size = size.name,
            .limit_name = limit.create_name,
            .libnd = timed([=] { ndDestroyArray(ndCreateString(text->c_str())); }),
            .limit = timed([=] { limit_destroy_result(limit.create(text->c_str()), bytes); }),
            .group = "text"};
}

row back(const length& size) {
    const auto subject = std::make_shared<const char_row>(text_of(size).c_str());
    const limit_text limit = limit_text_of(size.ascii);
    return {.work = "string_back",
            .size = size.name,
            .limit_name = limit.back_name,
            .libnd = timed([=] { ndFree(ndArrayToString(subject->array())); }),
            .limit = timed([=] { limit_free_text(limit.back(subject->units(), subject->count())); }),
            .group = "text"};
}

} // namespace

row_list text_rows() {
    row_list rows;
    if (!__builtin_cpu_supports("avx2")) return rows; // the limits are AVX2 code
    for (const length& size : lengths) {
        rows.push_back(create(size));
        rows.push_back(back(size));
    }
    return rows;
}

} // namespace bench
