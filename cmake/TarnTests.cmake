# Test programs and fuzz targets.

find_package(GTest REQUIRED)
include(GoogleTest)

# tarn_add_test(NAME target...)
#
# A GoogleTest program NAME_test of NAME_test.cpp, linked to the targets. Its tests run one after
# the other, since they share scratch files.
function(tarn_add_test name)
  tarn_add_program(${name}_test SOURCES ${name}_test.cpp LINKS ${ARGN} capture GTest::gtest_main)
  target_compile_definitions(${name}_test PRIVATE TARN_SOURCE="${PROJECT_SOURCE_DIR}")
  gtest_discover_tests(${name}_test PROPERTIES LABELS unit TIMEOUT 120
    RESOURCE_LOCK ${name}_test
    ENVIRONMENT "TEST_TMPDIR=${CMAKE_CURRENT_BINARY_DIR};GCOV_PREFIX=${CMAKE_CURRENT_BINARY_DIR}/${name}_test.counts")
endfunction()

# tarn_add_program_test(NAME PROGRAM target...)
#
# The same, for a test that runs a program: through a script that gives it a stack of 64 KiB, as on
# a small device, and runs it under the emulator and the command in the environment's TARN_RUN_BY.
function(tarn_add_program_test name program)
  tarn_add_test(${name} ${ARGN})
  string(REPLACE ";" " " emulator "${CMAKE_CROSSCOMPILING_EMULATOR}")
  set(stack "ulimit -s 64")
  if(TARN_SANITIZE OR CMAKE_CROSSCOMPILING)
    set(stack "")
  endif()
  set(programs ${CMAKE_CURRENT_BINARY_DIR}/programs)
  file(GENERATE OUTPUT ${programs}/${program}
    CONTENT "#!/bin/sh\n${stack}\nexport GCOV_PREFIX=\${COUNTS:-$0.counts}\nexec $TARN_RUN_BY ${emulator} $<TARGET_FILE:${program}> \"$@\"\n"
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
  target_compile_definitions(${name}_test PRIVATE TARN_PROGRAMS="${programs}")
  add_dependencies(${name}_test ${program})
endfunction()

# tarn_add_thread_test(NAME LIBRARY)
#
# The same for a library, both built with ThreadSanitizer; in a folder of its own, which
# scripts/valgrind does not look into.
function(tarn_add_thread_test name library)
  get_target_property(sources tarn-${library} SOURCES)
  list(TRANSFORM sources PREPEND ${PROJECT_SOURCE_DIR}/${library}/)
  add_library(${library}-tsan STATIC ${sources})
  target_include_directories(${library}-tsan PUBLIC ${PROJECT_SOURCE_DIR})
  target_compile_options(${library}-tsan PUBLIC -fsanitize=thread
    -fprofile-update=atomic) # when coverage is counted
  target_link_options(${library}-tsan PUBLIC -fsanitize=thread)
  target_link_libraries(${library}-tsan PRIVATE tarn-settings)
  tarn_add_test(${name} ${library}-tsan)
  set_target_properties(${name}_test PROPERTIES RUNTIME_OUTPUT_DIRECTORY tsan)
endfunction()

# tarn_add_fuzzer(NAME target...)
#
# A program NAME_fuzz, linked to the targets, and a test that runs it once over its seeds and the
# inputs that once were findings.
function(tarn_add_fuzzer name)
  file(GLOB folder regressions/${name})
  file(GLOB findings regressions/${name}/*)
  if(TARN_BUILD_FUZZERS)
    tarn_add_program(${name}_fuzz SOURCES ${name}_fuzz.cpp LINKS tarn::dbimage GTest::gtest ${ARGN})
    target_link_options(${name}_fuzz PRIVATE -fsanitize=fuzzer)
    add_test(NAME fuzz.${name} COMMAND ${name}_fuzz -runs=0 ${seeds}/${name} ${folder})
    set_tests_properties(fuzz.${name} PROPERTIES LABELS fuzz FIXTURES_REQUIRED seeds TIMEOUT 300)
  elseif(findings)
    tarn_add_program(${name}_replay
      SOURCES ${name}_fuzz.cpp replay.cpp LINKS tarn::dbimage GTest::gtest ${ARGN})
    add_test(NAME replay.${name} COMMAND ${name}_replay ${findings})
    set_tests_properties(replay.${name} PROPERTIES LABELS unit TIMEOUT 60
      ENVIRONMENT GCOV_PREFIX=${CMAKE_CURRENT_BINARY_DIR}/${name}.counts)
  endif()
endfunction()

# For the programs that include fake_kernel.h.
add_library(fake_kernel INTERFACE)
target_link_options(fake_kernel INTERFACE
  LINKER:--wrap=socket,--wrap=setsockopt,--wrap=getsockopt,--wrap=bind,--wrap=close
  LINKER:--wrap=sendto,--wrap=sendmsg,--wrap=select,--wrap=recvfrom)
