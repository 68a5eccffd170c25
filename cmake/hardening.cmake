# What makes the module harder to exploit. In every configuration, so that what is tested is what is shipped.

# The run time of the stack protector, for whoever links objects compiled with `hardening`.
add_library(stack_protector INTERFACE)

add_library(hardening INTERFACE)
target_link_libraries(hardening INTERFACE stack_protector)
if(MSVC)
    add_cxx_options(hardening /GS /sdl /guard:cf)
    target_link_options(hardening INTERFACE
        /INCREMENTAL:NO /DYNAMICBASE /HIGHENTROPYVA /NXCOMPAT /GUARD:CF /CETCOMPAT)
elseif(MINGW)
    add_cxx_options(hardening -fstack-protector-strong)
    # The fortified functions need an optimising compiler.
    target_compile_options(hardening INTERFACE
        "$<$<AND:$<COMPILE_LANGUAGE:CXX>,$<NOT:$<CONFIG:Debug>>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
    target_link_options(hardening INTERFACE -Wl,--dynamicbase,--high-entropy-va,--nxcompat)
    # Its static form: one DLL fewer to ship, and no other module has the same guard value.
    target_link_libraries(stack_protector INTERFACE -l:libssp.a)
endif()
