// resource_core::BaseMsgID: what identifies a message: a catalog, a key in it, and the arguments of its text.
// An identifier holds no text; fl::i18n::MessageCatalog has the texts. The classes derived from BaseMsgID, one an
// identifier, are generated into <nd/messages.hpp>.
#pragma once

#include <nd/types.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace resource_core {

// One argument of a message: UTF-8 text, UTF-16 text, or a number, which is shown as the locale writes numbers.
using MsgArg = std::variant<std::string, std::u16string, std::int64_t, std::uint64_t, double>;

// Base of all identifiers. A plain value; building one without arguments allocates nothing and can't fail.
class ND_EXPORT BaseMsgID {
public:
    virtual ~BaseMsgID();

    std::string_view catalog() const noexcept { return catalog_; } // "TARVEL:legacy_two_part"
    std::string_view key() const noexcept { return key_; }         // "badargs"
    const std::vector<MsgArg>& arguments() const noexcept { return arguments_; }

protected:
    // Both texts must live as long as the program: they are kept by reference.
    BaseMsgID(std::string_view catalog, std::string_view key) noexcept : catalog_(catalog), key_(key) {}

    template <class... Args>
    BaseMsgID(std::string_view catalog, std::string_view key, Args&&... args) : catalog_(catalog), key_(key) {
        arguments_.reserve(sizeof...(Args));
        (arguments_.emplace_back(std::forward<Args>(args)), ...);
    }

    // Protected, so that an identifier is copied only as the class that it is.
    BaseMsgID(const BaseMsgID& other);
    BaseMsgID(BaseMsgID&&) noexcept = default;
    BaseMsgID& operator=(const BaseMsgID& other);
    BaseMsgID& operator=(BaseMsgID&&) noexcept = default;

private:
    std::string_view catalog_;
    std::string_view key_;
    std::vector<MsgArg> arguments_;
};

} // namespace resource_core
