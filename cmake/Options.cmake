# Options of a build, and the flags that follow from them.

option(VN_BUILD_TESTS "Build the tests" ON)
option(VN_BUILD_BENCHMARKS "Build the programs of bench/" OFF)
option(VN_BUILD_FUZZERS "Build the libFuzzer targets of fuzz/ (clang)" OFF)
option(VN_WERROR "Treat warnings as errors" ON)
set(VN_SANITIZE "" CACHE STRING "Sanitizers, as for -fsanitize=: address,undefined or thread")
set(VN_PARTIAL_LAYERS "" CACHE STRING "Link only these layers into the tests; for work on one layer")

find_program(VN_CCACHE ccache)
if(VN_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=time_macros ${VN_CCACHE})
endif()
find_program(VN_LLD ld.lld)
if(VN_LLD)
    add_link_options(-fuse-ld=lld)
endif()

if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()
set(CMAKE_CXX_FLAGS_DEBUG "-O0 -g1")
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")

add_compile_options(-Wall -Wextra -Wpedantic)
if(VN_WERROR)
    add_compile_options(-Werror)
endif()
if(VN_SANITIZE)
    add_compile_options(-fsanitize=${VN_SANITIZE} -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${VN_SANITIZE})
    if(VN_SANITIZE MATCHES "undefined")
        add_compile_options(-fno-sanitize-recover=undefined)
        # Modules are loaded at run time and hide their symbols, so type information differs between them.
        add_compile_options(-fno-sanitize=vptr)
        add_link_options(-fno-sanitize=vptr)
        if(VN_BUILD_FUZZERS)
            # The coverage counts every comparison, those of these checks too, which took half of the time. The asan
            # preset has them.
            add_compile_options(-fno-sanitize=null,alignment,object-size,pointer-overflow)
        endif()
    endif()
endif()

include_directories(${CMAKE_SOURCE_DIR})
