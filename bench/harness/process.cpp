// The process and its memory, on Linux.
#include "harness/process.hpp"

#include <nd/cache.hpp>

#include <ctime>
#include <fstream>
#include <malloc.h>
#include <sched.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

int pin_to_one_core() {
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    if (sched_getaffinity(0, sizeof allowed, &allowed) != 0) return -1;
    int core = CPU_SETSIZE - 1;
    while (core >= 0 && !CPU_ISSET(core, &allowed)) --core;
    if (core < 0) return -1;
    CPU_ZERO(&allowed);
    CPU_SET(core, &allowed);
    return sched_setaffinity(0, sizeof allowed, &allowed) == 0 ? core : -1;
}

std::string processor_name() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("model name", 0) == 0) return line.substr(line.find(": ") + 2);
    }
    return "unknown processor";
}

double processor_time() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

long minor_faults() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

// The roll-up walks the page tables and is exact; the cheaper counters lag behind by many pages.
double resident_bytes() {
    std::ifstream file("/proc/self/smaps_rollup");
    for (std::string word; file >> word;) {
        double kibibytes = 0;
        if (word == "Rss:" && file >> kibibytes) return kibibytes * 1024;
    }
    throw std::runtime_error("/proc/self/smaps_rollup tells no resident size");
}

void release_kept_memory() {
    matrix::cache::clear();
    malloc_trim(0);
}

double figure_of_child(const std::function<double()>& measure) {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("no pipe for a child process");
    const pid_t child = fork();
    if (child == 0) {
        double figure = 0;
        try {
            figure = measure();
        } catch (...) {
            _exit(1);
        }
        _exit(write(ends[1], &figure, sizeof figure) == sizeof figure ? 0 : 1);
    }
    close(ends[1]);
    double figure = 0;
    const bool told = child > 0 && read(ends[0], &figure, sizeof figure) == sizeof figure;
    close(ends[0]);
    if (child > 0) waitpid(child, nullptr, 0);
    if (!told) throw std::runtime_error("the child process gave no figure");
    return figure;
}

} // namespace bench
