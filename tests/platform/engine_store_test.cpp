// The store of per-engine objects: numbers of types, scopes, life and races.
#include "platform/foundation/usm/current_engine.hpp"
#include "platform/test_hooks.hpp"
#include "support/alloc_sources.hpp"
#include "support/balance.hpp"
#include "support/death.hpp"

#include <foundation/usm/usm.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <new>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using foundation::usm::DoesNotExistTypeError;
using foundation::usm::EngineActivation;
using foundation::usm::EngineInstance;
using foundation::usm::object_ptr;
using foundation::usm::TypeError;
using store = foundation::usm::Detail<foundation::usm::scope::EngineScope>;
namespace hooks = foundation::test_hooks;

template <int>
struct stored_type {};

template <int... Numbers>
std::vector<std::size_t> ids_of(std::integer_sequence<int, Numbers...>) {
    return {store::getNextID(typeid(stored_type<Numbers>))...};
}

// A hundred numbers, so that stores grow several times.
const std::vector<std::size_t>& ids() {
    static const std::vector<std::size_t> all = ids_of(std::make_integer_sequence<int, 100>());
    return all;
}

// An object that writes its name down when it ends.
struct witness {
    std::string name;
    std::vector<std::string>* ended;
};

object_ptr make_witness(std::string name, std::vector<std::string>& ended) {
    return object_ptr(new witness{std::move(name), &ended}, [](void* p) {
        const std::unique_ptr<witness> w(static_cast<witness*>(p));
        w->ended->push_back(w->name);
    });
}

std::atomic<int> numbers_ended{0};

object_ptr make_number(int value) {
    return object_ptr(new int(value), [](void* p) {
        delete static_cast<int*>(p);
        ++numbers_ended;
    });
}

using names = std::vector<std::string>;

// What the call raises: "", "TypeError" for exactly that, or "DoesNotExist".
template <class Call>
std::string raised_by(Call&& call) {
    try {
        call();
        return "";
    } catch (const DoesNotExistTypeError&) {
        return "DoesNotExist";
    } catch (const TypeError&) {
        return "TypeError";
    }
}

TEST(engine_store_ids, are_one_for_each_type) {
    const std::set<std::size_t> different(ids().begin(), ids().end());
    EXPECT_EQ(different.size(), ids().size());
    EXPECT_EQ(ids_of(std::make_integer_sequence<int, 100>()), ids());
}

TEST(engine_store_ids, are_the_same_on_all_threads) {
    std::vector<std::vector<std::size_t>> seen(8);
    std::vector<std::thread> threads;
    for (auto& mine : seen) {
        threads.emplace_back([&mine] { mine = ids_of(std::make_integer_sequence<int, 150>()); });
    }
    for (std::thread& thread : threads) thread.join();
    for (const auto& mine : seen) EXPECT_EQ(mine, seen.front());
    EXPECT_EQ(std::set<std::size_t>(seen.front().begin(), seen.front().end()).size(), 150U);
}

TEST(engine_store_ids, failing_for_a_new_type_leaves_the_numbering_as_it_was) {
    struct new_type {};
    const auto ask = [] { return store::getNextID(typeid(new_type)); };
    test::let_process_keep_more(); // a type has its number for good
    ids();
    {
        const test::injection no_memory({1, test::fault_plan::follow_up::for_ever, 0});
        EXPECT_THROW(ask(), std::bad_alloc);
    }
    const std::size_t id = ask();
    EXPECT_EQ(ask(), id);
    EXPECT_EQ(std::count(ids().begin(), ids().end(), id), 0);
}

TEST(engine_store, finds_what_was_inserted) {
    EngineInstance engine;
    const EngineActivation active(&engine);
    const std::size_t id = ids()[0];
    EXPECT_EQ(store::find(id), nullptr);
    EXPECT_EQ(raised_by([&] { store::findOrThrow(id); }), "DoesNotExist");

    object_ptr number = make_number(7);
    void* const object = number.get();
    EXPECT_EQ(store::insert(id, std::move(number)), object);
    EXPECT_EQ(store::find(id), object);
    EXPECT_EQ(store::findOrThrow(id), object);
    EXPECT_EQ(store::findOrFail(id), object);
    EXPECT_EQ(*static_cast<int*>(store::find(id)), 7);
    EXPECT_EQ(store::find(ids()[1]), nullptr);
    EXPECT_EQ(raised_by([&] { store::findOrThrow(ids()[99]); }), "DoesNotExist");
}

