#include "eval/line_source.hpp"

#include "failure.hpp"

#include <histedit.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <utility>

namespace nd_host::eval {

namespace {

constexpr int kept_lines = 1000;

class given_lines : public line_source {
public:
    explicit given_lines(std::vector<std::string> lines) : lines_(std::move(lines)) {}
    std::optional<std::string> next() override {
        if (next_ == lines_.size()) return std::nullopt;
        return lines_[next_++];
    }

private:
    std::vector<std::string> lines_;
    std::size_t next_ = 0;
};

class input_lines : public line_source {
public:
    std::optional<std::string> next() override {
        std::string line;
        if (std::getline(std::cin, line)) return line;
        if (std::cin.bad()) {
            throw failure(exit_status::bad_input, "standard input can't be read");
        }
        return std::nullopt;
    }
};

class edited_lines : public line_source {
public:
    explicit edited_lines(std::string file)
        : file_(std::move(file)), editor_(el_init("nd", stdin, stdout, stderr)), history_(history_init()) {
        if (!editor_ || !history_) {
            throw failure(exit_status::internal, "the line editor can't be started");
        }
        HistEvent event;
        history(history_.get(), &event, H_SETSIZE, kept_lines);
        history(history_.get(), &event, H_SETUNIQUE, 1);
        if (!file_.empty()) {
            history(history_.get(), &event, H_LOAD, file_.c_str()); // there is none at the first time
        }
        el_set(editor_.get(), EL_PROMPT, prompt);
        el_set(editor_.get(), EL_SIGNAL, 1);
        el_set(editor_.get(), EL_EDITOR, "emacs");
        el_set(editor_.get(), EL_HIST, ::history, history_.get());
        el_source(editor_.get(), nullptr); // the user's own keys
    }

    std::optional<std::string> next() override {
        int length = 0;
        const char* const read = el_gets(editor_.get(), &length);
        if (read == nullptr || length <= 0) {
            std::fputs("\n", stdout);
            return std::nullopt;
        }
        std::string line(read, static_cast<std::size_t>(length));
        if (line.find_first_not_of(" \t\n") != std::string::npos) {
            remember(line);
        }
        while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
        return line;
    }

    bool is_interactive() const override { return true; }

private:
    static char* prompt(EditLine*) {
        static char text[] = "> ";
        return text;
    }

    void remember(const std::string& line) {
        HistEvent event;
        history(history_.get(), &event, H_ENTER, line.c_str());
        if (!file_.empty()) { // at once: the next line may end the process
            history(history_.get(), &event, H_SAVE, file_.c_str());
        }
    }

    std::string file_;
    std::unique_ptr<EditLine, decltype([](EditLine* e) { el_end(e); })> editor_;
    std::unique_ptr<History, decltype([](History* h) { history_end(h); })> history_;
};

} // namespace

std::unique_ptr<line_source> open_lines(const std::vector<std::string>& words, const std::string& history) {
    if (!words.empty()) {
        return std::make_unique<given_lines>(words);
    }
    if (isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0) {
        return std::make_unique<edited_lines>(history);
    }
    return std::make_unique<input_lines>();
}

std::string usual_history() {
    if (const char* file = std::getenv("ND_HISTORY")) {
        return file;
    }
    const char* const home = std::getenv("HOME");
    return home != nullptr && *home != '\0' ? std::string(home) + "/.nd_history" : std::string();
}

} // namespace nd_host::eval
