// The exception scheme by itself: which class is which, copies, and texts made when asked for.
#include <foundation/core/except/exception.hpp>

#include <boost/exception_ptr.hpp>
#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

using namespace foundation::core::except;
using resource_core::BaseMsgID;

// An identifier that no catalog knows: its text is its name and arguments.
class Unlisted : public BaseMsgID {
public:
    explicit Unlisted(std::string value) : BaseMsgID("TARVEL:test", "unlisted", std::move(value)) {}
};

using UnlistedError = Exception<Unlisted, std::exception, void>;
using Internal = Exception<IInternalException, std::exception, void>;
using Legacy = detail::legacy<foundation::core::except::bad_alloc>;

// Whether a handler of Interface, if any, catches Thrown: there must be exactly one such base, and it must be public.
template <class Thrown, class Interface>
constexpr bool is_a = std::is_convertible_v<Thrown*, Interface*>;

TEST(Exceptions, HaveEachInterfaceOnce) {
    static_assert(is_a<UnlistedError, IMsgIDException> && is_a<UnlistedError, IException>);
    static_assert(is_a<UnlistedError, std::exception> && is_a<UnlistedError, boost::exception>);
    static_assert(is_a<UnlistedError, boost::exception_detail::clone_base>);
    static_assert(is_a<Legacy, std::bad_alloc> && is_a<Legacy, std::exception> &&
                  is_a<Legacy, IMsgIDException>);
    static_assert(is_a<Legacy, IException> && is_a<Legacy, boost::exception>);
    static_assert(is_a<foundation::core::except::bad_alloc, IException> &&
                  is_a<foundation::core::except::bad_alloc, std::bad_alloc>);
    static_assert(is_a<Internal, IInternalException> && is_a<Internal, std::exception>);
    static_assert(is_a<Korvane::System::SimpleException, IUserException>);
    static_assert(is_a<Korvane::System::SimpleException, std::exception>);
}

TEST(Exceptions, AreOfOneKindOnly) {
    static_assert(!is_a<foundation::core::except::bad_alloc, IUserException>);
    static_assert(!is_a<Internal, IUserException>);
    static_assert(!is_a<UnlistedError, IInternalException>);
    static_assert(!is_a<Korvane::System::SimpleException, IMsgIDException>);
}

TEST(Exceptions, OfOutOfMemoryAreThrownWithoutCopyingText) {
    static_assert(std::is_nothrow_default_constructible_v<foundation::core::except::bad_alloc>);
    static_assert(std::is_nothrow_copy_constructible_v<foundation::core::except::bad_alloc>);
}

TEST(Exceptions, DeriveFromAnyBase) {
    using RuntimeBased = Exception<Unlisted, std::bad_alloc, void>;
    EXPECT_THROW(throw RuntimeBased(Unlisted("x")), std::bad_alloc);
    EXPECT_THROW(throw RuntimeBased(Unlisted("x")), IMsgIDException);
}

TEST(MessageException, KeepsTheIdentifierAsItsClass) {
    const UnlistedError error{Unlisted("value")};
    static_assert(std::is_same_v<decltype(error.GetMsgIDObj()), const Unlisted&>);
    EXPECT_EQ(error.GetMsgIDObj().arguments(), Unlisted("value").arguments());
    EXPECT_EQ(error.GetID(), "TARVEL:test:unlisted");
    EXPECT_EQ(UnlistedError("SOME:id", Unlisted("value")).GetID(), "SOME:id");
}

TEST(MessageException, MakesItsTextOnce) {
    const UnlistedError error{Unlisted("value")};
    const char* const text = error.what();
    EXPECT_STREQ(text, "TARVEL:test:unlisted (value)");
    EXPECT_EQ(error.what(), text);
}

TEST(MessageException, GivesThreadsOneText) {
    for (int round = 0; round < 50; ++round) {
        const UnlistedError error{Unlisted("value")};
        std::vector<const char*> texts(4);
        std::vector<std::thread> threads;
        for (const char*& text : texts) threads.emplace_back([&] { text = error.what(); });
        for (std::thread& thread : threads) thread.join();
        for (const char* text : texts) EXPECT_EQ(text, texts[0]);
    }
}

TEST(MessageException, IsCopiedAndAssigned) {
    UnlistedError first{Unlisted("first")};
    const UnlistedError second("SOME:id", Unlisted("second"));
    const UnlistedError copy = first;
    EXPECT_STREQ(first.what(), copy.what());
    EXPECT_NE(first.what(), copy.what()) << "each has a text of its own";
    first = second;
    EXPECT_STREQ(first.what(), "TARVEL:test:unlisted (second)");
    EXPECT_EQ(first.GetID(), "SOME:id");
    const UnlistedError moved = std::move(first);
    EXPECT_STREQ(moved.what(), "TARVEL:test:unlisted (second)");
}

template <class Error>
void expect_clone_and_rethrow(const Error& error) {
    const std::unique_ptr<const boost::exception_detail::clone_base> clone(error.clone());
    const auto* same = dynamic_cast<const Error*>(clone.get());
    ASSERT_NE(same, nullptr);
    EXPECT_NE(same, &error);
    EXPECT_STREQ(same->what(), error.what());
    try {
        clone->rethrow();
    } catch (const Error& thrown) {
        EXPECT_NE(&thrown, same) << "a copy is thrown";
        EXPECT_STREQ(thrown.what(), error.what());
        return;
    }
    FAIL() << "nothing was thrown";
}

TEST(Exceptions, AreClonedAndRethrownAsTheyAre) {
    expect_clone_and_rethrow(UnlistedError("SOME:id", Unlisted("value")));
    expect_clone_and_rethrow(Internal("inside"));
    expect_clone_and_rethrow(Internal());
    expect_clone_and_rethrow(foundation::core::except::bad_alloc());
    expect_clone_and_rethrow(Legacy());
    expect_clone_and_rethrow(Korvane::System::SimpleException("A:b", "text"));
}

TEST(Exceptions, TravelInBoostExceptionPointers) {
    const auto carried = [](const auto& error) {
        try {
            error.rethrow();
        } catch (...) {
            return boost::current_exception();
        }
        return boost::exception_ptr();
    };
    const UnlistedError error("SOME:id", Unlisted("value"));
    try {
        boost::rethrow_exception(carried(error));
    } catch (const UnlistedError& arrived) {
        EXPECT_EQ(arrived.GetID(), "SOME:id");
        EXPECT_EQ(arrived.GetMsgIDObj().arguments(), error.GetMsgIDObj().arguments());
    }
    EXPECT_THROW(boost::rethrow_exception(carried(Legacy())), std::bad_alloc);
    EXPECT_THROW(boost::rethrow_exception(boost::copy_exception(error)), UnlistedError);
}

TEST(Legacy, CarriesOutOfMemory) {
    const Legacy error;
    EXPECT_EQ(error.GetID(), "TARVEL:nomem");
    EXPECT_EQ(error.GetID(), IMsgIDException::get_error_id(error.GetBaseMsgIDObj()));
    EXPECT_TRUE(error.GetBaseMsgIDObj().arguments().empty());
}

TEST(Internal, HasATextButNoIdentifier) {
    EXPECT_STREQ(Internal("inside").what(), "inside");
    EXPECT_STREQ(Internal().what(), "");
}

} // namespace