TEST(engine_store, finding_or_failing_is_fatal_without_an_object) {
    EngineInstance engine;
    {
        const EngineActivation active(&engine);
        EXPECT_TERMINATE(store::findOrFail(ids()[0]), "The engine has no object of the required type");
    }
    const EngineActivation none(nullptr);
    EXPECT_TERMINATE(store::findOrFail(ids()[0]), "The engine has no object of the required type");
}

TEST(engine_store, a_second_object_of_a_type_is_refused_by_insert) {
    names ended;
    {
        EngineInstance engine;
        const EngineActivation active(&engine);
        void* const first = store::insert(ids()[0], make_witness("first", ended));
        EXPECT_EQ(raised_by([&] { store::insert(ids()[0], make_witness("second", ended)); }), "TypeError");
        EXPECT_EQ(ended, names{"second"});
        EXPECT_EQ(store::find(ids()[0]), first);
    }
    EXPECT_EQ(ended, (names{"second", "first"}));
}

TEST(engine_store, find_or_insert_keeps_the_one_that_stands) {
    names ended;
    EngineInstance engine;
    const EngineActivation active(&engine);
    void* const first = store::findOrInsert(ids()[0], make_witness("first", ended));
    EXPECT_EQ(ended, names{});
    EXPECT_EQ(store::findOrInsert(ids()[0], make_witness("second", ended)), first);
    EXPECT_EQ(ended, names{"second"});
    EXPECT_EQ(store::find(ids()[0]), first);
}

TEST(engine_store, refuses_null_objects) {
    EngineInstance engine;
    const EngineActivation active(&engine);
    const auto nothing = [] { return object_ptr(nullptr, [](void*) {}); };
    EXPECT_THROW(store::insert(ids()[0], nothing()), std::invalid_argument);
    EXPECT_THROW(store::findOrInsert(ids()[0], nothing()), std::invalid_argument);
}

TEST(engine_store, keeps_all_objects_when_it_grows) {
    EngineInstance engine;
    const EngineActivation active(&engine);
    for (int i = 0; i < 100; ++i) {
        const std::size_t index = static_cast<std::size_t>(i) * 37 % 100; // high numbers early
        store::insert(ids()[index], make_number(static_cast<int>(index)));
    }
    for (std::size_t i = 0; i < 100; ++i)
        EXPECT_EQ(*static_cast<int*>(store::findOrThrow(ids()[i])), static_cast<int>(i));
}

// Every operation but find raises TypeError, and candidates are destroyed.
void expect_no_open_engine() {
    names ended;
    EXPECT_FALSE(store::isRequiredContextActive());
    EXPECT_EQ(store::find(ids()[0]), nullptr);
    EXPECT_EQ(raised_by([&] { store::findOrThrow(ids()[0]); }), "TypeError");
    EXPECT_EQ(raised_by([&] { store::insert(ids()[0], make_witness("a", ended)); }), "TypeError");
    EXPECT_EQ(raised_by([&] { store::findOrInsert(ids()[0], make_witness("b", ended)); }), "TypeError");
    EXPECT_EQ(ended, (names{"a", "b"}));
}

TEST(engine_scope, no_engine_means_type_error) {
    const EngineActivation none(nullptr);
    EXPECT_EQ(EngineInstance::current(), nullptr);
    expect_no_open_engine();
}

TEST(engine_scope, a_closed_engine_means_type_error) {
    names ended;
    EngineInstance engine;
    const EngineActivation active(&engine);
    store::insert(ids()[0], make_witness("kept", ended));
    EXPECT_FALSE(engine.is_closed());
    engine.close();
    EXPECT_TRUE(engine.is_closed());
    EXPECT_EQ(ended, names{"kept"});
    expect_no_open_engine();
    engine.close(); // once is enough
    EXPECT_EQ(ended, names{"kept"});
}

TEST(engine_scope, the_default_engine_is_active_on_every_thread) {
    const auto expect_default = [] {
        EXPECT_EQ(EngineInstance::current(), &EngineInstance::default_instance());
        EXPECT_TRUE(store::isRequiredContextActive());
    };
    expect_default();
    std::thread(expect_default).join();
}

