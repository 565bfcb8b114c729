# cifra_add_test(name sources... [LIBRARIES libraries...] [HEADERS_OF target])
#
# Makes a test program of the sources, with the main function of tests/support on Windows and with
# GoogleTest's elsewhere, and registers it with CTest as one test.
# It runs in tests/data, so that a test names its data files by their path from there. The program
# is registered as a whole and not case by case: asking it for its cases while building would start
# it under an emulator. HEADERS_OF names a target with precompiled headers and cifra_test_options.
include_guard(GLOBAL)

set(CIFRA_GOOGLETEST_DIR /usr/src/googletest/googletest CACHE PATH "GoogleTest's sources")
set(CIFRA_TEST_DATA ${PROJECT_SOURCE_DIR}/tests/data)

# Builds GoogleTest from its sources with this build's own compiler, once.
function(cifra_googletest)
  if(TARGET gtest_main)
    return()
  endif()
  set(BUILD_SHARED_LIBS OFF)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  set(gtest_disable_pthreads ON CACHE BOOL "" FORCE)
  add_subdirectory(${CIFRA_GOOGLETEST_DIR} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
  cifra_test_options(gtest)
  # All programs wait for it first. With sanitizers it takes three times as long to optimise; without
  # optimising, its many sections take GNU's linker twice as long in each program.
  if(NOT MSVC)
    target_compile_options(gtest PRIVATE $<IF:$<CXX_COMPILER_ID:GNU>,-O1,-O0>)
  endif()
endfunction()

# Test programs for Windows are compiled more often than they run, and wait for others then; those for
# this machine calculate. What they drive keeps its own options.
function(cifra_test_options target)
  if(NOT MSVC)
    target_compile_options(${target} PRIVATE $<IF:$<BOOL:${WIN32}>,-O0,-O1>
                                             $<$<NOT:$<CONFIG:Debug>>:-g0>)
  endif()
endfunction()

function(cifra_add_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "HEADERS_OF" "LIBRARIES")
  cifra_googletest()
  add_executable(${name} ${arg_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} $<$<NOT:$<BOOL:${WIN32}>>:gtest_main>)
  target_link_options(${name} PRIVATE $<$<BOOL:${MINGW}>:-static>)
  cifra_warnings(${name})
  cifra_test_options(${name})
  if(arg_HEADERS_OF)
    target_precompile_headers(${name} REUSE_FROM ${arg_HEADERS_OF})
    # GCC then forgets which headers are the system's, and warns of what it inlines from them.
    target_compile_options(
      ${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-array-bounds -Wno-stringop-overflow
                      -Wno-stringop-overread>)
  endif()
  add_test(NAME ${name} COMMAND ${name} WORKING_DIRECTORY ${CIFRA_TEST_DATA})
  # A process that ends itself on purpose must look the same under the sanitizers as without them.
  set_tests_properties(
    ${name}
    PROPERTIES TIMEOUT 300 ENVIRONMENT_MODIFICATION
               "ASAN_OPTIONS=string_append::handle_sigill=0:handle_sigtrap=0")
endfunction()
