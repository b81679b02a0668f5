/// @file
/// `CPINQFUnknown`: a handle that owns one reference to an interface of the component framework; and the component
/// factory of the process, which the same class keeps.
///
/// The framework hands out raw pointers that are counted by hand. A handle takes such a pointer, be it as the output
/// argument of a call, makes it one of its own type when it is first used, and gives the reference back. What the
/// framework does wrong stays inside: a negative result and an exception are the same failure, and leave an empty
/// handle, null or 0. Nothing is logged but a `Release` that throws in `free` or in the destructor.
///
/// A handle is one word beside its table of operations:
///
/// | word | state | comes from |
/// |---|---|---|
/// | 1 | empty | every constructor, `free` |
/// | 0 | empty, and stays 0 when freed | a creation that failed |
/// | a pointer | raw: not yet of the handle's type | a framework call that was given `rec()` |
/// | a pointer with bit 0 set | resolved | everything else |
///
/// Thread-safety: a handle belongs to one thread, a constant one too, for its first use may change the word. The
/// `Factory_` members may be called from any thread.
///
/// Ownership: a word of 2 and above holds one reference. Copies ask the object for a reference of their own.
#pragma once

#include "ORVA/NQF/Framework.h"

namespace ORVA::String
{

class CPPoolString;

} // namespace ORVA::String

namespace ORVA::NQF
{

struct tagCOMPONENT_INFO;

/// A handle on any interface. `IPNQF` names one by an identifier, `CPNQI<T>` by a type.
///
/// There is no move: a handle that is moved is copied.
class ORVA_API CPINQFUnknown
{
public:
    /// Empty.
    CPINQFUnknown() = default;
    /// Asks `pointer` for the root interface and owns the reference that this gives; empty for null and on failure.
    /// The caller keeps its own reference.
    CPINQFUnknown(INQFUnknown* pointer);
    /// Asks what `source` holds for the root interface; empty on failure.
    CPINQFUnknown(CPINQFUnknown const& source);

    /// As `free`.
    virtual ~CPINQFUnknown();

    /// Releases what the handle holds and leaves it empty. A `Release` that throws is reported, and the handle is empty
    /// all the same. A word of 0 stays 0. An override must not throw: a pointer on its way into the handle would be lost.
    virtual void free();

    /// The identifier of the interface that the handle resolves to. An exception of an override is a failed query.
    virtual _nqfUID const& GetType() const;

    /// Asks `pointer` for this handle's interface and **then** releases what it held, so that assigning what it holds
    /// already is safe. Empty for null and on failure.
    CPINQFUnknown& operator=(INQFUnknown* pointer);
    /// Releases what it held and **then** asks what `other` holds for this handle's interface, unless `other` is this
    /// handle. Empty on failure.
    CPINQFUnknown& operator=(CPINQFUnknown const& other);

    /// Compares the pointers held, raw or resolved. Nobody is asked, so one object behind two addresses compares
    /// unequal. All empty handles are equal.
    bool operator==(CPINQFUnknown const& other) const noexcept;
    /// The negation of `operator==`.
    bool operator!=(CPINQFUnknown const& other) const noexcept { return !(*this == other); }

    /// True if `_getptr` gives a pointer.
    operator bool() { return _getptr() != nullptr; }
    /// True if `_getptr` gives a pointer.
    operator bool() const { return _getptr() != nullptr; }

    /// Asks `pointer` for this handle's interface. The new pointer, with a reference that the caller owns; null for
    /// null and on failure. The handle stays as it is.
    INQFUnknown* _addRef(INQFUnknown* pointer) const;

    /// The pointer, which goes on belonging to the handle; null if it is empty.
    ///
    /// The first call on a raw word resolves it: one `QueryInterface` for the handle's type, one `Release` of the raw
    /// pointer, and the result is what the query gave. The word keeps the **raw** pointer, and that is what later calls
    /// give: this stands on objects that answer with one address for all interfaces asked for.
    ///
    /// If the query or the release fails, the first call gives null, and later calls give the raw pointer, which has
    /// been released and **will be released once more** with the handle.
    INQFUnknown* _getptr() const;

    /// Releases what the handle holds, silently if that throws, and takes over `pointer` with the caller's reference.
    /// Nobody is asked: the pointer has to be of the handle's type.
    void _assign(INQFUnknown* pointer);

    /// Frees the handle and gives the address of its word, as the output argument of one framework call.
    void** rec();

    /// The reference count of the object behind a **raw** word, by an `AddRef` and a `Release`; 0 otherwise, and on
    /// failure. For diagnosis.
    unsigned int GetLockCount() const;

