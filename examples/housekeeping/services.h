/// @file
/// Three services, as three components of an application might offer them.
///
/// A service is a plain class that implements `IMaintenanceRequest` and answers for that identifier. It lives in a block,
/// which is what is registered. Its operations are called by the maintenance thread alone, one service at a time.
#pragma once

#include "ORVA/Maintenance.h"
#include "ORVA/Threading.h"

#include <atomic>

namespace housekeeping
{

/// What the three have in common.
class Service : public ORVA::Maintenance::IMaintenanceRequest
{
public:
    virtual void* queryInterface(_nqfUID const& uid) const;

protected:
    ~Service() = default;
};

/// Has a number of items to work off, a pass for each, and wants to run as long as there is one.
class Backlog final : public Service
{
public:
    /// To be called before it is registered. The name must outlive the service.
    void give(nqfWChar const* name, int priority, unsigned int items);

    nqfWChar const* GetName() override { return m_name; }
    unsigned long GetNextMaintenance() override;
    void RunMaintenance() override;
    int GetPriority() override { return m_priority; }

    /// Signalled when all is worked off.
    ORVA::Threading::CPEvent const& done() const { return m_done; }

private:
    nqfWChar const* m_name = L"";
    int m_priority = 0;
    unsigned int m_items = 0;
    unsigned int m_worked_off = 0;
    ORVA::Threading::CPEvent m_done{true};
};

/// Wants to run in two seconds, and fails when it does.
class Mail final : public Service
{
public:
    nqfWChar const* GetName() override { return L"mail"; }
    unsigned long GetNextMaintenance() override { return m_due; }
    [[noreturn]] void RunMaintenance() override;
    int GetPriority() override { return 1; }

    unsigned int runs() const { return m_runs; }
    /// Signalled when it has run.
    ORVA::Threading::CPEvent const& tried() const { return m_tried; }

private:
    unsigned long m_due = ORVA::Core::OS::GetTimeNow() + 2000;
    std::atomic<unsigned int> m_runs{0};
    ORVA::Threading::CPEvent m_tried{true};
};

/// Copies for most of a second, once.
class Backup final : public Service
{
public:
    nqfWChar const* GetName() override { return L"backup"; }
    unsigned long GetNextMaintenance() override { return m_copied ? ~0UL : 0; }
    void RunMaintenance() override;
    int GetPriority() override { return 0; }

    /// Signalled when it has begun.
    ORVA::Threading::CPEvent const& begun() const { return m_begun; }
    bool copied() const { return m_copied; }

private:
    std::atomic<bool> m_copied{false};
    ORVA::Threading::CPEvent m_begun{true};
};

} // namespace housekeeping
