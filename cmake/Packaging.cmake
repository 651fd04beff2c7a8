# What `cmake --install` puts where, by component, and the Debian packages that CPack makes of the components.
#
#   runtime         the library                                             libvy-frame-processor1
#   development     headers, CMake package, pkg-config file, documents,     libvy-frame-processor-dev
#                   examples
#   tools           vycam                                                   vycam
#   simulated_host  libTavrixSDK.so that works without hardware, headers,   tavrix-sdk-simulated
#                   its document
#   field_kit       the recording twin of the library, vyhost, its guide    vy-field-kit
#
# A build against a host SDK has the first two, and the twin.
include(CMakePackageConfigHelpers)

set(cmake_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/VyFrameProcessor)
set(generated_dir ${PROJECT_BINARY_DIR}/packaging)

# ---- The library

install(TARGETS vy_frame_processor EXPORT VyFrameProcessorTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)

# ---- What programs need to build against it

install(FILES ${PROJECT_SOURCE_DIR}/include/vy_frame_processor.h ${PROJECT_SOURCE_DIR}/include/vy_private_filter.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

install(EXPORT VyFrameProcessorTargets NAMESPACE VyFrameProcessor::
  DESTINATION ${cmake_package_dir} COMPONENT development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/VyFrameProcessorConfig.cmake.in
  ${generated_dir}/VyFrameProcessorConfig.cmake INSTALL_DESTINATION ${cmake_package_dir}
  NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${generated_dir}/VyFrameProcessorConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${generated_dir}/VyFrameProcessorConfig.cmake ${generated_dir}/VyFrameProcessorConfigVersion.cmake
  ${PROJECT_SOURCE_DIR}/cmake/FindTavrixSDK.cmake
  DESTINATION ${cmake_package_dir} COMPONENT development)

# Paths are relative to the file itself: the folder may be moved, or be the root of another machine.
file(RELATIVE_PATH prefix_from_pkgconfig ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" prefix_from_pkgconfig ${prefix_from_pkgconfig})
configure_file(${PROJECT_SOURCE_DIR}/cmake/vy_frame_processor.pc.in ${generated_dir}/vy_frame_processor.pc @ONLY)
install(FILES ${generated_dir}/vy_frame_processor.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

set(development_doc_dir ${CMAKE_INSTALL_DATAROOTDIR}/doc/libvy-frame-processor-dev)
# Folders as in the sources, so that the links among the documents lead somewhere; scripts/check-documents tries them.
set(docs_dir ${PROJECT_SOURCE_DIR}/docs)
install(FILES ${docs_dir}/integration.md ${docs_dir}/field.md ${docs_dir}/catalogue.md ${docs_dir}/settings.md ${docs_dir}/hardware-d2c.md
  DESTINATION ${development_doc_dir}/docs COMPONENT development)
install(FILES ${docs_dir}/images/lifetimes.svg ${docs_dir}/images/hardware-d2c-states.svg
  DESTINATION ${development_doc_dir}/docs/images COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${development_doc_dir} COMPONENT development)

# ---- The recording twin, in a folder where the loader does not look by itself

install(TARGETS vy_frame_processor_recording
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/vy-recording COMPONENT field_kit NAMELINK_SKIP)

# ---- What needs the simulated host

#   install_command(NAME COMPONENT): the program, its manual page and completion in the shell.
function(install_command name component)
  install(TARGETS ${name} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${component})
  install(FILES ${docs_dir}/man/${name}.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT ${component})
  install(FILES ${PROJECT_SOURCE_DIR}/tools/completion.bash RENAME ${name}
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions COMPONENT ${component})
endfunction()

set(components runtime development)
if(TARGET tavrix_sdk)
  list(APPEND components simulated_host)
  install(TARGETS tavrix_sdk LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT simulated_host)
  set(simulated_host_include_dir ${PROJECT_SOURCE_DIR}/simhost/include)
  install(FILES
    ${simulated_host_include_dir}/TavrixSDK.h
    ${simulated_host_include_dir}/tavrix_sim.h
    ${simulated_host_include_dir}/tavrix_sim.hpp
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT simulated_host)
  install(FILES ${docs_dir}/simulated-host.md
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/tavrix-sdk-simulated/docs COMPONENT simulated_host)
endif()
if(TARGET vycam)
  list(APPEND components tools)
  set_target_properties(vycam PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install_command(vycam tools)
endif()
if(TARGET vyhost)
  list(APPEND components field_kit)
  install_command(vyhost field_kit)
  install(FILES ${docs_dir}/field.md DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/vy-field-kit/docs COMPONENT field_kit)
  if(TARGET vyhost_replay_host)
    install(TARGETS vyhost_replay_host vyhost_replay_calls
      LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/vy-replay COMPONENT field_kit)
  endif()
endif()

# ---- Debian packages

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL ${components})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGE_NAME vy-frame-processor)
set(CPACK_PACKAGE_CONTACT "maintainers of vy_frame_processor")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
if(CMAKE_CROSSCOMPILING)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${debian_architecture}) # CPack would take the build machine's
endif()

# Dependencies are written by hand: dpkg-shlibdeps would fail for libTavrixSDK.so, which each site provides in its own
# way, and for another architecture. scripts/check-packages compares the versions with what the files need.
set(language_depends "libgcc-s1 (>= 4.2), libstdc++6 (>= 11)")
set(library_libc 2.14)
if(CMAKE_LIBRARY_ARCHITECTURE STREQUAL "arm-linux-gnueabihf")
  set(library_libc 2.4)
elseif(CMAKE_LIBRARY_ARCHITECTURE STREQUAL "aarch64-linux-gnu")
  set(library_libc 2.17)
endif()
set(same_version "(= ${PROJECT_VERSION})")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libvy-frame-processor${PROJECT_VERSION_MAJOR})
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "Frame processing extension of the Tavrix SDK - library
Turns the raw frames of a depth camera into frames an application can use.
The host SDK (libTavrixSDK.so) comes from its maker, or is the simulated one.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS
  "libc6 (>= ${library_libc}), libgcc-s1 (>= 4.2) | libgcc1 (>= 1:4.2), libstdc++6 (>= 5)")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS "tavrix-sdk-simulated")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvy-frame-processor-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Frame processing extension of the Tavrix SDK - development files
