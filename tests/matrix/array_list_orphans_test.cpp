// What the end of a context or of its engine does to the arrays left on its list, whoever else claims them and whatever their
// deleters do meanwhile.
#include "matrix/array_list.hpp"

#include "matrix/array_lists_fixture.hpp"
#include "matrix/class_table.hpp"
#include "matrix/heap_watch.hpp"
#include "matrix/library_context.hpp"
#include "matrix/validate.hpp"
#include "support/death.hpp"

#include <foundation/core/mem/aligned_heap.hpp>

#include <utility>

namespace test {
namespace {

using foundation::usm::EngineActivation;
using foundation::usm::EngineInstance;
using matrix::array_ptr;
using matrix::clearArrayListContext;
using matrix::isArrayListContextEmpty;
using matrix::ndEnterNewArrayListContext;
using matrix::pushArrayListContext;

TEST_F(ArrayLists, DestroyAnOrphanWhoeverElseClaimsIt) {
    pushArrayListContext();
    ndArray_tag* const owned = temporary();
    for (int i = 1; i < 5; ++i) intrusive_ptr_add_ref(owned);
    ASSERT_EQ(owned->ref_count, 5U);
    ndArray_tag* const referred = temporary();
    referred->internal_ref_count = 3;
    ndArray_tag* const reusable = temporary();
    reusable->flags |= matrix::flag_reusable;
    ndArray_tag* const shared = api::ndCreateDoubleMatrix(10, 10, ndREAL);
    const array_ptr sharer = matrix::detail::do_shared_copy(shared);
    forget_ended();
    pop_all();
    EXPECT_EQ(ended(), (array_pointers{shared, reusable, referred, owned}));
    EXPECT_NE(sharer->pdata, nullptr) << "its block lives as long as somebody shares it";
}

// The hook that sees an object's end sees one like any other: nobody else's, and on no list.
TEST_F(ArrayLists, EndAnObjectAsItsLastOwnerWould) {
    struct words {
        std::uint32_t scope, ref_count, internal_ref_count, reusable;
        bool operator==(const words&) const = default;
    };
    static std::vector<words> seen;
    static std::size_t listed;
    listed = 0;
    api::ndSetObjectCreateDestroyFn(nullptr, [](ndArray_tag* array) {
        seen.push_back({array->scope, array->ref_count, array->internal_ref_count,
                        array->flags & matrix::flag_reusable});
        listed += listed_here().size();
    });
    for (const auto& [refs, internal_refs] : {std::pair{1U, 0U}, {4U, 0U}, {1U, 3U}}) {
        pushArrayListContext();
        array_ptr object = matrix::detail::do_create_numeric(
            std::vector<std::size_t>{1, 1}, matrix::internal::code_of(ndOBJECT_CLASS, false));
        object->ref_count = refs;
        object->internal_ref_count = internal_refs;
        api::ndSetArrayScope(object.get(), ndTEMPORARY_SCOPE);
        object.release()->flags |= matrix::flag_reusable;
        pop_all();
    }
    api::ndSetObjectCreateDestroyFn(nullptr, nullptr);
    EXPECT_EQ(std::exchange(seen, {}), std::vector<words>(3, {ndLOCAL_SCOPE, 1, 0, 0}));
    EXPECT_EQ(listed, 0U);
}

// Elements that were never claimed stand on the list too: they end with the cell and leave it then.
TEST_F(ArrayLists, DestroyTemporaryElementsOnce) {
    for (const bool close : {true, false}) {
        pushArrayListContext();
        ndArray_tag* const other = temporary();
        ndArray_tag* const inner = temporary_cell({temporary(), nullptr, temporary()});
        temporary_cell({inner, temporary()});
        temporary();
        forget_ended();
        close ? pop_all() : clearArrayListContext(true);
        EXPECT_EQ(ended().size(), 7U);
        EXPECT_EQ(ended().back(), other);
        if (!close) pop_all();
    }
    EXPECT_TRUE(listed_everywhere().empty());
}

// What a deleter does while its array dies with the context.
std::vector<ndArray_tag*> victims;
void (*deleter_work)();

void work_and_free(void* block) {
    foundation::core::mem::aligned_heap_instance().free(block);
    deleter_work();
}

void add_array_with_deleter() {
    ndArray_tag* const array = api::ndCreateDoubleMatrix(3, 3, ndREAL);
    array->setCustomDeleter(work_and_free);
}

struct callback_row {
    const char* name;
    void (*work)();
    std::size_t ended;
};

const callback_row callbacks[] = {
    {"destroys older temporaries",
     [] {
         for (ndArray_tag* victim : std::exchange(victims, {})) api::ndDestroyArray(victim);
     },
     8},
    {"destroys the oldest",
     [] {
         if (!victims.empty()) api::ndDestroyArray(victims.front());
         victims.clear();
     },
     8},
    {"claims one",
     [] {
         if (!victims.empty()) api::ndSetArrayScope(victims[1], ndLOCAL_SCOPE);
     },
     7},
    {"makes temporaries",
     [] {
         if (!victims.empty()) temporaries(30);
         victims.clear();
     },
     38},
    {"makes temporaries with a deleter",
     [] {
         if (!victims.empty()) add_array_with_deleter();
         victims.clear();
     },
     9},
    {"opens and closes a context",
     [] {
         pushArrayListContext();
         temporaries(2);
         pop_all();
     },
     12},
    {"clears the context", [] { clearArrayListContext(true); }, 8},
    {"fills the list and empties it",
     [] {
         for (ndArray_tag* array : temporaries(40)) api::ndDestroyArray(array);
     },
     88},
};

// Two arrays with deleters among six others.
void make_context_with_deleters() {
    victims = temporaries(3);
    add_array_with_deleter();
    temporary();
    add_array_with_deleter();
    temporaries(2);
}

TEST_F(ArrayLists, StandWhatDeletersOfOrphansDo) {
    for (const callback_row& row : callbacks) {
        for (const bool close : {true, false}) {
            SCOPED_TRACE(row.name);
            ndArray_tag* const outer = temporary();
            pushArrayListContext();
            make_context_with_deleters();
            ndArray_tag* const claimed = victims[1];
            deleter_work = row.work;
            forget_ended();
            close ? pop_all() : clearArrayListContext(true);
            EXPECT_EQ(ended().size(), row.ended);
            if (row.ended == 7) {
                EXPECT_EQ(claimed->scope, static_cast<std::uint32_t>(ndLOCAL_SCOPE));
                api::ndDestroyArray(claimed);
            }
            if (!close) {
                EXPECT_TRUE(isArrayListContextEmpty());
                pop_all();
            }
            EXPECT_EQ(listed_everywhere(), (array_pointers{outer}));
            api::ndDestroyArray(outer);
        }
    }
}

// What is kept has moved by then, and others stand where it was and where holes were.
TEST_F(ArrayLists, StandWhatDeletersDoWhereSomeAreKept) {
    deleter_work = [] {
        for (ndArray_tag* victim : std::exchange(victims, {})) api::ndDestroyArray(victim);
    };
    for (const std::size_t hole : {0U, 1U, 2U, 3U, 4U, 5U}) {
        for (const std::vector<std::size_t>& kept : {std::vector<std::size_t>{5}, {0}, {2, 3}, {1, 4, 5}}) {
            SCOPED_TRACE("a hole at " + std::to_string(hole) + ", kept " + ::testing::PrintToString(kept));
            ndArray_tag* const outer = temporary();
            pushArrayListContext();
            std::vector<ndArray_tag*> made = temporaries(6), keep;
            add_array_with_deleter();
            array_pointers left{outer};
            for (const std::size_t i : kept) {
                if (i != hole) keep.push_back(made[i]);
            }
            left.insert(left.end(), keep.begin(), keep.end());
            api::ndDestroyArray(made[hole]); // searches for others begin here
            victims.clear();
            for (std::size_t i = 0; i < made.size(); ++i) {
                if (i != hole && std::find(keep.begin(), keep.end(), made[i]) == keep.end())
                    victims.push_back(made[i]);
            }
            forget_ended();
            pop_keeping(keep);
            EXPECT_EQ(ended().size(), 6 - keep.size());
            EXPECT_EQ(listed_everywhere(), left);
            clearArrayListContext(true);
        }
    }
}

// Contexts that a deleter opens or closes too many are put right before the next orphan dies: the others are as they were, and
// each array leaves the list in the context of its record.
const callback_row depth_callbacks[] = {
    {"opens a context", [] { pushArrayListContext(); }, 4},
    {"opens a context and fills it", [] { pushArrayListContext(), temporaries(20); }, 24},
    {"opens many",
     [] {
         for (int i = 0; i < 50; ++i) pushArrayListContext();
     },
     4},
    {"closes the context", [] { pop_all(); }, 4},
    {"closes the context and makes arrays", [] { pop_all(), temporaries(5); }, 9},
    {"closes the context and opens another", [] { pop_all(), pushArrayListContext(), temporaries(5); }, 9},
};

TEST_F(ArrayLists, KeepTheirDepthWhateverDeletersLeaveOpenOrClose) {
    for (const callback_row& row : depth_callbacks) {
        for (const bool close : {true, false}) {
            for (const bool with_records : {true, false}) {
                SCOPED_TRACE(row.name);
                const channel_mask stacks("matrix::arraylist_stacks",
                                          with_records ? foundation::log::severity_debug : 0);
                pushArrayListContext();
                ndArray_tag* const outer = temporary();
                pushArrayListContext();
                temporaries(2);
                add_array_with_deleter();
                temporary();
                deleter_work = row.work;
                forget_ended();
                close ? pop_all() : clearArrayListContext(true);
                EXPECT_EQ(ended().size(), row.ended);
                EXPECT_EQ(matrix::internal::find_context()->array_list.depth(), close ? 2U : 3U);
                EXPECT_EQ(isArrayListContextEmpty(), !close);
                EXPECT_EQ(listed_everywhere(), (array_pointers{outer}));
                EXPECT_EQ(matrix::internal::validate_array_list(), "");
                temporaries(3);
                EXPECT_EQ(listed_here().size(), close ? 4U : 3U);
                pop_all();
                if (!close) pop_all();
            }
        }
    }
}

// The base context too may be the one that is closed once too often.
TEST_F(ArrayLists, StandADeleterThatClosesTheBaseContext) {
    EngineInstance engine;
    const EngineActivation active(&engine);
    for (const bool close : {false, true}) {
        const diagnostics_switched_off off;
        add_array_with_deleter();
        deleter_work = [] { pop_all(); };
        close ? pop_all() : clearArrayListContext(true);
        EXPECT_EQ(matrix::internal::find_context()->array_list.depth(), close ? 0U : 1U);
        EXPECT_TRUE(listed_everywhere().empty());
    }
}

// The engine's store has forgotten the list by then: nothing can be listed any more, but what dies early still leaves it.
TEST_F(ArrayLists, StandWhatDeletersDoWhileTheirEngineCloses) {
    for (const callback_row& row : callbacks) {
        SCOPED_TRACE(row.name);
        victims.clear();
        EngineInstance engine;
        std::vector<ndArray_tag*> made_late;
        ndArray_tag* claimed = nullptr;
        {
            const EngineActivation active(&engine);
            temporary();
            pushArrayListContext();
            make_context_with_deleters();
            claimed = victims[1];
        }
        const bool makes_arrays = row.ended > 8;
        deleter_work = makes_arrays ? [] {
            ndArray_tag* const array = temporary();
            EXPECT_EQ(array->scope, static_cast<std::uint32_t>(ndLOCAL_SCOPE));
            EXPECT_EQ(ndEnterNewArrayListContext(), 0);
            EXPECT_EQ(api::ndMalloc(0), nullptr);
            api::ndFree(api::ndMalloc(10));
            api::ndDestroyArray(array);
        } : row.work;
        forget_ended();
        engine.close();
        EXPECT_EQ(ended().size(), makes_arrays ? 11U : row.ended + 1);
        if (row.ended == 7) api::ndDestroyArray(claimed);
    }
}

TEST_F(ArrayLists, EndElementsOfOrphansOnceWhenTheirEngineCloses) {
    EngineInstance engine;
    {
        const EngineActivation active(&engine);
        temporary();
        pushArrayListContext();
        ndArray_tag* const inner = temporary_cell({temporary()});
        temporary_cell({inner, temporary()});
    }
    forget_ended();
    engine.close();
    EXPECT_EQ(ended().size(), 5U);
}

// Another object of the store that ends what it holds: a temporary or a block. Inserted behind the lists, it ends before them.
struct holding_row {
    const char* name;
    void (*hold)();
    std::size_t block_freed; ///< how often, at its first address
};
ndArray_tag* held_array;
void* held_block;

template <void (*End)()>
void insert_holder() {
    using store = foundation::usm::Detail<foundation::usm::scope::EngineScope>;
    struct holder {};
    store::insert(store::getNextID(typeid(holder)), foundation::usm::object_ptr(new holder, [](void* p) {
                      End();
                      delete static_cast<holder*>(p);
                  }));
}

void end_held() {
    api::ndDestroyArray(held_array);
    api::ndFree(held_block);
}
void claim_held() {
    api::ndSetArrayScope(held_array, ndGLOBAL_SCOPE);
    api::ndDestroyArray(held_array);
    matrix::internal::removeFromAllocList(held_block);
    api::ndFreeEx(held_block);
}
void move_held() {
    api::ndFreeEx(api::ndRealloc(held_block, 300'000));
    api::ndDestroyArray(held_array);
}

const holding_row holdings[] = {
    {"ends them", insert_holder<end_held>, 1},
    {"claims them first", insert_holder<claim_held>, 1},
    {"resizes the block", insert_holder<move_held>, 0},
    {"is the last error's array",
     [] {
         matrix::setLastError("some:id", u"text", api::ndCreateDoubleMatrix(3, 3, ndREAL));
         auto* const kept = const_cast<ndArray_tag*>(std::get<2>(matrix::getLastError()));
         kept->setCustomDeleter([](void* block) {
             api::ndFreeEx(block);
             end_held();
         });
     },
     1},
};

TEST_F(ArrayLists, AreLeftByWhatOtherObjectsOfTheirEngineHold) {
    for (const holding_row& row : holdings) {
        for (const std::size_t later : {0U, 5U}) {
            SCOPED_TRACE(row.name);
            heap_watch heap;
            EngineInstance engine;
            {
                const EngineActivation active(&engine);
                temporaries(3);
                held_array = api::ndCreateDoubleMatrix(300, 300, ndREAL);
                held_block = api::ndMalloc(10);
                temporaries(later);
                row.hold();
            }
            const void* const data = held_array->pdata;
            heap.forget();
            forget_ended();
            engine.close();
            const array_pointers gone = ended();
            EXPECT_EQ(std::count(gone.begin(), gone.end(), held_array), 1);
            EXPECT_EQ(heap.times_freed(data), 1U);
            EXPECT_EQ(heap.times_freed(held_block), row.block_freed);
        }
    }
}

// A context of the engine is no longer found while it goes down, and none is made in its place.
TEST_F(ArrayLists, AreGoneWhileTheirEngineCloses) {
    static bool found;
    found = true;
    EngineInstance engine;
    {
        const EngineActivation active(&engine);
        api::ndMalloc(10);
        api::ndCreateDoubleMatrix(2, 2, ndREAL)->setCustomDeleter([](void* block) {
            api::ndFree(block); // looks for a list as well
            found = matrix::internal::find_or_make_context() != nullptr;
        });
    }
    engine.close();
    EXPECT_FALSE(found);
}

} // namespace
} // namespace test
