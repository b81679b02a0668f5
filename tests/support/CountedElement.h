/// @file
/// An element type that counts its constructions, copies and destructions, records their order, and throws on demand.
///
/// Each element owns a small allocation, so that a sanitizer sees one that is lost or destroyed twice, even though
/// elements may be moved by bytes. The counters are global and for one thread: `CountedElement::reset()` starts a test.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace support
{

/// What a counted element throws.
struct ElementError : std::runtime_error
{
    ElementError() : std::runtime_error("counted element") {}
};

class CountedElement
{
public:
    struct Counters
    {
        unsigned long made = 0;   ///< constructions that are not copies
        unsigned long copied = 0; ///< copy constructions that succeeded
        unsigned long destroyed = 0;
        unsigned long throw_on_make = 0; ///< the n-th construction from now throws; 0 for none
        unsigned long throw_on_copy = 0; ///< the n-th copy from now throws; 0 for none
        std::vector<std::string> order;  ///< "make 0", "copy 5", "destroy 5", ...
    };

    CountedElement() : CountedElement(0) {}
    explicit CountedElement(int value)
    {
        strike(counters().throw_on_make);
        m_value = new int(value);
        ++counters().made;
        note("make");
    }
    CountedElement(CountedElement const& other)
    {
        strike(counters().throw_on_copy);
        m_value = new int(*other.m_value);
        ++counters().copied;
        note("copy");
    }
    CountedElement& operator=(CountedElement const& other)
    {
        *m_value = *other.m_value;
        note("assign");
        return *this;
    }
    ~CountedElement()
    {
        ++counters().destroyed;
        note("destroy");
        delete m_value;
        m_value = nullptr;
    }

    int value() const { return *m_value; }
    void set_value(int value) { *m_value = value; }

    static Counters& counters()
    {
        static Counters instance;
        return instance;
    }
    static void reset() { counters() = Counters(); }
    /// Elements that live now, if the counters were reset when none did.
    static long live()
    {
        return static_cast<long>(counters().made + counters().copied) - static_cast<long>(counters().destroyed);
    }

private:
    static void strike(unsigned long& countdown)
    {
        if (countdown != 0 && --countdown == 0)
            throw ElementError();
    }
    void note(char const* what) { counters().order.push_back(what + (' ' + std::to_string(*m_value))); }

    int* m_value = nullptr;
};

/// The same under another type, for which a test may specialise what holds for moving by bytes.
class MovableCountedElement : public CountedElement
{
public:
    using CountedElement::CountedElement;
};

} // namespace support
