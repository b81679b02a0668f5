/// @file
/// The system's record of a process, as far as the library reads it: the flags lie 32 bytes behind the start of 648.
#pragma once

#include <cstddef>

#define CTL_KERN 1
#define KERN_PROC 14
#define KERN_PROC_PID 1

#define P_TRACED 0x00000800

struct extern_proc
{
    void* p_un[2];
    void* p_vmspace;
    void* p_sigacts;
    int p_flag;
    unsigned char p_rest[260];
};

struct kinfo_proc
{
    extern_proc kp_proc;
    unsigned char kp_eproc[352];
};

static_assert(offsetof(kinfo_proc, kp_proc.p_flag) == 32 && sizeof(extern_proc) == 296, "");
static_assert(sizeof(kinfo_proc) == 648, "");

extern "C" int sysctl(int* name, unsigned int name_length, void* old_value, std::size_t* old_size, void* new_value,
                      std::size_t new_size);
