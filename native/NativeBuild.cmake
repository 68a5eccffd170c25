# The native build: the same sources, for this machine, against the stand-in for the platform in this folder. Included by
# the root before any target is made.

set(NATIVE_SANITIZERS "" CACHE STRING
    "Sanitizers of the native build, as for clang's -fsanitize=: address,undefined or thread; empty for none")
option(NATIVE_COVERAGE "Count what runs, for a coverage report" OFF)
option(NATIVE_FUZZ "Build the fuzz targets, and with them nothing else of the module" OFF)
if(NATIVE_FUZZ)
    enable_testing()
endif()

# The other compiler's -Wconversion leaves signs alone.
target_compile_options(project_options INTERFACE -Wno-sign-conversion)

set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}) # beside the programs, as on the platform
add_compile_options("-D__declspec(x)=" -fno-omit-frame-pointer)
# Imports can be replaced (see simulator/ImportSlot.cpp): all of them are bound at the start, and stay writable.
add_link_options(-Wl,-z,now -Wl,-z,norelro)
# Where inline functions are functions of their own, each library calls its own, as on the platform, so that a test that
# replaces an import of the program does not meet the libraries' calls too.
add_link_options(-Wl,-Bsymbolic-functions)

if(NATIVE_SANITIZERS)
    add_compile_options(-fsanitize=${NATIVE_SANITIZERS} -fno-sanitize-recover=all -gline-tables-only)
    add_link_options(-fsanitize=${NATIVE_SANITIZERS})
endif()
if(NATIVE_COVERAGE)
    add_compile_options(-fprofile-instr-generate -fcoverage-mapping)
    add_link_options(-fprofile-instr-generate)
endif()

# What cannot run here, each with its reason.
function(read_excluded_tests)
    file(STRINGS ${CMAKE_SOURCE_DIR}/native/excluded-tests.txt lines REGEX "^[^#]")
    foreach(line ${lines})
        string(REGEX MATCH "^([^ ]+) +([^ ]+) +([^ ]+) +(.+)$" matched "${line}")
        if(NOT matched)
            message(FATAL_ERROR "native/excluded-tests.txt: no builds, program, test and reason in \"${line}\"")
        endif()
        if(CMAKE_MATCH_1 STREQUAL "all" OR CMAKE_MATCH_1 STREQUAL NATIVE_KIND)
            set_property(GLOBAL APPEND_STRING PROPERTY excluded_of_${CMAKE_MATCH_2} "${CMAKE_MATCH_3}:")
        endif()
    endforeach()
endfunction()

if(NATIVE_SANITIZERS MATCHES thread)
    set(NATIVE_KIND tsan)
elseif(NATIVE_SANITIZERS)
    set(NATIVE_KIND asan)
else()
    set(NATIVE_KIND plain)
endif()
read_excluded_tests()

# native_test_settings(TARGET VARIABLE): gives a test program the sanitizers' options, and in the variable the arguments
# for ctest_knows_tests_of that leave out what cannot run here.
function(native_test_settings target variable)
    target_sources(${target} PRIVATE ${CMAKE_BINARY_DIR}/SanitizerOptions.cpp)
    target_compile_options(${target} PRIVATE -O0) # half the time to compile, and the tests' own code is not what is slow
    get_property(excluded GLOBAL PROPERTY excluded_of_${target})
    if(excluded)
        string(REGEX REPLACE ":$" "" excluded "${excluded}")
        set(${variable} FILTER "-${excluded}" PARENT_SCOPE)
    endif()
endfunction()

# Every program has the sanitizers' options and suppressions inside, so that it behaves alike however it is run. A
# suppression's reason stands on its line, which the sanitizers would take for a part of the pattern.
function(read_suppressions kind variable)
    file(STRINGS ${CMAKE_SOURCE_DIR}/native/suppressions/${kind}.txt lines REGEX "^[^#]")
    set(text)
    foreach(line ${lines})
        if(NOT line MATCHES "^([^ #]+) +# +.+")
            message(FATAL_ERROR "native/suppressions/${kind}.txt: no reason beside \"${line}\"")
        endif()
        string(APPEND text "${CMAKE_MATCH_1}\\n")
    endforeach()
    set_property(DIRECTORY ${CMAKE_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
        ${CMAKE_SOURCE_DIR}/native/suppressions/${kind}.txt)
    set(${variable} "${text}" PARENT_SCOPE)
endfunction()
read_suppressions(tsan TSAN_SUPPRESSIONS)
read_suppressions(lsan LSAN_SUPPRESSIONS)
set_property(DIRECTORY ${CMAKE_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
    ${CMAKE_SOURCE_DIR}/native/excluded-tests.txt)
configure_file(${CMAKE_SOURCE_DIR}/native/src/SanitizerOptions.cpp.in ${CMAKE_BINARY_DIR}/SanitizerOptions.cpp @ONLY)

include_directories(${CMAKE_SOURCE_DIR}/native/include) # before the targets' own: see simulator/audio/ there
set(LIST_DEVICE_NODES ON)
add_subdirectory(native)
link_libraries(windows_stand_in)

# Programs register the simulated audio service's classes themselves, instead of by a manifest.
function(use_simulated_audio_service target)
    target_sources(${target} PRIVATE ${CMAKE_SOURCE_DIR}/native/simulator/RegisterAudioClasses.cpp)
    target_link_libraries(${target} PRIVATE SimAudio)
endfunction()

# replace_source(TARGET FROM TO): compiles another file into a target made elsewhere.
function(replace_source target from to)
    get_target_property(sources ${target} SOURCES)
    if(NOT from IN_LIST sources)
        message(FATAL_ERROR "${target} has no source ${from}")
    endif()
    list(TRANSFORM sources REPLACE "^${from}$" "${CMAKE_SOURCE_DIR}/native/${to}")
    set_target_properties(${target} PROPERTIES SOURCES "${sources}")
endfunction()

function(drop_source target source)
    get_target_property(sources ${target} SOURCES)
    list(REMOVE_ITEM sources ${source})
    set_target_properties(${target} PROPERTIES SOURCES "${sources}")
endfunction()

# What needs the platform itself has a counterpart. Called when all targets are there.
function(replace_what_is_of_the_platform)
    replace_source(sim_support ImportSlot.cpp simulator/ImportSlot.cpp)
    replace_source(sim_wire wire/PipeEnd.cpp simulator/PipeEnd.cpp)
    replace_source(sim_wire wire/PipeListener.cpp simulator/PipeListener.cpp)
    replace_source(sim_bluetooth DeviceClients.cpp simulator/DeviceClients.cpp)
    drop_source(sim_bluetooth DeviceSets.cpp) # the stand-in for the platform has these
    drop_source(sim_bluetooth DeviceTree.cpp)
    if(BUILD_TESTING)
        replace_source(test_support Watchdog.cpp support/Watchdog.cpp)
        if(NATIVE_SANITIZERS)
            # The test brings allocation functions of its own, in the place of which the sanitizers put theirs. It runs in
            # the builds without, and on the platform.
            drop_source(earphone_endpoints_test OverwrittenIdTest.cpp)
        endif()
    endif()
    if(NATIVE_FUZZ OR NATIVE_KIND STREQUAL "tsan")
        add_subdirectory(${CMAKE_SOURCE_DIR}/native/fuzz ${CMAKE_BINARY_DIR}/native-fuzz)
    endif()
endfunction()
