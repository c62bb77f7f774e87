// Every allocation fails once while errors are raised and remembered, contexts made and the module started.
#include "matrix/engine_object.hpp"
#include "matrix/library_context.hpp"
#include "matrix/process_state.hpp"
#include "matrix/test_hooks.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/fault_injection.hpp"
#include "support/module_mode.hpp"

#include <errors/raise.hpp>

#include <foundation/usm/usm.hpp>
#include <nd/access.hpp>
#include <nd/messages.hpp>
#include <nd/module.hpp>
#include <nd/sizes.hpp>
#include <nd/typed.hpp>

#include <stdexcept>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
namespace except = foundation::core::except;
using foundation::usm::EngineActivation;
using foundation::usm::EngineInstance;
using dims_list = std::vector<std::size_t>;

// Each run has an engine of its own, so that what an engine keeps is made anew.
void expect_scenario(const std::string& name, const std::function<void(fault_run&)>& scenario,
                     bool may_recover = false) {
    fault_options options;
    options.second_within = 4;
    const fault_report report = for_each_failing_alloc(
        name,
        [&](fault_run& run) {
            EngineInstance engine;
            const EngineActivation active(&engine);
            scenario(run);
        },
        options);
    EXPECT_TRUE(report.passed) << name;
    if (!may_recover) {
        EXPECT_EQ(report.recovered, 0) << name;
    }
}

using StateFaults = NdTest;

TEST_F(StateFaults, ErrorMode) {
    expect_scenario("getErrorMode, the first in its engine", [](fault_run& run) {
        run.act([] { return matrix::getErrorMode() == matrix::ErrorMode{1}; });
    });
    expect_scenario("setErrorMode, the first in its engine", [](fault_run& run) {
        run.act([] { matrix::setErrorMode(matrix::ErrorMode{3}); });
        if (matrix::getErrorMode() != matrix::ErrorMode{3}) ADD_FAILURE() << "not stored";
    });
    expect_scenario("getCurrentErrorModePtr, the first in its engine", [](fault_run& run) {
        run.act([] { return matrix::engine_access::getCurrentErrorModePtr() != nullptr; });
    });
    expect_scenario("the engine's context", [](fault_run& run) {
        run.act([] { return matrix::internal::find_or_make_context() != nullptr; });
    });
}

struct error_row {
    const char* name;
    std::string id;
    std::u16string text;
    matrix::array_ptr (*array)();
};

TEST_F(StateFaults, LastError) {
    const error_row rows[] = {
        {"setLastError with short texts", "TARVEL:id", u"text", [] { return matrix::array_ptr(); }},
        {"setLastError with long texts", std::string(500, 'i'), std::u16string(500, u't'),
         [] { return matrix::array_ptr(); }},
        {"setLastError with an array", "id", u"text", [] { return numbered("double 2x3x4"); }},
        {"setLastError with nested cells", "id", u"text",
         [] { return arr("cell 1x2", arr("double", {1}), arr("cell 1x1", arr("char", u"abc"))); }},
    };
    for (const error_row& row : rows) {
        for (const bool first : {true, false}) {
            expect_scenario(row.name + std::string(first ? ", the first in its engine" : ""),
                            [&](fault_run& run) {
                                const matrix::array_ptr array = row.array();
                                const matrix::array_ptr old = arr("double", {5});
                                if (!first) matrix::setLastError("kept", u"kept", old.get());
                                if (array != nullptr) run.operand(array.get());
                                run.act([&] { matrix::setLastError(row.id, row.text, array.get()); });
                                EXPECT_EQ(std::get<0>(matrix::getLastError()), row.id);
                                EXPECT_EQ(std::get<1>(matrix::getLastError()), row.text);
                                EXPECT_EQ(std::get<2>(matrix::getLastError()) == nullptr, array == nullptr);
                            });
        }
    }
    expect_scenario("getLastError, the first in its engine", [](fault_run& run) {
        run.act([] { return std::get<2>(matrix::getLastError()) == nullptr; });
    });
    expect_scenario("resetLastError, the first in its engine",
                    [](fault_run& run) { run.act([] { matrix::resetLastError(); }); });
}

TEST_F(StateFaults, StartUp) {
    expect_scenario("initModule in an engine", [](fault_run& run) {
        run.act([] {
            matrix::internal::test_hooks::set_module_mode(mode_null_results);
            matrix::initModule(matrix::mode_in_engine);
        });
        EXPECT_NE(matrix::internal::find_context(), nullptr);
        matrix::internal::test_hooks::set_module_mode(mode_null_results);
        matrix::cache::setEnabled(false);
    });
}

TEST_F(StateFaults, CacheInfo) {
    expect_scenario("CacheInfo", [](fault_run& run) { run.act([] { matrix::cache::CacheInfo(); }); });
}

// Raising is the act: it is done when the error with its identifier arrives. Memory that runs out arrives instead of it.
template <class Error, class Raise>
bool arrives(Raise&& raise) {
    try {
        raise();
    } catch (const Error& error) {
        return true;
    }
    return false;
}

template <class Id, class... Args>
void attack_raise(const char* name, const Args&... args) {
    expect_scenario(
        std::string("raising ") + name,
        [&](fault_run& run) {
            run.act([&] {
                return arrives<except::Exception<Id, std::exception, void>>(
                    [&] { matrix::errors::raise<Id>(args...); });
            });
        },
        true);
}

