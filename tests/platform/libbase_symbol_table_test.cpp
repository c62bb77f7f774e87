// The symbol table: equal texts share one pointer for ever, from any thread, and a failed add changes nothing.
#include <libbase/symbol_table.hpp>

#include "support/alloc_sources.hpp"
#include "support/balance.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <new>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_set>
#include <vector>

using namespace std::string_view_literals;

namespace {

// A thread-sanitized add takes some twenty times as long.
#if defined(__SANITIZE_THREAD__)
constexpr int many = 100000;
#else
constexpr int many = 1000000;
#endif

// The start of names that no earlier test, or earlier run of the same test, has added. Symbols stay for good.
std::string fresh(const char* what) {
    test::let_process_keep_more();
    static int runs = 0;
    return "libbase_test_" + std::to_string(++runs) + "_" + what;
}

// Added at static initialization, before main and before any object of the library needs to be constructed.
const char* const early = base_symtab_add("libbase_test_early");

TEST(LibbaseSymbolTable, HoldsTextsOfEveryLength) {
    std::string text;
    std::set<const char*> symbols;
    for (std::size_t length = 0; length <= 300; ++length) {
        const char* const symbol = base_symtab_add(text.c_str());
        EXPECT_STREQ(symbol, text.c_str());
        EXPECT_NE(symbol, text.c_str());
        EXPECT_TRUE(symbols.insert(symbol).second) << length;
        text += static_cast<char>('a' + length % 26);
    }
}

TEST(LibbaseSymbolTable, HoldsTextsLongerThanItsBlocks) {
    for (const std::size_t length : {4000U, 4079U, 4080U, 4081U, 4096U, 100000U}) {
        const std::string text(length, 'L');
        const char* const symbol = base_symtab_add(text.c_str());
        EXPECT_EQ(symbol, text);
        EXPECT_EQ(symbol, base_symtab_find(text.c_str()));
    }
}

TEST(LibbaseSymbolTable, EqualTextsGiveEqualPointers) {
    const char copy[] = "libbase_test_equal";
    const char* const symbol = base_symtab_add("libbase_test_equal");
    EXPECT_EQ(symbol, base_symtab_add(copy));
    EXPECT_EQ(symbol, base_symtab_add(symbol));
    EXPECT_EQ(symbol, base_symtab_add("libbase_test_equal and more", sizeof copy - 1));
    EXPECT_EQ(symbol, base_symtab_find(copy));
    EXPECT_EQ(symbol, base_symtab_find("libbase_test_equal and more", sizeof copy - 1));
}

// Pairs that a careless hash or comparison takes for one another.
TEST(LibbaseSymbolTable, DifferentTextsGiveDifferentPointers) {
    constexpr std::string_view texts[] = {"",
                                          "\0"sv,
                                          "\0\0"sv,
                                          "a",
                                          "a\0"sv,
                                          "a\0b"sv,
                                          "aa",
                                          "ab",
                                          "ba",
                                          "aba",
                                          "abc",
                                          "abcd",
                                          "abce",
                                          "bbcd",
                                          "abcdabcd",
                                          "abcdabce",
                                          "abcdefgh",
                                          "abcdefg",
                                          "12345678",
                                          "123456789",
                                          "1234567812345678",
                                          "\xff",
                                          "\xff\xff",
                                          "A",
                                          "aaaaaaaa",
                                          "aaaaaaaaa",
                                          "aaaaaaaaaaaa",
                                          "1234567812345678 ",
                                          "1234567 ",
                                          " 1234567",
                                          "x1",
                                          "x2",
                                          "X1",
                                          "x 1",
                                          "12345678123456781234567812345678"};
    std::set<const char*> symbols;
    for (const auto text : texts) {
        const char* const symbol = base_symtab_add(text.data(), text.size());
        EXPECT_EQ(std::string_view(symbol, text.size()), text);
        EXPECT_EQ(symbol[text.size()], '\0');
        symbols.insert(symbol);
    }
    EXPECT_EQ(symbols.size(), std::size(texts));
}

TEST(LibbaseSymbolTable, FindAddsNothing) {
    const std::string text = fresh("never_added");
    EXPECT_EQ(base_symtab_find(text.c_str()), nullptr);
    EXPECT_EQ(base_symtab_find(text.c_str()), nullptr);
    const char* const symbol = base_symtab_add(text.c_str());
    EXPECT_EQ(base_symtab_find(text.c_str()), symbol);
}

TEST(LibbaseSymbolTable, WorksBeforeMain) {
    EXPECT_STREQ(early, "libbase_test_early");
    EXPECT_EQ(early, base_symtab_add("libbase_test_early"));
}

TEST(LibbaseSymbolTable, PointersStayWhileTheTableGrows) {
    const std::string start = fresh("grow_");
    const auto name = [&start](int i) { return start + std::to_string(i); };
    std::vector<const char*> symbols;
    for (int i = 0; i < many; ++i) symbols.push_back(base_symtab_add(name(i).c_str()));
    const std::unordered_set<const char*> distinct(symbols.begin(), symbols.end());
    EXPECT_EQ(distinct.size(), symbols.size());
    int moved = 0;
    for (int i = 0; i < many; ++i) {
        const std::string text = name(i);
        const char* const symbol = symbols[static_cast<std::size_t>(i)];
        moved += text != symbol || symbol != base_symtab_find(text.c_str()) ||
                 symbol != base_symtab_add(text.c_str());
    }
    EXPECT_EQ(moved, 0);
}

// All threads add the same texts, each starting elsewhere, and look for those of the others while the table grows.
TEST(LibbaseSymbolTable, ThreadsAgreeOnEverySymbol) {
    constexpr int thread_count = 8;
    constexpr int text_count = 10000;
    std::vector<std::string> texts;
    const std::string name = fresh("thread_");
    for (int i = 0; i < text_count; ++i) texts.push_back(name + std::to_string(i));
    std::vector<std::vector<const char*>> symbols(thread_count, std::vector<const char*>(texts.size()));
    std::atomic<int> waiting{thread_count};
    std::atomic<int> wrong{0};
    const auto work = [&](std::size_t thread) {
        waiting.fetch_sub(1);
        while (waiting.load() > 0) std::this_thread::yield();
        const std::size_t start = thread * texts.size() / thread_count;
        for (std::size_t n = 0; n < texts.size(); ++n) {
            const std::string& text = texts[(start + n) % texts.size()];
            const std::string& other = texts[(start + 7 * n) % texts.size()];
            symbols[thread][(start + n) % texts.size()] = base_symtab_add(text.c_str());
            const char* const seen = base_symtab_find(other.c_str());
            if (seen && other != seen) wrong.fetch_add(1);
        }
    };
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < thread_count; ++thread) threads.emplace_back(work, thread);
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(wrong.load(), 0);
    for (const auto& seen : symbols) EXPECT_EQ(seen, symbols[0]);
    for (std::size_t i = 0; i < texts.size(); ++i) ASSERT_EQ(symbols[0][i], texts[i]);
}

