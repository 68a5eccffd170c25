# The C++ runtime is shared between all modules; its DLLs stand beside the programs. RUNTIME_DLLS is the list of them.
set(RUNTIME_DLLS)
if(NOT MINGW)
    return()
endif()
foreach(dll libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${dll}
        OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    if(NOT IS_ABSOLUTE ${path})
        set(path /usr/x86_64-w64-mingw32/lib/${dll})
    endif()
    file(COPY ${path} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
    list(APPEND RUNTIME_DLLS ${path})
endforeach()
