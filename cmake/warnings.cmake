# What every target is compiled with. A warning is an error.
add_library(project_options INTERFACE)
target_compile_definitions(project_options INTERFACE
    NOMINMAX WIN32_LEAN_AND_MEAN UNICODE _UNICODE _WIN32_WINNT=0x0A00)
target_compile_options(project_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
