// One of everything, for a debugger to look at: it stops in `look_here`, and goes up to `main` and the other threads.

#include "ORVA/ORVA.h"

#include <cstring>
#include <future>
#include <thread>

using namespace ORVA;

// A waiter without anything, for the debugger to put where it likes.
alignas(16) unsigned char g_waiter[256];

// Called when all is in place.
__attribute__((noinline)) void look_here()
{
    asm volatile("" ::: "memory");
}

namespace
{

struct Track
{
    int number = 7;
    String::CPPoolString title = String::CPPoolString(L"Take (2)");
};

// A handle of the program's own.
struct TrackHandle : Buffers::CPObject<Track>
{
    int shelf = 3;
};

class Player
{
public:
    virtual ~Player() = default;
    virtual int volume() const { return 11; }
};

struct Stereo
{
    long channels = 2;
    Player player;

    void* queryInterface(_nqfUID const&) const { return const_cast<Player*>(&player); }
};

struct TrackKey : Lookup::IHashKey<Buffers::CPObject<Track>>
{
    unsigned long hash(Buffers::CPObject<Track> const& item) const override
    {
        return static_cast<unsigned long>(item->number) * 0x10001UL;
    }
};

using TrackTable = Lookup::CPOMKeyTable<Buffers::CPObject<Track>, TrackKey>;

// Tells how many wait for it.
class Bell : public Threading::_cEvent
{
public:
    explicit Bell(int pitch_in_hertz) : pitch(pitch_in_hertz) { initState(eEventReset); }

    unsigned long waiting()
    {
        std::lock_guard<boost::mutex> const lock(m_lock);
        return m_waiters.GetCount();
    }

    int pitch;
};

Track make_track(int number, wchar_t const* title)
{
    Track track;
    track.number = number;
    track.title = title;
    return track;
}

} // namespace

template <>
_nqfUID const& __nqf_uuidof<Player>()
{
    static _nqfUID const uid = {0x3C43A101, 0x84D4, 0x4215, {0x9A, 0x4C, 0xFB, 0xF5, 0x4E, 0x8E, 0x75, 0x41}};
    return uid;
}