TEST(engine_scope, activations_nest) {
    EngineInstance outer, inner;
    const EngineActivation in_outer(&outer);
    void* const of_outer = store::insert(ids()[0], make_number(1));
    {
        const EngineActivation in_inner(&inner);
        EXPECT_EQ(EngineInstance::current(), &inner);
        EXPECT_EQ(store::find(ids()[0]), nullptr);
        void* const of_inner = store::insert(ids()[0], make_number(2));
        {
            const EngineActivation none(nullptr);
            EXPECT_FALSE(store::isRequiredContextActive());
            const EngineActivation in_outer_again(&outer);
            EXPECT_EQ(store::find(ids()[0]), of_outer);
        }
        EXPECT_EQ(store::find(ids()[0]), of_inner);
    }
    EXPECT_EQ(EngineInstance::current(), &outer);
    EXPECT_EQ(store::find(ids()[0]), of_outer);
}

TEST(engine_scope, threads_choose_their_engines) {
    EngineInstance engines[2];
    std::vector<std::thread> threads;
    std::atomic<int> arrived{0};
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&engine = engines[i], &arrived, i] {
            const EngineActivation active(&engine);
            store::insert(ids()[0], make_number(i));
            ++arrived;
            while (arrived < 2) std::this_thread::yield();
            EXPECT_EQ(*static_cast<int*>(store::findOrThrow(ids()[0])), i);
        });
    }
    for (std::thread& thread : threads) thread.join();
}

TEST(engine_scope, a_worker_takes_over_the_engine_that_it_works_for) {
    EngineInstance engine;
    const EngineActivation active(&engine);
    void* const object = store::insert(ids()[0], make_number(1));
    std::thread([object, mine = EngineInstance::current()] {
        EXPECT_EQ(store::find(ids()[0]), nullptr);
        const EngineActivation worker(mine);
        EXPECT_EQ(store::find(ids()[0]), object);
    }).join();
}

TEST(engine_life, objects_end_in_reverse_order_of_insertion) {
    names ended;
    {
        EngineInstance engine;
        const EngineActivation active(&engine);
        for (const std::size_t i : {5, 99, 0, 42})
            store::insert(ids()[i], make_witness(std::to_string(i), ended));
    }
    EXPECT_EQ(ended, (names{"42", "0", "99", "5"}));
}

// What an object sees that looks the store up at its end.
struct seen_at_end {
    EngineInstance* current = nullptr;
    bool closed = false;
};
seen_at_end seen;

TEST(engine_life, while_objects_end_the_engine_is_current_and_closed) {
    EngineInstance& before = EngineInstance::default_instance();
    alignas(EngineInstance) unsigned char place[sizeof(EngineInstance)];
    EngineInstance* const engine = new (place) EngineInstance;
    numbers_ended = 0;
    {
        const EngineActivation active(engine);
        store::insert(ids()[0], make_number(1)); // ends last
        store::insert(ids()[1], object_ptr(&seen, [](void* p) {
                          EXPECT_EQ(numbers_ended, 0);
                          *static_cast<seen_at_end*>(p) = {EngineInstance::current(),
                                                           EngineInstance::current()->is_closed()};
                          expect_no_open_engine();
                          const EngineActivation other(&EngineInstance::default_instance());
                          EXPECT_TRUE(store::isRequiredContextActive());
                      }));
    }
    engine->~EngineInstance();
    EXPECT_EQ(seen.current, engine);
    EXPECT_TRUE(seen.closed);
    EXPECT_EQ(numbers_ended, 1);
    EXPECT_EQ(EngineInstance::current(), &before);
}

// What leaves an object of the store reaches it till it has ended, whichever object is ending.
TEST(engine_life, an_object_is_reached_while_its_engine_closes_until_it_has_ended) {
    using foundation::usm::current_engine;
    static std::vector<std::array<bool, 4>> reached;
    reached.clear();
    static void (*const look)() = [] {
        std::array<bool, 4> now{};
        for (std::size_t i = 0; i < now.size(); ++i)
            now[i] = current_engine::find_while_closing(ids()[i]) != nullptr;
        reached.push_back(now);
    };
    EngineInstance engine;
    const EngineActivation active(&engine);
    for (const std::size_t i : {0U, 1U, 2U}) {
        store::insert(ids()[i], object_ptr(new int, [](void* p) {
                          EXPECT_EQ(store::find(ids()[0]), nullptr);
                          look();
                          delete static_cast<int*>(p);
                      }));
    }
    look();
    engine.close();
    look();
    const EngineActivation none(nullptr);
    look();
    EXPECT_EQ(reached, (std::vector<std::array<bool, 4>>{{false, false, false, false},
                                                         {true, true, true, false},
                                                         {true, true, false, false},
                                                         {true, false, false, false},
                                                         {false, false, false, false},
                                                         {false, false, false, false}}));
}

