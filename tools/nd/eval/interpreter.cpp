#include "eval/interpreter.hpp"

#include "eval/assigner.hpp"
#include "eval/notation_error.hpp"

#include <filesystem>
#include <utility>

namespace nd_host::eval {

namespace {

bool is_literal_brackets(const expression& what) {
    const auto* bracket = std::get_if<bracket_expression>(&what.node);
    return bracket != nullptr && !bracket->braces && bracket->rows.empty();
}

bool deletes(const statement& what) {
    return !what.several && !what.targets.front().path.empty() &&
           what.targets.front().path.back().kind == step_kind::parentheses &&
           is_literal_brackets(*what.value);
}

} // namespace

void interpreter::add_addon(const std::string& path) {
    addons_.insert_or_assign(std::filesystem::path(path).stem().string(), addon(path, usual_entry));
}

std::vector<named_value> interpreter::run(const statement& what) {
    if (what.targets.empty()) {
        return show(*what.value);
    }
    const std::size_t wanted = what.targets.size();
    std::vector<array_ptr> values;
    if (what.several) {
        values = evaluator(variables_, around_).many(*what.value, static_cast<int>(wanted));
    } else if (deletes(what)) {
        values.emplace_back();
    } else {
        values.push_back(evaluator(variables_, around_).one(*what.value));
    }
    if (values.size() < wanted) {
        throw placed_failure(notation_error("valueCount", std::to_string(wanted) +
                                                              " values are wanted, and there are " +
                                                              std::to_string(values.size())),
                             what.value->place);
    }
    std::vector<named_value> results(wanted); // all that needs memory comes before the first change
    for (std::size_t i = 0; i < wanted; ++i) {
        results[i].name = what.targets[i].name;
    }
    for (std::size_t i = 0; i < wanted; ++i) {
        assign(what.targets[i], std::move(values[i]));
    }
    for (named_value& result : results) { // a variable may stand there twice: it has its last value now
        result.value = variables_.find(result.name)->second.get();
    }
    return results;
}

std::vector<named_value> interpreter::show(const expression& what) {
    std::vector<named_value> results;
    const auto* name = std::get_if<name_use>(&what.node);
    const auto variable = name != nullptr ? variables_.find(name->name) : variables_.end();
    if (variable != variables_.end()) {
        results.push_back({name->name, variable->second.get(), {}});
        return results;
    }
    for (array_ptr& value : evaluator(variables_, around_).many(what, 0)) {
        const ndArray_tag* const shown = value.get();
        results.push_back({"ans", shown, std::move(value)});
    }
    if (!results.empty()) {
        array_ptr last = copy_of(*results.back().value);
        variables_["ans"] = std::move(last);
    }
    return results;
}

void interpreter::assign(const assignment_target& target, array_ptr value) {
    at(target.place, [&] {
        evaluator subscripts(variables_, around_);
        assigner storing(subscripts);
        const auto found = variables_.find(target.name);
        if (found != variables_.end()) {
            storing.store(found->second, target.path, std::move(value));
            return;
        }
        array_ptr fresh;
        storing.store(fresh, target.path, std::move(value));
        variables_.emplace(target.name, std::move(fresh));
    });
}

} // namespace nd_host::eval
