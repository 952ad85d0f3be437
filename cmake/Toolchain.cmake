# Compiler, warnings, hardening and sanitizers: one place for each flag.

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    message(FATAL_ERROR "GCC is not supported: GCC 12 destroys the temporaries of an awaited call twice. "
                        "Configure with a preset (cmake --preset release), which selects clang++-19.")
endif()
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang" OR CMAKE_CXX_COMPILER_VERSION VERSION_LESS 19)
    message(FATAL_ERROR "Clang 19 or newer is required, found ${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION}.")
endif()

set(CMAKE_CXX_STANDARD 23)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release)
endif()
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -g1 -DNDEBUG")

add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}/= -fno-omit-frame-pointer)
add_link_options(-fuse-ld=lld)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
    # Paths below the source folder are made relative, so that every clone finds what another has compiled.
    set(ccache_launcher ${CMAKE_COMMAND} -E env
        CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1
        CCACHE_SLOPPINESS=time_macros,include_file_mtime,include_file_ctime ${CCACHE_PROGRAM})
    set(CMAKE_C_COMPILER_LAUNCHER ${ccache_launcher})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${ccache_launcher})
endif()

set(SANITIZE "" CACHE STRING "Sanitizers to build with: empty, address,undefined or thread")
set(FUZZ OFF CACHE BOOL "Build the fuzz targets")
if(SANITIZE)
    add_compile_options(-fsanitize=${SANITIZE} -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${SANITIZE})
elseif(CMAKE_BUILD_TYPE STREQUAL "Release")
    add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3 -D_GLIBCXX_ASSERTIONS -fstack-protector-strong
        -fstack-clash-protection -ftrivial-auto-var-init=zero)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
        add_compile_options(-fcf-protection=full)
    endif()
    add_link_options(-pie -Wl,-z,relro,-z,now,-z,noexecstack -Wl,--gc-sections)
endif()

add_library(projectWarnings INTERFACE)
target_compile_options(projectWarnings INTERFACE -Wall -Wextra -Wpedantic -Werror -Wnon-virtual-dtor
    -Wold-style-cast -Woverloaded-virtual -Wformat=2 -Werror=format-security -Wimplicit-fallthrough
    -Wno-missing-field-initializers -Wno-missing-designated-field-initializers)
if(NOT JUMBO)
    # Among the sources of a jumbo, a local variable may well be called as another file's constant.
    target_compile_options(projectWarnings INTERFACE -Wshadow)
endif()
