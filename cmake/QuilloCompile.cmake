# How every target of the project is compiled.

include(CheckCXXCompilerFlag)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

option(QUILLO_CCACHE "Compile through ccache where it is installed" ON)
find_program(QUILLO_CCACHE_PROGRAM ccache)
if(QUILLO_CCACHE AND QUILLO_CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    # Precompiled headers need these sloppiness settings to be cacheable at all. The base directory, and not
    # looking at the working one, lets several checkouts share one cache.
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
        "CCACHE_BASEDIR=${CMAKE_SOURCE_DIR}" CCACHE_NOHASHDIR=true
        CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
        ${QUILLO_CCACHE_PROGRAM})
endif()

add_library(quillo_compile INTERFACE)
# Nothing of the checkout's own place gets into what is built.
target_compile_options(quillo_compile INTERFACE "-ffile-prefix-map=${CMAKE_SOURCE_DIR}/=")
# Of clang it is clang-tidy that judges.
target_compile_options(quillo_compile INTERFACE
    $<$<CXX_COMPILER_ID:GNU>:-Wall;-Wextra;-Wpedantic;-Wconversion;-Wshadow;-fpch-preprocess>)
target_compile_definitions(quillo_compile INTERFACE
    QT_NO_KEYWORDS QT_NO_FOREACH QT_NO_CAST_FROM_BYTEARRAY QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING
    QT_DISABLE_DEPRECATED_BEFORE=0x060400)
target_include_directories(quillo_compile INTERFACE "${CMAKE_SOURCE_DIR}/src" "${CMAKE_BINARY_DIR}/src")
if(QUILLO_WERROR)
    target_compile_options(quillo_compile INTERFACE -Werror)
endif()
if(QUILLO_SANITIZE)
    target_compile_options(quillo_compile INTERFACE
        -fsanitize=${QUILLO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(quillo_compile INTERFACE -fsanitize=${QUILLO_SANITIZE})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        # Its check of function types cannot be written down for a coroutine that has a section of its own.
        target_compile_options(quillo_compile INTERFACE -fno-sanitize=function)
    else()
        # GCC 12 takes what the checks add to a move of an optional or a variant for a use of its empty half.
        target_compile_options(quillo_compile INTERFACE -Wno-maybe-uninitialized)
    endif()
endif()
if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug" AND NOT QUILLO_SANITIZE)
    # Also without a build type, as distributors build.
    target_compile_options(quillo_compile INTERFACE
        -fstack-protector-strong -fstack-clash-protection -ffunction-sections -fdata-sections)
    check_cxx_compiler_flag(-fcf-protection QUILLO_CF_PROTECTION) # x86 only
    if(QUILLO_CF_PROTECTION)
        target_compile_options(quillo_compile INTERFACE -fcf-protection)
    endif()
    if(CMAKE_BUILD_TYPE AND NOT "${CMAKE_CXX_FLAGS}" MATCHES "_FORTIFY_SOURCE")
        # Needs optimisation. A level that a distributor chose stands.
        target_compile_options(quillo_compile INTERFACE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
    endif()
    target_link_options(quillo_compile INTERFACE -Wl,--gc-sections -Wl,-z,relro,-z,now -Wl,--as-needed)
endif()

# quillo_add_library(FOLDER SOURCES … LIBRARIES …): the static library of one folder of src, named after it:
# quillo_platform_tray is that of platform/tray. A folder may include what it links here and nothing else;
# scripts/check-includes holds the rule.
function(quillo_add_library folder)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES")
    string(REPLACE "/" "_" name "quillo_${folder}")
    add_library(${name} STATIC ${arg_SOURCES})
    target_link_libraries(${name} PUBLIC quillo_compile Qt6::Core ${arg_LIBRARIES})
    target_precompile_headers(${name} REUSE_FROM quillo_precompiled)
endfunction()

# quillo_add_interfaces(FOLDER FILE CLASS …): callers of D-Bus interfaces that are declared once, in XML beside
# the class that uses them.
function(quillo_add_interfaces folder)
    string(REPLACE "/" "_" name "quillo_${folder}")
    while(ARGN)
        list(POP_FRONT ARGN file class)
        qt_add_dbus_interface(generated ${file} ${class})
    endwhile()
    quillo_add_generated(${name} ${generated})
endfunction()

# quillo_add_adaptor(FOLDER FILE CLASS ADAPTOR): the adaptor that puts the class of CLASS.h in this folder on the
# bus as the interface of the XML file.
function(quillo_add_adaptor folder file class adaptor)
    string(REPLACE "/" "_" name "quillo_${folder}")
    qt_add_dbus_adaptor(generated ${file} ${folder}/${class}.h quillo::${class} ${adaptor} ${adaptor})
    quillo_add_generated(${name} ${generated})
    target_include_directories(${name} PRIVATE "${CMAKE_CURRENT_BINARY_DIR}")
endfunction()

# Generated sources of a target. The target quillo_generated makes all of them and compiles nothing.
add_custom_target(quillo_generated)
function(quillo_add_generated name)
    set_source_files_properties(${ARGN} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
    target_sources(${name} PRIVATE ${ARGN})
    list(GET ARGN 0 first)
    cmake_path(GET first STEM label)
    add_custom_target(${label}_generated DEPENDS ${ARGN})
    add_dependencies(quillo_generated ${label}_generated)
endfunction()
