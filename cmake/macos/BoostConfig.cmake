# The headers of Boost, which toolchain.cmake puts in reach, and no library.
foreach(component IN LISTS Boost_FIND_COMPONENTS)
    if(NOT TARGET Boost::${component})
        add_library(Boost::${component} INTERFACE IMPORTED)
    endif()
    set(Boost_${component}_FOUND TRUE)
endforeach()
