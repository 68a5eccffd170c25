# Tests with GoogleTest, told to ctest when it runs, out of the programs as they are then.

# ctest_knows_tests_of(NAME [TIMEOUT seconds] [LABELS label...] [FILTER filter] [TOGETHER count] [LOADS file...])
# NAME is the program. To ctest each of its tests is one, and a process. With TESTS_TOGETHER=1 in ctest's environment at
# most `TOGETHER` of them run in a process, as one test of ctest's: NAME.part1of3. LOADS names libraries that the program
# loads by itself.
function(ctest_knows_tests_of name)
    cmake_parse_arguments(arg "" "TIMEOUT;FILTER;TOGETHER" "LABELS;LOADS" ${ARGN})
    set(script ${CMAKE_CURRENT_BINARY_DIR}/${name}_tests)
    file(GENERATE OUTPUT ${script}.cmake CONTENT
"set(name [==[${name}]==])
set(program [==[$<TARGET_FILE:${name}>]==])
set(emulator [==[$<TARGET_PROPERTY:${name},CROSSCOMPILING_EMULATOR>]==])
set(folder [==[${CMAKE_CURRENT_BINARY_DIR}]==])
set(filter [==[${arg_FILTER}]==])
set(timeout [==[${arg_TIMEOUT}]==])
set(labels [==[${arg_LABELS}]==])
set(together [==[${arg_TOGETHER}]==])
set(loads [==[${arg_LOADS}]==])
set(list [==[${script}.txt]==])
include([==[${CMAKE_SOURCE_DIR}/cmake/gtest_programs_in_ctest.cmake]==])
")
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${script}.cmake)
endfunction()
