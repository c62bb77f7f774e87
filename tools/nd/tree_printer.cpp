#include "tree_printer.hpp"

#include "array_view.hpp"
#include "quoted_text.hpp"
#include "range_values.hpp"
#include "shown_range.hpp"
#include "sparse_text.hpp"
#include "value_line.hpp"

#include <nd/class_access.hpp>

#include <algorithm>
#include <utility>
#include <vector>

namespace nd_host {

namespace {

namespace nd_array_api = matrix::detail::noninlined::nd_array_api;

constexpr cut element_cut{20, 12, 3};
constexpr cut field_cut{40, 30, 5};

struct limits {
    std::size_t lines;
    std::size_t levels;
};
constexpr limits usual_limits{100, 10};
constexpr limits whole_limits{100000, 100};

bool is_struct(const ndArray_tag& value) { return nd_array_api::ndIsStruct(&value); }

std::size_t field_count(const ndArray_tag& value) {
    return static_cast<std::size_t>(std::max(0, nd_array_api::ndGetNumberOfFields(&value)));
}

std::string field_name(const ndArray_tag& value, std::size_t field) {
    return printable(nd_array_api::ndGetFieldNameByNumber(&value, static_cast<int>(field)));
}

std::size_t element_count(const array_view& view) { return view.rows() * view.columns(); }

// The subscripts of an element: its number in a row or column, else one for each dimension.
std::string subscripts(const array_view& view, std::size_t element) {
    const auto& dims = view.dims();
    if (dims.size() == 2 && (dims[0] == 1 || dims[1] == 1)) {
        return std::to_string(element + 1);
    }
    std::string text;
    for (const std::size_t dim : dims) {
        text += (text.empty() ? "" : ",") + std::to_string(element % dim + 1);
        element /= dim;
    }
    return text;
}

// A container on the way from the root to the line that is written, and which of its slots come next.
class open_container {
public:
    /// Lists no more slots than the first most, each of which takes a line.
    open_container(const ndArray_tag& value, bool whole, std::size_t most)
        : value_(value), view_(value), fields_(is_struct(value) ? field_count(value) : 1) {
        const auto shown_fields = shown_indices(fields_, field_cut, whole, most);
        for (const std::size_t element : shown_indices(element_count(view_), element_cut, whole, most)) {
            if (slots_.size() >= most) {
                return;
            }
            if (element == gap) {
                slots_.push_back(gap);
                continue;
            }
            for (const std::size_t field : shown_fields) {
                slots_.push_back(field == gap ? gap : element * fields_ + field);
            }
        }
    }

    bool at_end() const { return next_ == slots_.size(); }
    std::size_t next_slot() { return slots_[next_++]; }

    const ndArray_tag* at(std::size_t slot) const {
        return static_cast<const ndArray_tag* const*>(value_.pdata)[slot];
    }

    std::string label(std::size_t slot) const {
        if (!is_struct(value_)) {
            return "{" + subscripts(view_, slot) + "}";
        }
        const std::string name = field_name(value_, slot % fields_);
        return element_count(view_) == 1 ? name : "(" + subscripts(view_, slot / fields_) + ")." + name;
    }

private:
    const ndArray_tag& value_;
    array_view view_;
    std::size_t fields_;
    std::vector<std::size_t> slots_;
    std::size_t next_ = 0;
};

// The fields of a struct where no line below tells them.
std::string fields_told(const ndArray_tag& value, bool whole) {
    if (field_count(value) == 0) {
        return " without fields";
    }
    std::string text;
    for (const std::size_t field : shown_indices(field_count(value), field_cut, whole)) {
        text += text.empty() ? " with fields " : ", ";
        text += field == gap ? "..." : field_name(value, field);
    }
    return text;
}

class tree_writer {
public:
    explicit tree_writer(bool whole) : whole_(whole), limits_(whole ? whole_limits : usual_limits) {}

    std::string write(const std::string& title, const ndArray_tag& value) {
        add(title, &value);
        while (next_listed_ < listed_.size() || close_finished()) {
            if (lines_ == limits_.lines) {
                return text_ + "... the first " + std::to_string(lines_) + " lines are shown\n";
            }
            if (next_listed_ < listed_.size()) {
                begin_line();
                text_ += "  " + listed_[next_listed_++] + "\n";
            } else {
                add_slot();
            }
        }
        return std::move(text_);
    }

private:
    void add_slot() {
        const std::size_t slot = open_.back().next_slot();
        if (slot == gap) {
            begin_line();
            text_ += "...\n";
        } else {
            add(open_.back().label(slot), open_.back().at(slot));
        }
    }

    // Leaves containers that are through; false when none is open any more.
    bool close_finished() {
        while (!open_.empty() && open_.back().at_end()) {
            open_.pop_back();
        }
        return !open_.empty();
    }

    void begin_line() {
        text_.append(2 * open_.size(), ' ');
        ++lines_;
    }

    void add(const std::string& label, const ndArray_tag* value) {
        begin_line();
        text_ += label + ": ";
        if (value == nullptr) {
            text_ += "empty\n";
            return;
        }
        const array_view view(*value);
        text_ += view.description();
        if (nd_array_api::ndIsSparse(value)) {
            add_stored(sparse_view(*value));
        } else if (!nd_array_api::ndIsContainer(value)) {
            const std::string elements =
                is_long_range(*value) ? range_text(*value) : value_line(view, whole_);
            text_ += (elements.empty() ? "" : " ") + elements + "\n";
        } else {
            add_content(*value, view);
        }
    }

    void add_stored(const sparse_view& array) {
        if (!array.is_sound()) {
            text_ += "\n";
            return;
        }
        text_ += ", " + stored_text(array) + "\n";
        listed_ = sparse_lines(array, whole_, limits_.lines - lines_ + 1);
        next_listed_ = 0;
    }

    void add_content(const ndArray_tag& container, const array_view& view) {
        const bool nothing_below =
            element_count(view) == 0 || (is_struct(container) && field_count(container) == 0);
        if (nothing_below) {
            text_ += (is_struct(container) ? fields_told(container, whole_) : "") + "\n";
        } else if (container.pdata == nullptr || open_.size() == limits_.levels) {
            text_ += " ...\n";
        } else {
            text_ += "\n";
            // One more than there are lines left for, so that the end of the lines is met and told.
            open_.emplace_back(container, whole_, limits_.lines - lines_ + 1);
        }
    }

    bool whole_;
    limits limits_;
    std::string text_;
    std::size_t lines_ = 0;
    std::vector<std::string> listed_; // lines below the value that was added last
    std::size_t next_listed_ = 0;
    std::vector<open_container> open_; // at most limits_.levels of them
};

} // namespace

std::string tree_text(const std::string& title, const ndArray_tag& value, bool whole) {
    return tree_writer(whole).write(title, value);
}

} // namespace nd_host
