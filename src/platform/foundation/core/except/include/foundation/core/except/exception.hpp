// The exception scheme: interfaces, and the templates that implement them.
//
//   IException                   root; can be cloned and rethrown (Boost's clone_base)
//     IUserException             meant for the user: has the id that the language shows
//       IMsgIDException          carries a message identifier; what() is its text in the global locale, in UTF-8
//         Exception<Id, Base>    for each message identifier Id; also a Base and a boost::exception
//         detail::legacy<E>      E with the interface of the identifier "TARVEL:nomem"
//       Korvane::System::SimpleException   an id and a ready text
//     IInternalException         not meant for the user, no identifier
//       Exception<IInternalException, Base>
//     bad_alloc                  out of memory
//
// Interfaces are virtual bases without data, so every class here is exactly one IException. All classes are exported:
// the engine catches them across the library's edge.
#pragma once

#include <foundation/core/except/lazy_text.hpp>
#include <nd/types.h>
#include <resource_core/base_msg_id.hpp>

#include <boost/exception/exception.hpp>

#include <exception>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace foundation::core::except {

// clone() gives a copy on the heap that the caller owns; rethrow() throws a copy. A class that derives from one of the
// complete classes below and adds to it overrides both, or its copies are of the base.
class ND_EXPORT IException : public virtual boost::exception_detail::clone_base {
public:
    ~IException() override;
    virtual const char* what() const noexcept = 0; // UTF-8, lives as long as the exception
};

class ND_EXPORT IUserException : public virtual IException {
public:
    ~IUserException() override;
    virtual std::string_view GetID() const noexcept = 0; // as the language shows it: "TARVEL:badargs"
};

class ND_EXPORT IInternalException : public virtual IException {
public:
    ~IInternalException() override;
};

class ND_EXPORT IMsgIDException : public virtual IUserException {
public:
    ~IMsgIDException() override;

    virtual const resource_core::BaseMsgID& GetBaseMsgIDObj() const noexcept = 0;
    // The same object; Exception<Id> gives it as an Id.
    virtual const resource_core::BaseMsgID& GetMsgIDObj() const noexcept = 0;

    // The id as it is shown: catalog, ":" and key. The legacy catalog, whose name is exactly
    // "TARVEL:legacy_two_part", shows in two parts: "TARVEL:" and key. An id given as a string is shown as it stands.
    static std::string get_error_id(const resource_core::BaseMsgID& id);
    static std::string get_error_id(std::string shown_id) { return shown_id; }
};

template <class Id, class Base = std::exception, class Enable = void>
class ND_EXPORT Exception;

// The exception of a message identifier: keeps a copy of it and the shown id. Copying may throw std::bad_alloc.
template <class Id, class Base>
class ND_EXPORT Exception<Id, Base, void> : public IMsgIDException, public Base, public boost::exception {
    static_assert(std::is_base_of_v<resource_core::BaseMsgID, Id>, "Id is a message identifier");

public:
    explicit Exception(Id id) : id_(std::move(id)), shown_id_(get_error_id(id_)) {}
    // For a message that is shown under another id than its own.
    Exception(std::string shown_id, Id id)
        : id_(std::move(id)), shown_id_(get_error_id(std::move(shown_id))) {}

    std::string_view GetID() const noexcept override { return shown_id_; }
    const resource_core::BaseMsgID& GetBaseMsgIDObj() const noexcept override { return id_; }
    const Id& GetMsgIDObj() const noexcept override { return id_; }
    // The id in place of the text if there's no memory to make the text.
    const char* what() const noexcept override { return text_.get(id_, shown_id_.c_str()); }
    const boost::exception_detail::clone_base* clone() const override { return new Exception(*this); }
    [[noreturn]] void rethrow() const override { throw Exception(*this); }

private:
    Id id_;
    std::string shown_id_;
    detail::LazyText text_;
};

// The base of internal errors: a text for the log, which may be empty.
template <class Base>
class ND_EXPORT Exception<IInternalException, Base, void>
    : public IInternalException, public Base, public boost::exception {
public:
    Exception() = default;
    explicit Exception(std::string text) : text_(std::move(text)) {}

    const char* what() const noexcept override { return text_.c_str(); }
    const boost::exception_detail::clone_base* clone() const override { return new Exception(*this); }
    [[noreturn]] void rethrow() const override { throw Exception(*this); }

private:
    std::string text_;
};

// Out of memory, most often for a data block. Building, copying and throwing it needs no heap.
class ND_EXPORT bad_alloc : public std::bad_alloc, public virtual IException {
public:
    ~bad_alloc() override;
    const char* what() const noexcept override;
    const boost::exception_detail::clone_base* clone() const override;
    [[noreturn]] void rethrow() const override;
};

namespace detail {

// The identifier of legacy<E>: key "nomem" of the legacy catalog, with the id that it is shown under. The library's
// own class of that identifier is generated above this layer, and its shown id would need the heap.
class ND_EXPORT out_of_memory_id final : public resource_core::BaseMsgID {
public:
    out_of_memory_id() noexcept;
    static const char* shown_id() noexcept;
};

// E with the legacy error interface, for handlers that know IUserException only. Like E, no heap is needed to build,
// copy and throw it.
template <class E>
class ND_EXPORT legacy : public E, public IMsgIDException, public boost::exception {
public:
    legacy() = default;
    explicit legacy(const E& error) : E(error) {}

    std::string_view GetID() const noexcept override { return out_of_memory_id::shown_id(); }
    const resource_core::BaseMsgID& GetBaseMsgIDObj() const noexcept override { return id_; }
    const out_of_memory_id& GetMsgIDObj() const noexcept override { return id_; }
    const char* what() const noexcept override { return text_.get(id_, E::what()); }
    const boost::exception_detail::clone_base* clone() const override { return new legacy(*this); }
    [[noreturn]] void rethrow() const override { throw legacy(*this); }

private:
    out_of_memory_id id_;
    LazyText text_;
};

} // namespace detail
} // namespace foundation::core::except

namespace Korvane::System {

// An error with an id and a ready text (UTF-8), which no catalog knows.
class ND_EXPORT SimpleException : public virtual foundation::core::except::IUserException,
                                  public std::exception,
                                  public boost::exception {
public:
    SimpleException(std::string id, std::string text);
    SimpleException(const SimpleException&);
    SimpleException& operator=(const SimpleException&);
    ~SimpleException() override;

    std::string_view GetID() const noexcept override { return id_; }
    const char* what() const noexcept override { return text_.c_str(); }
    const boost::exception_detail::clone_base* clone() const override;
    [[noreturn]] void rethrow() const override;

private:
    std::string id_;
    std::string text_;
};

} // namespace Korvane::System
