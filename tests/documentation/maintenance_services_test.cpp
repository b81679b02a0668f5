// The code of docs/maintenance-services.md.

#include "ORVA/Maintenance.h"
#include "ORVA/ORVA.h"

#include <gtest/gtest.h>

#include <cstring>

// [[service]]
// Empties a cache once in ten seconds. Its operations are called by the maintenance thread alone.
class Sweep final : public ORVA::Maintenance::IMaintenanceRequest
{
public:
    nqfWChar const* GetName() override { return L"Sweep"; }
    unsigned long GetNextMaintenance() override { return m_next; } // on the clock of GetTimeNow; 0 is: now
    int GetPriority() override { return 0; }
    void RunMaintenance() override
    {
        // The work: short, and without exceptions, since one of them disables the service.
        m_next = ORVA::Core::OS::GetTimeNow() + 10000;
        swept.Set();
    }

    void* queryInterface(_nqfUID const& uid) const
    {
        using ORVA::Maintenance::IMaintenanceRequest;
        bool const asked = std::memcmp(&uid, &__nqf_uuidof<IMaintenanceRequest>(), sizeof uid) == 0;
        return asked ? const_cast<IMaintenanceRequest*>(static_cast<IMaintenanceRequest const*>(this)) : nullptr;
    }

    ORVA::Threading::CPEvent swept{true};

private:
    unsigned long m_next = 0;
};
// [[end]]

namespace
{

TEST(MaintenanceServices, service_is_run_when_it_is_due_and_goes_before_its_owner)
{
    ASSERT_EQ(ORVA::AppInit(), 1);
    // [[register]]
    ORVA::Buffers::CPIObject<Sweep> sweep;
    if (sweep.create() == nullptr || !ORVA::Maintenance::Register(sweep))
        return;
    bool const ran = sweep->swept.Wait(5000) == 0;

    // Before the block, or the code of its type, goes. False: it still runs, so keep both.
    bool const gone = ORVA::Maintenance::Unregister(sweep, 10000);
    // [[end]]
    ORVA::AppExit();
    EXPECT_TRUE(ran);
    EXPECT_TRUE(gone);
}

TEST(MaintenanceServices, pool_is_collected_at_once_where_a_caller_asks_for_it)
{
    // [[collect]]
    // Two full passes dispose of what nobody holds; each call goes on where the last one stopped.
    for (unsigned int passes = 0; passes < 2;)
        passes += ORVA::String::CStringPool::Collect(1000);
    // [[end]]
    ORVA::String::CPPoolString const text(L"pooled for one look");
    EXPECT_EQ(ORVA::String::CStringPool::Verify(), 1U);
}

} // namespace
