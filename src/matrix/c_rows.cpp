// The rows of char matrices as C strings: a table of pointers that a null ends. Blanks and NULs at the end of a row stay behind.
#include "matrix/c_strings.hpp"
#include "matrix/frame.hpp"
#include "matrix/size_check.hpp"
#include "matrix/text_policy.hpp"

#include <nd/memory.hpp>

#include <array>
#include <cstdint>
#include <string>
#include <utility>

namespace matrix::internal {

namespace {

// A table that is being filled from the first row on, and everything that stands in it.
template <class Unit>
class row_table {
public:
    row_table(std::size_t rows, text_allocator allocate, text_release release) : release_(release) {
        checked_element_count(std::array{saturated_sum(rows, 1), std::uint64_t{1}}, sizeof(Unit*));
        rows_ = static_cast<Unit**>(allocate((rows + 1) * sizeof(Unit*)));
        if (rows_ == nullptr) errors::raise<TARVEL::legacy_two_part::nomem>();
        std::fill_n(rows_, rows + 1, nullptr);
        next_ = rows_;
    }
    ~row_table() {
        if (rows_ == nullptr) return;
        for (Unit** row = rows_; row != next_; ++row) release_(*row);
        release_(rows_);
    }
    row_table(const row_table&) = delete;
    row_table& operator=(const row_table&) = delete;

    void add(Unit* row) noexcept { *next_++ = row; }
    Unit** hand_over() noexcept { return std::exchange(rows_, nullptr); }

private:
    text_release release_;
    Unit** rows_;
    Unit** next_;
};

bool is_padding(char16_t unit) noexcept { return unit == u' ' || unit == 0; }

// make(text): the block of one row's text.
template <class Unit, class Make>
Unit** c_rows(const ndArray_tag* array, text_allocator allocate, text_release release, Make&& make) {
    if (!is_char(array)) return nullptr;
    check_text_count(array);
    const std::size_t rows = dims_of(array)[0];
    row_table<Unit> table(rows, allocate, release);
    const std::u16string_view units = text_of(array);
    const std::size_t columns = units.empty() ? 0 : units.size() / rows;
    std::u16string line(columns, u'\0');
    for (std::size_t row = 0; row < rows; ++row) {
        for (std::size_t column = 0; column < columns; ++column) line[column] = units[row + column * rows];
        std::u16string_view text = line;
        while (!text.empty() && is_padding(text.back())) text.remove_suffix(1);
        table.add(make(text));
    }
    return table.hand_over();
}

} // namespace

} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

char16_t** ndCreateUTF16CStrArrayFromMatrix(const ndArray_tag* array, text_allocator allocator,
                                            text_release release) {
    return framed([=] {
        return c_rows<char16_t>(array, allocator, release,
                                [=](std::u16string_view text) { return block_of(text, allocator); });
    });
}

char16_t** ndCharMatrixToStrings_UTF16(const ndArray_tag* array) {
    return ndCreateUTF16CStrArrayFromMatrix(array, &ndMallocEx, &ndFreeEx);
}

unsigned char** ndCharMatrixToStrings_UTF8(const ndArray_tag* array) {
    return framed([=] {
        return c_rows<unsigned char>(array, &ndMallocEx, &ndFreeEx, [](std::u16string_view text) {
            return reinterpret_cast<unsigned char*>(block_of(text, only_utf8.data(), &ndMallocEx));
        });
    });
}

} // namespace matrix::detail::noninlined::nd_array_api