TEST(engine_life, the_default_engine_can_be_reset) {
    names ended;
    store::insert(ids()[0], make_witness("kept", ended));
    hooks::reset_default_engine();
    EXPECT_EQ(ended, names{"kept"});
    EXPECT_TRUE(store::isRequiredContextActive());
    EXPECT_EQ(store::find(ids()[0]), nullptr);
    store::insert(ids()[0], make_witness("again", ended));
    hooks::reset_default_engine();
    EXPECT_EQ(ended, (names{"kept", "again"}));
}

TEST(engine_threads, of_racing_candidates_one_stands) {
    constexpr int thread_count = 8;
    for (int round = 0; round < 50; ++round) {
        numbers_ended = 0;
        EngineInstance engine;
        std::atomic<bool> start{false};
        std::vector<std::vector<void*>> found(thread_count, std::vector<void*>(ids().size()));
        std::vector<std::thread> threads;
        for (auto& mine : found) {
            threads.emplace_back([&] {
                const EngineActivation active(&engine);
                while (!start) std::this_thread::yield();
                for (std::size_t i = 0; i < mine.size(); ++i) {
                    mine[i] = store::findOrInsert(ids()[i], make_number(static_cast<int>(i)));
                }
            });
        }
        start = true;
        for (std::thread& thread : threads) thread.join();
        for (const auto& mine : found) EXPECT_EQ(mine, found.front());
        EXPECT_EQ(numbers_ended, (thread_count - 1) * static_cast<int>(ids().size()));
        engine.close();
        EXPECT_EQ(numbers_ended, thread_count * static_cast<int>(ids().size()));
    }
}

TEST(engine_threads, finding_goes_on_while_the_store_grows) {
    for (int round = 0; round < 50; ++round) {
        EngineInstance engine;
        std::atomic<bool> done{false};
        void* object = nullptr;
        {
            const EngineActivation active(&engine);
            object = store::insert(ids()[0], make_number(1));
        }
        std::vector<std::thread> readers;
        for (int i = 0; i < 3; ++i) {
            readers.emplace_back([&] {
                const EngineActivation active(&engine);
                while (!done) EXPECT_EQ(store::find(ids()[0]), object);
            });
        }
        const EngineActivation active(&engine);
        for (std::size_t i = 1; i < ids().size(); ++i) store::insert(ids()[i], make_number(1));
        done = true;
        for (std::thread& reader : readers) reader.join();
    }
}

// Each allocation of an insertion fails in turn: the store stays as it was and the candidate is destroyed.
TEST(engine_failure, an_insertion_without_memory_changes_nothing) {
    for (const bool or_find : {false, true}) {
        for (const std::size_t already : {0, 1, 8, 16}) {
            names ended;
            EngineInstance engine;
            const EngineActivation active(&engine);
            for (std::size_t i = 0; i < already; ++i)
                store::insert(ids()[i], make_number(static_cast<int>(i)));
            const std::size_t id = ids()[already];
            ended.reserve(10);
            long n = 1;
            for (bool succeeded = false; !succeeded; ++n) {
                ASSERT_LT(n, 10);
                object_ptr candidate = make_witness("candidate", ended);
                const std::size_t ended_before = ended.size();
                const test::injection armed({n, test::fault_plan::follow_up::none, 0});
                try {
                    or_find ? store::findOrInsert(id, std::move(candidate))
                            : store::insert(id, std::move(candidate));
                    succeeded = true;
                    EXPECT_EQ(armed.failures(), 0);
                    EXPECT_NE(store::find(id), nullptr);
                } catch (const std::bad_alloc&) {
                    EXPECT_EQ(armed.failures(), 1);
                    EXPECT_EQ(ended.size(), ended_before + 1);
                    EXPECT_EQ(store::find(id), nullptr);
                }
            }
            EXPECT_GT(n, 2) << "some allocation failed";
            for (std::size_t i = 0; i < already; ++i)
                EXPECT_EQ(*static_cast<int*>(store::find(ids()[i])), static_cast<int>(i));
        }
    }
}

} // namespace
