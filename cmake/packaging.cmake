# What is installed and packed, other than the module and the host SDK, which their folders install: component `plugin`
# for those who ship or load the module, component `simulator` for those who want to see it run, which has the module in
# it once more. Both can be unpacked into the same folder.
if(NATIVE_BUILD)
    return()
endif()

# --- plugin ---

include(runtime_dlls)
function(install_runtime component)
    install(FILES ${RUNTIME_DLLS} DESTINATION bin COMPONENT ${component})
    if(MINGW)
        # The licences of the runtime DLLs, and of what is linked out of the toolchain's static libraries.
        install(FILES /usr/share/common-licenses/GPL-3 DESTINATION licences RENAME GPL-3.txt COMPONENT ${component})
        install(FILES /usr/share/doc/gcc-mingw-w64-base/copyright
            DESTINATION licences RENAME gcc-runtime.txt COMPONENT ${component})
        install(FILES /usr/share/doc/mingw-w64-x86-64-dev/copyright
            DESTINATION licences RENAME mingw-w64-runtime.txt COMPONENT ${component})
    endif()
endfunction()
install_runtime(plugin)

configure_file(packaging/README.md.in packaging/README.md @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/packaging/README.md DESTINATION . COMPONENT plugin)
install(DIRECTORY examples DESTINATION . COMPONENT plugin)

include(CMakePackageConfigHelpers)
set(config_folder lib/cmake/HeadsetAdapterPlugin)
configure_package_config_file(packaging/HeadsetAdapterPluginConfig.cmake.in
    packaging/HeadsetAdapterPluginConfig.cmake INSTALL_DESTINATION ${config_folder})
write_basic_package_version_file(packaging/HeadsetAdapterPluginConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/packaging/HeadsetAdapterPluginConfig.cmake
    ${CMAKE_BINARY_DIR}/packaging/HeadsetAdapterPluginConfigVersion.cmake
    DESTINATION ${config_folder} COMPONENT plugin)

# --- simulator ---

set(CPACK_COMPONENTS_ALL plugin)
if(HOST_SDK_IS_OWN)
    list(APPEND CPACK_COMPONENTS_ALL simulator)
    install(TARGETS simulator simulator-system-audio connectivity-service RUNTIME DESTINATION bin COMPONENT simulator)
    install(FILES $<TARGET_FILE:HeadsetAdapterPlugin> $<TARGET_RUNTIME_DLLS:simulator>
        $<TARGET_RUNTIME_DLLS:HeadsetAdapterPlugin> DESTINATION bin COMPONENT simulator)
    install(DIRECTORY scenarios DESTINATION . COMPONENT simulator)
    install_runtime(simulator)
    install(FILES simulator/page/third_party/d3/LICENSE DESTINATION licences RENAME d3.txt COMPONENT simulator)
    if(MINGW)
        install(FILES /usr/share/doc/nlohmann-json3-dev/copyright
            DESTINATION licences RENAME nlohmann-json.txt COMPONENT simulator)
    endif()
    configure_file(packaging/README-simulator.md.in packaging/README-simulator.md @ONLY)
    configure_file(packaging/demo.cmd.in packaging/demo.cmd @ONLY NEWLINE_STYLE CRLF)
    install(FILES ${CMAKE_BINARY_DIR}/packaging/README-simulator.md ${CMAKE_BINARY_DIR}/packaging/demo.cmd
        DESTINATION . COMPONENT simulator)
endif()

# --- archives ---

set(archive_name ${PROJECT_NAME}-${PROJECT_VERSION}-windows-x64)
set(CPACK_GENERATOR ZIP)
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_ARCHIVE_PLUGIN_FILE_NAME ${archive_name})
set(CPACK_ARCHIVE_SIMULATOR_FILE_NAME ${archive_name}-simulator)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Bluetooth headsets for the device-collaboration host")
set(CPACK_PACKAGE_VENDOR ${PROJECT_NAME}) # shown nowhere in an archive; else CMake's own
include(CPack)
