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
    std::vector<named_value> results;
    if (!what.several) {
        const bool deletion = deletes(what);
        array_ptr value = deletion ? array_ptr() : evaluator(variables_, around_).one(*what.value);
        results.push_back(assign(what.targets.front(), std::move(value)));
        return results;
    }
    const auto wanted = what.targets.size();
    auto values = evaluator(variables_, around_).many(*what.value, static_cast<int>(wanted));
    if (values.size() < wanted) {
        throw placed_failure(notation_error("valueCount", std::to_string(wanted) +
                                                              " values are wanted, and there are " +
                                                              std::to_string(values.size())),
                             what.value->place);
    }
    for (std::size_t i = 0; i < wanted; ++i) {
        results.push_back(assign(what.targets[i], std::move(values[i])));
    }
    return results;
}

std::vector<named_value> interpreter::show(const expression& what) {
    std::vector<named_value> results;
    const auto* name = std::get_if<name_use>(&what.node);
    const bool is_variable = name != nullptr && variables_.contains(name->name);
    for (array_ptr& value : evaluator(variables_, around_).many(what, 0)) {
        results.push_back({is_variable ? name->name : "ans", copy_of(*value)});
        if (!is_variable) {
            variables_["ans"] = std::move(value);
        }
    }
    return results;
}

named_value interpreter::assign(const assignment_target& target, array_ptr value) {
    const auto found = variables_.find(target.name);
    array_ptr fresh;
    array_ptr& variable = found != variables_.end() ? found->second : fresh;
    evaluator subscripts(variables_, around_);
    at(target.place, [&] { assigner(subscripts).store(variable, target.path, std::move(value)); });
    if (found == variables_.end()) {
        return {target.name, copy_of(*variables_.emplace(target.name, std::move(fresh)).first->second)};
    }
    return {target.name, copy_of(*variable)};
}

} // namespace nd_host::eval
