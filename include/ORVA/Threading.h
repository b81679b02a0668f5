/// @file
/// Threading: locks, events, threads, and what a thread does to itself.
#pragma once

#include "ORVA/Threading/CurrentThread.h"
#include "ORVA/Threading/Event.h"
#include "ORVA/Threading/Locks.h"
#include "ORVA/Threading/MultipleEvent.h"
#include "ORVA/Threading/Thread.h"
#include "ORVA/Threading/ThreadContext.h"
#include "ORVA/Threading/ThreadExecute.h"