TEST(LibbaseSymbolTable, WorksWhileAThreadEnds) {
    struct at_exit {
        const char** result;
        ~at_exit() { *result = base_symtab_add("libbase_test_thread_exit"); }
    };
    const char* symbol = nullptr;
    std::thread([&symbol] {
        static thread_local at_exit ending{nullptr};
        ending.result = &symbol;
    }).join();
    EXPECT_EQ(symbol, base_symtab_find("libbase_test_thread_exit"));
    EXPECT_STREQ(symbol, "libbase_test_thread_exit");
}

// Each add is first tried without any memory. One that needs some fails and changes nothing; one that doesn't is complete.
TEST(LibbaseSymbolTable, AFailedAddChangesNothing) {
    constexpr int text_count = 5000;
    const std::string start = fresh("fail_");
    const auto name = [&start](int i) {
        return start + std::to_string(i) + std::string(i % 50 == 0 ? 5000 : 0, 'x');
    };
    std::vector<const char*> symbols;
    int failures = 0;
    for (int i = 0; i < text_count; ++i) {
        const std::string text = name(i);
        const char* symbol = nullptr;
        {
            test::injection injection({.first = 1, .then = test::fault_plan::follow_up::for_ever});
            try {
                symbol = base_symtab_add(text.c_str());
            } catch (const std::bad_alloc&) {
                ++failures;
            }
        }
        EXPECT_EQ(base_symtab_find(text.c_str()), symbol);
        if (!symbol) symbol = base_symtab_add(text.c_str());
        symbols.push_back(symbol);
    }
    EXPECT_GT(failures, text_count / 50) << "long texts always need a block, and growth needs tables";
    for (int i = 0; i < text_count; ++i) {
        const std::string text = name(i);
        ASSERT_EQ(symbols[static_cast<std::size_t>(i)], text);
        ASSERT_EQ(symbols[static_cast<std::size_t>(i)], base_symtab_find(text.c_str()));
    }
}

} // namespace