TEST_F(StateFaults, RaisingByIdentifier) {
    attack_raise<TARVEL::legacy_two_part::pmaxsize>("pmaxsize");
    attack_raise<TARVEL::legacy_two_part::badargs>("badargs");
    attack_raise<TARVEL::matrix::illegalComplexArray>("illegalComplexArray");
    attack_raise<TARVEL::array::SizeLimitExceeded>("SizeLimitExceeded with long texts", std::string(100, 'x'),
                                                   std::string(100, 'y'), std::string(100, 'z'));
    expect_scenario(
        "raising under another id",
        [](fault_run& run) {
            run.act([] {
                return arrives<except::IUserException>(
                    [] { matrix::errors::raise_as<TARVEL::matrix::arrayScalIntReq>("TARVEL:ScalIntReq"); });
            });
        },
        true);
    expect_scenario(
        "raising by number",
        [](fault_run& run) {
            run.act([] {
                return arrives<except::Exception<TARVEL::legacy_two_part::badopt, std::exception, void>>(
                    [] { api::ndErrMsg(ndERR_BAD_OPTION); });
            });
        },
        true);
    expect_scenario(
        "raising an id and a text",
        [](fault_run& run) {
            run.act([] {
                return arrives<Korvane::System::SimpleException>([] {
                    api::ndErrMsgIdAndTxt("TARVEL:a:very:long:identifier:of:an:error",
                                          "a text that is longer than %s", "short");
                });
            });
        },
        true);
}

// Out of memory has no identifier to build: it arrives whatever fails.
TEST_F(StateFaults, RaisingOutOfMemoryNeedsNone) {
    const injection exhausted({1, fault_plan::follow_up::for_ever, 0});
    EXPECT_TRUE(arrives<except::bad_alloc>([] { api::ndErrMsgId(TARVEL::legacy_two_part::nomem()); }));
    EXPECT_TRUE(arrives<except::bad_alloc>([] { matrix::errors::raise_bad_alloc(); }));
    EXPECT_EQ(exhausted.points(), 0);
}

TEST_F(StateFaults, Refusals) {
    const std::size_t large = std::size_t{1} << 40;
    expect_scenario(
        "ndCheckMN above the ceiling",
        [&](fault_run& run) {
            run.act([&] {
                return arrives<except::IMsgIDException>(
                    [&] { api::ndCheckMN(large, large, std::size_t{1}); });
            });
        },
        true);
    expect_scenario(
        "ndCheckMN above the limit",
        [](fault_run& run) {
            const size_limit_scope limit(1000, 100);
            run.act([] {
                return arrives<matrix::internal::SizeLimitExceeded>(
                    [] { api::ndCheckMN(123456789, 987654, std::size_t{1}); });
            });
        },
        true);
    expect_scenario(
        "ndCheckMN above the limit, logged",
        [](fault_run& run) {
            const size_limit_scope limit(1000, 100);
            const log_capture log("matrix::sizelimit", 0x200);
            run.act([] {
                return arrives<matrix::internal::SizeLimitExceeded>(
                    [] { api::ndCheckMN(123456789, 987654, std::size_t{1}); });
            });
        },
        true);
    expect_scenario(
        "rejectClassId",
        [](fault_run& run) {
            run.act([] {
                return arrives<std::invalid_argument>(
                    [] { matrix::rejectClassId("a type with a long name", ndDOUBLE_CLASS); });
            });
        },
        true);
    expect_scenario(
        "rejectArrayShape",
        [](fault_run& run) {
            run.act(
                [] { return arrives<std::invalid_argument>([] { matrix::rejectArrayShape(3, "a type"); }); });
        },
        true);
    expect_scenario(
        "rejectInvalidClassId",
        [](fault_run& run) {
            run.act([] {
                return arrives<std::invalid_argument>([] { matrix::rejectInvalidClassId(ndVOID_CLASS); });
            });
        },
        true);
}

// A check that answers by false doesn't say why: what fails while the refusal is made stays inside.
TEST_F(StateFaults, QuietChecksNeverRaise) {
    const size_limit_scope limit(1000, 100);
    for (long n = 1; n < 20; ++n) {
        const injection armed({n, fault_plan::follow_up::for_ever, 0});
        EXPECT_FALSE(api::ndCheckMN_nothrow(2000, 1, std::size_t{1}, nullptr));
        EXPECT_FALSE(api::ndCheckMNForIndexing_nothrow(~std::size_t{0}, 1, nullptr));
        EXPECT_TRUE(api::ndCheckMN_nothrow(1000, 1, std::size_t{1}, nullptr));
    }
}

TEST_F(StateFaults, RefusedComplexData) {
    const auto array = arr("complex double", {{1, 2}});
    expect_scenario(
        "published::ndGetPr of a complex array",
        [&](fault_run& run) {
            const module_mode_scope raising(mode_exceptions);
            run.operand(array.get());
            run.act([&] {
                return arrives<except::IMsgIDException>([&] { api::published::ndGetPr(array.get()); });
            });
        },
        true);
}

} // namespace
} // namespace test
