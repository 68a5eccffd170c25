# separate_debug_information(TARGET)
# Leaves the DLL without debug information, and its debug information in a file beside it, whose path goes into
# DEBUG_INFORMATION_FILE of the caller: DLL.debug, which the DLL names, or a program database.
function(separate_debug_information target)
    if(MSVC)
        set_target_properties(${target} PROPERTIES MSVC_DEBUG_INFORMATION_FORMAT ProgramDatabase)
        target_link_options(${target} PRIVATE /DEBUG $<$<CONFIG:Release>:/OPT:REF> $<$<CONFIG:Release>:/OPT:ICF>)
        set(DEBUG_INFORMATION_FILE $<TARGET_PDB_FILE:${target}> PARENT_SCOPE)
        return()
    elseif(NOT MINGW)
        set(DEBUG_INFORMATION_FILE PARENT_SCOPE) # the native build keeps it where the sanitizers look for it
        return()
    endif()
    set(dll $<TARGET_FILE:${target}>)
    set(objcopy ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0 ${CMAKE_OBJCOPY}) # else it writes the time into the header
    add_custom_command(TARGET ${target} POST_BUILD VERBATIM
        COMMAND ${objcopy} --only-keep-debug ${dll} ${dll}.debug
        COMMAND ${objcopy} --strip-all --add-gnu-debuglink=${dll}.debug ${dll})
    set(DEBUG_INFORMATION_FILE ${dll}.debug PARENT_SCOPE)
endfunction()

# Compiles with debug information in every configuration.
function(compile_with_debug_information target)
    if(MSVC)
        set_target_properties(${target} PROPERTIES MSVC_DEBUG_INFORMATION_FORMAT ProgramDatabase)
    else()
        target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-g>)
    endif()
endfunction()
