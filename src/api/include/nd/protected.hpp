/*
 * nd/protected.hpp: guards that hold arrays, and text of arrays, across calls.
 *
 * A guard is two words: whether it owns, and the pointer. One that owns lets go of its reference when it ends; one that doesn't
 * is a plain pointer. Copying a guard that owns takes a reference more.
 */
#ifndef ND_PROTECTED_HPP
#define ND_PROTECTED_HPP

#include <nd/array.hpp>

/// References of array headers.
struct Kprotected_ndArray_helper {
    /// One owner more; the array stops being reusable. Null gives null.
    ND_EXPORT static ndArray_tag* copy(ndArray_tag* array);
    /// matrix::destroyArray.
    ND_EXPORT static void free(ndArray_tag* array);
};

/// C strings with the text of char arrays, as Kprotected_cptr<char, Kprotected_ndString_helper> holds them: in the system's encoding, and
/// in UTF-16. They are blocks of ndMallocEx.
struct Kprotected_ndString_helper {
    /// The text up to its first NUL, by ndCreateCStrFromArray.
    ND_EXPORT static char* toString(const ndArray_tag* array);
    /// Another string with the same text. Null gives null. Raises TARVEL:nomem.
    ND_EXPORT static char* copy(const char* text);
    /// ndFreeEx.
    ND_EXPORT static void free(char* text);
};
struct Kprotected_ndStringUTF16_helper {
    ND_EXPORT static char16_t* toString(const ndArray_tag* array); ///< by ndCreateUTF16CStrFromArray
    ND_EXPORT static char16_t* copy(const char16_t* text);
    ND_EXPORT static void free(char16_t* text);
};

/// A guard of T, whose references Helper counts.
template <class T, class Helper>
class Kprotected_cptr {
public:
    /// Not owned, null.
    Kprotected_cptr() noexcept = default;
    /// Takes both as they are: with owned the caller's reference is the guard's now.
    Kprotected_cptr(T* ptr, bool owned) noexcept : owned_(owned), ptr_(ptr) {}
    Kprotected_cptr(const Kprotected_cptr& other)
        : owned_(other.owned_), ptr_(other.owned_ ? Helper::copy(other.ptr_) : other.ptr_) {}
    ~Kprotected_cptr() { call_delete_fn(); }

    /// Lets go of what is held and owns ptr from now on, the caller's reference included. Nothing happens for the pointer that
    /// is held.
    Kprotected_cptr& operator=(T* ptr) {
        if (ptr == ptr_) return *this;
        call_delete_fn();
        owned_ = true;
        ptr_ = ptr;
        return *this;
    }

    /// Lets go of what is held and becomes a copy of other. A guard that owns the pointer of other keeps it and its reference,
    /// whether or not other owns; one that doesn't gets a reference where other owns. What Helper raises leaves the guard as it was.
    Kprotected_cptr& operator=(const Kprotected_cptr& other) {
        if (owned_ && ptr_ == other.ptr_) return *this;
        T* const ptr = other.owned_ ? Helper::copy(other.ptr_) : other.ptr_; // first: it may raise
        call_delete_fn();
        owned_ = other.owned_;
        ptr_ = ptr;
        return *this;
    }

    /// Lets go of an owned pointer and holds null then.
    void call_delete_fn() {
        if (!owned_) return;
        T* const ptr = ptr_;
        owned_ = false;
        ptr_ = nullptr;
        Helper::free(ptr);
    }

    T* get() const noexcept { return ptr_; }
    operator T*() noexcept { return ptr_; }
    operator const T*() const noexcept { return ptr_; }
    T* operator->() noexcept { return ptr_; }
    const T* operator->() const noexcept { return ptr_; }

    /// Clears the guard and returns the pointer, with the guard's reference when it owned.
    T* Unprotect() noexcept {
        T* const ptr = ptr_;
        owned_ = false;
        ptr_ = nullptr;
        return ptr;
    }

private:
    bool owned_ = false;
    T* ptr_ = nullptr;
};

extern template class ND_EXPORT Kprotected_cptr<ndArray_tag, Kprotected_ndArray_helper>;

/// A guard that keeps its array off the array list: what it owns has local scope.
class Kprotected_ndArray {
public:
    /// Not owned, null.
    ND_EXPORT Kprotected_ndArray() noexcept;
    /// Takes both as they are; an owned array becomes local.
    ND_EXPORT Kprotected_ndArray(ndArray_tag* ptr, bool owned);
    ND_EXPORT Kprotected_ndArray(const Kprotected_ndArray& other);
    /// Lets go of an owned array. Ends the process when an exception comes out of that.
    ND_EXPORT ~Kprotected_ndArray();

    /// As in Kprotected_cptr; what the guard then owns becomes local.
    ND_EXPORT Kprotected_ndArray& operator=(ndArray_tag* ptr);
    ND_EXPORT Kprotected_ndArray& operator=(const Kprotected_ndArray& other);

    ND_EXPORT void call_delete_fn();
    ND_EXPORT ndArray_tag* get() const noexcept;
    ND_EXPORT operator ndArray_tag*() noexcept;
    ND_EXPORT operator const ndArray_tag*() const noexcept;
    ND_EXPORT ndArray_tag* operator->() noexcept;
    ND_EXPORT const ndArray_tag* operator->() const noexcept;

    /// Gives the array local scope, which takes it off the array list. Nothing happens without an array.
    ND_EXPORT void myLocalize();

    /// Clears the guard and returns the array; one that was owned and local becomes a temporary again, with the owners that it
    /// has. Raises what adding to the array list raises; the guard then keeps the array.
    ND_EXPORT ndArray_tag* Unprotect();

    /// The guarded array becomes one that shares nothing, by ndUnshare. Raises std::bad_alloc in every module mode, since there is no
    /// result to answer null with; the guard then keeps the array.
    ND_EXPORT void Unshare();

private:
    bool owned_ = false;
    ndArray_tag* ptr_ = nullptr;
};

static_assert(sizeof(Kprotected_ndArray) == 2 * sizeof(void*));

#endif
