/// @file
/// The boundary of the shared library.
///
/// The library is built with hidden visibility. What a host or a component may use is marked here, and nothing
/// else is visible outside.
#pragma once

#if __cplusplus < 201703L
#error "libORVA needs C++17: compile with -std=c++17 or a later standard"
#endif

/// Marks a class or function of the library's boundary.
#define ORVA_API __attribute__((visibility("default")))

/// Marks a class template of the boundary. The type of a block is the address of its type table, so the static
/// members of an instantiation must be one object in the whole process, whichever shared objects instantiate it. For a
/// caller's own type as the argument, where its blocks cross from one shared object to another, this takes two things
/// of the caller: the type has default visibility, and a program that instantiates it is linked so that it exports its
/// symbols (`-rdynamic`, in CMake `ENABLE_EXPORTS`).
#define ORVA_TEMPLATE_API __attribute__((visibility("default")))
