# Compiles for 64-bit macOS on another system: `zig c++` brings the compiler, the linker, the C++ library's headers and
# those of the system. The presets say where it is (ORVA_ZIG) and for which processor (CMAKE_SYSTEM_PROCESSOR).
#
# What is not there is left to the loader: the C++ library, and the libraries of Boost, of which only the headers are at
# hand. `./dev macos` looks at the names that are left.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_VERSION 20)
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ORVA_ZIG CMAKE_SYSTEM_PROCESSOR)

set(CMAKE_CXX_COMPILER ${ORVA_ZIG} c++)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "arm64")
    set(CMAKE_CXX_COMPILER_TARGET aarch64-macos.11.0)
else()
    set(CMAKE_CXX_COMPILER_TARGET x86_64-macos.11.0)
endif()
# Tools that CMake asks for on this platform; only an installation would need what the last of them does.
find_program(CMAKE_AR NAMES llvm-ar-14 llvm-ar REQUIRED)
find_program(CMAKE_RANLIB NAMES llvm-ranlib-14 llvm-ranlib REQUIRED)
find_program(CMAKE_INSTALL_NAME_TOOL NAMES llvm-install-name-tool-14 llvm-install-name-tool REQUIRED)
# Asking the compiler would take an option that its linker does not know.
set(CMAKE_CXX_ABI_COMPILED TRUE)
set(CMAKE_CXX_SIZEOF_DATA_PTR 8)
set(CMAKE_OSX_SYSROOT "" CACHE STRING "The compiler has headers and libraries of the system of its own")

# Libraries that are headers, taken from this system one by one: nothing else of /usr/include may come in.
set(headers ${CMAKE_BINARY_DIR}/headers)
foreach(library IN ITEMS boost gtest gmock)
    if(EXISTS /usr/include/${library})
        file(MAKE_DIRECTORY ${headers})
        file(CREATE_LINK /usr/include/${library} ${headers}/${library} SYMBOLIC)
    endif()
endforeach()
file(CREATE_LINK ${CMAKE_CURRENT_LIST_DIR}/../../tests/support/macos/CoreFoundation ${headers}/CoreFoundation SYMBOLIC)
set(CMAKE_CXX_STANDARD_INCLUDE_DIRECTORIES ${headers})
set(Boost_DIR ${CMAKE_CURRENT_LIST_DIR})
set(CMAKE_FIND_ROOT_PATH ${headers})
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)

# Boost 1.74 uses a class that this C++ library has removed, and an enumerator that this compiler takes for an error.
# Unoptimised code would be instrumented without being asked for.
set(CMAKE_CXX_FLAGS_INIT "-D_LIBCPP_ENABLE_CXX17_REMOVED_UNARY_BINARY_FUNCTION -Wno-enum-constexpr-conversion \
-fno-sanitize=undefined")
set(link_flags "-nostdlib++ -Wl,-undefined,dynamic_lookup -F${CMAKE_CURRENT_LIST_DIR}")
set(CMAKE_EXE_LINKER_FLAGS_INIT ${link_flags})
set(CMAKE_SHARED_LINKER_FLAGS_INIT ${link_flags})
