// Errors with a ready text, passing exceptions on, and running out of memory while an error is raised.
#include "errors/locale_fixture.hpp"
#include "support/alloc_sources.hpp"

#include <errors/raise.hpp>

#include <boost/exception_ptr.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <exception>
#include <new>
#include <stdexcept>
#include <string>

namespace {

namespace except = foundation::core::except;
namespace api = matrix::detail::noninlined::nd_array_api;
using Korvane::System::SimpleException;
using BadArgs = except::Exception<TARVEL::legacy_two_part::badargs, std::exception, void>;

std::string text_of_formatted(const char* text) {
    try {
        api::ndErrMsgIdAndTxt("TARVEL:some:id", "%s", text);
    } catch (const SimpleException& error) {
        EXPECT_EQ(error.GetID(), "TARVEL:some:id");
        return error.what();
    }
}

TEST(IdAndText, AreFormattedAsPrintfDoes) {
    try {
        api::ndErrMsgIdAndTxt("A:b", "%d of %s", 3, "four");
    } catch (const except::IUserException& error) {
        EXPECT_EQ(error.GetID(), "A:b");
        EXPECT_STREQ(error.what(), "3 of four");
    }
    EXPECT_THROW(api::ndErrMsgIdAndTxt("A:b", "x"), std::exception);
    EXPECT_THROW(api::ndErrMsgIdAndTxt("A:b", "x"), boost::exception);
}

TEST(IdAndText, AreCutAfter8191Bytes) {
    for (const std::size_t length : {0, 1, 8190, 8191, 8192, 8193, 100000}) {
        std::string whole(length, 'a');
        for (std::size_t i = 0; i < length; ++i) whole[i] = static_cast<char>('a' + i % 26);
        EXPECT_EQ(text_of_formatted(whole.c_str()), whole.substr(0, 8191)) << length;
    }
}

TEST(IdAndText, AreCutInsideACharacterToo) {
    const std::string whole =
        std::string(8190, 'a') + "\xe2\x82\xac"; // a character of three bytes: one stays
    EXPECT_EQ(text_of_formatted(whole.c_str()), whole.substr(0, 8191));
}

TEST(IdAndText, MayBeNull) {
    try {
        api::ndErrMsgIdAndTxt(nullptr, nullptr);
    } catch (const SimpleException& error) {
        EXPECT_EQ(error.GetID(), "");
        EXPECT_STREQ(error.what(), "");
    }
}

TEST(OutOfMemory, IsRaisedInTwoForms) {
    EXPECT_THROW(matrix::errors::raise<TARVEL::legacy_two_part::nomem>(),
                 except::detail::legacy<except::bad_alloc>);
    EXPECT_THROW(api::ndErrMsgId(TARVEL::legacy_two_part::nomem()),
                 except::detail::legacy<except::bad_alloc>);
    try {
        matrix::errors::raise_bad_alloc();
    } catch (const except::IUserException&) {
        FAIL() << "the plain form is no user error";
    } catch (const except::bad_alloc& error) {
        EXPECT_STREQ(error.what(), "out of memory");
    }
}

template <class Thrown>
boost::exception_ptr captured(const Thrown& error) {
    try {
        throw Thrown(error);
    } catch (...) {
        return boost::current_exception();
    }
}

TEST(ReThrow, PassesUserErrorsWithTheirContents) {
    try {
        api::ndReThrowException(captured(BadArgs("OTHER:id", TARVEL::legacy_two_part::badargs())));
    } catch (const BadArgs& error) {
        EXPECT_EQ(error.GetID(), "OTHER:id");
        EXPECT_EQ(error.GetBaseMsgIDObj().key(), "badargs");
    }
    try {
        api::ndReThrowException(captured(SimpleException("A:b", "the text")));
    } catch (const SimpleException& error) {
        EXPECT_EQ(error.GetID(), "A:b");
        EXPECT_STREQ(error.what(), "the text");
    }
}

TEST(ReThrow, PassesAllElseUnchanged) {
    EXPECT_THROW(api::ndReThrowException(captured(std::out_of_range("far"))), std::out_of_range);
    EXPECT_THROW(api::ndReThrowException(captured(42)), int);
    EXPECT_THROW(api::ndReThrowException(captured(except::bad_alloc())), except::bad_alloc);
    using Internal = except::Exception<except::IInternalException, std::exception, void>;
    EXPECT_THROW(api::ndReThrowException(captured(Internal("inside"))), except::IInternalException);
}

TEST(ReThrow, OfNothingIsABadArgument) {
    EXPECT_THROW(api::ndReThrowException(boost::exception_ptr()), BadArgs);
}

// Calls raise with its first allocation failing, then its second, and so on (and every later one too, if for_ever is
// set), until it has all it needs. Gives the number of failures that it met.
template <class Expected, class Raise>
long failures_until(test::fault_plan::follow_up then, Raise raise) {
    for (long first = 1;; ++first) {
        bool failed = false;
        bool expected = false;
        bool out_of_memory = false;
        {
            test::injection armed({first, then});
            try {
                raise();
            } catch (const Expected&) {
                expected = true;
            } catch (const std::bad_alloc&) {
                out_of_memory = true;
            }
            failed = armed.failures() > 0;
        }
        EXPECT_TRUE(failed ? expected || out_of_memory : expected) << "allocation " << first;
        if (!failed || testing::Test::HasFailure()) return first - 1;
    }
}

class NoMemory : public test::LocaleFixture,
                 public testing::WithParamInterface<test::fault_plan::follow_up> {};

TEST_P(NoMemory, ForAnExceptionIsBadAlloc) {
    using SizeLimit = except::Exception<TARVEL::array::SizeLimitExceeded, std::exception, void>;
    const std::string dims(40, '1'), bytes(40, '2'),
        limit(40, '3'); // longer than a string holds without the heap
    const auto raise = [&] { matrix::errors::raise<TARVEL::array::SizeLimitExceeded>(dims, bytes, limit); };
    EXPECT_GE(failures_until<SizeLimit>(GetParam(), raise), 4);
    const auto raise_text = [] { api::ndErrMsgIdAndTxt("TARVEL:an:identifier:of:some:length", "%0100d", 1); };
    EXPECT_GE(failures_until<SimpleException>(GetParam(), raise_text), 2);
}

TEST_P(NoMemory, ForOutOfMemoryIsNotAsked) {
    using OutOfMemory = except::detail::legacy<except::bad_alloc>;
    EXPECT_EQ(failures_until<OutOfMemory>(GetParam(), [] { api::ndErrMsg(ndERR_OUT_OF_MEMORY); }), 0);
    EXPECT_EQ(failures_until<except::bad_alloc>(GetParam(), [] { matrix::errors::raise_bad_alloc(); }), 0);
}

TEST_P(NoMemory, ForATextGivesTheId) {
    const BadArgs error{TARVEL::legacy_two_part::badargs()};
    const except::detail::legacy<except::bad_alloc> out_of_memory;
    {
        test::injection armed({1, GetParam()});
        EXPECT_STREQ(error.what(), "TARVEL:badargs");
    }
    {
        test::injection armed({1, GetParam()});
        EXPECT_STREQ(out_of_memory.what(), "out of memory");
    }
    EXPECT_STRNE(error.what(), "TARVEL:badargs") << "the next call may fare better";
}

INSTANTIATE_TEST_SUITE_P(OnceAndForEver, NoMemory,
                         testing::Values(test::fault_plan::follow_up::none,
                                         test::fault_plan::follow_up::for_ever));

} // namespace
