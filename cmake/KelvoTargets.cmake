# Helpers that give every target of the tree the same language level, warnings and include root.

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
    set(CMAKE_CXX_COMPILER_LAUNCHER env CCACHE_SLOPPINESS=pch_defines,time_macros "${CCACHE_PROGRAM}")
endif()

# Tests are many programs.
find_program(LLD_PROGRAM ld.lld)
if(LLD_PROGRAM)
    add_link_options($<$<CONFIG:Debug>:-fuse-ld=lld>)
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

add_library(kelvo_options INTERFACE)
add_library(Kelvo::Options ALIAS kelvo_options)
target_include_directories(kelvo_options INTERFACE "${PROJECT_SOURCE_DIR}/src")
target_compile_definitions(kelvo_options INTERFACE
    QT_NO_KEYWORDS
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_CAST_FROM_BYTEARRAY
    QT_NO_URL_CAST_FROM_STRING
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
    # The oldest Qt that we build with: what was deprecated later may have no successor there.
    QT_DISABLE_DEPRECATED_BEFORE=0x060400
    QT_WARN_DEPRECATED_UP_TO=0x060400
    KELVO_VERSION="${PROJECT_VERSION}")
target_compile_options(kelvo_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual -Wundef
    $<$<BOOL:${KELVO_WARNINGS_AS_ERRORS}>:-Werror>
    # Reports members of coroutine frames as uninitialised at -O2, although they are not.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>
    # Where sources are compiled together, it takes what is private to one of them for a header's.
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<BOOL:${CMAKE_UNITY_BUILD}>>:-Wno-subobject-linkage>)

