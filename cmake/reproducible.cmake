# What makes two builds of the same sources the same, byte for byte, in whatever folders they are made.
add_library(reproducible INTERFACE)
if(MSVC)
    add_cxx_options(reproducible /Brepro)
    target_link_options(reproducible INTERFACE /Brepro "/PDBALTPATH:%_PDB%")
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        set(file_prefix_map /clang:-ffile-prefix-map)
    endif()
elseif(MINGW)
    # Else the image's base address is made from the path that the linker is given.
    target_link_options(reproducible INTERFACE -Wl,--no-insert-timestamp,--disable-auto-image-base)
    set(file_prefix_map -ffile-prefix-map)
endif()
if(file_prefix_map)
    # The folders as the debug information and __FILE__ name them. The last one that matches counts: the build folder may
    # lie inside the source folder.
    add_cxx_options(reproducible ${file_prefix_map}=${CMAKE_SOURCE_DIR}=/${PROJECT_NAME}
        ${file_prefix_map}=${CMAKE_BINARY_DIR}=/${PROJECT_NAME}/build)
endif()
