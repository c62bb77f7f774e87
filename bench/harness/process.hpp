// What the benchmark asks of the system.
#pragma once

#include <functional>
#include <string>

namespace bench {

// Ties the process to one core, the last of those it may use. The core's number, or -1 when the system doesn't let it.
int pin_to_one_core();

// "model name" of the processor as the system gives it.
std::string processor_name();

// Nanoseconds that this thread has run, in the system too. Unlike the time of day it stands still while another process
// has the core.
double processor_time();

// Pages that the process has touched for the first time so far, without reading a disk.
long minor_faults();

// Memory of the process in its pages as they are now. Raises std::runtime_error when the system doesn't tell.
double resident_bytes();

// Empties libnd's cache and the C heap's free memory.
void release_kept_memory();

// Runs measure in a child process and gives its result. Raises std::runtime_error when the child fails.
double figure_of_child(const std::function<double()>& measure);

} // namespace bench
