#include "work.h"

#include "ORVA/Buffers.h"
#include "ORVA/Lookup.h"
#include "ORVA/Math.h"

#include <algorithm>
#include <map>
#include <utility>

namespace soak
{

namespace
{

using namespace ORVA::Buffers;
using ORVA::Lookup::CBaseHashTable;

// What wanders through the parcels. The words agree at all times but in the hands of one owner.
struct Parcel
{
    unsigned long first = 0;
    unsigned long second = 0;
};

// Items of equal key are equal.
class Table final : public CBaseHashTable
{
public:
    Table() : CBaseHashTable(4) {}
    int compare(CPObjectMemory const&, CPObjectMemory const&) override { return 0; }
};

} // namespace

void copy_and_hand_over_blocks(Worker& worker)
{
    Shared& shared = *worker.shared;
    CPObject<Parcel> own;
    own.create()->first = worker.progress;
    own->second = own->first;
    for (int round = 0; round < 10; ++round)
    {
        CPObjectMemory parcel = own;
        CPObjectMemory& place = shared.parcels[below(Shared::places)];
        shared.mailbox_lock.Enter();
        std::swap(place, parcel);
        CPObjectMemory copy = place;
        shared.mailbox_lock.Leave();
        check(copy.lockcnt() != 0, "a block that is held has a count");
        for (CPObject<Parcel> const& got : {CPObject<Parcel>(parcel), CPObject<Parcel>(copy)})
            check(!got || got->first == got->second, "a parcel arrives whole");
        check(copy.clone() == 1, "a shared block is cloned");
        ++CPObject<Parcel>(copy)->first;
    }
    check(own->first == own->second, "a clone is private");
}

void change_vectors(Worker&)
{
    CPPlainVector<unsigned int> plain;
    CPObjectVector<CPObjectMemory> handles;
    CPTypedObjectVector typed;
    std::vector<unsigned int> model;
    for (unsigned int step = 0; step < 60; ++step)
    {
        unsigned int const value = ORVA::Develop::_random();
        unsigned long const place = below(static_cast<unsigned int>(model.size()) + 1);
        CPObject<unsigned int> block;
        *block.create() = value;
        check(plain.Insert(value, place) == 1 && handles.Insert(block, place) == 1, "a vector grows");
        model.insert(model.begin() + static_cast<long>(place), value);
        if (step % 4 == 3)
        {
            unsigned long const gone = below(static_cast<unsigned int>(model.size()));
            check(handles.Delete(gone, true) == 1, "an element is deleted");
            std::copy(plain.begin() + gone + 1, plain.end(), plain.begin() + gone);
            check(plain.SetSize((plain.GetCount() - 1) * sizeof(unsigned int)) == 1, "a vector shrinks");
            model.erase(model.begin() + static_cast<long>(gone));
        }
    }
    CPObject<unsigned int> first(handles[0]);
    check(typed.Set(first) == 1 && typed.Set(CPObject<double>()) == 0, "a typed vector takes blocks");
    CPObject<unsigned int> const got(typed.Get(reinterpret_cast<unsigned long>(CPObject<unsigned int>::GetTypeID())));
    check(got && *got == *first && got != first, "a typed vector gives private copies");
    CPObjectVector<CPObjectMemory> shared = handles;
    check(shared.clone() == 1 && shared.GetCount() == model.size(), "a vector is cloned");
    handles.free();
    for (unsigned long index = 0; index < model.size(); ++index)
    {
        check(plain[index] == model[index], "a plain vector has what was put in");
        check(*CPObject<unsigned int>(shared[index]) == model[index], "a vector of handles has what was put in");
    }
}

void change_hash_table(Worker&)
{
    Table table;
    std::map<unsigned long, CPObject<unsigned long>> model;
    for (unsigned int step = 0; step < 150; ++step)
    {
        unsigned long const key = below(64) * 0x0400000000000401UL;
        if (step % 3 == 2)
        {
            check(table.DeleteItem(key, CPObjectMemory()) == 1, "a key is deleted");
            model.erase(key);
            continue;
        }
        CPObject<unsigned long> item;
        *item.create() = step;
        CPObjectMemory const stands = table.AddItem(key, item, ORVA::Lookup::eHashKeepKey);
        auto const added = model.emplace(key, item);
        check(stands == added.first->second, "a key is kept");
    }
    for (auto const& [key, item] : model)
        check(table.FindItem(key, CPObjectMemory()) == item, "a key is found");
    check(table.GetNItems() == model.size(), "a table counts its items");
}

void calculate(Worker& worker)
{
    using ORVA::Math::CRational;
    int const part = static_cast<int>(below(200)) + 1;
    CRational const sum = CRational(1, part) + CRational(part - 1, part);
    check(sum == CRational(1), "parts add up");
    static CMachineCRC const crc(64, 0x42f0e1eba9ea3693);
    unsigned long const number = worker.progress;
    check(crc.Eval(&number, sizeof number, 0) == crc.Eval(&number, sizeof number, 0), "a checksum is one");
    double const fraction = ORVA::Develop::_drandom(1.0);
    check(fraction >= 0 && fraction <= 1, "a fraction lies in its range");
    std::vector<unsigned int> numbers(100);
    for (unsigned int& each : numbers)
        each = below(1000);
    ORVA::Develop::CMTRandom random;
    random.seed(number & 0xFFFFFFFFU);
    static_cast<void>(random.rnd());
}

} // namespace soak