set(KELVO_QML_OPTIONS)
if(KELVO_SANITIZE)
    set(KELVO_QML_OPTIONS NO_CACHEGEN) # views are read when they are needed: compiling them would take a third of the time
    add_compile_options(-fsanitize=${KELVO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
    add_link_options(-fsanitize=${KELVO_SANITIZE})
    if(KELVO_SANITIZE MATCHES "thread" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # It does not follow the fences in the toolkit's headers.
        add_compile_options(-Wno-tsan)
    endif()
endif()

# kelvo_library(<name> SOURCES <files…> [LINKS <targets…>]): a static library, Kelvo::<name>.
function(kelvo_library name)
    cmake_parse_arguments(arg "" "" "SOURCES;LINKS" ${ARGN})
    string(TOLOWER "kelvo_${name}" target)
    add_library(${target} STATIC ${arg_SOURCES})
    add_library(Kelvo::${name} ALIAS ${target})
    set_target_properties(${target} PROPERTIES AUTOMOC ON)
    target_link_libraries(${target} PUBLIC Kelvo::Options ${arg_LINKS})
    # So that a QML module can show the library's types to its views.
    qt_extract_metatypes(${target})
endfunction()

# kelvo_test(<name> SOURCES <files…> [LINKS <targets…>] [LABELS <labels…>] [LAUNCHER <command…>]
#            [ALONE] [TIMED] [SOAKED]): a Qt Test program that CTest runs with a home folder of its own and without a
# display. ALONE: no other test runs beside it. TIMED: with "-C timing" there is <name>-timing too, of that label, in which
# the program also judges how long things took. SOAKED: the same with "soak", many rounds and memory.
function(kelvo_test name)
    cmake_parse_arguments(arg "ALONE;TIMED;SOAKED" "" "SOURCES;LINKS;LABELS;LAUNCHER" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    set_target_properties(${name} PROPERTIES AUTOMOC ON)
    target_precompile_headers(${name} REUSE_FROM kelvo_testsupport)
    target_compile_options(${name} PRIVATE -fPIC) # as the headers are, and not as a program is
    set_source_files_properties("${CMAKE_CURRENT_BINARY_DIR}/${name}_autogen/mocs_compilation.cpp" PROPERTIES
        SKIP_PRECOMPILE_HEADERS ON) # it is empty
    target_link_libraries(${name} PRIVATE Kelvo::TestSupport ${arg_LINKS})
    add_test(NAME ${name} COMMAND ${arg_LAUNCHER} $<TARGET_FILE:${name}>)
    set(home "${PROJECT_BINARY_DIR}/test-homes/${name}")
    file(REMOVE_RECURSE "${home}") # what one run leaves must not help the next
    file(MAKE_DIRECTORY "${home}")
    set_tests_properties(${name} PROPERTIES
        TIMEOUT 300 # ends what hangs, and nothing else on a busy host
        RUN_SERIAL ${arg_ALONE}
        LABELS "${arg_LABELS}"
        ENVIRONMENT "HOME=${home};QT_QPA_PLATFORM=offscreen;QT_QUICK_BACKEND=software;LC_ALL=C.UTF-8;TZ=UTC")
    if(KELVO_SANITIZE MATCHES "thread")
        # What the toolkit, which is not instrumented, does among its own threads tells nothing.
        set_property(TEST ${name} APPEND PROPERTY ENVIRONMENT
            "TSAN_OPTIONS=ignore_noninstrumented_modules=1:suppressions=${PROJECT_SOURCE_DIR}/tests/support/thread-sanitizer.txt")
    endif()
    set(measures)
    if(arg_TIMED)
        list(APPEND measures timing)
    endif()
    if(arg_SOAKED)
        list(APPEND measures soak)
    endif()
    get_property(environment TEST ${name} PROPERTY ENVIRONMENT)
    foreach(measure ${measures})
        string(TOUPPER "KELVO_${measure}=1" variable)
        add_test(NAME ${name}-${measure} CONFIGURATIONS ${measure} COMMAND ${arg_LAUNCHER} $<TARGET_FILE:${name}>)
        set_tests_properties(${name}-${measure} PROPERTIES
            TIMEOUT 600
            RUN_SERIAL TRUE
            LABELS ${measure}
            ENVIRONMENT "${environment};${variable}")
    endforeach()
endfunction()

# kelvo_qml_module(<name> SOURCES <files…> [QML_FILES <files…>] [RESOURCES <files…>] [DEPENDENCIES <modules…>]
#                  LINKS <targets…>): the QML module Kelvo.<name>, a static library, Kelvo::<name>. Its files lie in folders
# that tell people what they are; the module itself is flat.
function(kelvo_qml_module name)
    cmake_parse_arguments(arg "" "" "SOURCES;QML_FILES;RESOURCES;DEPENDENCIES;LINKS" ${ARGN})
    string(TOLOWER "kelvo_${name}" target)
    foreach(file IN LISTS arg_QML_FILES)
        cmake_path(GET file FILENAME view)
        set_source_files_properties("${file}" PROPERTIES QT_RESOURCE_ALIAS "${view}")
    endforeach()
    set(CMAKE_AUTOMOC ON)
    qt_add_qml_module(${target} STATIC
        URI Kelvo.${name}
        VERSION 1.0
        ${KELVO_QML_OPTIONS}
        RESOURCE_PREFIX /qt-project.org/imports
        DEPENDENCIES QtQuick ${arg_DEPENDENCIES}
        OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/qml/Kelvo/${name}"
        IMPORT_PATH "${PROJECT_BINARY_DIR}/qml"
        SOURCES ${arg_SOURCES}
        QML_FILES ${arg_QML_FILES}
        RESOURCES ${arg_RESOURCES})
    add_library(Kelvo::${name} ALIAS ${target})
    target_link_libraries(${target} PUBLIC Kelvo::Options ${arg_LINKS})
    # The code that registers the types includes their headers by name alone.
    foreach(file IN LISTS arg_SOURCES)
        cmake_path(GET file PARENT_PATH folder)
        target_include_directories(${target} PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}/${folder}")
    endforeach()
    # The code that Qt makes of views is not ours to keep free of warnings. With options of their own its files, each small
    # beside what it includes, would not be compiled together.
    set_target_properties(${target} PROPERTIES UNITY_BUILD_CODE_BEFORE_INCLUDE "#pragma GCC diagnostic ignored \"-Wshadow\"")
    if(NOT CMAKE_UNITY_BUILD)
        get_target_property(sources ${target} SOURCES)
        list(FILTER sources INCLUDE REGEX "/qmlcache/")
        set_source_files_properties(${sources} PROPERTIES COMPILE_OPTIONS -w)
    endif()
endfunction()
