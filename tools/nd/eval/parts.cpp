#include "eval/parts.hpp"

#include <nd/reference.hpp>
#include <nd/structures.hpp>

#include <foundation/core/except/exception.hpp>

#include <variant>

namespace nd_host::eval {

namespace {

// The contents of the slots of a cell that was made for them.
std::vector<array_ptr> slots_of(const array_ptr& cell) {
    std::vector<array_ptr> values;
    const std::size_t count = nd_array_api::ndGetNumberOfElements(cell.get());
    for (std::size_t i = 0; i < count; ++i) {
        values.push_back(copy_of_slot(nd_array_api::ndGetCell(cell.get(), i)));
    }
    return values;
}

bool selects_one(const ndArray_tag& value, const subscript_list& subscripts) {
    for (std::size_t i = 0; i < subscripts.size(); ++i) {
        kvSize count = 0;
        nd_array_api::ndSubsCount(&value, subscripts.data()[i], i + 1, subscripts.size(), &count);
        if (count != 1) {
            return false;
        }
    }
    return true;
}

} // namespace

std::size_t field_number(const ndArray_tag& value, const std::string& name) {
    if (!nd_array_api::ndIsStruct(&value)) {
        throw notation_error("notAStruct", "a value of class " + class_name(value) + " has no fields");
    }
    const int number = nd_array_api::ndGetFieldNumber(&value, name.c_str());
    if (number < 0) {
        throw notation_error("undefinedField", "there is no field " + name);
    }
    return static_cast<std::size_t>(number) + 1;
}

array_ptr elements(const ndArray_tag& value, const subscript_list& subscripts) {
    return subscripts.size() == 0 ? copy_of(value) : matrix::subscriptedReference(value, subscripts.all());
}

std::vector<array_ptr> contents(const ndArray_tag& value, const subscript_list& subscripts) {
    if (!nd_array_api::ndIsCell(&value)) {
        throw notation_error("notACell", "braces look into cells; this is a " + class_name(value));
    }
    if (subscripts.size() == 0) {
        throw notation_error("syntax", "subscripts are missing");
    }
    return slots_of(elements(value, subscripts));
}

std::vector<array_ptr> field_values(const ndArray_tag& value, const subscript_list& subscripts,
                                    const std::string& field) {
    const std::size_t number = field_number(value, field);
    return slots_of(matrix::structureReference(value, subscripts.all(), number));
}

array_ptr slot_to_write(const ndArray_tag& value, const subscript_list& subscripts, std::size_t field) {
    if (!selects_one(value, subscripts)) {
        throw notation_error("valueCount", "one element has to be selected here");
    }
    kvIndex offset = 0;
    kvSize failed = 0;
    if (nd_array_api::ndScalarRefForAssignment(&offset, failed, &value, subscripts.size(), subscripts.data(),
                                               field) == ndSCALAR_REF_EXCEEDS) {
        return {};
    }
    const auto* const element = static_cast<const ndArray_tag* const*>(value.pdata)[offset];
    return element != nullptr ? copy_of_slot(element) : array_ptr();
}

std::size_t place_of_error(const subscript_list& subscripts) {
    try {
        throw;
    } catch (const foundation::core::except::IMsgIDException& error) {
        const auto& arguments = error.GetBaseMsgIDObj().arguments();
        const auto* position = error.GetID() == "TARVEL:badsubscript" && !arguments.empty()
                                   ? std::get_if<std::uint64_t>(&arguments.front())
                                   : nullptr;
        return subscripts.place_of(position != nullptr ? *position : 0);
    } catch (...) {
        return subscripts.place_of(0);
    }
}

} // namespace nd_host::eval
