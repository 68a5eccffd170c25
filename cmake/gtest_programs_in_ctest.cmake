# Read by ctest for each test program, with the variables that gtest_programs.cmake sets.
if(NOT EXISTS ${program})
    add_test(${name}_NOT_BUILT ${name}_NOT_BUILT)
    return()
endif()

# The program is asked for its tests when it is newer than the list of them. The filter stands in the file that includes
# this one.
if("${program}" IS_NEWER_THAN "${list}" OR "${CMAKE_PARENT_LIST_FILE}" IS_NEWER_THAN "${list}")
    set(chosen)
    if(filter)
        set(chosen --gtest_filter=${filter})
    endif()
    execute_process(COMMAND ${emulator} ${program} --gtest_list_tests ${chosen} WORKING_DIRECTORY ${folder}
        TIMEOUT 120 OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        add_test(${name}_LISTS_NO_TESTS ${emulator} ${program} --gtest_list_tests) # fails again, and shows why
        return()
    endif()
    string(REGEX REPLACE "[ \r]*(#[^\n]*)?\n" "\n" output "${output}") # values of parameters
    string(REGEX REPLACE "Running main[^\n]*\n" "" output "${output}")
    string(RANDOM LENGTH 8 own) # another ctest may do the same
    file(WRITE ${list}.${own} "${output}")
    file(RENAME ${list}.${own} ${list})
endif()

set(tests)
file(STRINGS ${list} lines)
foreach(line IN LISTS lines)
    if(line MATCHES "^  (.*)$")
        list(APPEND tests ${suite}${CMAKE_MATCH_1})
    else()
        set(suite ${line})
    endif()
endforeach()

# What may have changed since all tests passed comes first.
set(cost)
if(DEFINED ENV{TESTS_PASSED_STAMP})
    foreach(file ${program} ${loads})
        if(${file} IS_NEWER_THAN $ENV{TESTS_PASSED_STAMP})
            set(cost COST 100000)
        endif()
    endforeach()
endif()

set(properties WORKING_DIRECTORY ${folder} ${cost})
if(labels)
    string(REPLACE ";" "\\;" labels "${labels}")
    list(APPEND properties LABELS "${labels}")
endif()
list(LENGTH tests count)
if("$ENV{TESTS_TOGETHER}" AND together GREATER 1 AND count GREATER 1)
    math(EXPR parts "(${count} + ${together} - 1) / ${together}")
    math(EXPR timeout "${timeout} * 4")
    if(filter)
        set(filter --gtest_filter=${filter})
    endif()
    foreach(part RANGE 1 ${parts})
        math(EXPR index "${part} - 1")
        set(test "${name}.part${part}of${parts}")
        add_test(${test} ${emulator} ${program} ${filter})
        set_tests_properties(${test} PROPERTIES ${properties} TIMEOUT ${timeout}
            FAIL_REGULAR_EXPRESSION "\\[  SKIPPED \\]" # by itself it would have run
            ENVIRONMENT "GTEST_TOTAL_SHARDS=${parts};GTEST_SHARD_INDEX=${index}")
    endforeach()
    return()
endif()
foreach(test IN LISTS tests)
    add_test("${name}.${test}" ${emulator} ${program} --gtest_filter=${test} --gtest_also_run_disabled_tests)
    set_tests_properties("${name}.${test}" PROPERTIES ${properties} TIMEOUT ${timeout}
        SKIP_REGULAR_EXPRESSION "\\[  SKIPPED \\]")
    if("${test}" MATCHES "(^|[./])DISABLED_")
        set_tests_properties("${name}.${test}" PROPERTIES DISABLED TRUE)
    endif()
endforeach()
