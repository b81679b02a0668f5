#include "ORVA/NQF/InterfacePointer.h"

#include "CPNQF/factory_slot.h"
#include "CPNQF/framework_call.h"

#include "ORVA/Develop/Log.h"

namespace ORVA::NQF
{

namespace
{

// Interfaces lie at even addresses, so bit 0 of a word tells whether it is resolved.
constexpr unsigned long resolved_bit = 1;

bool is_resolved(void const* word) noexcept
{
    return (reinterpret_cast<unsigned long>(word) & resolved_bit) != 0;
}

void* resolved(void const* pointer) noexcept
{
    // NOLINTNEXTLINE(performance-no-int-to-ptr): bit 0 of a handle's word is a tag
    return reinterpret_cast<void*>(reinterpret_cast<unsigned long>(pointer) | resolved_bit);
}

} // namespace

CPINQFUnknown::CPINQFUnknown(INQFUnknown* pointer)
{
    _own(_addRef(pointer));
}

CPINQFUnknown::CPINQFUnknown(CPINQFUnknown const& source)
{
    _own(_addRef(source._getptr()));
}

CPINQFUnknown::~CPINQFUnknown()
{
    _release_held();
}

void CPINQFUnknown::free()
{
    _release_held();
}

_nqfUID const& CPINQFUnknown::GetType() const
{
    return __nqf_uuidof<INQFUnknown>();
}

CPINQFUnknown& CPINQFUnknown::operator=(INQFUnknown* pointer)
{
    INQFUnknown* const own = _addRef(pointer);
    free();
    _own(own);
    return *this;
}

CPINQFUnknown& CPINQFUnknown::operator=(CPINQFUnknown const& other)
{
    if (&other == this)
        return *this;
    free();
    _own(_addRef(other._getptr()));
    return *this;
}

bool CPINQFUnknown::operator==(CPINQFUnknown const& other) const noexcept
{
    return _held() == other._held();
}

INQFUnknown* CPINQFUnknown::_addRef(INQFUnknown* pointer) const
{
    void* out = nullptr;
    if (pointer == nullptr || !succeeds([&] { return pointer->QueryInterface(GetType(), &out); }))
        return nullptr;
    return static_cast<INQFUnknown*>(out);
}

// The reference that the query takes replaces the one that the raw pointer held, so the word may keep the raw pointer:
// for an object with one address nothing else has changed.
INQFUnknown* CPINQFUnknown::_getptr() const
{
    if (m_word == nullptr || is_resolved(m_word))
        return _held();
    auto* const raw = static_cast<INQFUnknown*>(m_word);
    INQFUnknown* const own = _addRef(raw);
    bool const released = release_reference(*raw);
    m_word = resolved(m_word);
    return released ? own : nullptr;
}

void CPINQFUnknown::_assign(INQFUnknown* pointer)
{
    if (INQFUnknown* const held = _held())
        release_reference(*held);
    _own(pointer);
}

void** CPINQFUnknown::rec()
{
    free();
    return &m_word;
}

unsigned int CPINQFUnknown::GetLockCount() const
{
    if (m_word == nullptr || is_resolved(m_word))
        return 0;
    auto* const raw = static_cast<INQFUnknown*>(m_word);
    try
    {
        unsigned int const count = raw->AddRef();
        raw->Release();
        return count - 1;
    }
    catch (...)
    {
        return 0;
    }
}

int CPINQFUnknown::QueryRawInterface(INQFUnknown** out) const
{
    if (out == nullptr)
        return 0;
    *out = _held();
    if (*out == nullptr)
        return 0;
    if (add_reference(**out))
        return 1;
    *out = nullptr;
    return 0;
}

bool CPINQFUnknown::createComponent(_nqfUID const& classId, INQFComponentFactory* factory)
{
    return _create(&INQFComponentFactory::CreateComponent, classId, factory);
}

bool CPINQFUnknown::createInstance(_nqfUID const& classId, INQFComponentFactory* factory)
{
    return _create(&INQFComponentFactory::CreateInstance, classId, factory);
}

bool CPINQFUnknown::createComponent(_nqfUID const& classId)
{
    return _create(&INQFComponentFactory::CreateComponent, classId);
}

bool CPINQFUnknown::createInstance(_nqfUID const& classId)
{
    return _create(&INQFComponentFactory::CreateInstance, classId);
}

void CPINQFUnknown::_own(INQFUnknown* pointer) noexcept
{
    m_word = resolved(pointer);
}

INQFUnknown* CPINQFUnknown::_held() const noexcept
{
    // NOLINTNEXTLINE(performance-no-int-to-ptr): bit 0 of a handle's word is a tag
    return static_cast<INQFUnknown*>(reinterpret_cast<void*>(reinterpret_cast<unsigned long>(m_word) & ~resolved_bit));
}

// The word names the object until `Release` has returned.
void CPINQFUnknown::_release_held()
{
    INQFUnknown* const held = _held();
    if (held == nullptr)
        return;
    if (!release_reference(*held))
        Develop::OS::RTABox("Illegal code point reached", "CPINQFUnknown::free exception");
    _own(nullptr);
}

bool CPINQFUnknown::_create(Creation operation, _nqfUID const& classId, INQFComponentFactory* factory)
{
    free();
    if (factory != nullptr &&
        !succeeds([&] { return (factory->*operation)(classId, nullptr, __nqf_uuidof<INQFUnknown>(), &m_word); }))
        m_word = nullptr;
    return m_word != nullptr;
}

bool CPINQFUnknown::_create(Creation operation, _nqfUID const& classId)
{
    FactoryReference const factory;
    if (factory.get() != nullptr)
        return _create(operation, classId, factory.get());
    free();
    return false;
}

} // namespace ORVA::NQF
