// The kinds of meters. An operation is called as often as the run has repetitions, in line within the loop.
#pragma once

#include "harness/process.hpp"
#include "harness/row.hpp"

namespace bench {

template <class Operation>
meter timed(Operation operation) {
    return [operation](std::size_t repetitions) {
        const double begin = processor_time();
        for (std::size_t i = 0; i < repetitions; ++i) operation();
        return processor_time() - begin;
    };
}

// The operation alone, each time on what make has prepared.
template <class Make, class Operation>
meter timed_on(Make make, Operation operation) {
    return [make, operation](std::size_t repetitions) {
        double sum = 0;
        for (std::size_t i = 0; i < repetitions; ++i) {
            const auto subject = make();
            const double begin = processor_time();
            operation(subject);
            sum += processor_time() - begin;
        }
        return sum;
    };
}

// Each run in a child process of its own, so that its pages come from the system: what earlier runs freed is gone, unless
// this process itself has kept some. Rows of this kind stand before those that could.
template <class Operation>
meter timed_fresh(Operation operation) {
    return [run = timed(operation)](std::size_t repetitions) {
        return figure_of_child([&] {
            release_kept_memory();
            return run(repetitions);
        });
    };
}

template <class Operation>
meter faults(Operation operation) {
    return [operation](std::size_t repetitions) {
        const long before = minor_faults();
        for (std::size_t i = 0; i < repetitions; ++i) operation();
        return static_cast<double>(minor_faults() - before);
    };
}

// Resident bytes of as many results of create as there are repetitions, all alive; in a child process too, for the same
// reason.
template <class Create>
meter resident(Create create) {
    return [create](std::size_t repetitions) {
        return figure_of_child([&] {
            release_kept_memory();
            std::vector<const void*> alive(repetitions, &repetitions);
            const double before = resident_bytes();
            for (const void*& result : alive) result = create();
            return resident_bytes() - before;
        });
    };
}

} // namespace bench
