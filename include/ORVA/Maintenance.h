/// @file
/// Maintenance: one thread in the background that does the housekeeping of registered services.
#pragma once

#include "ORVA/Maintenance/MaintenanceRequest.h"
#include "ORVA/Maintenance/Scheduler.h"
