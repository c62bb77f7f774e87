// The last error of an engine: an id, a text and a copy of an array.
//
// The record is made at the first use and owned by the engine's store; a process-wide one stands in where no engine is active.
#include "matrix/engine_object.hpp"

#include <nd/create.hpp>
#include <nd/module.hpp>

namespace matrix {
namespace {

struct last_error_record {
    std::string id;
    std::basic_string<char16_t> text;
    array_ptr array;
};

last_error_record& record() {
    if (auto* kept = internal::engine_object<last_error_record>::find_or_make()) return *kept;
    static auto& without_engine =
        *new last_error_record; // never destroyed: errors are reported at process exit too
    return without_engine;
}

} // namespace

void setLastError(std::string id, std::basic_string<char16_t> text, const ndArray_tag* array) {
    last_error_record& kept = record();
    array_ptr copy = detail::do_deep_copy(array);
    kept.id = std::move(id);
    kept.text = std::move(text);
    kept.array = std::move(copy);
}

std::tuple<const std::string&, const std::basic_string<char16_t>&, const ndArray_tag*> getLastError() {
    const last_error_record& kept = record();
    return {kept.id, kept.text, kept.array.get()};
}

void resetLastError() {
    last_error_record& kept = record();
    kept.id.clear();
    kept.text.clear();
    kept.array.reset();
}

} // namespace matrix
