# quillo_add_test(NAME [SOURCES …] LIBRARIES …): the Qt Test class of NAME.cpp, run by CTest as NAME in a process of
# its own. All tests of a folder are linked into one program (see tests/unit/support/TestProgram.cpp): those of
# platform/tray are in the target platform_tray_tests, whose first argument names the test.
# Tests start programs, which makes the thread sanitizer ask for die_after_fork=0.
# Tests find the shared helpers of tests/unit/support in the library quillo_test_support.
function(quillo_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "TIMEOUT" "SOURCES;LIBRARIES")
    quillo_test_program(program)
    target_sources(${program} PRIVATE ${name}.cpp ${arg_SOURCES})
    target_link_libraries(${program} PRIVATE ${arg_LIBRARIES})
    set_source_files_properties(${name}.cpp PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
    set_property(TARGET ${program} APPEND PROPERTY QUILLO_TEST_NAMES ${name})
    add_test(NAME ${name} COMMAND ${program} ${name})
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 120)
    endif()
    set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT} ENVIRONMENT
        "QT_QPA_PLATFORM=offscreen;QT_LOGGING_RULES=qt.dbus*=false;LC_ALL=C.UTF-8;ASAN_OPTIONS=detect_stack_use_after_return=1;LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/cmake/lsan.supp;TSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/cmake/tsan.supp ignore_noninstrumented_modules=1 halt_on_error=1 die_after_fork=0;UBSAN_OPTIONS=print_stacktrace=1")
endfunction()

# quillo_test_program(VARIABLE): the program of the current folder's tests, made at the first call.
function(quillo_test_program variable)
    file(RELATIVE_PATH folder "${CMAKE_SOURCE_DIR}/tests/unit" "${CMAKE_CURRENT_SOURCE_DIR}")
    string(REPLACE "/" "_" program "${folder}_tests")
    set(${variable} ${program} PARENT_SCOPE)
    if(TARGET ${program})
        return()
    endif()
    set(main "${CMAKE_SOURCE_DIR}/tests/unit/support/TestProgram.cpp")
    set(list "${CMAKE_CURRENT_BINARY_DIR}/${program}.inc")
    file(GENERATE OUTPUT "${list}" CONTENT
        "QUILLO_TEST($<JOIN:$<TARGET_PROPERTY:${program},QUILLO_TEST_NAMES>,)\nQUILLO_TEST(>)\n")
    add_executable(${program} "${main}")
    target_link_libraries(${program} PRIVATE quillo_test_support Qt6::Test)
    set_target_properties(${program} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
    target_precompile_headers(${program} REUSE_FROM quillo_precompiled)
    set_source_files_properties("${main}" PROPERTIES
        SKIP_AUTOMOC ON COMPILE_DEFINITIONS "QUILLO_TEST_LIST=\"${list}\"")
endfunction()
