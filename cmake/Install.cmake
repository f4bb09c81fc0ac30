# What `cmake --install` puts where, in three components: library (what a device carries), development (what who builds
# for it needs) and softswitch. On Debian and its kin libraries go where the system's own are.
if(CMAKE_LIBRARY_ARCHITECTURE AND EXISTS /etc/debian_version)
  set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE PATH "Libraries, below the prefix")
endif()
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# install_module(TARGET): the library, its headers and the device's (both below include/dhcpmodule: "platform" is too
# common a name to stand by itself), files for pkg-config and find_package, documents and the C example.
function(install_module target)
  set(package ${CMAKE_INSTALL_LIBDIR}/cmake/dhcpmodule)
  set(templates ${PROJECT_SOURCE_DIR}/cmake/install)
  set(made ${PROJECT_BINARY_DIR}/install)
  install(TARGETS ${target} EXPORT dhcpmodule
          LIBRARY COMPONENT library NAMELINK_COMPONENT development)
  install(EXPORT dhcpmodule NAMESPACE dhcpmodule:: FILE dhcpmodule-targets.cmake DESTINATION ${package}
          COMPONENT development)
  configure_package_config_file(${templates}/dhcpmodule-config.cmake.in ${made}/dhcpmodule-config.cmake
                                INSTALL_DESTINATION ${package})
  write_basic_package_version_file(${made}/dhcpmodule-config-version.cmake COMPATIBILITY SameMajorVersion)
  install(FILES ${made}/dhcpmodule-config.cmake ${made}/dhcpmodule-config-version.cmake DESTINATION ${package}
          COMPONENT development)

  # The prefix is told from where the file lies, so that an installation may be moved.
  file(RELATIVE_PATH prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
  string(REGEX REPLACE "/$" "" prefix ${prefix})
  configure_file(${templates}/dhcpmodule.pc.in ${made}/dhcpmodule.pc @ONLY)
  install(FILES ${made}/dhcpmodule.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

  install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/dhcp ${PROJECT_SOURCE_DIR}/platform
          DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/dhcpmodule COMPONENT development FILES_MATCHING PATTERN *.h)
  set(documents ${CMAKE_INSTALL_DATADIR}/doc/dhcpmodule)
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/docs/porting.md
          ${PROJECT_SOURCE_DIR}/docs/behaviour.md ${PROJECT_SOURCE_DIR}/docs/architecture.md
          DESTINATION ${documents} COMPONENT development)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${documents} COMPONENT development)
endfunction()

# install_softswitch(SWITCH CLIENT): the switch finds the library of the same prefix, wherever that is; below /usr it is
# the system's business.
function(install_softswitch switch client)
  file(RELATIVE_PATH libraries /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
  set_target_properties(${switch} PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries}")
  install(TARGETS ${switch} ${client} RUNTIME COMPONENT softswitch)
  install(CODE "
    if(CMAKE_INSTALL_PREFIX STREQUAL \"/usr\")
      file(RPATH_REMOVE FILE \"\$ENV{DESTDIR}/usr/${CMAKE_INSTALL_BINDIR}/$<TARGET_FILE_NAME:${switch}>\")
    endif()" COMPONENT softswitch)
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/docs/commands.md
          ${PROJECT_SOURCE_DIR}/docs/operations.md
          DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/softswitch COMPONENT softswitch)
endfunction()
