#include "support/macos/MacosDouble.h"

#include <CoreFoundation/CoreFoundation.h>
#include <sys/sysctl.h>

#include <algorithm>
#include <cstring>
#include <cwctype>
#include <deque>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <utility>

#include <ctype.h>
#include <unistd.h>

namespace support::macos
{

namespace
{

CFTypeID const string_type = 7;
CFTypeID const other_type = 20;

/// Any object of the framework. Strings made by the library hold characters, the others bytes.
struct Object
{
    std::string name;
    CFTypeID type;
    std::string bytes;
    std::u32string characters;
    int releases;
};

std::deque<Object> objects;

Object& make(std::string const& name, CFTypeID type)
{
    return objects.emplace_back(Object{name, type, {}, {}, 0});
}

Object& make_numbered(std::string const& kind, CFTypeID type)
{
    int number = 1;
    for (Object const& object : objects)
        if (object.name.compare(0, kind.size(), kind) == 0)
            ++number;
    return make(kind + std::to_string(number), type);
}

/// Null, or the object behind a reference; one that is not known fails the test by an exception.
Object* find(void const* reference)
{
    for (Object& object : objects)
        if (&object == reference)
            return &object;
    if (reference != nullptr)
        throw std::logic_error("not an object of this system");
    return nullptr;
}

Object& known(void const* reference)
{
    Object* const object = find(reference);
    if (object == nullptr)
        throw std::logic_error("null is not allowed here");
    return *object;
}

/// An encoding, to be written as the number that the system's headers give it.
struct Encoding
{
    CFStringEncoding value;
};

std::string text_of(void const* reference)
{
    Object const* const object = find(reference);
    return object != nullptr ? object->name : "null";
}

std::string text_of(char const* text)
{
    return text;
}

std::string text_of(unsigned long value)
{
    return std::to_string(value);
}

std::string text_of(long value)
{
    return std::to_string(value);
}

std::string text_of(Boolean value)
{
    return std::to_string(value);
}

std::string text_of(Encoding encoding)
{
    std::ostringstream text;
    text << "0x" << std::hex << encoding.value;
    return text.str();
}

/// Records a call. True if it is to return null.
template <class... Arguments>
bool called(char const* function, Arguments const&... arguments)
{
    if (!system().recording)
        return false;
    std::string line;
    ((line += (line.empty() ? "" : ", ") + text_of(arguments)), ...);
    system().calls += function + ('(' + line) + ")\n";
    if (system().throwing == function)
        throw std::runtime_error(function);
    return system().refusing == function;
}

char const* allocator_text(CFAllocatorRef allocator)
{
    return allocator == kCFAllocatorDefault ? "default" : "other";
}

char32_t const special_characters[32] = {0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                         0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,
                                         0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                         0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

/// The character of a byte of code page 1252, or none.
std::optional<char32_t> decode_1252(unsigned char byte)
{
    if (byte < 0x80 || byte >= 0xA0)
        return byte;
    char32_t const character = special_characters[byte - 0x80];
    return character != 0 ? std::optional<char32_t>(character) : std::nullopt;
}

/// The byte of code page 1252 of a character, or none.
std::optional<unsigned char> encode_1252(char32_t character)
{
    if (character < 0x80 || (character >= 0xA0 && character <= 0xFF))
        return static_cast<unsigned char>(character);
    auto const* const found = std::find(std::begin(special_characters), std::end(special_characters), character);
    if (found == std::end(special_characters))
        return std::nullopt;
    return static_cast<unsigned char>(0x80 + (found - special_characters));
}

std::optional<std::u32string> decode(UInt8 const* bytes, std::size_t size, CFStringEncoding encoding)
{
    std::u32string characters;
    if (encoding == kCFStringEncodingUTF32LE)
    {
        for (std::size_t at = 0; at + 4 <= size; at += 4)
        {
            char32_t character;
            std::memcpy(&character, bytes + at, 4);
            if (character > 0x10FFFF)
                return std::nullopt;
            characters += character;
        }
        return characters;
    }
    for (std::size_t at = 0; at < size; ++at)
    {
        std::optional<char32_t> const character = decode_1252(bytes[at]);
        if (!character)
            return std::nullopt;
        characters += *character;
    }
    return characters;
}

std::optional<std::string> encode(std::u32string const& characters, CFStringEncoding encoding)
{
    std::string bytes;
    for (char32_t const character : characters)
    {
        if (encoding == kCFStringEncodingUTF32LE)
        {
            char unit[4];
            std::memcpy(unit, &character, 4);
            bytes.append(unit, 4);
            continue;
        }
        std::optional<unsigned char> const byte = encode_1252(character);
        if (!byte)
            return std::nullopt;
        bytes += static_cast<char>(*byte);
    }
    return bytes;
}

Object& object_named(std::string const& name, CFTypeID type)
{
    for (Object& object : objects)
        if (object.name == name)
            return object;
    return make(name, type);
}

} // namespace

System& system()
{
    static System the_system;
    return the_system;
}

void reset_quietly()
{
    system() = System();
    objects.clear();
}

void reset()
{
    reset_quietly();
    system().recording = true;
}

int releases(std::string const& name)
{
    for (Object const& object : objects)
        if (object.name == name)
            return object.releases;
    return -1;
}

std::string take_calls()
{
    return std::exchange(system().calls, {});
}

} // namespace support::macos

using namespace support::macos;

extern "C"
{
    CFAllocatorRef const kCFAllocatorDefault = nullptr;

    CFTypeID CFGetTypeID(CFTypeRef object)
    {
        called("CFGetTypeID", object);
        return known(object).type;
    }

    void CFRelease(CFTypeRef object)
    {
        ++known(object).releases;
        called("CFRelease", object);
    }

    CFBundleRef CFBundleGetMainBundle()
    {
        if (called("CFBundleGetMainBundle"))
            return nullptr;
        return reinterpret_cast<CFBundleRef>(&object_named("bundle", other_type));
    }

    CFTypeRef CFBundleGetValueForInfoDictionaryKey(CFBundleRef bundle, CFStringRef key)
    {
        bool const refused = called("CFBundleGetValueForInfoDictionaryKey", bundle, key);
        known(bundle);
        if (refused || known(key).bytes != "CFBundleName" || !system().bundle_name)
            return nullptr;
        Object& value = object_named("name", other_type);
        value.type = system().bundle_name_is_string ? string_type : other_type;
        value.bytes = *system().bundle_name;
        return &value;
    }

    CFURLRef CFBundleCopyExecutableURL(CFBundleRef bundle)
    {
        bool const refused = called("CFBundleCopyExecutableURL", bundle);
        known(bundle);
        if (refused || !system().executable)
            return nullptr;
        Object& location = make_numbered("location", other_type);
        location.bytes = *system().executable;
        return reinterpret_cast<CFURLRef>(&location);
    }

    Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolve, UInt8* buffer, CFIndex size)
    {
        bool const refused = called("CFURLGetFileSystemRepresentation", url, resolve, "buffer", size);
        std::string const& path = known(url).bytes;
        // What fits is written even if that is not all, and is then not terminated.
        std::memcpy(buffer, path.c_str(), std::min(path.size() + 1, static_cast<std::size_t>(size)));
        return !refused && path.size() < static_cast<std::size_t>(size);
    }

