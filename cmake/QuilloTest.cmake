# quillo_add_test(NAME [SOURCES …] LIBRARIES …): one Qt Test program from NAME.cpp, run by CTest as NAME.
# Tests start programs, which makes the thread sanitizer ask for die_after_fork=0.
# Tests find the shared helpers of tests/unit/support in the library quillo_test_support.
function(quillo_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "TIMEOUT" "SOURCES;LIBRARIES")
    add_executable(${name} ${name}.cpp ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE quillo_test_support Qt6::Test ${arg_LIBRARIES})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
    target_precompile_headers(${name} REUSE_FROM quillo_precompiled)
    add_test(NAME ${name} COMMAND ${name})
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 120)
    endif()
    set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT} ENVIRONMENT
        "QT_QPA_PLATFORM=offscreen;QT_LOGGING_RULES=qt.dbus*=false;LC_ALL=C.UTF-8;ASAN_OPTIONS=detect_stack_use_after_return=1;LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/cmake/lsan.supp;TSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/cmake/tsan.supp ignore_noninstrumented_modules=1 halt_on_error=1 die_after_fork=0;UBSAN_OPTIONS=print_stacktrace=1")
endfunction()
