// The process-wide hooks for object arrays, and who is told of references to contents of objects.
#include "matrix/class_table.hpp"
#include "matrix/process_state.hpp"
#include "support/arr.hpp"

#include <nd/access.hpp>
#include <nd/convert.hpp>
#include <nd/module.hpp>
#include <nd/share.hpp>

#include <atomic>
#include <new>
#include <stdexcept>
#include <thread>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using dims_list = std::vector<std::size_t>;

struct seen_object {
    const ndArray_tag* at;
    std::size_t elements;
    bool whole;
};
std::vector<seen_object> created, destroyed;

// Whole: its class, dimensions, data and owner are still there to be read.
seen_object see(const ndArray_tag* array) {
    const bool whole = array->class_id == ndOBJECT_CLASS && array->scope < 7 && array->ref_count == 1;
    return {array, api::ndGetNumberOfElements(array), whole};
}

class ObjectHooks : public NdTest {
protected:
    ObjectHooks() {
        created.clear();
        destroyed.clear();
        api::ndSetObjectCreateDestroyFn([](ndArray_tag* array) { created.push_back(see(array)); },
                                        [](ndArray_tag* array) { destroyed.push_back(see(array)); });
    }
    ~ObjectHooks() override { api::ndSetObjectCreateDestroyFn(nullptr, nullptr); }
};

array_ptr object(const dims_list& dims) {
    return matrix::detail::do_create_numeric(dims, matrix::internal::code_of(ndOBJECT_CLASS, false));
}

void put(const array_ptr& cell, std::size_t i, array_ptr element) {
    element->scope = ndMEMBER_SCOPE;
    static_cast<ndArray_tag**>(cell->pdata)[i] = element.release();
}

TEST_F(ObjectHooks, SeeAnObjectWholeAtItsEnd) {
    for (const dims_list& dims : {dims_list{1, 1}, dims_list{2, 3}, dims_list{2, 2, 2}}) {
        destroyed.clear();
        array_ptr array = object(dims);
        const ndArray_tag* const at = array.get();
        const std::size_t elements = api::ndGetNumberOfElements(at);
        array.reset();
        ASSERT_EQ(destroyed.size(), 1U);
        EXPECT_EQ(destroyed[0].at, at);
        EXPECT_EQ(destroyed[0].elements, elements);
        EXPECT_TRUE(destroyed[0].whole);
    }
}

// Without elements there is still an object that ends.
TEST_F(ObjectHooks, SeeAnEmptyObjectToo) {
    for (const dims_list& dims : {dims_list{0, 0}, dims_list{0, 3}, dims_list{2, 0, 2}}) {
        destroyed.clear();
        object(dims).reset();
        ASSERT_EQ(destroyed.size(), 1U);
        EXPECT_EQ(destroyed[0].elements, 0U);
        EXPECT_TRUE(destroyed[0].whole);
    }
}

TEST_F(ObjectHooks, SeeObjectsInContainersOnceEach) {
    array_ptr cell = matrix::create_cell(dims_list{1, 3});
    put(cell, 0, object({1, 1}));
    array_ptr inner = matrix::create_cell(dims_list{1, 2});
    put(inner, 1, object({2, 1}));
    put(cell, 2, std::move(inner));
    cell.reset();
    ASSERT_EQ(destroyed.size(), 2U);
    for (const seen_object& seen : destroyed) EXPECT_TRUE(seen.whole);
}

// By then nothing leads to the object any more: it has left its container and the collection list, which a collector could
// otherwise follow into what is being torn down.
TEST_F(ObjectHooks, SeeAnObjectThatIsOnItsOwn) {
    static int tied;
    tied = 0;
    api::ndSetObjectCreateDestroyFn(nullptr, [](ndArray_tag* array) {
        destroyed.push_back(see(array));
        if (array->parent != nullptr || (array->flags & matrix::flag_on_collection_list) != 0) ++tied;
    });
    const array_ptr elsewhere = matrix::create_cell(dims_list{1, 1});
    const auto tied_object = [&] {
        array_ptr array = object({1, 1});
        array->parent = elsewhere.get();
        array->flags |= matrix::flag_on_collection_list;
        return array;
    };
    tied_object().reset();
    array_ptr cell = matrix::create_cell(dims_list{1, 2});
    put(cell, 1, tied_object());
    cell.reset();
    EXPECT_EQ(destroyed.size(), 2U);
    EXPECT_EQ(tied, 0);
}

