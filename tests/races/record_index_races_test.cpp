#include "cstringpool/record_index.h"

#include "races/together.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <random>
#include <thread>
#include <vector>

// Visitors without the lock beside one thread that adds, hides, shows and takes out records, and frees what it took out.
namespace
{

using namespace ORVA::String;
using races::Faults;
using races::faults_of;
using races::mix;

constexpr unsigned int visitors = 3;
constexpr unsigned long alive = 1;
constexpr unsigned long out_of_sight = 2;

// A record that counts its visits as a block counts its handles.
struct Visited : tagSTRINGPOOLRECORD
{
    explicit Visited(unsigned long hash)
    {
        info.sHash = hash;
        info.len = alive;
    }
    std::atomic<unsigned int> visits{0};
};

// Whoever holds the lock: it owns the records.
class Writer
{
public:
    explicit Writer(RecordIndex& index) : m_index(index) {}

    // Few hashes make long runs of slots, which move when one is taken out.
    void add() { m_index.add(*m_records.emplace_back(std::make_unique<Visited>(m_random() % 200))); }

    void hide_and_show(Faults& faults)
    {
        Visited& record = any();
        m_index.hide(record);
        no_visitor_is_left(record, faults);
        record.info.len = alive;
        m_index.show(record);
    }

    void remove(Faults& faults, bool hidden_before)
    {
        std::swap(m_records[m_random() % m_records.size()], m_records.back());
        Visited& record = *m_records.back();
        if (hidden_before)
            m_index.hide(record);
        m_index.remove(record);
        no_visitor_is_left(record, faults);
        m_records.pop_back();
    }

    std::size_t count() const { return m_records.size(); }
    unsigned long draw() { return m_random(); }

private:
    Visited& any() { return *m_records[m_random() % m_records.size()]; }

    // The write is seen as a race by the sanitizer if a visitor is still reading.
    void no_visitor_is_left(Visited& record, Faults& faults)
    {
        unsigned int const visits = record.visits.load(std::memory_order_relaxed);
        record.info.len = out_of_sight;
        mix(static_cast<unsigned int>(m_random()));
        faults.expect(record.visits.load(std::memory_order_relaxed) == visits);
    }

    RecordIndex& m_index;
    std::vector<std::unique_ptr<Visited>> m_records;
    std::mt19937_64 m_random{20261};
};

void visit(RecordIndex& index, unsigned long hash, Faults& faults)
{
    index.visit_visible(
        hash,
        [&](tagSTRINGPOOLRECORD const& record)
        {
            faults.expect(record.info.len == alive);
            return true;
        },
        [&](tagSTRINGPOOLRECORD& record)
        {
            static_cast<Visited&>(record).visits.fetch_add(1, std::memory_order_relaxed);
            faults.expect(record.info.sHash == hash && record.info.len == alive);
        });
}

TEST(RecordIndexRaces, nobody_visits_a_record_that_was_hidden_or_taken_out)
{
    constexpr unsigned int steps = 30000;
    RecordIndex index;
    std::atomic<bool> has_ended{false};
    EXPECT_EQ(faults_of(visitors + 1,
                        [&](unsigned int thread)
                        {
                            Faults faults;
                            if (thread != visitors)
                            {
                                for (unsigned int round = thread; !has_ended; ++round)
                                {
                                    visit(index, round % 200, faults);
                                    mix(round);
                                }
                                return faults;
                            }
                            Writer writer(index);
                            for (unsigned int step = 0; step < steps; ++step)
                            {
                                unsigned long const action = writer.draw() % 8;
                                mix(step);
                                // Grows while there is little, and gets rid of nearly all at the end.
                                if (writer.count() < 2 || (step < steps / 2 && action < 4))
                                    writer.add();
                                else if (action < 5)
                                    writer.hide_and_show(faults);
                                else
                                    writer.remove(faults, action == 5);
                            }
                            while (writer.count() != 0)
                                writer.remove(faults, false);
                            has_ended = true;
                            return faults;
                        }),
              0U);
}

TEST(RecordIndexRaces, records_that_nobody_touches_are_found_while_the_index_grows_and_shrinks)
{
    constexpr unsigned int rounds = 10;
    constexpr unsigned int others = 1500;
    RecordIndex index;
    Visited kept(777);
    index.add(kept);
    std::atomic<bool> has_ended{false};
    EXPECT_EQ(faults_of(visitors + 1,
                        [&](unsigned int thread)
                        {
                            Faults faults;
                            if (thread != visitors)
                            {
                                do
                                    visit(index, 777, faults);
                                while (!has_ended);
                                return faults;
                            }
                            for (unsigned int round = 0; round < rounds; ++round)
                            {
                                std::vector<std::unique_ptr<Visited>> records;
                                for (unsigned int number = 0; number < others; ++number)
                                    index.add(*records.emplace_back(std::make_unique<Visited>(1000 + number)));
                                for (auto const& record : records)
                                    index.remove(*record);
                            }
                            has_ended = true;
                            return faults;
                        }),
              0U);
    unsigned int const visits = kept.visits;
    EXPECT_GT(visits, 0U);
    Faults faults;
    visit(index, 777, faults);
    EXPECT_EQ(kept.visits, visits + 1) << "alone, a visitor misses nothing";
    EXPECT_EQ(faults, 0U);
}

} // namespace
