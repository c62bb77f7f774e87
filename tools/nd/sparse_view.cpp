#include "sparse_view.hpp"

#include <nd/nd.h>

#include <algorithm>

namespace nd_host {

sparse_view::sparse_view(const ndArray_tag& array) noexcept
    : array_(array),
      rows_(ndGetM(&array)),
      columns_(ndGetN(&array)),
      rows_of_(ndGetIr(&array)),
      starts_(ndGetJc(&array)),
      read_(reader_for(array.class_id)),
      sound_(fits()) {}

bool sparse_view::fits() const noexcept {
    if (rows_of_ == nullptr || starts_ == nullptr || read_ == nullptr || array_.pdata == nullptr) {
        return false;
    }
    const bool starts_fit =
        starts_[0] == 0 && std::is_sorted(starts_, starts_ + columns_ + 1) && count() <= ndGetNzmax(&array_);
    return starts_fit && std::all_of(rows_of_, rows_of_ + count(), [&](kvIndex row) { return row < rows_; });
}

std::size_t sparse_view::column_of(std::size_t place) const noexcept {
    return static_cast<std::size_t>(std::upper_bound(starts_, starts_ + columns_, place) - starts_) - 1;
}

std::string sparse_view::value_text(std::size_t place, const float_format& format) const {
    if (!ndIsComplex(&array_)) {
        return number_text(read_(array_.pdata, place), format);
    }
    return number_text(read_(array_.pdata, 2 * place), read_(array_.pdata, 2 * place + 1), format);
}

} // namespace nd_host