TEST_F(ObjectHooks, SeeNoOtherClass) {
    for (int class_id = 0; class_id < ndOBJECT_CLASS; ++class_id) {
        matrix::detail::do_create_numeric(dims_list{1, 1}, matrix::internal::code_of(class_id, false))
            .reset();
    }
    EXPECT_TRUE(destroyed.empty());
    EXPECT_TRUE(created.empty());
}

TEST_F(ObjectHooks, SeeOnlyTheLastOwnerGo) {
    array_ptr array = object({1, 1});
    array_ptr again(api::ndCreateReference(array.get()));
    again.reset();
    EXPECT_TRUE(destroyed.empty());
    array.reset();
    EXPECT_EQ(destroyed.size(), 1U);
}

// Each header is an object, whole to its end, whoever else has its slots.
TEST_F(ObjectHooks, SeeEachSharerGo) {
    array_ptr array = object({1, 1});
    array_ptr copy = matrix::detail::do_shared_copy(array.get());
    for (array_ptr* const ends : {&array, &copy}) {
        const ndArray_tag* const at = ends->get();
        destroyed.clear();
        ends->reset();
        ASSERT_EQ(destroyed.size(), 1U);
        EXPECT_EQ(destroyed[0].at, at);
        EXPECT_EQ(destroyed[0].elements, 1U);
        EXPECT_TRUE(destroyed[0].whole);
    }
}

struct maker_row {
    const char* name;
    array_ptr (*make)(ndArray_tag*);
};
const maker_row simple_makers[] = {
    {"shared copy", [](ndArray_tag* a) { return matrix::detail::do_shared_copy(a); }},
    {"deep copy", [](ndArray_tag* a) { return matrix::detail::do_deep_copy(a); }},
    {"empty copy", [](ndArray_tag* a) { return matrix::create_empty_copy(a); }},
    {"skeleton", [](ndArray_tag* a) { return matrix::create_uninit_data_copy(a); }},
    {"view",
     [](ndArray_tag* a) {
         return matrix::createReshapedView(a, dims_list{2, 1});
     }},
    {"conversion of an empty array",
     [](ndArray_tag*) { return matrix::create_converted_copy(arr("double 0x3").get(), ndOBJECT_CLASS); }},
};

// Whatever makes a header over an object that is there, its beginning and its end are told once each.
TEST_F(ObjectHooks, SeeEachHeaderBeginAndEnd) {
    std::vector<maker_row> rows(std::begin(simple_makers), std::end(simple_makers));
    const maker_row others[] = {
        {"reference given up",
         [](ndArray_tag* a) { return array_ptr(api::ndUnreference(api::ndCreateReference(a))); }},
        {"moved value",
         [](ndArray_tag* a) {
             array_ptr dest = matrix::detail::do_shared_copy(a);
             api::ndMoveArrayOntoHeader(dest.get(), matrix::detail::do_shared_copy(a).release());
             return dest;
         }},
        {"claimed copy",
         [](ndArray_tag* a) {
             const array_ptr source = matrix::detail::do_shared_copy(a);
             source->flags |= matrix::flag_reusable;
             return array_ptr(api::ndCreateClaimedDataCopy(source.get()));
         }},
        {"copy in a cell",
         [](ndArray_tag* a) {
             array_ptr cell = matrix::create_cell(dims_list{1, 1});
             put(cell, 0, matrix::detail::do_shared_copy(a));
             return cell;
         }},
    };
    rows.insert(rows.end(), std::begin(others), std::end(others));
    const array_ptr array = object({1, 2});
    for (const maker_row& row : rows) {
        SCOPED_TRACE(row.name);
        created.clear();
        destroyed.clear();
        row.make(array.get()).reset();
        EXPECT_GE(created.size(), 1U);
        EXPECT_EQ(created.size(), destroyed.size());
        for (const seen_object& seen : destroyed) EXPECT_TRUE(seen.whole);
    }
}

