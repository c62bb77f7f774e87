// Every message identifier: that none is lost, what each is raised with, and that it is raised and caught as promised.
// The table is written by hand; the classes come from the catalog files.
#include "errors/all_messages.hpp"
#include "errors/locale_fixture.hpp"

#include <errors/raise.hpp>
#include <fl/i18n/builtin_messages.hpp>
#include <fl/i18n/message_catalog.hpp>

#include <boost/exception/exception.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <variant>
#include <vector>

namespace {

namespace except = foundation::core::except;
using resource_core::BaseMsgID;
using resource_core::MsgArg;

struct Row {
    std::string_view catalog;
    std::string_view keys;      // separated by blanks
    std::string_view arguments; // of each of them: s for UTF-8 text, u for an unsigned number
};

constexpr Row contract[] = {
    {"TARVEL:AddField", "InvalidFieldName", "s"},
    {"TARVEL:Cell2Struct",
     "DimensionNumber Non2DCharArray NonStringFieldNames NonStringVector NumberOfNamesMismatch", ""},
    {"TARVEL:Cell2Struct", "InvalidFieldName", "s"},
    {"TARVEL:Deserialize", "BadVersionOrEndian OutOfMemory", ""},
    {"TARVEL:RecFile", "UnsupportedCharacters unsupportedSparseDatatype", ""},
    {"TARVEL:Serialize", "OutOfMemory", "ss"},
    {"TARVEL:array", "SizeLimitExceeded", "sss"},
    {"TARVEL:catenate",
     "cellDimensionMismatch incompatibleType matrixDimensionMismatch opaqueDimensionMismatch "
     "resultDimensionMismatch sparseDimensionBad sparseDimensionMismatch structFieldBadNames "
     "structFieldBadNumber",
     ""},
    {"TARVEL:catenate", "implicitTypeConversionGivesDimensionMismatch", "ssss"},
    {"TARVEL:checkDimCommon", "complexSize nonnegativeSize", ""},
    {"TARVEL:checkDimRow", "rowSize", ""},
    {"TARVEL:checkDimScalar", "scalarSize", ""},
    {"TARVEL:colon",
     "OutOfRange charOperandsMustBeIntegerValued mixedCharOperandsFirstAndLast mixedCharOperandsSecond "
     "mixedNonDoubleOperands nonFiniteEndpoint nonIntegerIndex operandsNotRealScalar",
     ""},
    {"TARVEL:colon", "integerOperandsMustBeIntegerValued", "s"},
    {"TARVEL:complex", "inputSizeMismatch invalidImagPartInput invalidRealPartInput mixedInputs", ""},
    {"TARVEL:getReshapeDims", "notRealInt notSameNumel sizeVector unknownDim", ""},
    {"TARVEL:getReshapeDims", "notDivisible", "uu"},
    {"TARVEL:matrix",
     "ambiguousArrayGrowth arrayScalIntReq complexScalIntReq dimension_separator illegalComplexArray "
     "nonIntegerInput nonRealInput object_wont_fit_down_pipe singleSubscriptNumelMismatch "
     "warning_unexpected_end_of_file warning_message_prefix",
     ""},
    {"TARVEL:matrix", "badTypeIndices", "ussu"},
    {"TARVEL:matrix", "indexExceedsDims", "ussus"},
    {"TARVEL:matrix", "badUndocumentedFunctionInput", "s"},
    {"TARVEL:matrix", "namelengthmaxexceeded", "sus"},
    {"TARVEL:mtasks:constraints", "NonConcurrentLibrary", "s"},
    {"TARVEL:permute",
     "badIndex badIndexType complexIndex nonIntegerIndex repeatedIndex sparseNDmatrix tooFewIndices "
     "unsupportedType",
     ""},
    {"TARVEL:reshape", "sparseNDmatrix", ""},
    {"TARVEL:transpose", "notImplemented", ""},
    {"TARVEL:warning", "InstructionWarningOff", "s"},
    {"TARVEL:legacy_two_part",
     "Deserialize IntTooBig IntVal NonNumInt NonScalarInput badargs badfid_nd badformat_nd badmachformat_nd "
     "badnchar_nd badnullassign badnullindex badoffset_nd badopt badorigin_nd badstringall_nd "
     "badstringarg1_nd "
     "badstringarg2_nd badstringclear_nd builtin dimagree err_function_obsolete "
     "err_non_scalar_function_handles ginput innerdim invalidInput maxlhs maxrhs mesh minlhs minrhs "
     "nindexIsZero noConversionComplexToChar nocomplex noconverge noformat_nd nologicalcomplex nologicalnan "
     "nomem nonaninf nostring numericArgRequired obsoleteComplexInput outrange overflow p32bitsize "
     "p64bitsize "
     "pmaxsize posdef samelen singular square string subsassigndimmismatch subsdeldimmismatch "
     "unimplementedSparseType vector",
     ""},
    {"TARVEL:legacy_two_part", "DuplicateFieldName err_sparse_64bit_obsolete", "s"},
    {"TARVEL:legacy_two_part", "Serialize invalidConversion", "ss"},
};

using Signatures = std::map<std::pair<std::string, std::string>, std::string>;

Signatures signatures_of_contract() {
    Signatures result;
    for (const Row& row : contract) {
        std::string_view rest = row.keys;
        while (!rest.empty()) {
            const std::size_t blank = rest.find(' ');
            result[{std::string(row.catalog), std::string(rest.substr(0, blank))}] = row.arguments;
            rest.remove_prefix(blank == std::string_view::npos ? rest.size() : blank + 1);
        }
    }
    return result;
}

// One identifier class, with sample arguments. As little as can be is instantiated for each class: there are many.
struct Identifier {
    std::unique_ptr<const BaseMsgID> id;
    void (*raise_copy)(const BaseMsgID& id);
    bool (*is_own_exception)(const except::IMsgIDException& error);

