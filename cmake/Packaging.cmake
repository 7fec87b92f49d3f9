# Install rules and the Debian package: the shared library with its SONAME, the public headers under
# include/devicebridge, the programs, a CMake package and a pkg-config file. Everything installed is relocatable:
# programs find the library relative to themselves, the package files find the prefix relative to themselves.
# Included at the end of the top-level CMakeLists.txt, so that every target that may be installed exists.
include(CMakePackageConfigHelpers)

set(devicebridge_include_destination ${CMAKE_INSTALL_INCLUDEDIR}/devicebridge)
set(devicebridge_cmake_destination ${CMAKE_INSTALL_LIBDIR}/cmake/devicebridge)

# --- the library and its headers -----------------------------------------------------------------------------
install(TARGETS devicebridge EXPORT devicebridgeTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    INCLUDES DESTINATION ${devicebridge_include_destination})

# A native user commands a module through the RadarInterface behind the bridge's guard, so the two headers that
# declare them are public, though their classes live among the library's own; they include public headers only.
file(GLOB public_headers CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/include/*.h ${CMAKE_SOURCE_DIR}/protocol/*.h)
set(public_headers_from_src
    ${CMAKE_SOURCE_DIR}/src/RadarInterface.h
    ${CMAKE_SOURCE_DIR}/src/UniqueLocked.h)
install(FILES ${public_headers} ${public_headers_from_src} DESTINATION ${devicebridge_include_destination})

# --- the programs ----------------------------------------------------------------------------------------------
file(RELATIVE_PATH library_from_programs
    /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${CMAKE_INSTALL_LIBDIR})
set(installed_programs)
foreach(program module_emulator firmware_update devicebridge_cli)
    if(TARGET ${program})
        list(APPEND installed_programs ${program})
    endif()
endforeach()
if(installed_programs)
    set_target_properties(${installed_programs} PROPERTIES INSTALL_RPATH "$ORIGIN/${library_from_programs}")
    install(TARGETS ${installed_programs} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

# --- the Python package ----------------------------------------------------------------------------------------
# The binding installs its package folder as it was assembled in the build tree, where the extension finds the
# library through a path into the build tree; the installed one finds it relative to itself.
if(TARGET devicebridgewrapper)
    file(RELATIVE_PATH library_from_python
        /prefix/${DEVICEBRIDGE_PYTHON_INSTALL_DIR}/pydevicebridge /prefix/${CMAKE_INSTALL_LIBDIR})
    set(installed_extension
        "\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${DEVICEBRIDGE_PYTHON_INSTALL_DIR}/pydevicebridge/$<TARGET_FILE_NAME:devicebridgewrapper>")
    install(CODE "file(RPATH_SET FILE \"${installed_extension}\" NEW_RPATH \"\$ORIGIN/${library_from_python}\")")
endif()

# --- find_package(devicebridge CONFIG) -------------------------------------------------------------------------
install(EXPORT devicebridgeTargets NAMESPACE devicebridge:: DESTINATION ${devicebridge_cmake_destination})
configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/devicebridgeConfig.cmake.in
    ${CMAKE_BINARY_DIR}/devicebridgeConfig.cmake
    INSTALL_DESTINATION ${devicebridge_cmake_destination})
# Until the first release, a new minor version may change the interface.
write_basic_package_version_file(${CMAKE_BINARY_DIR}/devicebridgeConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/devicebridgeConfig.cmake ${CMAKE_BINARY_DIR}/devicebridgeConfigVersion.cmake
    DESTINATION ${devicebridge_cmake_destination})

# --- pkg-config ------------------------------------------------------------------------------------------------
file(RELATIVE_PATH pc_prefix_from_pcfiledir /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${CMAKE_SOURCE_DIR}/cmake/devicebridge.pc.in ${CMAKE_BINARY_DIR}/devicebridge.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/devicebridge.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# --- cpack -G DEB ----------------------------------------------------------------------------------------------
# One package holds the library, its headers, the programs and the Python package, for
# `apt install ./devicebridge_*.deb` on the hosts of a lab. Its dependencies are named here rather than found by
# dpkg-shlibdeps, so that a sanitizer or a hand-made build cannot slip its own runtimes into the list.
set(debian_depends libc6 libstdc++6 libgcc-s1 libuuid1)
if(TARGET devicebridge_cli)
    list(APPEND debian_depends libserialport0)
endif()
if(TARGET devicebridgewrapper)
    list(APPEND debian_depends python3)
endif()
list(JOIN debian_depends ", " CPACK_DEBIAN_PACKAGE_DEPENDS)

set(DEVICEBRIDGE_PACKAGE_MAINTAINER "devicebridge developers"
    CACHE STRING "Maintainer field of the Debian package, e.g. 'Lab IT <it@example.org>'")
set(CPACK_PACKAGE_NAME devicebridge)
set(CPACK_PACKAGE_VENDOR "Tervik")
set(CPACK_PACKAGE_CONTACT "${DEVICEBRIDGE_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "host-side library for ultra-wideband radar sensor modules")
set(package_contents "the C++ and C headers, the CMake and pkg-config files, the module emulator")
if(TARGET devicebridgewrapper)
    string(APPEND package_contents ", the Python package pydevicebridge")
endif()
string(APPEND package_contents " and the command-line tools")
set(CPACK_PACKAGE_DESCRIPTION "Opens a radar module over USB serial, UART or TCP, streams its data, records \
sessions to disk, plays them back and updates the module's firmware. With ${package_contents}.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS OFF)
set(CPACK_STRIP_FILES ON)
# A shlibs file and the ldconfig trigger, as for any Debian package with a shared library.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_GENERATOR DEB)
include(CPack)