// The create hook gets each new header of class object that a copy makes.
TEST_F(ObjectHooks, SeeEachCopyBegin) {
    const array_ptr array = object({1, 1});
    created.clear();
    const array_ptr shared = matrix::detail::do_shared_copy(array.get());
    ASSERT_EQ(created.size(), 1U);
    EXPECT_EQ(created[0].at, shared.get());
    const array_ptr deep = matrix::detail::do_deep_copy(array.get());
    ASSERT_EQ(created.size(), 2U);
    EXPECT_EQ(created[1].at, deep.get());
}

// A copy that can't be finished ends as every object does: whoever was told of its beginning hears of its end.
TEST_F(ObjectHooks, SeeACopyThatFailsEndAgain) {
    const array_ptr array = object({2, 2});
    for (long n = 1; n < 5; ++n) {
        created.clear();
        destroyed.clear();
        created.reserve(4);
        destroyed.reserve(4);
        array_ptr copy;
        try {
            const injection armed({n});
            copy = matrix::detail::do_deep_copy(array.get());
        } catch (const std::bad_alloc&) {
        }
        copy.reset();
        EXPECT_EQ(created.size(), destroyed.size()) << "allocation " << n;
    }
}

// A copy whose beginning the create hook refused never was an object to the destroy hook.
TEST_F(ObjectHooks, HearNothingMoreOfACopyThatWasRefused) {
    const array_ptr array = object({1, 2});
    api::ndSetObjectCreateDestroyFn([](ndArray_tag*) { throw std::runtime_error("refused"); },
                                    [](ndArray_tag* ended) { destroyed.push_back(see(ended)); });
    for (const maker_row& row : simple_makers) {
        SCOPED_TRACE(row.name);
        EXPECT_THROW(row.make(array.get()), std::runtime_error);
        EXPECT_TRUE(destroyed.empty());
    }
}

TEST_F(ObjectHooks, AreOptional) {
    api::ndSetObjectCreateDestroyFn(nullptr, nullptr);
    object({1, 1}).reset();
    EXPECT_TRUE(destroyed.empty());
}

std::atomic<int> calls_of_one{0}, calls_of_other{0};

// Exchanged while other threads end objects: each end calls one of the hooks that stood.
TEST_F(ObjectHooks, AreExchangedWhileObjectsEnd) {
    constexpr int rounds = 2000;
    const auto install = [](bool one) {
        api::ndSetObjectCreateDestroyFn(
            nullptr, one ? +[](ndArray_tag*) { ++calls_of_one; } : +[](ndArray_tag*) { ++calls_of_other; });
    };
    install(true);
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t) {
        threads.emplace_back([] {
            for (int i = 0; i < rounds; ++i) object({1, 1}).reset();
        });
    }
    for (int i = 0; i < rounds; ++i) install(i % 2 == 0);
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(calls_of_one + calls_of_other, 3 * rounds);
}

class counting_interface final : public matrix::ObjectRefCountInterface {
public:
    void add(ndArray_tag*, bool) override { ++added; }
    void release(ndArray_tag*) override { ++released; }
    int added = 0, released = 0;
};

TEST(ObjectRefCount, HasABuiltInInterfaceThatDoesNothing) {
    auto* const built_in = matrix::ObjectRefCountInterface::get();
    ASSERT_NE(built_in, nullptr);
    built_in->add(nullptr, true);
    built_in->release(nullptr);
    EXPECT_EQ(matrix::ObjectRefCountInterface::get(), built_in);
}

TEST(ObjectRefCount, TakesAnotherInterfaceAndGivesTheBuiltInOneBack) {
    auto* const built_in = matrix::ObjectRefCountInterface::get();
    counting_interface mine;
    matrix::ObjectRefCountInterface::set(&mine);
    EXPECT_EQ(matrix::ObjectRefCountInterface::get(), &mine);
    matrix::ObjectRefCountInterface::get()->add(nullptr, false);
    matrix::ObjectRefCountInterface::get()->release(nullptr);
    EXPECT_EQ(mine.added, 1);
    EXPECT_EQ(mine.released, 1);
    matrix::ObjectRefCountInterface::set(nullptr);
    EXPECT_EQ(matrix::ObjectRefCountInterface::get(), built_in);
}

} // namespace
} // namespace test
