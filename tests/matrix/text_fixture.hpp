// The fixture of tests of text, and what stands around it: the system's encoding, and the variables that say how bytes are read.
#pragma once

#include "matrix/test_hooks.hpp"
#include "platform/environment.hpp"
#include "support/fixture.hpp"
#include "support/system_encoding.hpp"

#include <nd/access.hpp>
#include <nd/create.hpp>
#include <nd/memory.hpp>
#include <nd/text.hpp>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace test {

namespace api = matrix::detail::noninlined::nd_array_api;
using dims_list = std::vector<std::size_t>;

/// A variable of the environment that says how text is read, while it lives.
class text_variable {
public:
    text_variable(const char* name, const std::string& value) : variable_(name, value) {
        matrix::internal::test_hooks::reset_text_policy();
    }
    ~text_variable() { matrix::internal::test_hooks::reset_text_policy(); }
    text_variable(const text_variable&) = delete;
    text_variable& operator=(const text_variable&) = delete;

private:
    environment_variable variable_;
};

/// A test in a UTF-8 system.
class TextTest : public NdTest {
protected:
    system_encoding encoding_{"UTF-8"};
};

inline matrix::array_ptr own(ndArray_tag* array) { return matrix::array_ptr(array); }

/// A block that ndMallocEx gave.
template <class T>
using text_block = std::unique_ptr<T, void (*)(void*)>;
template <class T>
text_block<T> own(T* block) {
    return {block, &api::ndFreeEx};
}

inline dims_list dims_in(const ndArray_tag* array) {
    const std::size_t* const dims = api::ndGetDimensions(array);
    return {dims, dims + api::ndGetNumberOfDimensions(array)};
}

/// Bytes as the functions for UTF-8 take them.
inline const unsigned char* utf8(const char* text) { return reinterpret_cast<const unsigned char*>(text); }

} // namespace test
