#include "eval/evaluator.hpp"

#include "eval/brackets.hpp"
#include "eval/functions.hpp"
#include "eval/notation_error.hpp"

#include <nd/scalars.hpp>
#include <nd/structures.hpp>

#include <charconv>
#include <iterator>
#include <type_traits>
#include <utility>

namespace nd_host::eval {

namespace {

[[noreturn]] void fail_count(std::size_t count) {
    throw notation_error("valueCount",
                         "one value is wanted here, and there " +
                             (count == 0 ? std::string("is none") : "are " + std::to_string(count)));
}

array_ptr only(std::vector<array_ptr> values) {
    if (values.size() != 1) {
        fail_count(values.size());
    }
    return std::move(values.front());
}

double value_of_digits(const std::string& digits) {
    double value = 0;
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (read.ec == std::errc::result_out_of_range) {
        throw notation_error("syntax", "no double holds this number");
    }
    return value;
}

// c{...} and s.name, also at the end of a longer path.
bool may_be_several(const expression& what) {
    const auto* path = std::get_if<path_expression>(&what.node);
    return path != nullptr && path->path.back().kind != step_kind::parentheses;
}

std::vector<array_ptr> alone(array_ptr value) {
    std::vector<array_ptr> values;
    values.push_back(std::move(value));
    return values;
}

} // namespace

array_ptr evaluator::one(const expression& what) {
    return at(what.place, [&] { return only(many(what)); });
}

std::vector<array_ptr> evaluator::many(const expression& what, int nlhs) {
    return at(what.place, [&] {
        return std::visit(
            [&](const auto& node) {
                using node_type = std::decay_t<decltype(node)>;
                if constexpr (std::is_same_v<node_type, name_use>) {
                    return values_of_name(node, nlhs);
                } else if constexpr (std::is_same_v<node_type, path_expression>) {
                    return values_of_path(node, nlhs);
                } else {
                    return alone(value_of(node));
                }
            },
            what.node);
    });
}

array_ptr evaluator::value_of(const number_literal& node) {
    const double value = value_of_digits(node.digits);
    return node.imaginary ? scalar(std::complex<double>(0, value)) : scalar(value);
}

array_ptr evaluator::value_of(const text_literal& node) { return text_row(node.text); }

array_ptr evaluator::value_of(const all_literal&) {
    return matrix::from_tarvel(nd_array_api::ndCreateColonIndex());
}

array_ptr evaluator::value_of(const end_literal&) {
    if (ends_.empty()) {
        throw notation_error("syntax", "end has a meaning in subscripts of variables only");
    }
    const end_context& context = ends_.back();
    return scalar(nd_array_api::ndGetEnd(context.value, context.position, context.count));
}

array_ptr evaluator::value_of(const range_expression& node, bool as_object) {
    subscript_list operands(0);
    operands.add(one(*node.start));
    if (node.step) {
        operands.add(one(*node.step));
    }
    operands.add(one(*node.stop));
    return range(operands.all(), as_object);
}

array_ptr evaluator::value_of(const sign_expression& node) {
    const array_ptr operand = one(*node.operand);
    const array_ptr changed = negated(*operand); // which also sees to it that it can have a sign
    return copy_of(node.minus ? *changed : *operand);
}

array_ptr evaluator::value_of(const arithmetic_expression& node) {
    const array_ptr left = one(*node.left);
    const array_ptr right = one(*node.right);
    return arithmetic(node.operation, *left, *right);
}

array_ptr evaluator::value_of(const transpose_expression& node) {
    const array_ptr operand = one(*node.operand);
    return transposed(*operand, node.conjugate);
}

array_ptr evaluator::value_of(const bracket_expression& node) {
    part_rows rows;
    for (const expression_list& row : node.rows) {
        rows.emplace_back();
        for (const expression_ptr& part : row) {
            for (array_ptr& value : many(*part)) {
                rows.back().push_back(std::move(value));
            }
        }
    }
    return node.braces ? cell_of(std::move(rows)) : matrix_of(std::move(rows));
}

// What end means while one subscript is evaluated.
class evaluator::end_in {
public:
    end_in(std::vector<end_context>& all, const end_context& context) : all_(all) { all_.push_back(context); }
    ~end_in() { all_.pop_back(); }
    end_in(const end_in&) = delete;
    end_in& operator=(const end_in&) = delete;

private:
    std::vector<end_context>& all_;
};

std::vector<array_ptr> evaluator::values_of_subscript(const expression& subscript,
                                                      const end_context& context) {
    const end_in meaning(ends_, context);
    if (const auto* node = std::get_if<range_expression>(&subscript.node)) {
        return alone(at(subscript.place, [&] { return value_of(*node, true); }));
    }
    return many(subscript);
}

// Those that may be several, or none, come first: end asks how many subscripts there are.
subscript_list evaluator::subscripts(const path_step& step, const ndArray_tag& value) {
    const std::size_t written = step.subscripts.size();
    std::vector<std::vector<array_ptr>> values(written);
    std::size_t count = 0;
    for (std::size_t i = 0; i < written; ++i) {
        const bool several = may_be_several(*step.subscripts[i]);
        if (several) {
            values[i] = values_of_subscript(*step.subscripts[i], {&value, i + 1, written});
        }
        count += several ? values[i].size() : 1;
    }
    subscript_list list(step.place);
    for (std::size_t i = 0; i < written; ++i) {
        if (!may_be_several(*step.subscripts[i])) {
            values[i] = values_of_subscript(*step.subscripts[i], {&value, list.size() + 1, count});
        }
        for (array_ptr& one_of_them : values[i]) {
            list.add(std::move(one_of_them), step.subscripts[i]->place);
        }
    }
    return list;
}

const ndArray_tag* evaluator::variable(const expression& what) const {
    const auto* name = std::get_if<name_use>(&what.node);
    const auto found = name != nullptr ? variables_.find(name->name) : variables_.end();
    return found != variables_.end() ? found->second.get() : nullptr;
}

std::vector<array_ptr> evaluator::values_of_name(const name_use& node, int nlhs) {
    const auto found = variables_.find(node.name);
    return found != variables_.end() ? alone(copy_of(*found->second)) : call_function(node.name, {}, nlhs);
}

std::vector<array_ptr> evaluator::values_of_path(const path_expression& node, int nlhs) {
    if (const ndArray_tag* known = variable(*node.base)) {
        return values_along(*known, node.path, 0);
    }
    const auto* name = std::get_if<name_use>(&node.base->node);
    if (name == nullptr) {
        const array_ptr base = one(*node.base);
        return values_along(*base, node.path, 0);
    }
    const bool with_arguments = node.path.front().kind == step_kind::parentheses;
    static const expression_list none;
    const expression_list& arguments = with_arguments ? node.path.front().subscripts : none;
    const std::size_t next = with_arguments ? 1 : 0;
    auto results = call_function(name->name, arguments, next == node.path.size() ? nlhs : 1);
    if (next == node.path.size()) {
        return results;
    }
    const array_ptr base = only(std::move(results));
    return values_along(*base, node.path, next);
}

std::vector<array_ptr> evaluator::values_along(const ndArray_tag& start, const std::vector<path_step>& path,
                                               std::size_t next) {
    std::vector<array_ptr> values;
    const ndArray_tag* value = &start;
    array_ptr kept; // what value points to, unless that is start
    while (true) {
        const std::size_t place = path[next].place;
        values = values_of_step(*value, path, next);
        if (next == path.size()) {
            return values;
        }
        kept = at(place, [&] { return only(std::move(values)); });
        value = kept.get();
    }
}

// One step, or two where a field follows on parentheses.
std::vector<array_ptr> evaluator::values_of_step(const ndArray_tag& value, const std::vector<path_step>& path,
                                                 std::size_t& next) {
    const path_step& step = path[next++];
    if (step.kind == step_kind::field) {
        subscript_list every(step.place);
        every.add(value_of(all_literal{}));
        return at(step.place, [&] { return field_values(value, every, step.field); });
    }
    const subscript_list list = subscripts(step, value);
    if (step.kind == step_kind::braces) {
        return at_step(list, [&] { return contents(value, list); });
    }
    const bool field_follows = list.size() != 0 && next < path.size() && path[next].kind == step_kind::field;
    if (!field_follows) {
        return at_step(list, [&] { return alone(elements(value, list)); });
    }
    const path_step& field = path[next++];
    at(field.place, [&] { return field_number(value, field.field); });
    return at_step(list, [&] { return field_values(value, list, field.field); });
}

// int64(9007199254740993): a double wouldn't hold the digits.
array_ptr evaluator::exact_integer(const std::string& function, const expression_list& arguments) const {
    const ndClassID cls = nd_array_api::ndClassIDFromClassName(function.c_str());
    if (arguments.size() != 1 || (cls != ndINT64_CLASS && cls != ndUINT64_CLASS)) {
        return {};
    }
    const expression* what = arguments.front().get();
    const auto* sign = std::get_if<sign_expression>(&what->node);
    const auto* number = std::get_if<number_literal>(&(sign != nullptr ? *sign->operand : *what).node);
    return number != nullptr && !number->imaginary
               ? integer_literal(number->digits, sign != nullptr && sign->minus, cls)
               : array_ptr();
}

std::vector<array_ptr> evaluator::call_function(const std::string& name, const expression_list& arguments,
                                                int nlhs) {
    const builtin* const function = find_builtin(name);
    const auto found = around_.addons.find(name);
    if (function == nullptr && found == around_.addons.end()) {
        throw notation_error("undefinedName", "there is neither a variable nor a function " + name);
    }
    if (function != nullptr) {
        if (array_ptr exact = exact_integer(name, arguments)) {
            return alone(std::move(exact));
        }
    }
    std::vector<array_ptr> values;
    for (const expression_ptr& argument : arguments) {
        auto several = many(*argument);
        std::move(several.begin(), several.end(), std::back_inserter(values));
    }
    if (function != nullptr) {
        return alone(call(*function, std::move(values)));
    }
    auto results = around_.session.call(found->second, nlhs, values, around_.observer);
    for (array_ptr& result : results) {
        result = with_data(std::move(result));
    }
    return results;
}

} // namespace nd_host::eval
