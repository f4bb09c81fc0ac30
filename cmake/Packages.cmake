# What `cpack` makes of the three components: Debian packages, or archives where the build is for another machine.
set(CPACK_PACKAGE_VENDOR "DHCP module")
set(CPACK_PACKAGE_CONTACT "DHCP module maintainers <maintainers@example.invalid>")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_SET_DESTDIR ON) # the units name the prefix that they will be under
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL library development)
if(DHCP_SOFTSWITCH)
  list(APPEND CPACK_COMPONENTS_ALL softswitch)
endif()
if(CMAKE_CROSSCOMPILING)
  set(CPACK_GENERATOR TGZ)
  set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
  set(CPACK_SYSTEM_NAME ${CMAKE_LIBRARY_ARCHITECTURE})
  include(CPack)
  return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(debian ${PROJECT_SOURCE_DIR}/cmake/debian)
set(library_package "libdhcpmodule${PROJECT_VERSION_MAJOR}")
set(same_library "${library_package} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(what "DHCP for Ethernet access switches")
set(about "Snooping, relay and server for DHCP and DHCPv6, and a DHCPv6 client, as\n\
a library that stands on the calls of a switching chip's vendor.")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library_package})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "${what} - shared library\n${about}")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${debian}/library/triggers)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libdhcpmodule-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS ${same_library})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "${what} - development files\n${about}\n\
Headers of the module and of the device's calls, documents, and the\n\
smallest device in C.")

set(CPACK_DEBIAN_SOFTSWITCH_PACKAGE_NAME dhcp-softswitch)
set(CPACK_DEBIAN_SOFTSWITCH_PACKAGE_SECTION net)
set(CPACK_DEBIAN_SOFTSWITCH_PACKAGE_DEPENDS "${same_library}, adduser, iproute2")
set(CPACK_DEBIAN_SOFTSWITCH_DESCRIPTION "Ethernet switch with DHCP snooping, relay and server\n\
A VLAN-aware switch of Linux network interfaces with the DHCP module in\n\
it: source guard, ARP checking, snooping, relays, servers and a command\n\
line in classic switch style.")
set(CPACK_DEBIAN_SOFTSWITCH_PACKAGE_CONTROL_EXTRA ${debian}/softswitch/postinst ${debian}/softswitch/prerm
    ${debian}/softswitch/postrm)
include(CPack)
