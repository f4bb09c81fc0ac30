# What `cmake --install` puts where, in three components: library (what a device carries), development (what who builds
# for it needs) and softswitch. On Debian and its kin libraries go where the system's own are.
if(CMAKE_LIBRARY_ARCHITECTURE AND EXISTS /etc/debian_version)
  set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE PATH "Libraries, below the prefix")
endif()
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# Documents lie where Debian's packages of the components have them.
set(documents_of_library ${CMAKE_INSTALL_DATADIR}/doc/libdhcpmodule${PROJECT_VERSION_MAJOR})
set(documents_of_development ${CMAKE_INSTALL_DATADIR}/doc/libdhcpmodule-dev)
set(documents_of_softswitch ${CMAKE_INSTALL_DATADIR}/doc/dhcp-softswitch)

# install_compressed(COMPONENT DESTINATION FILE)
function(install_compressed component destination file)
  get_filename_component(name ${file} NAME)
  set(made ${PROJECT_BINARY_DIR}/install/${component}/${name}.gz)
  get_filename_component(folder ${made} DIRECTORY)
  file(MAKE_DIRECTORY ${folder})
  execute_process(COMMAND gzip -9nc ${file} OUTPUT_FILE ${made} COMMAND_ERROR_IS_FATAL ANY)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
  install(FILES ${made} DESTINATION ${destination} COMPONENT ${component})
endfunction()

# install_documents(COMPONENT FILE...): with the licence and the list of changes that every package has.
function(install_documents component)
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE RENAME copyright DESTINATION ${documents_of_${component}}
          COMPONENT ${component})
  install_compressed(${component} ${documents_of_${component}} ${PROJECT_SOURCE_DIR}/cmake/debian/changelog.Debian)
  install(FILES ${ARGN} DESTINATION ${documents_of_${component}} COMPONENT ${component})
endfunction()

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
  set(docs ${PROJECT_SOURCE_DIR}/docs)
  install_documents(library)
  install_documents(development ${docs}/porting.md ${docs}/behaviour.md ${docs}/architecture.md)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${documents_of_development} COMPONENT development)
  install_compressed(development ${CMAKE_INSTALL_MANDIR}/man3 ${docs}/man/libdhcpmodule.3)
endfunction()

# install_softswitch(SWITCH CLIENT): the switch finds the library of the same prefix, wherever that is; below /usr it is
# the system's business.
function(install_softswitch switch client)
  file(RELATIVE_PATH libraries /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
  set_target_properties(${switch} PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries}")
  install(TARGETS ${switch} ${client} RUNTIME COMPONENT softswitch)
  set(docs ${PROJECT_SOURCE_DIR}/docs)
  install_documents(softswitch ${docs}/commands.md ${docs}/operations.md)
  install_compressed(softswitch ${CMAKE_INSTALL_MANDIR}/man8 ${docs}/man/softswitch.8)
  install_compressed(softswitch ${CMAKE_INSTALL_MANDIR}/man1 ${docs}/man/switchctl.1)

  set(service ${PROJECT_SOURCE_DIR}/softswitch/service)
  install(FILES ${service}/softswitch.conf DESTINATION ${CMAKE_INSTALL_DATADIR}/softswitch COMPONENT softswitch)
  install(PROGRAMS ${service}/network DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/softswitch COMPONENT softswitch)
  # What depends on the prefix, which is known when it is installed.
  install(CODE "
    set(bindir \${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR})
    set(libexecdir \${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBEXECDIR})
    foreach(unit softswitch.service softswitch-network.service)
      configure_file(${service}/\${unit}.in ${PROJECT_BINARY_DIR}/install/\${unit} @ONLY)
      file(INSTALL ${PROJECT_BINARY_DIR}/install/\${unit} DESTINATION \${CMAKE_INSTALL_PREFIX}/lib/systemd/system)
    endforeach()
    if(CMAKE_INSTALL_PREFIX STREQUAL /usr)
      file(RPATH_REMOVE FILE \$ENV{DESTDIR}/usr/${CMAKE_INSTALL_BINDIR}/$<TARGET_FILE_NAME:${switch}>)
    endif()" COMPONENT softswitch)
endfunction()
