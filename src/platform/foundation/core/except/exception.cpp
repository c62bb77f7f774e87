// The exception interfaces' destructors, which anchor their tables and type information here, the rule of shown ids,
// and the classes that aren't templates.
#include <foundation/core/except/exception.hpp>

namespace resource_core {

BaseMsgID::~BaseMsgID() = default;

// Arguments are copied by value, not as variants: the copy constructor of libstdc++'s variant destroys garbage when
// there's no memory to copy a string that it holds.
BaseMsgID::BaseMsgID(const BaseMsgID& other) : catalog_(other.catalog_), key_(other.key_) {
    arguments_.reserve(other.arguments_.size());
    for (const MsgArg& argument : other.arguments_)
        std::visit([this](const auto& value) { arguments_.emplace_back(value); }, argument);
}

BaseMsgID& BaseMsgID::operator=(const BaseMsgID& other) { return *this = BaseMsgID(other); }

} // namespace resource_core

namespace foundation::core::except {

IException::~IException() = default;
IUserException::~IUserException() = default;
IInternalException::~IInternalException() = default;
IMsgIDException::~IMsgIDException() = default;

std::string IMsgIDException::get_error_id(const resource_core::BaseMsgID& id) {
    constexpr std::string_view legacy_catalog = "TARVEL:legacy_two_part";
    constexpr std::string_view legacy_prefix = "TARVEL";
    std::string shown(id.catalog() == legacy_catalog ? legacy_prefix : id.catalog());
    shown += ':';
    shown += id.key();
    return shown;
}

bad_alloc::~bad_alloc() = default;

const char* bad_alloc::what() const noexcept { return "out of memory"; }

const boost::exception_detail::clone_base* bad_alloc::clone() const { return new bad_alloc(*this); }

void bad_alloc::rethrow() const { throw bad_alloc(*this); }

namespace detail {

out_of_memory_id::out_of_memory_id() noexcept : BaseMsgID("TARVEL:legacy_two_part", "nomem") {}

const char* out_of_memory_id::shown_id() noexcept { return "TARVEL:nomem"; }

} // namespace detail
} // namespace foundation::core::except

namespace Korvane::System {

SimpleException::SimpleException(std::string id, std::string text)
    : id_(std::move(id)), text_(std::move(text)) {}

SimpleException::SimpleException(const SimpleException&) = default;
SimpleException& SimpleException::operator=(const SimpleException&) = default;
SimpleException::~SimpleException() = default;

const boost::exception_detail::clone_base* SimpleException::clone() const {
    return new SimpleException(*this);
}

void SimpleException::rethrow() const { throw SimpleException(*this); }

} // namespace Korvane::System
