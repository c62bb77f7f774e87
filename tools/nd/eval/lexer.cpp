#include "eval/lexer.hpp"

#include "eval/notation_error.hpp"
#include "utf8.hpp"

#include <algorithm>
#include <utility>

namespace nd_host::eval {

namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

class lexer {
public:
    explicit lexer(std::string_view source) : source_(source) {}

    std::vector<token> run() {
        for (skip_blanks(); next_ < source_.size(); skip_blanks()) {
            const char c = source_[next_];
            if (is_digit(c) || (c == '.' && is_digit(peek(1)) && !behind_value())) {
                add_number();
            } else if (is_letter(c)) {
                std::size_t length = 1;
                while (is_letter(peek(length)) || is_digit(peek(length))) ++length;
                add(token_kind::name, length);
            } else if (c == '\n') {
                add(token_kind::newline, 1);
            } else if (c == '\'' && !behind_value()) {
                add_text();
            } else {
                add_symbol(c);
            }
        }
        add(token_kind::end, 0);
        return std::move(tokens_);
    }

private:
    char peek(std::size_t offset) const {
        return next_ + offset < source_.size() ? source_[next_ + offset] : '\0';
    }

    void skip_blanks() {
        const std::size_t from = next_;
        while (is_blank(peek(0))) ++next_;
        if (peek(0) == '%') {
            next_ = std::min(source_.find('\n', next_), source_.size());
        }
        blank_ = next_ != from;
    }

    // Whether the token before ends a value that what comes now can belong to.
    bool behind_value() const {
        if (blank_ || tokens_.empty()) return false;
        const token& last = tokens_.back();
        return last.kind == token_kind::symbol
                   ? last.is(")") || last.is("]") || last.is("}") || last.is("'") || last.is(".'")
                   : last.kind != token_kind::newline;
    }

    void add(token_kind kind, std::size_t length) {
        tokens_.push_back({kind, std::string(source_.substr(next_, length)), next_, blank_});
        next_ += length;
    }

    void add_number() {
        std::size_t length = 0;
        const auto skip_digits = [&] {
            while (is_digit(peek(length))) ++length;
        };
        skip_digits();
        if (peek(length) == '.' && peek(length + 1) != '\'') {
            ++length;
            skip_digits();
        }
        if (peek(length) == 'e' || peek(length) == 'E') {
            const std::size_t sign = peek(length + 1) == '+' || peek(length + 1) == '-' ? 1 : 0;
            if (is_digit(peek(length + 1 + sign))) {
                length += 1 + sign;
                skip_digits();
            }
        }
        const bool imaginary = peek(length) == 'i' || peek(length) == 'j';
        add(imaginary ? token_kind::imaginary : token_kind::number, length);
        next_ += imaginary ? 1 : 0;
        if (is_letter(peek(0)) || is_digit(peek(0))) {
            fail("a number ends in something else", next_);
        }
    }

    void add_text() {
        token text{token_kind::text, {}, next_, blank_};
        for (++next_; peek(0) != '\'' || peek(1) == '\''; ++next_) {
            if (next_ >= source_.size() || peek(0) == '\n') {
                fail("the text has no end", text.place);
            }
            next_ += peek(0) == '\'' ? 1 : 0;
            text.text += peek(0);
        }
        refuse_broken_utf8(text.place + 1);
        ++next_;
        tokens_.push_back(std::move(text));
    }

    // From there up to the next byte.
    void refuse_broken_utf8(std::size_t from) const {
        while (from < next_) {
            const std::size_t length = character_length(source_.substr(from, next_ - from));
            if (length == 0) {
                fail("the text isn't UTF-8 here", from);
            }
            from += length;
        }
    }

    void add_symbol(char c) {
        constexpr std::string_view single = "()[]{},;:=+-*/.'";
        if (c == '.' && peek(1) == '\'') {
            add(token_kind::symbol, 2);
        } else if (single.find(c) != std::string_view::npos) {
            add(token_kind::symbol, 1);
        } else {
            fail("the notation has no such character", next_);
        }
    }

    [[noreturn]] static void fail(const std::string& text, std::size_t place) {
        throw placed_failure(notation_error("syntax", text), place);
    }

    std::string_view source_;
    std::size_t next_ = 0;
    bool blank_ = false;
    std::vector<token> tokens_;
};

} // namespace

std::vector<token> tokens_of(std::string_view source) { return lexer(source).run(); }

} // namespace nd_host::eval
