// Issuing warnings: what the warning manager says of the id decides whether the text is printed, raised or dropped.
//
// The status is asked for once, before anything happens, and holds for the whole warning, whatever a handler changes in
// between. A warning that is raised isn't logged; neither is one whose handler threw.
#include <nd/warnings.hpp>

#include "errors/ensure_catalog.hpp"

#include <fl/i18n/message_catalog.hpp>
#include <foundation/core/except/exception.hpp>
#include <libbase/text.hpp>
#include <libbase/unicode.hpp>
#include <libbase/warning_manager.hpp>
#include <nd/errors.hpp>
#include <nd/messages.hpp>

namespace matrix::detail::noninlined::nd_array_api {
namespace {

constexpr std::size_t text_buffer_bytes = 8192;

// Makes observe() reachable for the printing below.
struct observers : WarningObserver {
    using WarningObserver::observe;
};

struct verdict {
    base_warning_manager* manager; // null: there is none
    int status;

    bool is_shown() const noexcept { return status == base_warning_on || status == base_warning_error; }

    bool is_logged() const noexcept {
        return manager && (status == base_warning_off || status == base_warning_on);
    }
};

verdict judge(const char* id) noexcept {
    base_warning_manager* const manager = baseGetWarningManagerContextSafe();
    if (!manager) return {nullptr, base_warning_on};
    if (baseIsWarningModeOn(manager, base_warning_mode_all_off)) return {manager, base_warning_off};
    return {manager, baseGetWarningStatus(manager, id)};
}

std::u16string message_text(const resource_core::BaseMsgID& message) {
    return fl::i18n::MessageCatalog::get_message(message, fl::i18n::KvLocale::global());
}

// How to switch the warning off, as a link where the output shows links.
std::u16string hint(const std::string& id) {
    std::string command = "warning off " + id;
    if (basePrintfIsHot()) command = "<a href=\"tarvel:" + command + "\">" + command + "</a>";
    return message_text(TARVEL::warning::InstructionWarningOff(command));
}

void print(base_warning_manager* manager, const std::string& id, const std::u16string& text) {
    std::u16string line = message_text(TARVEL::matrix::warning_message_prefix()) + text;
    if (manager && baseIsWarningModeOn(manager, base_warning_mode_hint)) line += hint(id);
    if (manager) baseSetLastPrintedWarningId(manager, id.c_str());
    observers::observe(id, text);
    handleWarning(line);
}

[[noreturn]] void raise_as_error(base_warning_manager* manager, const std::string& id, const char* text) {
    if (manager) baseSetLastPrintedWarningId(manager, id.c_str());
    ndErrMsgIdAndTxt(id.c_str(), "%s", text);
}

void carry_out(const verdict& sentence, const std::string& id, const std::u16string& text) {
    if (sentence.status == base_warning_on) print(sentence.manager, id, text);
    if (sentence.status == base_warning_error)
        raise_as_error(sentence.manager, id, fl::i18n::codecvt_ustring_to_string(text).c_str());
}

// given_id is null for a warning that goes by the id of its message.
void issue_message(const char* given_id, const resource_core::BaseMsgID& message) {
    using foundation::core::except::IMsgIDException;
    errors::ensure_message_catalog();
    const std::string id = given_id ? std::string(given_id) : IMsgIDException::get_error_id(message);
    const verdict sentence = judge(id.c_str());
    // A warning that is off may come from a hot loop: its text isn't looked up in vain.
    if (sentence.is_shown()) carry_out(sentence, id, message_text(message));
    if (sentence.is_logged())
        baseLogWarning(sentence.manager, given_id, message, sentence.status == base_warning_off);
}

} // namespace

void ndWarningMsgIdAndTxt(const char* id, const char* format, ...) {
    va_list args;
    va_start(args, format);
    try {
        ndVWarningMsgIdAndTxt(id, format, args);
    } catch (...) {
        va_end(args);
        throw;
    }
    va_end(args);
}

void ndVWarningMsgIdAndTxt(const char* id, const char* format, va_list args) {
    if (!format) return ndWarningMsgIdAndTxt(id, "%s", "");
    const std::string shown_id = id ? id : "";
    char text[text_buffer_bytes];
    va_list again;
    va_copy(again, args);
    baseVSNprintf(text, sizeof text, format, again);
    va_end(again);
    const verdict sentence = judge(shown_id.c_str());
    // The error gets the bytes as they are: on the way through UTF-16 damaged ones would be replaced.
    if (sentence.status == base_warning_error) raise_as_error(sentence.manager, shown_id, text);
    carry_out(sentence, shown_id, baseUtf8ToUtf16(text));
    if (sentence.is_logged())
        baseLogWarning(sentence.manager, shown_id.c_str(), text, format, args,
                       sentence.status == base_warning_off);
}

bool ndWarningMsgIdAndTxtNoLog(const std::string& id, const std::basic_string<char16_t>& text) {
    const verdict sentence = judge(id.c_str());
    carry_out(sentence, id, text);
    return sentence.status == base_warning_off;
}

void ndWarningMsgId(const resource_core::BaseMsgID& message) { issue_message(nullptr, message); }

void ndWarningMsgId(const std::string& id, const resource_core::BaseMsgID& message) {
    issue_message(id.c_str(), message);
}

} // namespace matrix::detail::noninlined::nd_array_api
