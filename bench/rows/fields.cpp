// Field lookup: the value of one of several fields of a 1x1 struct, by name and by number. Each call asks for the next field.
#include "rows/rows.hpp"

#include "harness/meters.hpp"
#include "rows/works.hpp"

#include <memory>
#include <string>
#include <vector>

namespace bench {
namespace {

// A struct and the limit's record with the same names and values. Callers ask with texts of their own: a name that is looked
// up by its text comes from somewhere else.
class record {
public:
    explicit record(std::size_t count) : texts_(count), asked_(count) {
        std::vector<const char*> names;
        for (std::size_t i = 0; i < count; ++i) {
            texts_[i] = "field_name_" + std::to_string(i);
            asked_[i] = texts_[i];
            names.push_back(texts_[i].c_str());
        }
        fields_.reset(ndCreateStructMatrix(1, 1, static_cast<int>(count), names.data()), ndDestroyArray);
        std::vector<void*> values;
        for (std::size_t i = 0; i < count; ++i) {
            values.push_back(ndCreateDoubleScalar(static_cast<double>(i)));
            ndSetFieldByNumber(fields_.get(), 0, static_cast<int>(i),
                               static_cast<ndArray_tag*>(values.back()));
        }
        limit_.reset(limit_create_fields(names.data(), values.data(), count), limit_destroy_fields);
    }

    const ndArray_tag* fields() const { return fields_.get(); }
    const limit_fields* limit() const { return limit_.get(); }

    std::size_t next() {
        if (++next_ == texts_.size()) next_ = 0;
        return next_;
    }
    const char* next_asked() { return asked_[next()].c_str(); }
    const char* next_own() { return texts_[next()].c_str(); }

private:
    std::vector<std::string> texts_;
    std::vector<std::string> asked_;
    std::shared_ptr<ndArray_tag> fields_;
    std::shared_ptr<limit_fields> limit_;
    std::size_t next_ = 0;
};

void add_rows(row_list& rows, std::size_t count) {
    const auto subject = std::make_shared<record>(count);
    rows.push_back(
        {.work = "field_by_string",
         .size = std::to_string(count),
         .limit_name = "open-hash(strlen+hash+memcmp)",
         .libnd = timed([subject] { ndGetField(subject->fields(), 0, subject->next_asked()); }),
         .limit = timed([subject] { limit_field_by_text(subject->limit(), subject->next_asked()); })});
    rows.push_back(
        {.work = "field_by_interned_pointer",
         .size = std::to_string(count),
         .limit_name = "open-hash",
         .libnd = timed(
             [subject] { ndGetFieldByNumber(subject->fields(), 0, static_cast<int>(subject->next())); }),
         .limit = timed([subject] { limit_field_by_pointer(subject->limit(), subject->next_own()); })});
}

} // namespace

row_list field_rows() {
    row_list rows;
    for (const std::size_t count : {10, 200}) add_rows(rows, count);
    return rows;
}

} // namespace bench
