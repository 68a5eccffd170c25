if(NATIVE_BUILD)
    return() # native/NativeBuild.cmake has its own
endif()

# use_simulated_audio_service(TARGET)
# Gives a program a manifest that registers the classes of SimAudio.dll, so that COM makes the simulated audio service's
# objects in it instead of Windows' own, and links it to the service's control API.
function(use_simulated_audio_service target)
    target_sources(${target} PRIVATE $<TARGET_OBJECTS:sim_audio_manifest>)
    target_link_libraries(${target} PRIVATE SimAudio)
endfunction()