namespace
{

// Lets the values have their places in memory, however much is optimised.
void const* volatile g_kept;

template <class... Value>
void keep(Value const&... value)
{
    ((g_kept = &value), ...);
}

void look_at_strings()
{
    {
        String::CPPoolString const dropped(L"dropped");
    }
    String::CStringPool::Collect(1000);
    String::CPPoolString const title(L"Take (2)");
    String::CPPoolString const again(title);
    String::CPPoolString const accents(L"Gr\u00FC\u00DFe \"\u266A\"\n");
    String::CPPoolString const null_string;
    String::CPPoolString const empty_string(L"");
    String::CPPoolString const yes(true);
    String::_cppoolstring const by_base(title);
    Buffers::CPObjectMemory const as_block(title);
    String::CPPoolString long_string;
    {
        wchar_t many[1001];
        std::wmemset(many, L'x', 1000);
        many[1000] = L'\0';
        long_string = many;
    }
    String::tagSTRINGPOOLRECORD const& record = *by_base;
    String::staticStringRecord const key(reinterpret_cast<unsigned char const*>("a search key in UTF-8"));
    String::CUTF8Char const utf8(*title);
    String::CUTF16Char const utf16(*title);
    String::CANSIChar const ansi(*title);
    String::CPPoolStringArray names(true);
    names.Add(String::CPPoolString(L"one"));
    names.Add(String::CPPoolString(L"two"));
    keep(title, again, accents, null_string, empty_string, yes, by_base, as_block, long_string, record, key, utf8,
         utf16, ansi, names);
    look_here();
}

void look_at_blocks()
{
    Buffers::CPObjectMemory const empty;
    Buffers::CPObject<Track> track;
    track.create();
    Buffers::CPObjectMemory const same_track(track);
    TrackHandle own_handle;
    own_handle.create();
    Buffers::CPIObject<Stereo> stereo;
    stereo.create();
    Buffers::CPInterface<Player> const player(stereo);
    Buffers::CPPlainMemory plain;
    plain.Alloc(4);
    std::memcpy(plain.get_ptr(), "\x01\x02\xAB\xFF", 4);
    Buffers::CPPlainVector<int> numbers;
    numbers.Insert(30, 0);
    numbers.Insert(10, 0);
    Buffers::CPObjectVector<Track> tracks;
    tracks.Insert(make_track(1, L"one"), 0);
    tracks.Insert(make_track(2, L"two"), 1);
    Buffers::CPObjectVector<Track> const no_tracks;
    Buffers::CPCString<wchar_t> c_string;
    c_string.Alloc(5 * sizeof(wchar_t), &Buffers::CPCString<wchar_t>::_vtbl);
    std::memcpy(c_string.get_ptr(), L"C\t\"s", 5 * sizeof(wchar_t));
    Buffers::CPOMVector handles;
    handles.Insert(track, 0);
    handles.Insert(empty, 1);
    Threading::CPThread const no_thread;
    keep(empty, track, same_track, own_handle, stereo, player, plain, numbers, tracks, no_tracks, c_string, handles,
         no_thread);
    look_here();
}

void look_at_values()
{
    _nqfUID const uid = __nqf_uuidof<Player>();
    NQF::cnqfuid const identifier("3c43a101-84d4-4215-9a4c-fbf54e8e7541");
    NQF::cnqfuid const nil;
    Math::CRational const three_quarters(6, 8);
    Math::CRational const below = Math::CRational(-1, 2) * Math::CRational(1, 2);
    Math::CRational const failure(1, 0);
    NQF::CPNQI<INQFDefinition> const no_component;
    NQF::IPNQF const no_interface(uid);
    // Nobody asks for their addresses, so that they may be left out.
    [[maybe_unused]] _nqfUID const uid_left_out = {uid.Data1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    [[maybe_unused]] Buffers::CPObjectMemory const handle_left_out;
    keep(uid, identifier, nil, three_quarters, below, failure, no_component, no_interface);
    look_here();
}

void look_at_tables()
{
    TrackTable table(4);
    TrackTable const no_items(5);
    for (int number = 1; number <= 3; ++number)
    {
        Buffers::CPObject<Track> item;
        item.create()->number = number;
        table.AddItem(table.hash(item), item, Lookup::eHashKeepEqual);
    }
    keep(table, no_items);
    look_here();
}

void look_at_waiting(Bell& bell, Threading::_cRWInterlock& interlock, Threading::_cCriticalSection& section)
{
    Threading::CPEvent const signalled(true);
    signalled.Set();
    Threading::CPEvent const pulse(false);
    Threading::_cEvent const invalid;
    Threading::_cMultipleEvent any;
    any.AttachSingle(signalled);
    any.AttachSingle(pulse);
    Threading::_cMultipleEvent all;
    all.initBarrier(true);
    Threading::_cMutex mutex;
    mutex.Enter();
    Threading::CPMutex const free_mutex;
    Threading::CPCriticalSection entered;
    entered.Enter();
    entered.Enter();
    Threading::CPCriticalSection const free_section;
    Threading::_cRWInterlock reading;
    reading.EnterRead();
    Threading::_cRWInterlock free_interlock;
    keep(bell, interlock, section, signalled, pulse, invalid, any, all, mutex, free_mutex, entered, free_section,
         reading, free_interlock);
    look_here();
    reading.LeaveRead();
    entered.Leave();
    entered.Leave();
    mutex.Leave();
}

// What a stray pointer or an overwritten block looks like.
void look_at_damage()
{
    static Buffers::tagCPOMEMHEADER overwritten = {1, 16, 999, &Buffers::CPPlainMemory::_vtbl};
    static Buffers::tagCPOMEMHEADER without_type = {1, 16, 16, nullptr};
    static unsigned long words[16] = {0xABABABABABABABABUL, 0xABABABABABABABABUL};
    auto const block_at = [](auto& handle, unsigned long address)
    { std::memcpy(static_cast<void*>(&handle), &address, 8); };
    alignas(8) unsigned char stray_place[8];
    alignas(8) unsigned char odd_place[8];
    alignas(8) unsigned char overwritten_place[8];
    alignas(8) unsigned char without_type_place[8];
    alignas(8) unsigned char string_place[8];
    alignas(8) unsigned char vector_place[8];
    block_at(stray_place, 0x10);
    block_at(odd_place, 0x12345);
    block_at(overwritten_place, reinterpret_cast<unsigned long>(&overwritten));
    block_at(without_type_place, reinterpret_cast<unsigned long>(&without_type));
    block_at(string_place, reinterpret_cast<unsigned long>(words));
    block_at(vector_place, 0x7000000000000000UL);
    auto const& stray = reinterpret_cast<Buffers::CPObjectMemory const&>(stray_place);
    auto const& odd = reinterpret_cast<Buffers::CPObjectMemory const&>(odd_place);
    auto const& damaged = reinterpret_cast<Buffers::CPPlainMemory const&>(overwritten_place);
    auto const& untyped = reinterpret_cast<Buffers::CPObjectMemory const&>(without_type_place);
    auto const& string = reinterpret_cast<String::CPPoolString const&>(string_place);
    auto const& vector = reinterpret_cast<Buffers::CPObjectVector<Track> const&>(vector_place);
    auto const& record = reinterpret_cast<String::tagSTRINGPOOLRECORD const&>(words);
    auto const& event = reinterpret_cast<Threading::_cEvent const&>(words);
    auto const& table = reinterpret_cast<TrackTable const&>(words);
    keep(stray, odd, damaged, untyped, string, vector, record, event, table);
    look_here();
}

} // namespace

int main()
{
    look_at_strings();
    look_at_blocks();
    look_at_values();
    look_at_tables();

    // One thread waits, and one holds two locks.
    Bell bell(440);
    std::thread waiter([&] { bell.Wait(0xFFFFFFFF); });
    while (bell.waiting() == 0)
        std::this_thread::yield();
    Threading::_cRWInterlock interlock;
    Threading::_cCriticalSection section;
    std::promise<void> done;
    std::promise<void> ready;
    std::thread holder(
        [&]
        {
            interlock.EnterWrite();
            interlock.EnterWrite();
            interlock.EnterRead();
            section.Enter();
            ready.set_value();
            done.get_future().wait();
            section.Leave();
            interlock.LeaveRead();
            interlock.LeaveWrite();
            interlock.LeaveWrite();
        });
    ready.get_future().wait();
    look_at_waiting(bell, interlock, section);
    done.set_value();
    holder.join();
    bell.Set(nullptr);
    waiter.join();

    look_at_damage();
    return 0;
}
