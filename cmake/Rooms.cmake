# A room is one static library. Whoever links it can include its headers by their place in the tree
# ("platform/rest/RestGateway.h") and no others, so an include against the arrows of the house does not compile:
# each room's headers are linked into a folder of its own below the build tree, and the source tree itself is on
# no include path.
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
else()
    target_compile_options(quillon_warnings INTERFACE -Wthread-safety)
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

# quillon_show_headers(target visibility): lets `target`, or whoever links it, include the headers of this folder.
function(quillon_show_headers target visibility)
    file(RELATIVE_PATH place ${CMAKE_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
    set(view ${CMAKE_BINARY_DIR}/include/${target})
    file(REMOVE_RECURSE ${view})
    file(MAKE_DIRECTORY ${view}/${place})
    file(GLOB headers CONFIGURE_DEPENDS RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} *.h)
    foreach(header IN LISTS headers)
        file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR}/${header} ${view}/${place}/${header} SYMBOLIC)
    endforeach()
    target_include_directories(${target} ${visibility} ${view})
endfunction()

# quillon_room(name SOURCES a.cpp b.cpp [PUBLIC deps...] [PRIVATE deps...])
function(quillon_room name)
    cmake_parse_arguments(ROOM "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
    add_library(${name} STATIC ${ROOM_SOURCES})
    quillon_show_headers(${name} PUBLIC)
    target_link_libraries(${name} PUBLIC ${ROOM_PUBLIC} PRIVATE quillon_warnings ${ROOM_PRIVATE})
endfunction()

# quillon_header_room(name deps...): a room of headers alone.
function(quillon_header_room name)
    add_library(${name} INTERFACE)
    quillon_show_headers(${name} INTERFACE)
    target_link_libraries(${name} INTERFACE ${ARGN})
endfunction()
