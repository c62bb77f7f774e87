#include "cases/case_runner.hpp"

#include "cases/same_value.hpp"

#include <array_view.hpp>
#include <eval/interpreter.hpp>
#include <eval/notation_error.hpp>
#include <eval/parser.hpp>
#include <tree_printer.hpp>

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace test {

namespace {

using matrix::array_ptr;
using nd_host::eval::interpreter;
using nd_host::eval::workspace;

std::string shown(const ndArray_tag& array) { return nd_host::tree_text("it gives", array, false); }

// Copies of all variables as they are now.
class snapshot {
public:
    snapshot(const workspace& variables, bool share) {
        for (const auto& [name, value] : variables) {
            deep_[name] = matrix::detail::do_deep_copy(value.get());
            if (share) {
                sharing_[name] = matrix::detail::do_shared_copy(value.get());
            }
        }
    }

    bool is_still(const workspace& variables) const { return same(deep_, variables); }
    bool sharers_are_unchanged() const { return sharing_.empty() || same(deep_, sharing_); }

private:
    static bool same(const workspace& a, const workspace& b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& one, const auto& other) {
            return one.first == other.first && same_value(one.second.get(), other.second.get());
        });
    }

    workspace deep_;
    workspace sharing_;
};

// Variables are their workspace's alone, and nothing is left for the end of the engine.
bool stand_right(const workspace& variables) {
    namespace nd_array_api = matrix::detail::noninlined::nd_array_api;
    return matrix::isArrayListContextEmpty() && matrix::isAllocListContextEmpty() &&
           std::all_of(variables.begin(), variables.end(), [](const auto& variable) {
               return nd_array_api::ndGetArrayScopeField(variable.second.get()) == ndLOCAL_SCOPE;
           });
}

struct outcome {
    std::string identifier; // of what was raised
    std::string message;
    array_ptr value; // of the last statement
    std::string complaint;
};

std::string identifier_of(const nd_host::failure& error) {
    const std::string text = error.what();
    return text.substr(0, text.find(": "));
}

outcome run(nd_host::engine_session& session, const std::string& source, bool share) {
    interpreter it(session);
    std::vector<snapshot> before;
    outcome result;
    try {
        for (const auto& statement : nd_host::eval::parse(source)) {
            before.emplace_back(it.variables(), share);
            auto values = it.run(statement);
            result.value = matrix::detail::do_shared_copy(values.empty() ? nullptr : values.back().value);
        }
    } catch (const nd_host::failure& error) {
        result.identifier = identifier_of(error);
        result.message = error.what();
        if (!before.empty() && !before.back().is_still(it.variables())) {
            result.complaint = "a variable has changed although the statement failed";
        }
    }
    if (!stand_right(it.variables())) {
        result.complaint = "a variable hasn't local scope, or something was left on a list";
    }
    if (!std::all_of(before.begin(), before.end(), [](const auto& s) { return s.sharers_are_unchanged(); })) {
        result.complaint = "an array that shared its data with a variable has changed";
    }
    return result;
}

// The array that an expression of the expectation stands for.
array_ptr value_of(nd_host::engine_session& session, const std::string& expression) {
    outcome result = run(session, expression, false);
    if (!result.value) {
        throw std::runtime_error("the value can't be read: " + result.message);
    }
    return std::move(result.value);
}

} // namespace

std::string check(nd_host::engine_session& session, const case_line& line, bool share) {
    const outcome result = run(session, line.source, share);
    if (!result.complaint.empty()) {
        return result.complaint;
    }
    if (result.identifier != line.identifier) {
        return result.identifier.empty()
                   ? "it doesn't raise " + line.identifier + "\n" + (result.value ? shown(*result.value) : "")
                   : "it raises " + result.message;
    }
    if (!line.identifier.empty()) {
        return {};
    }
    if (!result.value) {
        return "it gives no value";
    }
    if (nd_host::array_view(*result.value).description() != line.description) {
        return shown(*result.value);
    }
    const bool without_elements = result.value->pdata == nullptr ||
                                  nd_host::array_view(*result.value).columns() == 0 ||
                                  nd_host::array_view(*result.value).rows() == 0;
    if (line.elements.empty()) {
        return without_elements ? "" : "the line doesn't say which elements; " + shown(*result.value);
    }
    return same_elements(*result.value, *value_of(session, line.elements)) ? "" : shown(*result.value);
}

} // namespace test
