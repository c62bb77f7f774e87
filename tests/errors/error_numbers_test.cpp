// Errors by number: each number raises its key, all other numbers do nothing.
#include <nd/errors.hpp>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace {

namespace except = foundation::core::except;
using matrix::detail::noninlined::nd_array_api::ndErrMsg;

struct Row {
    std::int32_t number;
    const char* key;
};

constexpr Row table[] = {
    {1, "maxrhs"},     {11, "posdef"},    {21, "nonaninf"},        {31, "badstringarg1_nd"},
    {2, "minrhs"},     {12, "innerdim"},  {22, "badargs"},         {32, "badstringarg2_nd"},
    {3, "maxlhs"},     {13, "samelen"},   {23, "outrange"},        {33, "badstringclear_nd"},
    {4, "minlhs"},     {14, "nocomplex"}, {24, "ginput"},          {34, "badmachformat_nd"},
    {5, "vector"},     {15, "badopt"},    {25, "builtin"},         {35, "noformat_nd"},
    {6, "square"},     {16, "string"},    {26, "badfid_nd"},       {36, "badnchar_nd"},
    {7, "singular"},   {17, "nomem"},     {27, "badformat_nd"},    {37, "nologicalnan"},
    {8, "noconverge"}, {18, "pmaxsize"},  {28, "badoffset_nd"},    {38, "subsassigndimmismatch"},
    {9, "nostring"},   {19, "overflow"},  {29, "badorigin_nd"},    {39, "p64bitsize"},
    {10, "dimagree"},  {20, "mesh"},      {30, "badstringall_nd"}, {40, "p32bitsize"},
};
static_assert(std::size(table) == 40);

TEST(ErrorNumbers, RaiseTheirKeys) {
    for (const Row& row : table) {
        SCOPED_TRACE(row.number);
        try {
            ndErrMsg(static_cast<ndErrorMessage>(row.number));
            FAIL() << "nothing was raised";
        } catch (const except::IMsgIDException& error) {
            EXPECT_EQ(error.GetBaseMsgIDObj().catalog(), "TARVEL:legacy_two_part");
            EXPECT_EQ(error.GetBaseMsgIDObj().key(), row.key);
            EXPECT_TRUE(error.GetBaseMsgIDObj().arguments().empty());
            EXPECT_EQ(error.GetID(), std::string("TARVEL:") + row.key);
        }
    }
}

TEST(ErrorNumbers, OutsideTheTableReturn) {
    using limits = std::numeric_limits<std::int32_t>;
    for (const std::int32_t number : {0, 41, -1, 42, 1000, limits::min(), limits::max()})
        EXPECT_NO_THROW(ndErrMsg(static_cast<ndErrorMessage>(number))) << number;
}

TEST(ErrorNumbers, SeventeenIsOutOfMemoryForEveryHandlerOfIt) {
    const auto raise = [] { ndErrMsg(ndERR_OUT_OF_MEMORY); };
    EXPECT_EQ(ndERR_OUT_OF_MEMORY, 17);
    EXPECT_THROW(raise(), std::bad_alloc);
    EXPECT_THROW(raise(), except::bad_alloc);
    EXPECT_THROW(raise(), except::IUserException);
    EXPECT_THROW(raise(), except::detail::legacy<except::bad_alloc>);
}

} // namespace