Headers, CMake package, pkg-config file, the guides for a host's engineers and an
example.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} ${same_version}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "tavrix-sdk-simulated, pkg-config, cmake")

set(CPACK_DEBIAN_SIMULATED_HOST_PACKAGE_NAME tavrix-sdk-simulated)
set(CPACK_COMPONENT_SIMULATED_HOST_DESCRIPTION "Simulated Tavrix SDK - virtual depth cameras
A libTavrixSDK.so that works without hardware, with its headers: cameras, filters,
call records and fault injection for tests and debugging. Not for production.")
set(CPACK_DEBIAN_SIMULATED_HOST_PACKAGE_DEPENDS "libc6 (>= 2.32), ${language_depends}, libfmt9")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME vycam)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "Runs the frame processing library on virtual depth cameras
Lists camera families and their settings, sends frames through a filter chain and
writes pictures and figures.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} ${same_version}, tavrix-sdk-simulated\
 ${same_version}, libc6 (>= 2.34), ${language_depends}, libfmt9, libgd3, libpng16-16, libpugixml1v5, libwebsockets17")

set(CPACK_DEBIAN_FIELD_KIT_PACKAGE_NAME vy-field-kit)
set(CPACK_DEBIAN_FIELD_KIT_PACKAGE_SECTION utils)
set(CPACK_COMPONENT_FIELD_KIT_DESCRIPTION "Records and explains the calls between the library and its host
A twin of the frame processing library that writes down every call, and vyhost, which
records programs and tells, replays and checks what was recorded.")
set(CPACK_DEBIAN_FIELD_KIT_PACKAGE_DEPENDS
  "libc6 (>= 2.34), libgcc-s1 (>= 4.2), libstdc++6 (>= 12), libfmt9, liblz4-1, libpugixml1v5, libzstd1 (>= 1.4)")
set(CPACK_DEBIAN_FIELD_KIT_PACKAGE_SUGGESTS "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME}, vycam")

# Packages with a shared library in a folder of the loader renew the loader's cache.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_SIMULATED_HOST_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)

include(CPack)