    void raise() const { raise_copy(*id); }
};

// A value for the argument at that position, different at each.
template <class T>
T sample_argument(std::size_t position) {
    if constexpr (std::is_same_v<T, std::string>)
        return "text" + std::to_string(position);
    else
        return static_cast<T>(7001 + position);
}

// Instantiated for each list of argument types, not for each class.
template <class Types>
const Types& sample_arguments() {
    static const Types samples = []<std::size_t... I>(std::index_sequence<I...>) {
        return Types(sample_argument<std::tuple_element_t<I, Types>>(I)...);
    }
    (std::make_index_sequence<std::tuple_size_v<Types>>());
    return samples;
}

// What raising the identifier throws.
template <class Id>
using RaisedAs = std::conditional_t<std::is_same_v<Id, TARVEL::legacy_two_part::nomem>,
                                    except::detail::legacy<except::bad_alloc>,
                                    except::Exception<Id, std::exception, void>>;

template <class Id>
void raise_copy(const BaseMsgID& id) {
    matrix::errors::raise<Id>(static_cast<const Id&>(id));
}

template <class Id>
bool is_own_exception(const except::IMsgIDException& error) {
    return typeid(error) == typeid(RaisedAs<Id>);
}

template <class Id>
void add(std::vector<Identifier>& all) {
    const auto& samples = sample_arguments<typename Id::argument_types>();
    all.push_back({std::unique_ptr<const BaseMsgID>(new Id(std::make_from_tuple<Id>(samples))),
                   raise_copy<Id>, is_own_exception<Id>});
}

template <class... Ids>
struct Collect {
    static std::vector<Identifier> all() {
        std::vector<Identifier> result;
        (add<Ids>(result), ...);
        return result;
    }
};

const std::vector<Identifier>& identifiers() {
    static const std::vector<Identifier> all = all_messages<Collect>::all();
    return all;
}

std::string signature_of(const BaseMsgID& id) {
    std::string result;
    for (const MsgArg& argument : id.arguments()) result += "sUiud"[argument.index()];
    return result;
}

std::string name_of(const BaseMsgID& id) { return std::string(id.catalog()) + ':' + std::string(id.key()); }

using Identifiers = test::LocaleFixture;

TEST_F(Identifiers, AreThoseOfTheContractWithTheirArguments) {
    Signatures found;
    for (const Identifier& each : identifiers())
        found[{std::string(each.id->catalog()), std::string(each.id->key())}] = signature_of(*each.id);
    EXPECT_EQ(found, signatures_of_contract());
    EXPECT_EQ(found.size(), 133u);
    EXPECT_EQ(identifiers().size(), 133u) << "no two classes have the same catalog and key";
}

TEST_F(Identifiers, KeepTheirArgumentsInOrder) {
    const TARVEL::matrix::namelengthmaxexceeded id("a_long_name", 2048, "a_long");
    EXPECT_THAT(id.arguments(),
                testing::ElementsAre(MsgArg(std::string("a_long_name")), MsgArg(std::uint64_t{2048}),
                                     MsgArg(std::string("a_long"))));
}

TEST_F(Identifiers, AreCaughtAsTheirOwnException) {
    using SizeLimit = except::Exception<TARVEL::array::SizeLimitExceeded, std::exception, void>;
    EXPECT_THROW(matrix::errors::raise<TARVEL::array::SizeLimitExceeded>("3x4", "16.0GB", "8.0GB"),
                 SizeLimit);
}

TEST_F(Identifiers, AreCaughtByEachInterface) {
    for (const Identifier& each : identifiers()) {
        SCOPED_TRACE(name_of(*each.id));
        EXPECT_THROW(each.raise(), std::exception);
        EXPECT_THROW(each.raise(), boost::exception);
        EXPECT_THROW(each.raise(), except::IException);
        EXPECT_THROW(each.raise(), except::IUserException);
        EXPECT_THROW(each.raise(), except::IMsgIDException);
    }
}

TEST_F(Identifiers, AreCarriedByTheirOwnException) {
    for (const Identifier& each : identifiers()) {
        const BaseMsgID& id = *each.id;
        SCOPED_TRACE(name_of(id));
        const bool is_legacy = id.catalog() == "TARVEL:legacy_two_part";
        const std::string shown = is_legacy ? "TARVEL:" + std::string(id.key()) : name_of(id);
        try {
            each.raise();
            FAIL() << "nothing was raised";
        } catch (const except::IMsgIDException& error) {
            EXPECT_TRUE(each.is_own_exception(error));
            EXPECT_EQ(error.GetID(), shown);
            EXPECT_EQ(error.GetBaseMsgIDObj().catalog(), id.catalog());
            EXPECT_EQ(error.GetBaseMsgIDObj().key(), id.key());
            EXPECT_EQ(error.GetBaseMsgIDObj().arguments(), id.arguments());
            EXPECT_EQ(&error.GetMsgIDObj(), &error.GetBaseMsgIDObj());
            EXPECT_EQ(except::IMsgIDException::get_error_id(id), shown);
        }
    }
}

// The compiled-in pattern of an identifier.
std::string pattern_of(const BaseMsgID& id) {
    for (const fl::i18n::BuiltinMessage& row : fl::i18n::builtin_messages())
        if (row.catalog == id.catalog() && row.key == id.key()) return std::string(row.pattern);
    return {};
}

TEST_F(Identifiers, HaveAnEnglishTextWithAllPlacesFilled) {
    for (const Identifier& each : identifiers()) {
        const BaseMsgID& id = *each.id;
        SCOPED_TRACE(name_of(id));
        const std::string pattern = pattern_of(id);
        EXPECT_FALSE(pattern.empty());
        std::string text;
        try {
            each.raise();
        } catch (const std::exception& error) {
            text = error.what();
        }
        EXPECT_THAT(text, testing::Not(testing::StartsWith("TARVEL:"))) << "the fallback";
        EXPECT_EQ(text.find_first_of("{}"), std::string::npos) << text;
        const std::string shown_numbers[] = {"7,001", "7,002", "7,003", "7,004"};
        for (std::size_t i = 0; i < id.arguments().size(); ++i) {
            if (pattern.find('{' + std::to_string(i) + '}') == std::string::npos) continue;
            const auto* string = std::get_if<std::string>(&id.arguments()[i]);
            EXPECT_THAT(text, testing::HasSubstr(string != nullptr ? *string : shown_numbers[i]));
        }
    }
}

TEST_F(Identifiers, ThatAreShownUnderAnotherIdKeepTheirOwnMessage) {
    struct {
        const char* shown;
        void (*raise)(const char*);
        const char* key;
    } const replaced[] = {
        {"TARVEL:ScalIntReq", matrix::errors::raise_as<TARVEL::matrix::arrayScalIntReq>, "arrayScalIntReq"},
        {"TARVEL:NonIntegerInput", matrix::errors::raise_as<TARVEL::matrix::nonIntegerInput>,
         "nonIntegerInput"},
        {"TARVEL:badsubscript",
         [](const char* shown) {
             matrix::errors::raise_as<TARVEL::matrix::badTypeIndices>(shown, 2u, "3x4", "1.5", 3u);
         },
         "badTypeIndices"},
        {"TARVEL:namelengthmaxexceeded",
         [](const char* shown) {
             matrix::errors::raise_as<TARVEL::matrix::namelengthmaxexceeded>(shown, "a_long_name", 6u,
                                                                             "a_long");
         },
         "namelengthmaxexceeded"},
        {"TARVEL:indexed_matrix_cannot_be_resized",
         matrix::errors::raise_as<TARVEL::matrix::ambiguousArrayGrowth>, "ambiguousArrayGrowth"},
        {"TARVEL:catenate:structFieldBad", matrix::errors::raise_as<TARVEL::catenate::structFieldBadNames>,
         "structFieldBadNames"},
        {"TARVEL:catenate:dimensionMismatch",
         matrix::errors::raise_as<TARVEL::catenate::matrixDimensionMismatch>, "matrixDimensionMismatch"},
        {"TARVEL:colon:scalarDoubleMustBeIntegerValued",
         matrix::errors::raise_as<TARVEL::colon::charOperandsMustBeIntegerValued>,
         "charOperandsMustBeIntegerValued"},
        {"TARVEL:colon:mixedCharOperands", matrix::errors::raise_as<TARVEL::colon::mixedCharOperandsSecond>,
         "mixedCharOperandsSecond"},
    };
    for (const auto& row : replaced) {
        SCOPED_TRACE(row.shown);
        try {
            row.raise(row.shown);
            FAIL() << "nothing was raised";
        } catch (const except::IMsgIDException& error) {
            EXPECT_EQ(error.GetID(), row.shown);
            EXPECT_EQ(error.GetBaseMsgIDObj().key(), row.key);
            EXPECT_EQ(std::string(error.what()),
                      fl::i18n::codecvt_ustring_to_string(fl::i18n::MessageCatalog::get_message(
                          error.GetBaseMsgIDObj(), fl::i18n::KvLocale::global())));
        }
    }
}

TEST_F(Identifiers, NameASubscriptWhenItsPositionIsKnown) {
    const auto text_of = [](const BaseMsgID& id) {
        return fl::i18n::codecvt_ustring_to_string(
            fl::i18n::MessageCatalog::get_message(id, fl::i18n::KvLocale::global()));
    };
    EXPECT_THAT(text_of(TARVEL::matrix::indexExceedsDims(2, "3x4", "7", 3, "numeric")),
                testing::AllOf(testing::HasSubstr("2"), testing::HasSubstr("3x4"), testing::HasSubstr("7")));
    EXPECT_THAT(text_of(TARVEL::matrix::indexExceedsDims(0, "", "none", 0, "numeric")),
                testing::Not(testing::HasSubstr("0")));
}

TEST_F(Identifiers, ThatArePiecesOfOtherTextsFitInThere) {
    const auto text_of = [](const BaseMsgID& id) {
        return fl::i18n::MessageCatalog::get_message(id, fl::i18n::KvLocale::global());
    };
    EXPECT_EQ(text_of(TARVEL::matrix::dimension_separator()), u"x");
    EXPECT_EQ(text_of(TARVEL::matrix::warning_message_prefix()).back(), u' ')
        << "the warning stands behind it";
    EXPECT_EQ(text_of(TARVEL::warning::InstructionWarningOff("warning off TARVEL:x")).find(u'\n'), 0u)
        << "the hint stands on a line of its own";
}

TEST_F(Identifiers, WithAnotherPrefixThanTheLegacyCatalogShowTheirWholeCatalog) {
    class Foreign : public BaseMsgID {
    public:
        explicit Foreign(std::string_view catalog) : BaseMsgID(catalog, "badargs") {}
    };
    const auto shown = [](std::string_view catalog) {
        return except::IMsgIDException::get_error_id(Foreign(catalog));
    };
    EXPECT_EQ(shown("TARVEL:legacy_two_part"), "TARVEL:badargs");
    EXPECT_EQ(shown("OTHER:legacy_two_part"), "OTHER:legacy_two_part:badargs");
    EXPECT_EQ(shown("TARVEL:more:legacy_two_part"), "TARVEL:more:legacy_two_part:badargs");
    EXPECT_EQ(shown("TARVELS:legacy_two_part"), "TARVELS:legacy_two_part:badargs");
    EXPECT_EQ(shown("legacy_two_part"), "legacy_two_part:badargs");
    EXPECT_EQ(shown(":legacy_two_part"), ":legacy_two_part:badargs");
}

} // namespace
