// The rules of the reference model, each once and without regard to speed.
#include "model/array_model.hpp"

#include <bit>
#include <cstring>

namespace model {
namespace {

bool is_numeric(ndClassID class_id) { return class_id >= ndDOUBLE_CLASS && class_id <= ndUINT64_CLASS; }

std::string text_of(const dims& shape) {
    std::string text;
    for (const std::size_t dim : shape) text += (text.empty() ? "" : "x") + std::to_string(dim);
    return text;
}

dims dims_of(const ndArray_tag* real) {
    if ((real->flags & matrix::flag_inline_dims) != 0) return {real->m_or_dims, real->n_or_ndims};
    const auto* words = std::bit_cast<const std::size_t*>(real->m_or_dims);
    return {words, words + real->n_or_ndims};
}

std::string text_of(std::int64_t number) { return std::to_string(number); }

// Collects "name: expected, found" where two things differ.
class differences {
public:
    template <class T>
    void compare(const char* name, const T& expected, const T& found) {
        if (expected != found) {
            text_ +=
                std::string(name) + ": expected " + text_of(expected) + ", found " + text_of(found) + "; ";
        }
    }
    const std::string& text() const { return text_; }

private:
    std::string text_;
};

} // namespace

dims stored_dims(dims given) {
    while (given.size() > 2 && given.back() == 1) given.pop_back();
    if (given.empty()) return {0, 0};
    if (given.size() == 1) return {given[0], 1};
    return given;
}

std::size_t count_of(const dims& shape) {
    std::size_t count = 1;
    for (const std::size_t dim : shape) count *= dim;
    return count;
}

std::size_t element_size(ndClassID class_id, bool complex) {
    const std::size_t parts = complex ? 2 : 1;
    switch (class_id) {
    case ndDOUBLE_CLASS:
    case ndINT64_CLASS:
    case ndUINT64_CLASS:
        return 8 * parts;
    case ndSINGLE_CLASS:
    case ndINT32_CLASS:
    case ndUINT32_CLASS:
        return 4 * parts;
    case ndINT16_CLASS:
    case ndUINT16_CLASS:
        return 2 * parts;
    case ndINT8_CLASS:
    case ndUINT8_CLASS:
        return 1 * parts;
    case ndCHAR_CLASS:
        return complex ? 0 : 2;
    case ndLOGICAL_CLASS:
        return complex ? 0 : 1;
    default:
        return 0;
    }
}

void array::set_dimensions(const dims& given) {
    shape = stored_dims(given);
    scalar_double = class_id == ndDOUBLE_CLASS && shape == dims{1, 1};
}

std::uint32_t array::flags() const {
    std::uint32_t bits = user_bits << matrix::flag_user_shift;
    if (scalar_double) bits |= matrix::flag_scalar_double;
    if (is_numeric(class_id)) bits |= matrix::flag_numeric;
    if (complex) bits |= matrix::flag_complex;
    if (reusable) bits |= matrix::flag_reusable;
    if (joined) bits |= matrix::flag_shared_data;
    if (shape.size() == 2) bits |= matrix::flag_inline_dims;
    return bits;
}

std::string array::difference_from(const ndArray_tag* real) const {
    differences found;
    found.compare<std::int32_t>("class", class_id, real->class_id);
    found.compare("flags", flags(), real->flags);
    found.compare("dimensions", shape, dims_of(real));
    found.compare("owners", owners, real->ref_count);
    found.compare("has a block", data != nullptr, real->pdata != nullptr);
    if (joined && real->share_record != nullptr) {
        found.compare("sharers", static_cast<std::uint32_t>(data.use_count()),
                      real->share_record->count.load());
    }
    // A wrong shape or a missing block would send the comparison of elements astray.
    if (!found.text().empty() || data == nullptr) return found.text();
    if (std::memcmp(data->bytes.data(), real->pdata, byte_count()) != 0) return "the elements differ";
    return {};
}

array zeros(ndClassID class_id, bool complex, const dims& given) {
    array made;
    made.class_id = class_id;
    made.complex = complex;
    made.set_dimensions(given);
    if (made.byte_count() != 0)
        made.data = std::make_shared<block>(block{std::vector<std::byte>(made.byte_count())});
    return made;
}

array shared_copy(array& source) {
    if (source.data != nullptr) {
        source.joined = true;
        source.reusable = false;
    }
    array copy = source;
    copy.owners = 1;
    copy.reusable = false;
    if (source.data == nullptr) copy.joined = false;
    return copy;
}

array deep_copy(const array& source) {
    array copy = source;
    copy.owners = 1;
    copy.joined = false;
    copy.reusable = false;
    copy.data = nullptr;
    if (source.data != nullptr && source.byte_count() != 0) {
        const auto* bytes = source.data->bytes.data();
        copy.data = std::make_shared<block>(block{{bytes, bytes + source.byte_count()}});
    }
    return copy;
}

void unshare(array& header) {
    if (header.joined && header.data.use_count() > 1) {
        const array alone = deep_copy(header);
        header.data = alone.data;
    }
    header.joined = false;
}

void move_onto(array& dest, array& src) {
    const unsigned owners = dest.owners;
    dest = src;
    dest.owners = owners;
    dest.reusable = false;
    src = array{};
}

} // namespace model
