// Every class of the public C++ headers, made and used by a program that has the library as users get it: what its members need is
// exported.
#include <nd/engine.hpp>

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>

namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;

array_ptr one() { return matrix::create(std::array<std::size_t, 2>{1, 1}, ndDOUBLE_CLASS, ndREAL); }

using cptr = Kprotected_cptr<ndArray_tag, Kprotected_ndArray_helper>;

template <class Guard>
class PublicGuards : public testing::Test {};
using guard_types = testing::Types<cptr, Kprotected_ndArray>;
TYPED_TEST_SUITE(PublicGuards, guard_types);

TYPED_TEST(PublicGuards, CountReferences) {
    const array_ptr array = one();
    {
        TypeParam guard(api::ndCreateReference(array.get()), true);
        TypeParam copy(guard);
        TypeParam empty;
        empty = copy;
        EXPECT_EQ(array->ref_count, 4U);
        copy = one().release();
        copy.call_delete_fn();
        const TypeParam& constant = guard;
        EXPECT_EQ(static_cast<ndArray_tag*>(guard), static_cast<const ndArray_tag*>(constant));
        EXPECT_EQ(guard->class_id, constant->class_id);
        array_ptr(empty.Unprotect()).reset();
        EXPECT_EQ(array->ref_count, 2U);
    }
    EXPECT_EQ(array->ref_count, 1U);
}

TEST(PublicClasses, GuardedArraysBecomeTheirOwn) {
    const array_ptr array = one();
    Kprotected_ndArray guard(api::ndCreateReference(array.get()), true);
    guard.Unshare();
    guard.myLocalize();
    EXPECT_NE(guard.get(), array.get());
    Kprotected_ndArray_helper::free(Kprotected_ndArray_helper::copy(array.get()));
    EXPECT_EQ(array->ref_count, 1U);
}

template <class Char, class Helper>
void expect_strings_are_copied() {
    const std::array<Char, 3> text{'a', 'b', 0};
    using guard = Kprotected_cptr<Char, Helper>;
    const guard first(Helper::copy(text.data()), true);
    const guard second(first);
    EXPECT_NE(second.get(), first.get());
    EXPECT_EQ(std::basic_string<Char>(second.get()), text.data());
    const array_ptr array(api::ndCreateString("ab"));
    const guard read(Helper::toString(array.get()), true);
    EXPECT_EQ(std::basic_string<Char>(read.get()), text.data());
}

TEST(PublicClasses, OfGuardedStrings) {
    expect_strings_are_copied<char, Kprotected_ndString_helper>();
    expect_strings_are_copied<char16_t, Kprotected_ndStringUTF16_helper>();
}

TEST(PublicClasses, OfTextConverters) {
    const array_ptr array(api::ndCreateString("a\xE3\x81\x82"));
    I18N::FromUTF16Converter converter("Shift_JIS");
    EXPECT_EQ(converter.convert(u"a\u3042"), "a\x82\xA0");
    EXPECT_EQ(matrix::get_string(array.get(), converter), "a\x82\xA0");
    EXPECT_EQ(matrix::get_destination_string_size(array.get(), converter), 3U);
    std::array<char, 4> buffer{};
    EXPECT_EQ(matrix::copy_string(buffer.data(), 2, array.get(), converter), 2U);
    EXPECT_STREQ(buffer.data(), "a\x82");
    EXPECT_EQ(converter.measure(u"\u3042b"), 3U);
    converter.do_conversion(u"\u3042b", buffer.data(), 3);
    EXPECT_STREQ(buffer.data(), "\x82\xA0"
                                "b");
    EXPECT_EQ(converter.do_conversion_up_to(u"xyz", buffer.data(), 2), 2U);
    I18N::FromUTF16Converter of_no_encoding("no-such-encoding");
    EXPECT_THROW(of_no_encoding.measure(u"a"), fl::i18n::CvtConversionFailure);
    EXPECT_THROW(of_no_encoding.convert(u"a"), std::exception);
}

TEST(PublicClasses, OfConversionErrors) {
    EXPECT_STREQ(fl::i18n::CvtSizeTooLarge("what it says").what(), "what it says");
    EXPECT_THROW(throw fl::i18n::CvtInvalidCharacter("text"), std::exception);
    EXPECT_THROW(throw foundation::ustring::CtypeInvalidCharacter("text"), std::exception);
}

TEST(PublicClasses, OfTheSizeLimit) {
    EXPECT_EQ(matrix::ArraySizeLimit::getInstance().getPercent(), 100U);
    const std::array<std::size_t, 2> dims{3, 4};
    const matrix::internal::SizeLimitExceeded error(dims, 96, 8);
    const std::unique_ptr<const boost::exception_detail::clone_base> copy(error.clone());
    EXPECT_THROW(copy->rethrow(), foundation::core::except::IUserException);
    EXPECT_EQ(error.GetID(), "TARVEL:array:SizeLimitExceeded");
}

TEST(PublicClasses, OfWarnings) {
    std::string lines;
    const matrix::WarningFilter filter([&](std::basic_string<char16_t>& line) {
        lines.append(line.begin(), line.end());
        return false;
    });
    const matrix::WarningObserver observer;
    api::ndWarningMsgIdAndTxt("a:b", "text");
    EXPECT_EQ(observer.getNumWarnings("a:b"), 1U);
    EXPECT_EQ(observer.getWarning("a:b", 0), u"text");
    EXPECT_NE(lines.find("text"), std::string::npos);
}

class counting_references final : public matrix::ObjectRefCountInterface {
public:
    void add(ndArray_tag*, bool) override {}
    void release(ndArray_tag*) override {}
};

TEST(PublicClasses, OfTheEngine) {
    foundation::usm::EngineInstance engine;
    const foundation::usm::EngineActivation active(&engine);
    EXPECT_EQ(foundation::usm::EngineInstance::current(), &engine);
    const matrix::list_reports_go_on reports;
    {
        matrix::arraylist_alloclist_errormode_guard guard(matrix::ErrorMode{});
        guard.keep(nullptr);
    }
    auto* const before = matrix::ObjectRefCountInterface::get();
    counting_references mine;
    matrix::ObjectRefCountInterface::set(&mine);
    EXPECT_EQ(matrix::ObjectRefCountInterface::get(), &mine);
    matrix::ObjectRefCountInterface::set(nullptr);
    EXPECT_EQ(matrix::ObjectRefCountInterface::get(), before);
}

TEST(PublicClasses, OfErrors) {
    const Korvane::System::SimpleException simple("a:b", "text");
    EXPECT_THROW(simple.rethrow(), foundation::core::except::IUserException);
    EXPECT_THROW(foundation::core::except::bad_alloc().rethrow(), std::bad_alloc);
    EXPECT_THROW(throw foundation::usm::DoesNotExistTypeError("none"), foundation::usm::TypeError);
    EXPECT_THROW(api::ndErrMsg(ndERR_BAD_ARGUMENTS), foundation::core::except::IMsgIDException);
}

TEST(PublicClasses, OfElements) {
    const array_ptr array = one();
    matrix::typed_array<double>(array.get()).elements()[0] = 5;
    EXPECT_EQ(*static_cast<const double*>(array->pdata), 5.0);
    EXPECT_THROW(matrix::typed_sparse_matrix<double>(array.get()), std::invalid_argument);
}

} // namespace