    CFTypeID CFStringGetTypeID()
    {
        called("CFStringGetTypeID");
        return string_type;
    }

    char const* CFStringGetCStringPtr(CFStringRef string, CFStringEncoding encoding)
    {
        bool const refused = called("CFStringGetCStringPtr", string, Encoding{encoding});
        return refused || !system().bundle_name_has_bytes ? nullptr : known(string).bytes.c_str();
    }

    CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator, UInt8 const* bytes, CFIndex size,
                                        CFStringEncoding encoding, Boolean has_byte_order_mark)
    {
        if (!system().recording)
            objects.clear();
        bool const refused = called("CFStringCreateWithBytes", allocator_text(allocator), "bytes", size,
                                    Encoding{encoding}, has_byte_order_mark);
        std::optional<std::u32string> characters = decode(bytes, static_cast<std::size_t>(size), encoding);
        if (refused || !characters)
            return nullptr;
        Object& string = make_numbered("string", string_type);
        string.characters = *characters;
        return reinterpret_cast<CFStringRef>(&string);
    }

    CFDataRef CFStringCreateExternalRepresentation(CFAllocatorRef allocator, CFStringRef string,
                                                   CFStringEncoding encoding, UInt8 loss_byte)
    {
        bool const refused = called("CFStringCreateExternalRepresentation", allocator_text(allocator), string,
                                    Encoding{encoding}, loss_byte);
        std::optional<std::string> bytes = encode(known(string).characters, encoding);
        if (refused || !bytes)
            return nullptr;
        Object& data = make_numbered("data", other_type);
        data.bytes = *bytes;
        return reinterpret_cast<CFDataRef>(&data);
    }

    CFIndex CFDataGetLength(CFDataRef data)
    {
        called("CFDataGetLength", data);
        return static_cast<CFIndex>(known(data).bytes.size());
    }

    void CFDataGetBytes(CFDataRef data, CFRange range, UInt8* buffer)
    {
        called("CFDataGetBytes", data, range.location, range.length);
        std::string const& bytes = known(data).bytes;
        if (range.location < 0 || range.length < 0 ||
            static_cast<std::size_t>(range.location + range.length) > bytes.size())
            throw std::out_of_range("CFDataGetBytes");
        std::memcpy(buffer, bytes.data() + range.location, static_cast<std::size_t>(range.length));
    }

    CFStringRef __CFStringMakeConstantString(char const* text)
    {
        Object& constant = object_named('"' + std::string(text) + '"', string_type);
        constant.bytes = text;
        return reinterpret_cast<CFStringRef>(&constant);
    }

    int sysctl(int* name, unsigned int name_length, void* old_value, std::size_t* old_size, void* new_value,
               std::size_t new_size)
    {
        std::string numbers = "{";
        for (unsigned int at = 0; at < name_length; ++at)
            numbers += (at == 0 ? "" : " ") + (name[at] == ::getpid() ? "pid" : std::to_string(name[at]));
        numbers += "}";
        called("sysctl", numbers.c_str(), "buffer", *old_size, new_value, new_size);
        auto* const process = static_cast<kinfo_proc*>(old_value);
        system().flags_before = process->kp_proc.p_flag;
        if (system().flags)
        {
            std::memset(old_value, 0xFF, *old_size);
            process->kp_proc.p_flag = *system().flags;
        }
        return system().sysctl_result;
    }

    int __tolower(int character)
    {
        int const shift = system().lower_shift;
        return shift != 0 ? character + shift : static_cast<int>(std::towlower(static_cast<std::wint_t>(character)));
    }

    int __toupper(int character)
    {
        int const shift = system().upper_shift;
        return shift != 0 ? character + shift : static_cast<int>(std::towupper(static_cast<std::wint_t>(character)));
    }
}
