# Tests and stand-ins are many small sources behind large headers: most of the time to compile one of them goes into what
# it includes, a third of the rest into debug information. So several of them are compiled as one, and without it, unless
# the configuration is for debugging. The module is compiled source by source, as it is shipped.
option(COMPILE_TOGETHER
    "Compile several sources of tests and stand-ins at once; off: each by itself, as tools that look at one source want it"
    ${MINGW})

# For all targets of the folder that calls it, and of the folders below. What the unnamed namespaces of a target's sources
# hold must have different names then; a source that cannot share has the property SKIP_UNITY_BUILD_INCLUSION.
macro(compile_together)
    set(CMAKE_UNITY_BUILD ${COMPILE_TOGETHER})
    set(CMAKE_UNITY_BUILD_BATCH_SIZE 8)
    if(COMPILE_TOGETHER AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # A source that another includes looks like a header, in which an unnamed namespace would be a mistake.
        add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wno-subobject-linkage>)
    endif()
    if(MINGW)
        add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:-Wa,-mbig-obj;$<$<CONFIG:RelWithDebInfo>:-g0>>")
    endif()
endmacro()
