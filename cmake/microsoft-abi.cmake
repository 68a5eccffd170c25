# Cross compilation from Linux for Windows x64 in Microsoft's ABI, with clang-cl, lld and a checkout of Microsoft's
# standard library, whose folder MICROSOFT_STL names; run under Wine, whose DLLs are the runtime. See docs/windows.md.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)

set(MICROSOFT_STL "" CACHE PATH "Checkout of Microsoft's standard library")
if(NOT EXISTS "${MICROSOFT_STL}/stl/inc/yvals_core.h")
    message(FATAL_ERROR "MICROSOFT_STL names \"${MICROSOFT_STL}\", where there is no stl/inc/yvals_core.h")
endif()
set(LLVM_FOLDER /usr/lib/llvm-19 CACHE PATH "Where clang and its companions are installed")
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES MICROSOFT_STL LLVM_FOLDER)

foreach(language C CXX)
    set(CMAKE_${language}_COMPILER ${LLVM_FOLDER}/bin/clang-cl)
    set(CMAKE_${language}_COMPILER_TARGET x86_64-pc-windows-msvc)
endforeach()
set(CMAKE_LINKER ${LLVM_FOLDER}/bin/lld-link)
set(CMAKE_AR ${LLVM_FOLDER}/bin/llvm-lib)
set(CMAKE_RC_COMPILER ${LLVM_FOLDER}/bin/llvm-rc)

# The order of the headers counts: those in microsoft/include stand before others of their names.
set(microsoft_folder ${CMAKE_CURRENT_LIST_DIR}/../microsoft)
cmake_path(NORMAL_PATH microsoft_folder)
set(platform_headers "/imsvc /usr/include/wine/wine/msvcrt /imsvc /usr/x86_64-w64-mingw32/include")
string(JOIN " " CMAKE_CXX_FLAGS_INIT /X -fms-compatibility-version=19.43 /EHsc /GR -D_UCRT
    /clang:-isystem${microsoft_folder}/platform /clang:-isystem${microsoft_folder}/include
    /clang:-isystem${MICROSOFT_STL}/stl/inc ${platform_headers}
    /FI${microsoft_folder}/include/prelude.h)
set(CMAKE_C_FLAGS_INIT "/X -D_UCRT ${platform_headers}")
set(CMAKE_RC_FLAGS_INIT "-I /usr/x86_64-w64-mingw32/include")
set(CMAKE_MSVC_RUNTIME_LIBRARY MultiThreadedDLL) # Wine has no runtime for debugging
set(CMAKE_POLICY_DEFAULT_CMP0091 NEW)            # so that the tests' libraries have the same one

# What a module is linked with: its import libraries are made by microsoft/Runtime.cmake, before there is any target.
foreach(kind EXE SHARED MODULE)
    set(CMAKE_${kind}_LINKER_FLAGS_INIT "/NODEFAULTLIB /MANIFEST:NO")
endforeach()
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY) # until then nothing can be linked
set(CMAKE_PROJECT_HeadsetAdapterPlugin_INCLUDE ${microsoft_folder}/Runtime.cmake)

set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/run-in-wine.sh)
