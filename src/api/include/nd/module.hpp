/*
 * nd/module.hpp: start-up, the engine's error mode and its last error.
 */
#ifndef ND_MODULE_HPP
#define ND_MODULE_HPP

#include <nd/array.hpp>

#include <cstdint>
#include <iosfwd>
#include <string>
#include <tuple>

namespace matrix {

/// How the library runs. mode_in_engine gives each engine an array list and an alloc list, by which what exported creators and
/// ndMalloc made ends with the context it was made in (nd/lists.hpp, nd/memory.hpp); turns on the array cache and, with the
/// feature "MarkSweepGC", cycle collection; and lets errors leave exported functions as exceptions. With any other value it is a
/// plain array library: arrays and blocks last until somebody ends them, and creators answer an error with null.
enum Mode : std::int32_t { mode_plain = 0, mode_in_engine = 1 };

/// Chooses the mode; called once, before other threads use the library. A second call ends the process when internal checks
/// are on, and otherwise stores the mode. Raises what building the engine's context raises.
ND_EXPORT void initModule(Mode mode);

/// True when initModule(mode_in_engine) found the feature "MarkSweepGC" on.
ND_EXPORT bool isGcFeatureOn();

/// The engine's own word about errors. This library keeps it and swaps it around external code; only the check for calls of
/// the older interface without a guard reads it. Starts at 1.
enum class ErrorMode : std::int32_t {};

/// Reads and writes the current engine's value; its context is made if need be. Without an open engine one of the process stands
/// in, which starts at 1 as well. Raises only std::bad_alloc.
ND_EXPORT ErrorMode getErrorMode();
ND_EXPORT void setErrorMode(ErrorMode mode);

/// Prints the value as an integer.
ND_EXPORT std::ostream& operator<<(std::ostream& out, const ErrorMode& mode);

/// Replaces the current engine's last error; without an open engine that of the process, which one thread at a time uses. array
/// is deep-copied (null for none) and stays the caller's. Raises what the copy raises; the record is then unchanged.
ND_EXPORT void setLastError(std::string id, std::basic_string<char16_t> text, const ndArray_tag* array);

/// Id, text and array of the last error; empty and null at first. All three belong to the record and are valid till the next
/// set or reset.
ND_EXPORT std::tuple<const std::string&, const std::basic_string<char16_t>&, const ndArray_tag*>
getLastError();

/// Empties the record.
ND_EXPORT void resetLastError();

/// Told when contents of objects gain or lose a reference. An engine may install its own.
class ND_EXPORT ObjectRefCountInterface {
public:
    /// The one in force; never null.
    static ObjectRefCountInterface* get();

    /// Installs instance, which stays the caller's; null brings the default back, which does nothing.
    static void set(ObjectRefCountInterface* instance);

    virtual void add(ndArray_tag* value, bool referencedByOldSystem) = 0;
    virtual void release(ndArray_tag* value) = 0;
    virtual ~ObjectRefCountInterface();
};

namespace engine_access {

/// The address of the current engine's error mode, so that the engine reads and swaps it without a call. Never null. Without an
/// open engine it is the process's.
/// Raises only std::bad_alloc.
ND_EXPORT ErrorMode* getCurrentErrorModePtr();

} // namespace engine_access
} // namespace matrix

#endif
