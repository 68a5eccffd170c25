# What every target is compiled with. A warning is an error.
add_library(project_options INTERFACE)
target_compile_definitions(project_options INTERFACE
    NOMINMAX WIN32_LEAN_AND_MEAN UNICODE _UNICODE _WIN32_WINNT=0x0A00)

# Not for the resource compiler, which other flags would confuse.
function(add_cxx_options target)
    target_compile_options(${target} INTERFACE "$<$<COMPILE_LANGUAGE:CXX>:${ARGN}>")
endfunction()

if(MSVC) # cl and clang-cl
    add_cxx_options(project_options /W4 /WX /permissive- /Zc:__cplusplus /Zc:inline /utf-8)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        add_cxx_options(project_options -Wextra -Wconversion -Wshadow)
    else()
        # The host's interface hands standard types across its DLLs' borders, so both sides have one C++ runtime.
        add_cxx_options(project_options /wd4251 /wd4275)
    endif()
else()
    add_cxx_options(project_options -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        # At -O3, GCC 12 takes the standard library's own concatenation of strings for an overlapping copy.
        add_cxx_options(project_options -Wno-restrict)
    endif()
endif()
