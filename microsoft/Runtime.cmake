# What every module in Microsoft's ABI is linked with, where Visual Studio's own libraries are missing: import libraries
# of Wine's DLLs, the few sources of the standard library that are linked statically, and what runtime/ stands in for.
# Included by the toolchain file, as the last step of project().
set(wine_dlls /usr/lib/x86_64-linux-gnu/wine/x86_64-windows)
set(import_folder ${CMAKE_BINARY_DIR}/microsoft)

# make_import_library(NAME DLL): under the name that Visual Studio's library has.
function(make_import_library name dll)
    if(${wine_dlls}/${dll} IS_NEWER_THAN ${import_folder}/${name}.lib)
        execute_process(COMMAND python3 -B ${CMAKE_SOURCE_DIR}/microsoft/import-library.py ${wine_dlls}/${dll}
            ${import_folder}/${name}.lib --tools ${LLVM_FOLDER}/bin COMMAND_ERROR_IS_FATAL ANY)
    endif()
endfunction()
file(MAKE_DIRECTORY ${import_folder})
make_import_library(msvcprt msvcp140.dll)
make_import_library(vcruntime vcruntime140.dll)
make_import_library(ucrt ucrtbase.dll)
foreach(name kernel32 user32 advapi32 ole32 setupapi version ntdll)
    make_import_library(${name} ${name}.dll)
endforeach()
# No DLL has the ids of the interfaces: they are data, of a library that any linker reads.
configure_file(/usr/x86_64-w64-mingw32/lib/libuuid.a ${import_folder}/uuid.lib COPYONLY)
link_directories(${import_folder})
set(CMAKE_CXX_STANDARD_LIBRARIES
    "msvcprt.lib vcruntime.lib ucrt.lib kernel32.lib user32.lib advapi32.lib ole32.lib uuid.lib ntdll.lib")

add_library(microsoft_runtime STATIC)
target_sources(microsoft_runtime PRIVATE
    microsoft/runtime/Allocation.cpp
    microsoft/runtime/DllMain.cpp
    microsoft/runtime/FileNames.cpp
    microsoft/runtime/GuardedStatics.cpp
    microsoft/runtime/Library.cpp
    microsoft/runtime/Protection.cpp
    microsoft/runtime/StartLibrary.cpp
    microsoft/runtime/StartProgram.cpp
    microsoft/runtime/Startup.cpp
    microsoft/runtime/ThreadLocal.cpp
    microsoft/runtime/TypeInfo.cpp
    ${MICROSOFT_STL}/stl/src/charconv.cpp
    ${MICROSOFT_STL}/stl/src/nothrow.cpp
    ${MICROSOFT_STL}/stl/src/syserror_import_lib.cpp
)
target_compile_options(microsoft_runtime PRIVATE /std:c++20 /Zi /O2)
link_libraries(microsoft_runtime)