    /// Gives the pointer held, raw or resolved, with a reference for the caller, in `*out`. 1, or 0 with null in `*out`
    /// if there is none; also 0 for a null `out`. Nobody is asked.
    int QueryRawInterface(INQFUnknown** out) const;

    /// Frees the handle and makes the component `classId` with `factory`. The handle then holds a raw pointer. False,
    /// and a word of 0, on failure.
    ///
    /// **A null `factory` is no failure: true on a handle whose word is 1, which stays empty.** Test the handle.
    bool createComponent(_nqfUID const& classId, INQFComponentFactory* factory);
    /// As `createComponent`, by `CreateInstance`.
    bool createInstance(_nqfUID const& classId, INQFComponentFactory* factory);

    /// As above with the factory of the process. Without one the handle is freed, and the result false.
    bool createComponent(_nqfUID const& classId);
    /// As above, by `CreateInstance`.
    bool createInstance(_nqfUID const& classId);

    /// @name The factory of the process
    ///
    /// A slot with a count of its users, not of references: it holds one reference to the factory for as long as
    /// somebody has set it and not released it. Results of type `int` are 1 or 0, and 0 stands for a missing factory, a
    /// negative result and an exception alike.
    ///
    /// The factory is called with no lock held, and with a reference that keeps it alive. Only `AddRef`, the last
    /// `Release` in `Factory_Release` and what `Factory_Acquire` does with a handle run under the lock of the slot,
    /// which its holder may enter again.
    /// @{

    /// Sets the factory, or adds one user if it is the one that is set. 0 for null, while another is set, and if its
    /// `AddRef` throws.
    static int Factory_Set(INQFComponentFactory* factory);
    /// Asks the object for its factory interface and sets that. 0 if it has none.
    static int Factory_Set(INQFUnknown* object);
    /// As above, with what the handle holds.
    static int Factory_Set(CPINQFUnknown& object);

    /// Takes one user off; with the last one the factory is released and the slot empty. Always 1, also on an empty
    /// slot.
    static int Factory_Release();

    /// Whether a factory is set. Takes no lock: the answer may be stale when it arrives.
    static bool Factory_IsAvailable();

    /// Gives the factory with a reference for the caller, which keeps it alive whatever becomes of the slot. 0, and
    /// null in `*out`, if there is none; also 0 for a null `out`.
    static int Factory_Acquire(INQFComponentFactory** out);
    /// Asks the factory for the type of `target`, then frees `target` and gives it the answer, all under the lock. 0,
    /// and an empty `target`, if there is none.
    static int Factory_Acquire(CPINQFUnknown& target);

    /// The factory's walk over the definitions of `id`; empty on failure.
    static CPINQFUnknown Factory_EnumDefinitions(_nqfUID const& id);
    /// The definition `id`; empty on failure.
    static CPINQFUnknown Factory_FindDefinition(_nqfUID const& id);

    /// Gives the class of the component `id` in `classId`, which is nil on failure. It is made nil before anything
    /// else: `id` and `classId` must not be the same object.
    static int Factory_FindClass(_nqfUID const& id, _nqfUID& classId);

    /// Describes the component `id`; see ComponentInfo.h.
    static int Factory_GetComponentInfo(_nqfUID const& id, tagCOMPONENT_INFO& info);
    /// Describes the component that `definition` is the definition of.
    static int Factory_GetComponentInfo(CPINQFUnknown& definition, tagCOMPONENT_INFO& info);

    /// Enters a class in the class table; see ClassRegistry.h. 1 also if `classId` is registered already: the first
    /// registration stays. 0 if the heap is exhausted, and for a `name` without text, which is reported.
    static int Factory_RegisterClass(_nqfUID const& classId, _nqfUID const& second, String::CPPoolString const& name,
                                     CPINQFUnknown (*creator)(_nqfUID const&));
    /// @}

protected:
    /// Becomes the owner of `pointer`, of the handle's type or null; what the word held before is forgotten.
    void _own(INQFUnknown* pointer) noexcept;

private:
    using Creation = int (INQFComponentFactory::*)(_nqfUID const&, INQFUnknown*, _nqfUID const&, void**);

    INQFUnknown* _held() const noexcept;
    void _release_held();
    bool _create(Creation operation, _nqfUID const& classId, INQFComponentFactory* factory);
    bool _create(Creation operation, _nqfUID const& classId);

    mutable void* m_word = reinterpret_cast<void*>(1UL);
};

static_assert(sizeof(CPINQFUnknown) == 2 * sizeof(void*), "a handle is its table and one word");

} // namespace ORVA::NQF
