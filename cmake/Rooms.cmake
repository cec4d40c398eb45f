# A room is one static library whose public headers lie in its own folder. Whoever links it sees those
# headers and nothing else, so an include against the arrows of the house does not compile.
include(CheckLinkerFlag)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

check_linker_flag(CXX -fuse-ld=mold QUILLON_HAS_MOLD)
if(QUILLON_HAS_MOLD)
    add_link_options(-fuse-ld=mold)
endif()

add_library(quillon_warnings INTERFACE)
target_compile_options(quillon_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
    -Woverloaded-virtual -Wold-style-cast -Wcast-align -Wnull-dereference -Wformat=2)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC 12 reports null dereferences and dangling pointers inside its own library under -O2.
    target_compile_options(quillon_warnings INTERFACE -Wno-null-dereference -Wno-restrict
                           -Wlogical-op -Wduplicated-cond)
endif()

set(QUILLON_SANITIZE "" CACHE STRING "Sanitizers to build with: empty, 'address,undefined' or 'thread'")
if(QUILLON_SANITIZE)
    add_compile_options(-fsanitize=${QUILLON_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    if(QUILLON_SANITIZE MATCHES "undefined")
        # A null pointer and a foreign object show beside the address sanitizer anyway, and to look for them at
        # each access doubles the time of the build.
        add_compile_options(-fno-sanitize=null,object-size,vptr,alignment)
    endif()
    add_link_options(-fsanitize=${QUILLON_SANITIZE})
endif()

if(QUILLON_BUILD_FUZZERS)
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        message(FATAL_ERROR "QUILLON_BUILD_FUZZERS needs Clang, whose libFuzzer it stands on.")
    endif()
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# quillon_room(name SOURCES a.cpp b.cpp [PUBLIC deps...] [PRIVATE deps...])
function(quillon_room name)
    cmake_parse_arguments(ROOM "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
    add_library(${name} STATIC ${ROOM_SOURCES})
    target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC ${ROOM_PUBLIC} PRIVATE quillon_warnings ${ROOM_PRIVATE})
endfunction()
